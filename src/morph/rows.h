// Rows of one channel of an image, plain or tiled, read with its borders and written back.
#pragma once

#include <cstddef>

#include "core/geometry.h"
#include "morph/kernels.h"
#include "tov.h"

namespace tov {

// One zero-based channel of an image of depth 1U, 8U or 16U.
struct MorphChannel {
    TovImage* image;
    int32_t index;
};

// A row buffer holds neighbouring values of that channel's depth; positions in it count values.

// The value at a position, 0 or 1 at 1 bit.
int32_t ownPixelGet(uint32_t depth, const uint8_t* rowBuffer, ptrdiff_t pos);
// `count` values from a position on become `value`: its low bits, or at 1 bit whether it isn't 0.
void ownRowFill(uint32_t depth, int32_t value, uint8_t* rowBuffer, ptrdiff_t pos, int32_t count);

// Reads `count` values of row y from column x on, which may lie outside the image: by the border settings of that side
// then, and by those of the top or the bottom in corners. Columns are taken in runs that end where the image's width
// repeats, and tiles are asked for one at a time. False when a tile can't be had.
bool ownRowBordered(const MorphChannel& from, int64_t x, int32_t y, uint8_t* rowBuffer, int32_t count);

// A plain image's values of the channel from a point on.
RowValues plainRow(const MorphChannel& channel, Point at);
// Writes `count` values from a point of the image on, tile by tile. False when a tile can't be had.
bool ownMorphWriteRow(const uint8_t* rowBuffer, int32_t count, const MorphChannel& to, Point at);

} // namespace tov
