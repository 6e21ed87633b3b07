// The kernels of erosion, which work on rows of values in buffers of its own.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernel/maskruns.h"

namespace tov {

// Values along a row: the place of the first one in it, counted in values, and the distance to the next one. A negative
// distance goes leftwards.
struct RowValues {
    uint8_t* row;
    ptrdiff_t first;
    ptrdiff_t step;
};

// What may be read and written behind the last value of a buffer: bits are worked in words.
constexpr ptrdiff_t kBeyondRow = 16;

// Lengths and positions count values. At 1 bit the minimum is the logical and.
struct MorphKernels {
    // out[i] is the least of the `side` (2 and more) values from line[i] on, for i below count. Uses up line and spare,
    // of count + side - 1 values each.
    void (*across)(uint8_t* line, uint8_t* spare, int64_t side, uint8_t* out, ptrdiff_t count);
    // row = the lesser of row and other.
    void (*lower)(uint8_t* row, const uint8_t* other, ptrdiff_t count);
    // The same for two rows at once: running takes in row, and out is the lesser of running and earlier.
    void (*lowerBoth)(uint8_t* running, const uint8_t* row, const uint8_t* earlier, uint8_t* out, ptrdiff_t count);
    // The values become those of minima whose bits in the mask's first row are set.
    void (*select)(const RowValues& to, const uint8_t* minima, const MaskLane& mask, int32_t count);
};

// Of depth 1U, 8U or 16U.
const MorphKernels& morphKernels(uint32_t depth);

} // namespace tov
