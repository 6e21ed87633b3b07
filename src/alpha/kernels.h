// The kernels of the alpha operations as fronts see them: plain images, no tiles, no reports.
#pragma once

#include "core/geometry.h"
#include "tov.h"

namespace tov {

// dst = src * value and dst = a * b, samples being fractions of their depth's largest value, for `size` pixels from the
// first one of each image's region on, under mask where it isn't null. Depth 8U or 16U is dstImage's.
void ownMultiplySScale(TovImage* srcImage, TovImage* dstImage, int32_t value, Size size, const TovImage* mask);
void ownMultiplyScale(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage, Size size, const TovImage* mask);

// What composition works on. The roles are settled: who gives each alpha, and who receives the result's.
struct CompositeArgs {
    TovImage* srcImageA;
    TovImage* srcImageB;
    TovImage* dstImage;
    int32_t compositeType;
    TovImage* alphaSourceA; // its alpha channel, or its first channel without one
    TovImage* alphaSourceB; // the same; null: the complement of A's alpha
    TovImage* alphaTarget;  // its alpha channel; null: no result alpha is written
    int32_t premulAlpha;
    int32_t divideMode;
};

// Composes `size` pixels from the first one of each image's region on. In each row all colours are written before the
// alpha, so the destination may be an alpha source.
void ownAlphaComposite(const CompositeArgs& args, Size size, const TovImage* mask);

} // namespace tov
