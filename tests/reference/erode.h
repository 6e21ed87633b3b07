// A naive model of erosion.
#pragma once

#include "reference/samples.h"

namespace tovtest {

// Writes pixels and tile requests of the scene.
void erodeImage(Scene& scene, TestImage& src, TestImage& dst, int32_t nIterations);

} // namespace tovtest
