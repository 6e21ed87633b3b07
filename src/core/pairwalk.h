// The pair walk: a kernel over a source and a destination where they lie, in blocks that cross no tile of either.
#pragma once

#include "core/context.h"
#include "core/tiles.h"
#include "tov.h"

namespace tov {

// One block as the kernel gets it; both places begin at its upper left pixel.
struct PairBlock {
    BlockPlace src;
    BlockPlace dst;
    Point offset; // in the destination's rectangle
    Size size;
};

// What a pair walk covers: `size` pixels from a point of each image on.
struct PairWalk {
    const Reporter& report;
    TovImage* src;
    TovImage* dst; // where it is the source too, its tiles serve as both
    Point from;
    Point to;
    Size size;
    // Whether the source's rectangle is walked from its last row up.
    bool upwards = false;
    // Whether a negative status behind the destination's first tile ends the walk, as it does behind all others.
    bool looksAtFirst = false;
    // Whether the tile behind whose request it did is released.
    bool releasesRefused = false;
};

// Runs `kernel(args, block)` for each block, rows of blocks from the top of the destination, each from the left. A tile
// is asked for when a block lies in another one than the block before, the destination's first. One that can't be had
// is reported with TOV_STS_BAD_ARG, "(dstImage->tileInfo->tileData == NULL)" or the same of srcImage, and ends the
// walk; so does a negative status of the thread behind a request, even one that an earlier call has left. At the end
// the destination's tile is released, then the source's.
void runPairWalk(const PairWalk& walk, void (*kernel)(const void* args, const PairBlock& block), const void* args);

} // namespace tov
