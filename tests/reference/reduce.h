// A naive model of bit reduction, jitter and dithering.
#pragma once

#include "reference/samples.h"

namespace tovtest {

// Writes pixels and tile requests of the scene, for images of the same size and a pair of depths that is served.
// Jitter draws from rand.
void reduceImage(Scene& scene, TestImage& src, TestImage& dst, int32_t jitterType, int32_t ditherType, int32_t levels);

} // namespace tovtest
