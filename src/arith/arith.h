// Bit operations on whole images, on which all mask logic rests.
#pragma once

#include "tov.h"

namespace tov {

// dstImage = srcImageA or srcImageB, and dstImage = srcImageA and srcImageB, by bit. They are called and report as
// tovAdd does, under their own names; TOV_DEPTH_32F is TOV_STS_BAD_ARG, "This function does not support depth 32F".
// dataOrder of 1-bit images doesn't matter. Whole images are worked in 32-bit words, row ends included.
void tovOr(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage);
void tovAnd(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage);

// dstImage = srcImage exclusive-or the low bits of value. Otherwise as above, with one source.
void tovXorS(TovImage* srcImage, TovImage* dstImage, int32_t value);

} // namespace tov
