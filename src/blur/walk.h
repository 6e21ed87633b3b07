// The ways of the blur over plain and tiled images.
#pragma once

#include "core/context.h"
#include "core/geometry.h"
#include "tov.h"

namespace tov {

// One call, checked: the rectangle of `size` from `from` in the source to `to` in the destination.
struct BlurCall {
    const Reporter& report;
    TovImage* src;
    TovImage* dst;
    TovImage* mask; // whose region begins at the rectangle; or null. Of that size and without region over tiles
    Point from;
    Point to;
    Size size;
    int32_t nCols;
    int32_t nRows;
    int32_t anchorX;
    int32_t anchorY;
    float inverse;
};

// The whole rectangle between plain images.
void blurPlain(const BlurCall& call);

// Tile by tile, down the tile columns of the destination (or of the source, if only that is tiled). Windows reach over
// the edges of tiles. In place results wait until no window within a tile's reach needs the old pixels; a window larger
// than a tile can read blurred ones.
void blurToTiles(const BlurCall& call);
void blurInPlaceTiles(const BlurCall& call);
void blurFromTiles(const BlurCall& call);

} // namespace tov
