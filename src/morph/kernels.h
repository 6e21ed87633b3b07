// The kernels of erosion, which work on rows of values in buffers of its own.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tov {

// Lengths and positions count values. At 1 bit the minimum is the logical and.
struct MorphKernels {
    // out[i] is the least of the `side` (2 and more) values from line[i] on, for i below count. Uses up line and spare,
    // of count + side - 1 values each.
    void (*across)(uint8_t* line, uint8_t* spare, int64_t side, uint8_t* out, ptrdiff_t count);
    // row = the lesser of row and other.
    void (*lower)(uint8_t* row, const uint8_t* other, ptrdiff_t count);
    // The same for two rows at once: running takes in row, and out is the lesser of running and earlier.
    void (*lowerBoth)(uint8_t* running, const uint8_t* row, const uint8_t* earlier, uint8_t* out, ptrdiff_t count);
    // row takes over the values of other whose mask bits, from bit `bit` of `mask` on, are set.
    void (*select)(uint8_t* row, const uint8_t* other, const uint8_t* mask, int32_t bit, ptrdiff_t count);
};

// Of depth 1U, 8U or 16U.
const MorphKernels& morphKernels(uint32_t depth);

} // namespace tov
