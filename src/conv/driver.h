// The driver of the convolution: rectangles, masks, the image's edges, and the ways over plain and tiled images.
#pragma once

#include "tov.h"

namespace tov {

// What came of a convolution.
enum ConvResult {
    kConvDone = 0,
    kConvNoChannel = 1,
    kConvIncompatible = 2,
    kConvNoMemory = 3,
    kConvNoTile = 4, // a tile of the destination can't be had
    kConvOneCoi = 5,
    kConvMaskFailed = 6 // the masks could not be merged, which has been reported
};

// Convolves images that have passed the checks. The caller's headers are left as they are.
ConvResult ownConvolveImages(TovImage* srcImage, TovImage* dstImage, TovConvKernel* const* kernel, int32_t nKernels,
                             int32_t combineMethod);

} // namespace tov
