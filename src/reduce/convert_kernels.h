// The kernels of depth conversion as the walk sees them.
#pragma once

#include <cstddef>

#include "core/geometry.h"
#include "tov.h"

namespace tov {

// One image as the kernels see it: a plain image, or a tile, from the first pixel of a block on.
struct ConvertView {
    uint32_t depth;
    int32_t nChannels;
    int32_t dataOrder;
    int32_t origin;
    uint8_t* base;
    ptrdiff_t rowStep;
    ptrdiff_t planeStep;

    ptrdiff_t elementBytes() const { return static_cast<ptrdiff_t>((depth & ~TOV_DEPTH_SIGN) >> 3); }
    ptrdiff_t pixelBytes() const {
        return dataOrder == TOV_DATA_ORDER_PLANE ? elementBytes() : nChannels * elementBytes();
    }
    ptrdiff_t channelBytes() const { return dataOrder == TOV_DATA_ORDER_PLANE ? planeStep : elementBytes(); }
};

// Converts a block of `size` pixels. Where the origins differ it is filled from its last row up.
using ConvertKernel = void (*)(const ConvertView& src, const ConvertView& dst, Size size);

// All channels, each value limited to the range of the destination's depth. No depth is 1U or 32F.
ConvertKernel convertElementsKernel(uint32_t srcDepth, uint32_t dstDepth);
// One channel, that which base points at, to bits: set for values above 0. Bits behind the row's last one stay.
ConvertKernel convertTo1UKernel(uint32_t srcDepth);
// Bits to bits, in whole bytes.
void ownConvert1UCopy(const ConvertView& src, const ConvertView& dst, Size size);

} // namespace tov
