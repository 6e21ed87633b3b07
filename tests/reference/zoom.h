// A naive model of zooming.
#pragma once

#include "reference/decimate.h"

namespace tovtest {

// Writes pixels and tile requests of the scene, and its reports and status where the operation refuses. The mode is one
// of the first three, and masks have no masks.
void zoomImage(Scene& scene, TestImage& src, TestImage& dst, const Rates& rates);

} // namespace tovtest
