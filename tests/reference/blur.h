// A naive model of the blur.
#pragma once

#include "reference/samples.h"

namespace tovtest {

struct Box {
    int32_t nCols, nRows, anchorX, anchorY;
};

// Writes pixels of the scene, and its reports and status where the operation refuses; tile requests are left out.
void blurImage(Scene& scene, TestImage& src, TestImage& dst, const Box& box);

} // namespace tovtest
