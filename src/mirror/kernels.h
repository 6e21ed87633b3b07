// The kernels of mirroring as the front sees them: plain images, no tiles, no reports.
#pragma once

#include "core/geometry.h"
#include "tov.h"

namespace tov {

// What a kernel is called with. Each image gives its own region's first pixel and its own mask. The same header twice
// is in place; it has no mask then.
struct MirrorArgs {
    TovImage* src;
    TovImage* dst;
    int32_t nChannels; // how many are moved
    int32_t coiSrc;    // one-based, 0 for the first ones
    int32_t coiDst;
    Size size;
    int32_t flipAxis;
};

// Mirrors by the kernel for the source's depth and data order. False when a temporary row can't be had.
bool ownMirrorDispatch(const MirrorArgs& args);

} // namespace tov
