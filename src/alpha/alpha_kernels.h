// The kernels of the alpha operations as fronts see them: plain images, no tiles, no reports.
#pragma once

#include "core/geometry.h"
#include "tov.h"

namespace tov {

// dst = src * value and dst = a * b, samples being fractions of their depth's largest value, for `size` pixels from the
// first one of each image's region on, under mask where it isn't null. Depth 8U or 16U is dstImage's.
void ownMultiplySScale(TovImage* srcImage, TovImage* dstImage, int32_t value, Size size, const TovImage* mask);
void ownMultiplyScale(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage, Size size, const TovImage* mask);

} // namespace tov
