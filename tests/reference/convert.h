// A naive model of depth conversion.
#pragma once

#include "reference/samples.h"

namespace tovtest {

// Writes pixels and tile requests of the scene.
void convertImage(Scene& scene, TestImage& src, TestImage& dst);

} // namespace tovtest
