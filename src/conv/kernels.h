// The row kernels of the convolution, and the records they work on.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/image.h"
#include "core/memory.h"
#include "kernel/maskruns.h"
#include "tov.h"

namespace tov {

// Rows are worked in stretches of at most this many values, so that all that belongs to one stays in the fastest cache.
constexpr int32_t kConvStretch = 512;

// A tap that isn't 0: its place from the top left of the neighbourhood, and its weight in single precision.
struct ConvTap {
    int32_t row;
    int32_t col;
    float weight;
};

// Neighbouring taps of a list, whose products are added to what is stored before the sum is stored again. Where sums
// round, the groups decide the result.
struct ConvGroup {
    int32_t nTaps;
    int32_t low; // the least that their sum can be; only sums of 16 bits know it
};

struct ConvTaps {
    AlignedBlock<ConvTap> taps;
    AlignedBlock<ConvGroup> groups;
    ptrdiff_t nGroups = 0;
};

// Where a row's first value finds the top left sample of its neighbourhood, the distance of rows in bytes, and that of
// pixels in samples.
struct ConvPlace {
    const uint8_t* position;
    ptrdiff_t rowStep;
    ptrdiff_t pixelStep;
};

// How a kernel's sums are formed. Rounded sums are formed in double precision and stored in single precision, group by
// group. The others are exact in any order.
enum ConvArithmetic { kConvRounded, kConvExact, kConvExact16, kConvArithmetics };
// Sets `count` sums, at most kConvStretch.
using ConvSumRow = void (*)(const ConvTaps& taps, const ConvPlace& place, float* sums, ptrdiff_t count);
extern const ConvSumRow kConvSumRows[kConvArithmetics];

// What samples are kept as for each arithmetic.
constexpr ptrdiff_t kConvSampleBytes[kConvArithmetics] = {sizeof(float), sizeof(float), sizeof(uint16_t)};

// Reads `count` values, `stride` apart, of a row of an image from a bit of its first byte on (depth 1U only). By depth
// and arithmetic.
using ConvReadRow = void (*)(const uint8_t* row, int32_t bit, ptrdiff_t stride, uint8_t* samples, ptrdiff_t count);
extern const ConvReadRow kConvReadRows[kDepths - 1][kConvArithmetics];

// Shifts the low 32 bits of whole numbers right. The small form is for magnitudes below 2^31.
using ConvShiftRow = void (*)(float* row, int32_t nShiftR, ptrdiff_t count);
void ownConvShift(float* row, int32_t nShiftR, ptrdiff_t count);
extern const ConvShiftRow kConvShiftSmall;

// d = f(d, s); the rows may be the same.
using ConvCombineRow = void (*)(float* d, const float* s, ptrdiff_t count);
struct ConvCombiners {
    ConvCombineRow add;
    ConvCombineRow square;         // s * s
    ConvCombineRow addSquare;      // d + s * s, formed in double precision
    ConvCombineRow addExactSquare; // the same, for whole numbers s of at most 4096, whose squares are exact
    ConvCombineRow magnitude;      // |s|
    ConvCombineRow largest;
    ConvCombineRow smallest;
    ConvCombineRow root; // of s
};
extern const ConvCombiners kConvCombiners;

// Writes values rounded to the nearest integer, ties to even, and limited to the range of a depth; 1U gives a byte of 0
// or 1.
using ConvWriteRow = void (*)(const float* row, uint8_t* out, ptrdiff_t count);
extern const ConvWriteRow kConvWriteRows[kDepths - 1];

// Where a row of results goes: `width` pixels, of which the first nValues of nSide values each are stored at steps of
// pixelStep values, under a mask if there is one.
struct ConvStore {
    uint8_t* row;
    int32_t bit;
    ptrdiff_t pixelStep;
    const uint8_t* mask;
    int32_t maskBit;
    int32_t width;
    int32_t nSide;
    int32_t nValues;
};
// Stores results as a writer has left them, and may change them. By depth.
using ConvStoreRow = void (*)(const ConvStore& to, uint8_t* results);
extern const ConvStoreRow kConvStoreRows[kDepths - 1];

} // namespace tov
