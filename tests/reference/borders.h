// What an image reads like beyond its edges, one value at a time.
#pragma once

#include "reference/samples.h"

namespace tovtest {

// The raw bits that a border constant gives at a depth.
uint32_t constantBits(int32_t value, uint32_t depth);
// The raw bits at a coordinate that may lie outside the image.
uint32_t borderedBits(const TestImage& image, int32_t x, int32_t y, int c);

} // namespace tovtest
