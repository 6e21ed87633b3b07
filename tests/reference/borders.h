// What an image reads like beyond its edges, one value at a time.
#pragma once

#include "reference/samples.h"

namespace tovtest {

// The raw bits that a border constant gives at a depth.
uint32_t constantBits(int32_t value, uint32_t depth);
// The side whose settings hold at a coordinate, or -1 inside the image.
int sideOf(const TestImage& image, int32_t x, int32_t y);
// The coordinate that a mode other than the constant reads at c on an axis of the given length, found by walking.
int32_t extended(int32_t c, int32_t length, int32_t mode);
// The raw bits at a coordinate that may lie outside the image.
uint32_t borderedBits(const TestImage& image, int32_t x, int32_t y, int c);

} // namespace tovtest
