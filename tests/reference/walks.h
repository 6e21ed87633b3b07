// The tile requests that the walks over tiled images make, in their order.
#pragma once

#include <vector>

#include "support/scene.h"

namespace tovtest {

// Band by band over a rectangle of the images' regions. The destination comes last; sources that are the destination
// are left out by the caller. Each element that is tiled is asked for a tile wherever the walk crosses into it.
void logBands(Scene& scene, const std::vector<TestImage*>& sources, TestImage& dst, int32_t width, int32_t height);

// Cell by cell over the grid of dst, or of src if only that is tiled. src may be null.
void logBlocks(Scene& scene, TestImage* src, TestImage& dst, int32_t width, int32_t height);

// All tiles that a rectangle of the image touches, tile row by tile row: read from left to right, then released from
// right to left. x and y count from the image's first pixel.
void logGather(Scene& scene, const TestImage& image, int32_t x, int32_t y, int32_t width, int32_t height);

} // namespace tovtest
