// The band walk of the convolution: rows of a plain source become samples once, and results of a plain destination.
#pragma once

#include "conv/plan.h"
#include "tov.h"

namespace tov {

// Convolves the source's region into the destination's region position, under the destination's mask if it has one. All
// three have regions; the source has pixels as far around its region as the plan's margins reach. False when memory
// runs out.
bool ownConvolveRect(const TovImage& src, const TovImage& dst, OwnConvPlan& plan);

} // namespace tov
