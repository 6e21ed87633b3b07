// The search for the nearest entry of a colour table.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/memory.h"
#include "dib/kernels.h"

namespace tov {

// Finds entries of a table. The first of equally near entries wins, except that in a table of 256 a gray pixel takes
// the entry of its own number where that is the same gray.
//
// For many pixels answers are kept: a cell of 4 x 4 x 4 colours is worked out when a pixel first falls into it, from
// the entries that can win in the 16 x 16 x 16 colours around it. Without memory for that, and for few pixels, all
// entries are looked at each time.
class NearestEntry {
public:
    NearestEntry() = default;
    // Takes a table of `entries` entries of four bytes, at least one, for a search of about `pixels` pixels. The table
    // must stay as it is meanwhile.
    void read(const uint8_t* table, uint32_t entries, int64_t pixels);

    // Finds the low bytes of the entries' numbers.
    void ownNearestPaletteIndex(const Pixel* pixels, int32_t count, uint8_t* found);

private:
    static constexpr int32_t kIndexed = 256; // entries that fit a byte
    static constexpr int32_t kWideBits = 4;  // of each colour, in the number of a wide cell
    static constexpr int32_t kCellBits = 6;  // and of a cell

    struct Color {
        int32_t part[3]; // blue, green, red
    };
    // By cell; those of a wide cell are neighbours, so that what a picture needs is close together.
    struct Answers {
        uint8_t known[1 << 3 * kCellBits];
        uint16_t nCandidates[1 << 3 * kWideBits];
        uint8_t candidates[1 << 3 * kWideBits][kIndexed];
        uint8_t entries[1 << 3 * kCellBits][64];
    };

    static Color lowestOf(Pixel pixel, int32_t bits);
    bool isOwnGray(Pixel pixel) const;
    uint8_t searched(Pixel pixel) const;
    int32_t canWin(const Color& low, int32_t side, const uint8_t* among, int32_t count, uint8_t* winners) const;
    void workOut(Pixel pixel);

    const uint8_t* table_ = nullptr;
    uint32_t nEntries_ = 0;
    Color colors_[kIndexed] = {};
    AlignedBlock<Answers> answers_;
};

} // namespace tov
