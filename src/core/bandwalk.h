// The band walk: a kernel over one or two sources and a destination, tile by tile, without copying a pixel.
#pragma once

#include "core/context.h"
#include "tov.h"

namespace tov {

// One cell as the kernel gets it: views that are plain images whose regions are the cell. A source that is the
// destination comes as the destination's view. mask is null without one.
struct BandCell {
    TovImage* sources[2];
    TovImage* dst;
    TovImage* mask;
};

// What a band walk covers.
struct BandWalk {
    const Reporter& report;
    TovImage* sources[2]; // the second one may be null
    TovImage* dst;
    TovImage* mask; // merged from those of all images, or null
    // The context of a tile that could not be had, for each source and for the destination; the status is
    // TOV_STS_BAD_ARG.
    const char* sourceContexts[2];
    const char* dstContext;
};

// Runs `kernel(kernelArgs, cell)` for each cell: bands of rows from the top, in each band cells from the left. A cell
// is the largest rectangle that lies in one tile of every tiled image. After a tile that could not be had, those still
// held are released in the order of the images, the destination last.
void runBandWalk(const BandWalk& walk, void (*kernel)(const void* kernelArgs, const BandCell& cell),
                 const void* kernelArgs);

} // namespace tov
