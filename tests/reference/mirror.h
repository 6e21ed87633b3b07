// A naive model of mirroring.
#pragma once

#include "reference/samples.h"

namespace tovtest {

// Writes pixels and tile requests of the scene, and its report and status where the operation refuses.
void mirrorImage(Scene& scene, TestImage& src, TestImage& dst, int32_t flipAxis);

} // namespace tovtest
