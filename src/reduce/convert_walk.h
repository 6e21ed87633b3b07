// The walk of depth conversion.
#pragma once

#include "core/context.h"
#include "reduce/convert_kernels.h"

namespace tov {

// Runs a kernel over two whole images of one size, from a zero-based channel of the source on: once where both are
// plain, otherwise block by block, each in one tile of each image. Tiles that can't be had are reported; they end the
// walk, and so does a negative status of the thread after a request, even one that an earlier call has left. Then the
// tile just asked for is not released.
void ownConvertWalk(const Reporter& report, TovImage& src, TovImage& dst, ConvertKernel kernel, int32_t srcChannel);

} // namespace tov
