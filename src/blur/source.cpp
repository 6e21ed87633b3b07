// The blur's source rows, copied as a whole or fetched into a ring.
#include "blur/source.h"

#include "core/image.h"

namespace tov {

bool BlurSource::copy(TovImage& image, Point from, Size size) { return copy_.fetch(view_, image, from, size); }

bool BlurSource::stream(const TovImage& image, Point from, Size size, int32_t nRows) {
    const int64_t rowBytes = ownRowBytes(image.dataOrder, image.depth, image.align, image.nChannels, size.width);
    const int64_t nRing = alignUp(int64_t{nRows} + kAhead + kFetched, kFetched);
    if (rowBytes > INT32_MAX || nRing > PTRDIFF_MAX / rowBytes) return false;
    view_.borrow(image);
    ring_ = AlignedBlock<uint8_t>(static_cast<size_t>(rowBytes * nRing));
    nRing_ = static_cast<ptrdiff_t>(nRing);
    rowBytes_ = static_cast<ptrdiff_t>(rowBytes);
    from_ = from;
    width_ = size.width;
    return static_cast<bool>(ring_);
}

const uint8_t* BlurSource::row(int32_t plane, ptrdiff_t y) {
    const TovImage& whole = view_.header;
    if (!ring_) return whole.imageData + plane * planeDistance(whole) + y * whole.widthStep;
    if (plane != plane_) {
        plane_ = plane;
        next_ = 0;
    }
    while (y >= next_) fetch();
    return ring_.get() + y % nRing_ * rowBytes_;
}

void BlurSource::fetch() {
    TovImage source = view_.header;
    if (source.dataOrder == TOV_DATA_ORDER_PLANE) {
        source.imageData += plane_ * planeDistance(source);
        source.nChannels = 1;
    }
    const OwnRect rect = {from_.x, 0, static_cast<int32_t>(from_.y + next_), 0, kFetched, width_};
    ownBorderedFill(&source, rect, {ring_.get() + next_ % nRing_ * rowBytes_, rowBytes_, 0});
    next_ += kFetched;
}

} // namespace tov
