// A naive model of the convolution.
#pragma once

#include "reference/samples.h"

namespace tovtest {

// A kernel as the caller gives it.
struct ConvForm {
    int32_t nCols, nRows, anchorX, anchorY, nShiftR;
    std::vector<int32_t> values;
};

// Writes pixels of the scene, the tile requests of its destination, and the reports and status of a refusal.
void convolveImage(Scene& scene, TestImage& src, TestImage& dst, const std::vector<ConvForm>& kernels, int32_t method);

} // namespace tovtest
