// The search for the nearest entry of a colour table.
#include "dib/nearest.h"

#include <cstring>

#include "kernel/kernel.h"

namespace tov {

namespace {

constexpr int64_t kFewPixels = 4096; // for which keeping answers doesn't pay
constexpr int32_t kBlock = 256;

OWN_INLINE int32_t square(int32_t value) { return value * value; }

// The bits of a pixel in the order of its wide cell, its cell in that, and its colour in that.
OWN_INLINE uint32_t placeOf(Pixel pixel) {
    const uint32_t wide = (pixel >> 4 & 0x00F) | (pixel >> 8 & 0x0F0) | (pixel >> 12 & 0xF00);
    const uint32_t cell = (pixel >> 2 & 0x03) | (pixel >> 8 & 0x0C) | (pixel >> 14 & 0x30);
    const uint32_t color = (pixel & 0x03) | (pixel >> 6 & 0x0C) | (pixel >> 12 & 0x30);
    return wide << 12 | cell << 6 | color;
}

OWN_KERNEL void ownPlaces(const Pixel* pixels, int32_t count, uint32_t* places) {
    OWN_EACH
    for (int32_t i = 0; i < count; i++) places[i] = placeOf(pixels[i]);
}

// Takes an entry for those of a cell's 64 colours to which it is nearer than the entries before.
OWN_KERNEL void ownTakeNearer(const int32_t (&entry)[3], const int32_t (&low)[3], int32_t number, int32_t* distances,
                              int32_t* numbers) {
    OWN_EACH
    for (int32_t i = 0; i < 64; i++) {
        const int32_t distance = square(low[0] + (i & 3) - entry[0]) + square(low[1] + (i >> 2 & 3) - entry[1]) +
                                 square(low[2] + (i >> 4) - entry[2]);
        numbers[i] = distance < distances[i] ? number : numbers[i];
        distances[i] = distance < distances[i] ? distance : distances[i];
    }
}

} // namespace

// The lowest colour of a pixel's cell.
NearestEntry::Color NearestEntry::lowestOf(Pixel pixel, int32_t bits) {
    const auto part = [&](int32_t i) { return static_cast<int32_t>(pixel >> 8 * i & UINT8_MAX) & -(1 << (8 - bits)); };
    return {{part(0), part(1), part(2)}};
}

void NearestEntry::read(const uint8_t* table, uint32_t entries, int64_t pixels) {
    table_ = table;
    nEntries_ = entries;
    if (entries > kIndexed) return;
    for (size_t i = 0; i < entries; i++) colors_[i] = {{table[4 * i], table[4 * i + 1], table[4 * i + 2]}};
    if (pixels < kFewPixels) return;
    answers_ = AlignedBlock<Answers>(1);
    if (!answers_) return;
    std::memset(answers_[0].known, 0, sizeof answers_[0].known);
    std::memset(answers_[0].nCandidates, 0, sizeof answers_[0].nCandidates);
}

bool NearestEntry::isOwnGray(Pixel pixel) const {
    const uint32_t gray = pixel & UINT8_MAX;
    if (nEntries_ != kIndexed || (pixel & 0xFFFFFF) != gray * 0x10101) return false;
    const Color& own = colors_[gray];
    const auto value = static_cast<int32_t>(gray);
    return own.part[0] == value && own.part[1] == value && own.part[2] == value;
}

uint8_t NearestEntry::searched(Pixel pixel) const {
    if (isOwnGray(pixel)) return static_cast<uint8_t>(pixel);
    const Color color = lowestOf(pixel, 8);
    uint32_t best = 0;
    int32_t least = INT32_MAX;
    for (uint32_t i = 0; i < nEntries_; i++) {
        const uint8_t* entry = table_ + size_t{4} * i;
        int32_t distance = 0;
        for (int32_t c = 0; c < 3; c++) distance += square(color.part[c] - entry[c]);
        if (distance >= least) continue;
        best = i;
        least = distance;
        if (distance == 0) break;
    }
    return static_cast<uint8_t>(best);
}

// Those of some entries that can be the nearest in a cube of colours: an entry can't where its nearest point of the
// cube is farther off than another entry's farthest one.
int32_t NearestEntry::canWin(const Color& low, int32_t side, const uint8_t* among, int32_t count,
                             uint8_t* winners) const {
    int32_t nearest[kIndexed];
    int32_t bound = INT32_MAX;
    for (int32_t i = 0; i < count; i++) {
        const Color& entry = colors_[among[i]];
        int32_t farthest = 0;
        nearest[i] = 0;
        for (int32_t c = 0; c < 3; c++) {
            const int32_t below = low.part[c] - entry.part[c];
            const int32_t above = entry.part[c] - (low.part[c] + side - 1);
            const int32_t outside = below > above ? below : above;
            nearest[i] += outside > 0 ? square(outside) : 0;
            farthest += square(below < above ? below : above);
        }
        bound = farthest < bound ? farthest : bound;
    }
    int32_t n = 0;
    for (int32_t i = 0; i < count; i++) {
        if (nearest[i] <= bound) winners[n++] = among[i];
    }
    return n;
}

// Works out the answers for the cell of a pixel.
void NearestEntry::workOut(Pixel pixel) {
    Answers& answers = answers_[0];
    uint8_t winners[kIndexed];
    const uint32_t wide = placeOf(pixel) >> 12;
    const uint32_t cell = placeOf(pixel) >> 6;
    if (answers.nCandidates[wide] == 0) {
        const auto n = static_cast<int32_t>(nEntries_);
        for (int32_t i = 0; i < n; i++) winners[i] = static_cast<uint8_t>(i);
        answers.nCandidates[wide] = static_cast<uint16_t>(
            canWin(lowestOf(pixel, kWideBits), 1 << (8 - kWideBits), winners, n, answers.candidates[wide]));
    }
    const Color low = lowestOf(pixel, kCellBits);
    const int32_t n = canWin(low, 1 << (8 - kCellBits), answers.candidates[wide], answers.nCandidates[wide], winners);
    int32_t distances[64];
    int32_t numbers[64] = {};
    for (int32_t& distance : distances) distance = INT32_MAX;
    for (int32_t i = 0; i < n; i++) {
        ownTakeNearer(colors_[winners[i]].part, low.part, winners[i], distances, numbers);
    }
    answers.known[cell] = 1;
    for (int32_t i = 0; i < 64; i++) answers.entries[cell][i] = static_cast<uint8_t>(numbers[i]);
    for (int32_t i = 0; i < 64; i += 21) { // the grays, where the cell has any
        const auto gray = static_cast<uint32_t>(low.part[0] + (i & 3));
        const bool hasGrays = low.part[0] == low.part[1] && low.part[0] == low.part[2];
        if (hasGrays && isOwnGray(gray * 0x10101)) answers.entries[cell][i] = static_cast<uint8_t>(gray);
    }
}

void NearestEntry::ownNearestPaletteIndex(const Pixel* pixels, int32_t count, uint8_t* found) {
    if (!answers_) {
        for (int32_t i = 0; i < count; i++) found[i] = searched(pixels[i]);
        return;
    }
    const Answers& answers = answers_[0];
    const uint8_t* entries = answers.entries[0];
    for (int32_t done = 0; done < count; done += kBlock) {
        const int32_t n = count - done < kBlock ? count - done : kBlock;
        uint32_t places[kBlock];
        ownPlaces(pixels + done, n, places);
        for (int32_t i = 0; i < n; i++) {
            if (answers.known[places[i] >> 6] == 0) workOut(pixels[done + i]);
            found[done + i] = entries[places[i]];
        }
    }
}

} // namespace tov
