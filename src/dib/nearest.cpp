// The search for the nearest entry of a colour table.
#include "dib/nearest.h"

#include <cstring>

namespace tov {

namespace {

constexpr int32_t kCellBits = 5; // of each colour
constexpr int32_t kCellSide = 1 << (8 - kCellBits);
constexpr uint32_t kCells = 1U << (3 * kCellBits);
constexpr uint32_t kListBytes = 1U << 20;
constexpr uint32_t kIndexed = 256; // entries that fit a byte

int32_t square(int32_t value) { return value * value; }

} // namespace

NearestEntry::Color NearestEntry::colorOf(Pixel pixel) {
    const auto byte = [&](int32_t i) { return static_cast<int32_t>(pixel >> (8 * i) & UINT8_MAX); };
    return {byte(0), byte(1), byte(2)};
}

void NearestEntry::read(const uint8_t* table, uint32_t entries) {
    table_ = table;
    entries_ = entries;
    if (entries > kIndexed) return;
    for (uint32_t i = 0; i < entries; i++) colors_[i] = {table[4 * i], table[4 * i + 1], table[4 * i + 2]};
    if (entries <= 2) return;
    cells_ = AlignedBlock<uint32_t>(kCells);
    lists_ = AlignedBlock<uint8_t>(kListBytes);
    if (cells_) std::memset(cells_.get(), 0, kCells * sizeof(uint32_t));
    listsEnd_ = 1;
}

uint32_t NearestEntry::searched(Color color) const {
    uint32_t best = 0;
    int32_t least = INT32_MAX;
    for (uint32_t i = 0; i < entries_; i++) {
        const uint8_t* entry = table_ + size_t{4} * i;
        const int32_t distance =
            square(color.blue - entry[0]) + square(color.green - entry[1]) + square(color.red - entry[2]);
        if (distance >= least) continue;
        best = i;
        least = distance;
        if (distance == 0) break;
    }
    return best;
}

// An entry can't win where its nearest point of the cell is farther off than another entry's farthest point.
uint32_t NearestEntry::candidatesOf(uint32_t cell) {
    if (kListBytes - listsEnd_ < kIndexed + 1) {
        std::memset(cells_.get(), 0, kCells * sizeof(uint32_t));
        listsEnd_ = 1;
    }
    const auto lowest = [&](int32_t axis) {
        return static_cast<int32_t>(cell >> (axis * kCellBits) & ((1U << kCellBits) - 1)) * kCellSide;
    };
    const int32_t low[3] = {lowest(0), lowest(1), lowest(2)};
    int32_t nearest[kIndexed];
    int32_t bound = INT32_MAX;
    for (uint32_t i = 0; i < entries_; i++) {
        const int32_t at[3] = {colors_[i].blue, colors_[i].green, colors_[i].red};
        int32_t near = 0;
        int32_t far = 0;
        for (int32_t axis = 0; axis < 3; axis++) {
            const int32_t below = low[axis] - at[axis];
            const int32_t above = at[axis] - (low[axis] + kCellSide - 1);
            const int32_t outside = below > above ? below : above;
            near += outside > 0 ? square(outside) : 0;
            far += square(below < above ? below : above);
        }
        nearest[i] = near;
        bound = far < bound ? far : bound;
    }
    uint8_t* list = lists_.get() + listsEnd_;
    uint32_t count = 0;
    for (uint32_t i = 0; i < entries_; i++) {
        list[1 + count] = static_cast<uint8_t>(i);
        count += nearest[i] <= bound ? 1 : 0;
    }
    list[0] = static_cast<uint8_t>(count - 1);
    cells_[cell] = listsEnd_;
    listsEnd_ += count + 1;
    return cells_[cell];
}

uint32_t NearestEntry::ownNearestPaletteIndex(Pixel pixel) {
    const Color color = colorOf(pixel);
    if (entries_ == kIndexed && color.blue == color.green && color.blue == color.red) {
        const Color& same = colors_[color.blue];
        if (same.blue == color.blue && same.green == color.blue && same.red == color.blue) {
            return static_cast<uint32_t>(color.blue);
        }
    }
    if (!cells_ || !lists_) return searched(color);
    const auto part = [](int32_t value, int32_t axis) {
        return static_cast<uint32_t>(value >> (8 - kCellBits)) << (axis * kCellBits);
    };
    const uint32_t cell = part(color.blue, 0) | part(color.green, 1) | part(color.red, 2);
    const uint32_t start = cells_[cell] != 0 ? cells_[cell] : candidatesOf(cell);
    const uint8_t* list = lists_.get() + start;
    const int32_t last = list[0];
    uint32_t best = list[1];
    if (last == 0) return best;
    int32_t least = INT32_MAX;
    for (int32_t i = 1; i <= last + 1; i++) {
        const Color& entry = colors_[list[i]];
        const int32_t distance =
            square(color.blue - entry.blue) + square(color.green - entry.green) + square(color.red - entry.red);
        const bool nearer = distance < least;
        best = nearer ? list[i] : best;
        least = nearer ? distance : least;
    }
    return best;
}

} // namespace tov
