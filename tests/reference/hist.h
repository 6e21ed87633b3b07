// A naive model of contrast curves.
#pragma once

#include "reference/samples.h"

namespace tovtest {

// Writes pixels and tile requests of the scene. lut has a curve for each channel of src.
void stretchImage(Scene& scene, TestImage& src, TestImage& dst, const TovLUT* const* lut);

} // namespace tovtest
