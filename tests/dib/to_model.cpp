// Naive models of what images become in bitmaps.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>

#include "dib/model.h"

namespace tovtest {
namespace {

std::size_t nearestEntry(const std::vector<uint32_t>& table, const Bytes4& pixel) {
    const auto byte = [&](std::size_t i, int c) { return static_cast<int>(table[i] >> (8 * c) & 255); };
    const bool gray = pixel[0] == pixel[1] && pixel[0] == pixel[2];
    if (table.size() == 256 && gray && (table[pixel[0]] & 0xFFFFFF) == pixel[0] * 0x10101u) return pixel[0];
    std::size_t best = 0;
    int least = INT32_MAX;
    for (std::size_t i = 0; i < table.size(); ++i) {
        int distance = 0;
        for (int c = 0; c < 3; ++c) distance += (byte(i, c) - pixel[c]) * (byte(i, c) - pixel[c]);
        if (distance < least) best = i, least = distance;
    }
    return best;
}

int lowestBit(uint32_t mask) {
    int bit = 0;
    while (!(mask >> bit & 1)) ++bit;
    return bit;
}

int runLength(uint32_t mask) {
    int n = 0;
    for (mask >>= lowestBit(mask); n < 32 && (mask >> n & 1); ++n) continue;
    return n;
}

// The word that four bytes make; alpha takes what is above the colours.
uint32_t maskedWord(const Dib& dib, const Bytes4& pixel) {
    const bool wide = dib.header.biBitCount == 32;
    std::vector<uint32_t> masks = wide ? std::vector<uint32_t>{0xFF0000, 0xFF00, 0xFF} // red, green, blue
                                       : std::vector<uint32_t>{0x7C00, 0x3E0, 0x1F};
    if (dib.header.biCompression == 3) masks = dib.words;
    uint32_t word = 0;
    int top = 0, topRun = 0;
    for (int c = 0; c < 3; ++c) {
        const uint32_t mask =
            wide ? masks[static_cast<std::size_t>(2 - c)] : masks[static_cast<std::size_t>(2 - c)] & 0xFFFF;
        const int shift = lowestBit(mask), run = runLength(mask);
        uint64_t value = pixel[static_cast<std::size_t>(c)];
        if (!wide) value = run >= 8 ? value << (run - 8) : value >> (8 - run);
        word |= static_cast<uint32_t>(value << shift) & mask;
        if (shift > top || (shift == top && run > topRun)) top = shift, topRun = run;
    }
    if (!wide) return word;
    const int end = top + topRun < 32 ? top + topRun : 0;
    return word | uint32_t{pixel[3]} << end;
}

} // namespace

void putPixel(Dib& dib, int32_t x, int64_t y, const Bytes4& pixel) {
    const int bits = dib.header.biBitCount;
    const int64_t row = dib.header.biHeight > 0 ? dib.rows() - 1 - y : y;
    const auto at = static_cast<std::size_t>(row * dib.step() + int64_t{x} * bits / 8);
    if (bits <= 8) {
        const std::size_t index = nearestEntry(dib.words, pixel) & 255;
        const int value = bits == 1 ? index != 0 : static_cast<int>(index) & ((1 << bits) - 1);
        const int shift = 8 - bits - x * bits % 8;
        dib.pixels.at(at) = static_cast<uint8_t>((dib.pixels.at(at) & ~(((1 << bits) - 1) << shift)) | value << shift);
        return;
    }
    uint32_t word = 0;
    std::memcpy(&word, pixel.data(), 4);
    if (bits != 24) word = maskedWord(dib, pixel);
    for (int i = 0; i < bits / 8; ++i)
        dib.pixels.at(at + static_cast<std::size_t>(i)) = static_cast<uint8_t>(word >> 8 * i);
}

std::vector<uint32_t> fixedTable(uint32_t entries, bool gray) {
    static const uint32_t sixteen[] = {0,        0x800000, 0x008000, 0x808000, 0x000080, 0x800080, 0x008080, 0x808080,
                                       0xC0C0C0, 0xFF0000, 0x00FF00, 0xFFFF00, 0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};
    std::vector<uint32_t> table;
    for (uint32_t i = 0; i < entries; ++i) {
        const uint32_t red = std::min(i / 32 * 32 + (i / 32 == 7 ? 31 : 0), 255u);
        const uint32_t green = i / 4 % 8 == 7 ? 255 : i / 4 % 8 * 32, blue = i % 4 == 3 ? 255 : i % 4 * 64;
        table.push_back(gray || entries == 2 ? 255 / (entries - 1) * i * 0x10101
                        : entries == 16      ? sixteen[i]
                                             : red << 16 | green << 8 | blue);
    }
    return table;
}

// Boxes as lists of their cells.
std::vector<uint32_t> medianCut(const std::vector<Bytes4>& pixels, bool gray, int32_t bits) {
    struct Cell {
        int at[3]; // blue, green, red
        int64_t count;
    };
    using Box = std::vector<Cell>;
    std::map<std::array<int, 3>, int64_t> counts;
    for (const Bytes4& p : pixels) {
        ++counts[gray ? std::array<int, 3>{0, 0, p[0]} : std::array<int, 3>{p[0] / 4, p[1] / 4, p[2] / 4}];
    }
    const int unit = gray ? 1 : 4;
    const auto entry = [&](int64_t b, int64_t g, int64_t r) {
        return static_cast<uint32_t>(gray ? r * 0x10101 : r << 16 | g << 8 | b);
    };
    Box all;
    std::vector<uint32_t> table;
    for (const auto& [at, count] : counts) {
        all.push_back({{at[0], at[1], at[2]}, count});
        table.push_back(entry(at[0] * unit, at[1] * unit, at[2] * unit));
    }
    const std::size_t entries = std::size_t{1} << bits;
    if (table.size() <= entries) return table;
    std::vector<Box> boxes = {all};
    while (boxes.size() < entries) {
        const std::size_t standing = boxes.size();
        for (std::size_t i = 0; i < standing && boxes.size() < entries; ++i) {
            Box& box = boxes[i];
            if (box.size() == 1) continue;
            const auto range = [&](int axis) {
                const auto less = [=](const Cell& a, const Cell& b) { return a.at[axis] < b.at[axis]; };
                const auto ends = std::minmax_element(box.begin(), box.end(), less);
                return ends.second->at[axis] - ends.first->at[axis];
            };
            const int axis = range(2) >= range(1) && range(2) >= range(0) ? 2 : range(1) < range(0) ? 0 : 1;
            std::map<int, int64_t> planes;
            int64_t n = 0, before = 0, passed = 0;
            for (const Cell& cell : box) planes[cell.at[axis]] += cell.count, n += cell.count;
            int end = 0; // the first plane of the upper part
            for (const auto& [plane, count] : planes) {
                before = passed, passed += count, end = plane;
                if (passed > n / 2) break;
            }
            if (n / 2 - before >= passed - n / 2) ++end;
            Box upper;
            for (const Cell& cell : box) {
                if (cell.at[axis] >= end) upper.push_back(cell);
            }
            box.erase(std::remove_if(box.begin(), box.end(), [=](const Cell& c) { return c.at[axis] >= end; }),
                      box.end());
            boxes.push_back(upper);
        }
    }
    table.clear();
    for (const Box& box : boxes) {
        int64_t sums[3] = {}, n = 0;
        for (const Cell& cell : box) {
            n += cell.count;
            for (int c = 0; c < 3; ++c) sums[c] += cell.at[c] * unit * cell.count;
        }
        table.push_back(entry(sums[0] / n, sums[1] / n, sums[2] / n));
    }
    return table;
}

} // namespace tovtest
