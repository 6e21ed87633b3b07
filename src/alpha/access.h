// The channel walk of the alpha kernels: where a channel of an image begins and how it is stepped through.
#pragma once

#include "core/image.h"
#include "kernel/kernel.h"
#include "tov.h"

namespace tov {

// Positions and steps in elements of the image's depth, bits for 1-bit images: the sample of channel k, column x and
// row y of the region stands at start + k * channelStep + y * rowStep + x * pixelStep.
struct OwnPixelAccess {
    uint8_t* data;
    uint32_t depth;
    ptrdiff_t start;
    ptrdiff_t channelStep;
    ptrdiff_t rowStep;
    ptrdiff_t pixelStep;
};

// channel is one-based; roi may be null. origin plays no part.
void ownGetPixelAccess(const TovImage& image, const TovROI* roi, int32_t channel, OwnPixelAccess& access);

// A channel of an image and those behind it as a lane, channels being its planes.
template <class T>
OWN_INLINE Lane<T> channelLane(const TovImage& image, int32_t channel) {
    OwnPixelAccess access;
    ownGetPixelAccess(image, image.roi, channel, access);
    const auto bytes = static_cast<ptrdiff_t>(sizeof(T));
    return {reinterpret_cast<T*>(access.data) + access.start, access.rowStep * bytes, access.channelStep * bytes,
            access.pixelStep};
}

// A mask's first pixel, for the mask walk; no lane without a mask.
inline MaskLane maskLane(const TovImage* mask) {
    if (mask == nullptr) return {};
    OwnPixelAccess access;
    ownGetPixelAccess(*mask, mask->roi, 1, access);
    return {access.data + (access.start >> 3), access.rowStep >> 3, static_cast<int32_t>(access.start & 7)};
}

} // namespace tov
