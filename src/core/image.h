// What a header says: its validation, its channels, and where its pixels lie.
#pragma once

#include "core/geometry.h"
#include "kernel/bitrows.h"
#include "kernel/walk.h"
#include "tov.h"

namespace tov {

inline int32_t depthBits(uint32_t depth) { return static_cast<int32_t>(depth & ~TOV_DEPTH_SIGN); }

// The place of a depth in tables by depth: 1U, 8U, 8S, 16U, 16S, 32S, 32F; -1 for what isn't a depth.
int32_t depthIndex(uint32_t depth);
constexpr int32_t kDepths = 7;

// Whether a field has a value that it may have.
inline bool isDataOrder(int32_t dataOrder) {
    return dataOrder == TOV_DATA_ORDER_PIXEL || dataOrder == TOV_DATA_ORDER_PLANE;
}
inline bool isOrigin(int32_t origin) { return origin == TOV_ORIGIN_TL || origin == TOV_ORIGIN_BL; }
inline bool isAlign(int32_t align) {
    return align == TOV_ALIGN_4BYTES || align == TOV_ALIGN_8BYTES || align == TOV_ALIGN_16BYTES ||
           align == TOV_ALIGN_32BYTES;
}

// 0 when the header is sound, otherwise the first fault, which is then the thread's status too. Reports nothing.
TovStatus tovCheckImage(TovImage* image);

// The parts of that check that creation shares: size and number of channels, then depth to alignment, then the mask.
// Each gives the first fault, or 0.
TovStatus checkSize(const TovImage& image);
TovStatus checkForm(const TovImage& image);
TovStatus checkMask(TovImage* mask);

// An image's channel of interest, or 0.
inline int32_t coiOf(const TovImage& image) { return image.roi != nullptr ? image.roi->coi : 0; }

// The values in which a call takes part with an image: how many channels, from which zero-based one on.
struct Channels {
    int32_t count;
    int32_t offset;
};
Channels channelsOf(const TovImage& image);

// Where an image's region begins and how much of it lies inside the image.
struct RoiStart {
    uint8_t* address;
    Size size;
    int32_t bitOffset;
};
// coiOffset counts only with a region. An empty region gives a size of 0 and an address that nothing may be read from.
RoiStart ownRoiStart(const TovImage& image, int32_t coiOffset);

// True when two images can be walked as one flat run of imageSize bytes, row ends included.
bool ownSameLayout(const TovImage& a, const TovImage& b, bool hasAlpha);

// The distance from plane to plane in bytes.
inline ptrdiff_t planeDistance(const TovImage& image) { return ptrdiff_t{image.height} * image.widthStep; }

// An image's region as a lane of values of type T, from a zero-based channel on; size falls to that of the region.
template <class T>
OWN_INLINE Lane<T> roiLane(const TovImage& image, int32_t coiOffset, Size& size) {
    const RoiStart start = ownRoiStart(image, coiOffset);
    size = smaller(size, start.size);
    const bool planes = image.dataOrder == TOV_DATA_ORDER_PLANE;
    return {reinterpret_cast<T*>(start.address), image.widthStep, planeDistance(image), planes ? 1 : image.nChannels};
}

// A 1-bit image's region as a lane of bits; size falls to that of the region.
template <class Byte>
OWN_INLINE BitLane<Byte> roiBits(const TovImage& image, Size& size) {
    const RoiStart start = ownRoiStart(image, 0);
    size = smaller(size, start.size);
    return {start.address, image.widthStep, start.bitOffset};
}

// A mask's region for the mask walk.
OWN_INLINE MaskLane roiMask(const TovImage& mask, Size& size) {
    const RoiStart start = ownRoiStart(mask, 0);
    size = smaller(size, start.size);
    return {start.address, mask.widthStep, start.bitOffset};
}

// Whether two plain images share no byte of memory; false if either is tiled.
bool isApart(const TovImage& a, const TovImage& b);

constexpr Size kUnlimited = {INT32_MAX, INT32_MAX};

} // namespace tov
