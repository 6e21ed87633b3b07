// The kernels of mapping as the front sees them.
#pragma once

#include "core/ownrect.h"
#include "kernel/maskruns.h"

namespace tov {

// Pixel steps count values. Planes take one value of each pixel in each of src.nChannels planes; pixels take as many
// neighbouring values.
struct MapArgs : PlainPair {
    int32_t srcPixelStep;
    int32_t dstPixelStep;
    Size size;
    const void* tables;
};

using MapKernel = void (*)(const MapArgs& args);

// The kernel for 8 or 16 bits a value.
MapKernel mapKernel(int32_t bits, bool planes, bool masked);

} // namespace tov
