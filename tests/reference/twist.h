// A naive model of the colour twist, in whole numbers.
#pragma once

#include "reference/samples.h"

namespace tovtest {

// Writes pixels and tile requests of the scene.
void twistImage(Scene& scene, TestImage& src, TestImage& dst, const TovColorTwist& twist, int32_t offset);

} // namespace tovtest
