// The block walk: an operation calls itself on plain views, cell by cell of one tile grid.
#pragma once

#include "core/context.h"
#include "core/geometry.h"
#include "tov.h"

namespace tov {

// What a block walk covers: `size` pixels from the first pixel of each image's region on. One image at least is tiled.
struct BlockWalk {
    const Reporter& report;
    TovImage* source; // null for an operation on one image
    TovImage* dst;
    TovImage* mask; // goes with the destination's views, or null
    Size size;
};

// Runs `operation(args, source view, destination view)` for each cell of the destination's grid, or of the source's if
// only that is tiled, row by row. A source that is tiled like the destination is copied into a buffer, cell by cell.
// Reports a tile that can't be had with TOV_STS_TILE_FAILURE, "Error get tile to write" or "Error get tile to read",
// and a buffer that can't be had with TOV_STS_BACKTRACE; either ends the walk, and a tile then held is released.
void runBlockWalk(const BlockWalk& walk, void (*operation)(const void* args, TovImage* source, TovImage* dst),
                  const void* args);

} // namespace tov
