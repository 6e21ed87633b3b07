// A naive model of decimation.
#pragma once

#include "reference/samples.h"

namespace tovtest {

struct Rates {
    int32_t xDst, xSrc, yDst, ySrc, mode;
};

// Writes pixels and tile requests of the scene, and its reports and status where the operation refuses.
void decimateImage(Scene& scene, TestImage& src, TestImage& dst, const Rates& rates);

// The cubic through four samples.
double cubicAt(double a, double b, double c, double d, double t);

} // namespace tovtest
