// Zooming as its fronts, its walk and its kernels see it.
#pragma once

#include "core/context.h"
#include "core/geometry.h"
#include "core/image.h"
#include "kernel/maskruns.h"
#include "kernel/round.h"
#include "tov.h"

namespace tov {

constexpr Reporter kZoomReport{"tovZoom", "tovZoom"};

// The core's way from floating-point numbers to integers: the integer at or below, where what lacks less than 0.00001
// counts as a whole.
OWN_INLINE int32_t ownRound(double value) { return nearestEven(value + 0.00001 - 0.5); }

// The same for numbers of any size.
inline int32_t ownRoundAny(double value) {
    const double low = value > -2147483647.0 ? value : -2147483647.0;
    return ownRound(low < 2147483646.0 ? low : 2147483646.0);
}

// One axis of a call.
struct Stretch {
    double rate; // source pixels for a destination pixel
    double step; // from position to position, so that the last pixels of both regions meet
};

// One call, checked.
struct ZoomCall {
    TovImage* src;
    TovImage* dst;
    int32_t mode; // that takes effect
    Stretch x;
    Stretch y;
};

// What takes part of an image: its region under its mask, and the last row and column that may be read.
struct ZoomSide {
    explicit ZoomSide(const TovImage& image);

    Point at;
    Size size;
    Point last;
    Channels channels;
};
// Lowers a destination to what the source can fill, but not below one pixel.
Size fitted(const ZoomCall& call, const ZoomSide& src, const ZoomSide& dst);

// A rectangle between plain images: stretches the region of src over that of dst, whose first pixel stands at (x0, y0).
// With `fit` the destination is lowered first. False when the call has to end.
bool ownZoomRect(const ZoomCall& call, TovImage& src, TovImage& dst, double x0, double y0, bool fit);

// Where one of the images is tiled: cell by cell of the destination.
void ownZoomCells(const ZoomCall& call);

// Zooms; reports as tovZoom.
void ownZoomCore(TovImage* srcImage, TovImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
                 int32_t interpolate);

// What a kernel is called with. Tables hold, for each pixel of the rectangle on one axis, the sample that it begins at
// and the fraction between that and the next; a cubic begins at its second sample.
struct ZoomArgs {
    const TovImage* src; // plain; indices count from the region's first pixel
    const TovImage* dst;
    Size size;
    MaskLane mask; // first is null without one
    Channels srcChannels;
    Channels dstChannels;
    const int32_t* columns;
    const int32_t* rows;
    const float* columnFractions; // null for the nearest pixel
    const float* rowFractions;
};
// Runs the kernel for a mode and the images' depth. False when memory for rows can't be had.
bool ownZoomRows(const ZoomArgs& args, int32_t mode);
// The same for the modes that interpolate.
bool ownZoomBetween(const ZoomArgs& args, int32_t mode);

} // namespace tov
