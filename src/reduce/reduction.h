// The reduction of one rectangle to fewer bits.
#pragma once

#include <cstddef>

#include "core/geometry.h"
#include "tov.h"

namespace tov {

// A rectangle of the source and its place in the destination. A row has size.width elements, those of all channels in
// pixel order. Steps are in bytes.
struct Reduction {
    uint8_t* src;
    uint8_t* dst;
    ptrdiff_t srcStep;
    ptrdiff_t dstStep;
    ptrdiff_t srcPlaneStep;
    ptrdiff_t dstPlaneStep;
    Size size;
    int32_t nPlanes;
};

// The same of two images: width in pixels, planes of so many rows.
struct ReductionPlace {
    uint8_t* srcData;
    uint8_t* dstData;
    ptrdiff_t srcStep;
    int32_t height;
    int32_t width;
    ptrdiff_t dstStep;
    int32_t srcPlaneRows;
    int32_t dstPlaneRows;
};

using ReduceKernel = void (*)(const Reduction& reduction);
// Null for depths that aren't served.
ReduceKernel reduceKernel(uint32_t srcDepth, uint32_t dstDepth);

// Keeps the high bits of each value. A pair of depths that isn't served is reported.
void ownReduceBits(const TovImage& src, const TovImage& dst, const ReductionPlace& place);
// The same after the values of the source were jittered in place.
void ownjitter_rect(const TovImage& src, const TovImage& dst, const ReductionPlace& place, int32_t jitterType);
// To bits only, whatever depth dst has.
void ownMapToBit(const TovImage& src, const TovImage& dst, const ReductionPlace& place);

} // namespace tov
