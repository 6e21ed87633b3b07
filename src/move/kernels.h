// The kernels of copying and filling as fronts see them.
#pragma once

#include "core/ownrect.h"
#include "kernel/maskruns.h"

namespace tov {

// What a copy kernel is called with. Pixel steps count values; kernels of bits ignore them.
struct CopyArgs : PlainPair {
    int32_t srcPixelStep;
    int32_t dstPixelStep;
    Size size;
    ptrdiff_t rowBytes; // neighbouring bytes in a row, for the walk of rows
    int32_t nChProcess;
};

// What a fill kernel is called with. value has its low bits at the depth repeated through the word.
struct SetArgs {
    PlainAddress dst;
    int32_t pixelStep;
    Size size;
    ptrdiff_t rowValues;
    int32_t nChProcess;
    uint32_t value;
    MaskLane mask;
};

// Which values a kernel walks, and how.
enum Walk {
    kWalkRows,         // runs of rowValues values in nChProcess planes
    kWalkPixels,       // nChProcess neighbouring values in each pixel
    kWalkMasked,       // the same, where the mask's bit is set
    kWalkMaskedPlanes, // one value in each of nChProcess planes, where the mask's bit is set
    kWalks
};

template <class Args>
using MoveKernel = void (*)(const Args& args);

// The kernel for a walk and a number of bits a value: 1, 8, 16, 32. One bit has a kernel for rows only.
MoveKernel<CopyArgs> copyKernel(Walk walk, int32_t bits);
MoveKernel<SetArgs> setKernel(Walk walk, int32_t bits);

} // namespace tov
