// Mirroring into a tiled image.
#pragma once

#include "core/context.h"
#include "mirror/kernels.h"

namespace tov {

// Mirrors the rectangle that begins at `from` in the source to the one at `to` in the tiled destination, tile by tile.
// False when a temporary can't be had, which is not reported; a tile that can't be had is, with TOV_STS_TILE_FAILURE.
// Either ends the walk.
bool mirrorToTiles(const Reporter& report, const MirrorArgs& args, Point from, Point to);

} // namespace tov
