// The search for the nearest entry of a colour table.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/memory.h"
#include "dib/kernels.h"

namespace tov {

// Finds entries of a table, which it copies. The first of equally near entries wins, except that in a table of 256 a
// gray pixel takes the entry of its own number where that is the same gray. For the cells of a coarse grid the entries
// that can win are found once, when a pixel first falls into the cell; without memory for that, all are looked at.
class NearestEntry {
public:
    NearestEntry() = default;
    // Reads `entries` entries of four bytes, at least one.
    void read(const uint8_t* table, uint32_t entries);

    uint32_t ownNearestPaletteIndex(Pixel pixel);

private:
    struct Color {
        int32_t blue;
        int32_t green;
        int32_t red;
    };
    static Color colorOf(Pixel pixel);
    uint32_t searched(Color color) const;
    uint32_t candidatesOf(uint32_t cell);

    const uint8_t* table_ = nullptr;
    uint32_t entries_ = 0;
    Color colors_[256] = {};
    AlignedBlock<uint32_t> cells_; // where a cell's list begins, 0 for none yet
    AlignedBlock<uint8_t> lists_;  // a list: the number of its entries less one, then the entries
    uint32_t listsEnd_ = 0;
};

} // namespace tov
