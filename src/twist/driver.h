// The driver of the colour twist: its walk over plain and tiled images.
#pragma once

#include "core/context.h"
#include "tov.h"

namespace tov {

// The twist of images that have passed the checks. Without masks, and with a mask on either or both. A negative status
// of the thread, an earlier call's among them, ends the walk behind a tile request or a step of making the mask; the
// first destination tile of the call without masks is the exception.
void ownApplyColorTwist(const Reporter& report, TovImage* srcImage, TovImage* dstImage, const TovColorTwist& cTwist,
                        int32_t offset);
void ownApplyColorTwistMasked(const Reporter& report, TovImage* srcImage, TovImage* dstImage,
                              const TovColorTwist& cTwist, int32_t offset);

} // namespace tov
