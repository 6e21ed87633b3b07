// The kernels of the blur as its walks see them.
#pragma once

#include "blur/source.h"
#include "core/geometry.h"
#include "tov.h"

namespace tov {

// What a kernel is called with. work begins at the first window's first sample and is nCols by nRows larger than the
// output. dst's region begins at the first output pixel.
struct BlurArgs {
    BlurSource* work;
    TovImage* dst;
    const TovImage* mask; // 1-bit, whose region begins at the first output pixel; or null
    Size size;
    int32_t nCols;
    int32_t nRows;
    float inverse; // of the window's area
};

// Blurs by the kernel for the depth of dst. False when the work area can't be had.
bool ownBlurRows(const BlurArgs& args);

// The kernels that switch the rounding mode; the others are exact in any.
bool ownBlur_32s(const BlurArgs& args);
bool ownBlur_32f(const BlurArgs& args);

} // namespace tov
