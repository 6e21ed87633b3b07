// The row kernels of the colour twist as the driver sees them, and what they are called with.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernel/maskruns.h"
#include "tov.h"

namespace tov {

// One call's map, prepared. Sums are exact in double precision: a weight has 31 bits and a sample 16, so products and
// their sums stay below 2^51, and the scale is a power of two. So the order of adding is free, and truncating a sum
// that is in range is the same as shifting its integer form down.
struct TwistMap {
    double m[16];
    int32_t data[12]; // integer form of m; its constants have the offset in them, so limits are higher by it
    int32_t shift;
    int32_t low;    // whole parts below it become it
    int32_t high;   // whole parts above it become it
    int32_t offset; // is added then
    bool needClamp; // whether a sum can leave the range
    bool fits32;    // whether all partial sums of integers fit 32 bits
};

// One row of pixels. Steps count samples: between pixels in pixel order, between planes in plane order.
template <class T>
struct TwistRow {
    const T* src;
    T* dst;
    ptrdiff_t srcStep;
    ptrdiff_t dstStep;
    int32_t count;
    bool free;           // rows are the same or disjoint; otherwise pixels are worked one by one
    const uint8_t* mask; // for kernels with mask: the row and the first pixel's bit
    int32_t maskBit;
};

// Whether a sum of rows 0 to 2 of the scaled matrix m can leave rangeLow <= v < rangeHigh, or be negative, for samples
// up to 255 or, with depth16, 65535. A doubt counts as yes.
bool ownTwistNeedsClamp(const double* m, float rangeLow, float rangeHigh, int32_t depth16);

template <class T>
using TwistKernel = void (*)(const TwistMap& map, const TwistRow<T>& row);

// By data order (0 pixel, 1 plane) and by whether there is a mask.
extern const TwistKernel<uint8_t> kTwistKernels_8u[2][2];
extern const TwistKernel<uint16_t> kTwistKernels_16u[2][2];

} // namespace tov
