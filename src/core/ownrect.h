// Rectangles that several images have in common, and the one mask that a call's masks make.
#pragma once

#include "core/context.h"
#include "core/geometry.h"
#include "core/lifecycle.h"
#include "kernel/bitrows.h"
#include "kernel/walk.h"
#include "tov.h"

namespace tov {

// Fills x, y, width and height from the region clipped to the image; sizes of 0 and below mean that nothing is inside.
void ownImageRect(const TovImage& image, OwnRect& rect);

// What came of merging masks.
enum {
    OWN_MASK_NONE = 0,      // no mask, or the only one as it stands
    OWN_MASK_NEW = 1,       // a new mask, owned by the result
    OWN_MASK_NO_MEMORY = 2, // none for lack of memory
    OWN_MASK_EMPTY = 3      // none, since the masks have no pixel in common: there is nothing to do
};

// The mask of a call: pixels are processed where every mask allows it. Frees what it made.
struct CombinedMask {
    TovImage* mask = nullptr;
    int32_t state = OWN_MASK_NONE;
    TemporaryImage made;
};
// Any mask may be null. A new mask has the smallest width and height of the masks' regions, no region of its own and
// its first pixel in bit 7 of its first byte.
CombinedMask ownCombineMasks(const TovImage* maskA, const TovImage* maskB, const TovImage* maskC);

// The size of an image's region (of the image without one); false for a region that is unusable. With clip it is cut at
// the image's edges, and one that lies wholly beyond them is unusable.
bool ownRoiSize(const TovImage& image, Size& size, bool clip);

// The smallest ownRoiSize of the images; false as soon as one of them is unusable. The last image may be null.
bool ownCommonSize2(const TovImage& a, const TovImage* b, Size& size, bool clip);
bool ownCommonSize3(const TovImage& a, const TovImage& b, const TovImage* c, Size& size, bool clip);

// The cells of a grid that a region touches: those of a tiled image, 128 by 128 for a plain one.
struct TileSpan {
    int32_t xInTile;
    int32_t yInTile;
    int32_t tileHeight;
    int32_t tileWidth;
    int32_t firstCol;
    int32_t firstRow;
    int32_t nCols;
    int32_t nRows;
};
// The span of `size` pixels from the first pixel of the image's region on.
TileSpan ownTileSpan(const TovImage& image, Size size);

// Where a 1-bit image's region begins; false for another depth.
bool ownMaskBits(const TovImage& image, BitLane<const uint8_t>& bits);

// Where and in which steps a kernel walks a plain image by channel.
struct PlainAddress {
    uint8_t* start;
    ptrdiff_t rowStep;
    ptrdiff_t planeStep;
    int32_t nChannels; // how many the walk takes part with
    int32_t x;         // of the region, for 1-bit images
};
// False for an image without region that is nothing but an alpha channel.
bool ownPlainAddress(const TovImage& image, PlainAddress& address);

// The address as a lane of values of type T.
template <class T>
OWN_INLINE Lane<T> laneOf(const PlainAddress& address, int32_t pixelStep) {
    return {reinterpret_cast<T*>(address.start), address.rowStep, address.planeStep, pixelStep};
}

// Two plain images and the mask of a call on them, which may be null.
struct PlainPair {
    PlainAddress src;
    PlainAddress dst;
    MaskLane mask;
};
// False where there is nothing to walk, and after a report where the images take part with other numbers of channels.
bool ownPlainPair(const Reporter& report, const TovImage& src, const TovImage& dst, const TovImage* mask,
                  PlainPair& pair);

} // namespace tov
