// Mirroring into a tiled image.
#pragma once

#include "core/context.h"
#include "mirror/kernels.h"

namespace tov {

// How the walk ends.
enum class MirrorEnd {
    kDone,
    kReported,   // a tile could not be had, reported with TOV_STS_TILE_FAILURE
    kNoTemporary // a temporary could not be had, which is not reported
};

// Mirrors the rectangle that begins at `from` in the source to the one at `to` in the tiled destination, tile by tile.
MirrorEnd mirrorToTiles(const Reporter& report, const MirrorArgs& args, Point from, Point to);

} // namespace tov
