// The driver of the convolution.
#include "conv/driver.h"

#include "arith/arith.h"
#include "conv/bands.h"
#include "core/image.h"
#include "core/lifecycle.h"
#include "core/ownrect.h"
#include "core/tiles.h"

namespace tov {

namespace {

// A rectangle with a channel of interest, which working headers have as their region.
using OwnConvRect = TovROI;

struct Edges {
    int64_t x;
    int64_t y;
    int64_t width;
    int64_t height;
};

// The part of a rectangle that lies in another, coi aside; false when it is empty, and its size is 0 then.
bool ownConvIntersect(const OwnConvRect& rect, const Edges& other, OwnConvRect& out) {
    const auto along = [](int64_t a, int64_t lengthA, int64_t b, int64_t lengthB, int32_t& at, int32_t& length) {
        const int64_t begin = a > b ? a : b;
        const int64_t end = a + lengthA < b + lengthB ? a + lengthA : b + lengthB;
        at = static_cast<int32_t>(begin < 0 ? 0 : begin < INT32_MAX ? begin : INT32_MAX);
        length = static_cast<int32_t>(end > at ? end - at : 0);
    };
    along(rect.xOffset, rect.width, other.x, other.width, out.xOffset, out.width);
    along(rect.yOffset, rect.height, other.y, other.height, out.yOffset, out.height);
    if (out.width > 0 && out.height > 0) return true;
    out.width = out.height = 0;
    return false;
}

// The rectangle in which an image takes part. Its mask limits the size and leaves the place.
OwnConvRect ownConvRectOfImage(const TovImage& image) {
    OwnConvRect rect = {0, 0, 0, image.width, image.height};
    if (const TovROI* roi = image.roi) {
        ownConvIntersect(rect, {roi->xOffset, roi->yOffset, roi->width, roi->height}, rect);
        rect.coi = roi->coi;
    }
    if (image.maskROI != nullptr) {
        int32_t width = rect.width;
        int32_t height = rect.height;
        ownClipSize(*image.maskROI, width, height);
        rect.width = width;
        rect.height = height;
    }
    return rect;
}

// Gives both rectangles the smaller width and height; false when nothing is in common.
bool ownConvCommonSize(OwnConvRect& a, OwnConvRect& b) {
    const Size size = smaller({a.width, a.height}, {b.width, b.height});
    a.width = b.width = size.width;
    a.height = b.height = size.height;
    return !size.empty();
}

ConvResult ownConvCheckChannels(const TovImage& src, const TovImage& dst) {
    if ((src.roi->coi == 0) != (dst.roi->coi == 0)) return kConvOneCoi;
    if (src.roi->coi != 0) return kConvDone;
    const int32_t srcCount = channelsOf(src).count;
    const int32_t dstCount = channelsOf(dst).count;
    if (srcCount == 0 || dstCount == 0) return kConvNoChannel;
    return srcCount == dstCount ? kConvDone : kConvIncompatible;
}

void ownConvClampBorder(TovImage& header) {
    for (int32_t& value : header.borderConst) value = limitToDepth(value, header.depth);
}

bool ownConvFitsImage(const TovImage& image, const Edges& rect) {
    return rect.x >= 0 && rect.y >= 0 && rect.x + rect.width <= image.width && rect.y + rect.height <= image.height;
}

Point placeOf(const OwnConvRect& rect) { return {rect.xOffset, rect.yOffset}; }
void moveTo(OwnConvRect& rect, Point start, Point by) {
    rect.xOffset = start.x + by.x;
    rect.yOffset = start.y + by.y;
}

// One call: private copies of the headers, whose regions are the rectangles in work.
class Convolution {
public:
    Convolution(TovImage* srcImage, TovImage* dstImage)
        : src_(*srcImage), dst_(*dstImage), inPlace_(srcImage == dstImage) {}

    ConvResult run(TovConvKernel* const* kernel, int32_t nKernels, int32_t combineMethod);

private:
    ConvResult makeMask();
    ConvResult plain();
    ConvResult whole();
    ConvResult tiles();
    ConvResult tile(const TilePart& part, const ImageView* copy);

    // A copy of a rectangle of the source with the pixels around it, whose region is that rectangle.
    bool ownConvBorderedView(const OwnConvRect& rect, ImageView& view, BorderedCopy& pixels);
    ConvResult copied(const OwnConvRect& rect, Point at);
    // From the region of a header to a place in the destination's rectangle.
    ConvResult toDestination(const TovImage& src, Point at);

    ImageView src_;
    ImageView dst_;
    bool inPlace_;
    ImageView mask_;
    TemporaryImage merged_;
    OwnConvPlan plan_;
    Point to_{}; // where the rectangles of the call begin
    Point maskFrom_{};
};

// The mask of the call becomes the destination's. Bits of a merged one begin cleared, since a mask of a mask can keep
// them from being written.
ConvResult Convolution::makeMask() {
    TovImage* srcMask = src_.header.maskROI;
    TovImage* dstMask = dst_.header.maskROI;
    if (srcMask == nullptr && dstMask == nullptr) return kConvDone;
    const Size size = {dst_.roi.width, dst_.roi.height};
    if (srcMask != nullptr && dstMask != nullptr) {
        merged_ = TemporaryImage(makeBitHeader(dstMask->dataOrder, dstMask->origin, dstMask->align, size));
        if (merged_.get() != nullptr) tovAllocateImage(merged_.get(), 1, 0);
        if (!merged_) return kConvNoMemory;
        merged_->alphaChannel = dstMask->alphaChannel;
        const TovStatus earlier = tovGetErrStatus();
        tovSetErrStatus(TOV_STS_OK);
        tovAnd(srcMask, dstMask, merged_.get());
        if (tovGetErrStatus() < 0) return kConvMaskFailed;
        tovSetErrStatus(earlier);
        mask_.borrow(*merged_.get());
    } else {
        mask_.borrow(srcMask != nullptr ? *srcMask : *dstMask);
    }
    maskFrom_ = placeOf(mask_.roi);
    mask_.place(maskFrom_.x, maskFrom_.y, size);
    dst_.header.maskROI = &mask_.header;
    return kConvDone;
}

ConvResult Convolution::run(TovConvKernel* const* kernel, int32_t nKernels, int32_t combineMethod) {
    ownConvClampBorder(src_.header);
    ownConvClampBorder(dst_.header);
    const bool srcTiled = src_.header.tileInfo != nullptr;
    const bool dstTiled = dst_.header.tileInfo != nullptr;
    src_.roi = ownConvRectOfImage(src_.header);
    dst_.roi = ownConvRectOfImage(dst_.header);
    if (!ownConvCommonSize(src_.roi, dst_.roi)) return kConvDone;
    if (const ConvResult result = ownConvCheckChannels(src_.header, dst_.header)) return result;
    if (const ConvResult result = makeMask()) return result;
    if (!ownConvPrepare(plan_, kernel, nKernels, combineMethod, src_.header.depth)) return kConvNoMemory;
    to_ = placeOf(dst_.roi);
    if (dstTiled) return tiles();
    return srcTiled || inPlace_ ? whole() : plain();
}

bool Convolution::ownConvBorderedView(const OwnConvRect& rect, ImageView& view, BorderedCopy& pixels) {
    const ConvMargins& margins = plan_.margins;
    const int64_t width = rect.width + margins.columns();
    const int64_t height = rect.height + margins.rows();
    if (width > INT32_MAX || height > INT32_MAX) return false;
    const Point from = {rect.xOffset - margins.leftMargin, rect.yOffset - margins.topMargin};
    const Size size = {static_cast<int32_t>(width), static_cast<int32_t>(height)};
    if (!pixels.fetch(view, src_.header, from, size)) return false;
    view.place(margins.leftMargin, margins.topMargin, {rect.width, rect.height});
    return true;
}

ConvResult Convolution::toDestination(const TovImage& src, Point at) {
    moveTo(dst_.roi, to_, at);
    moveTo(mask_.roi, maskFrom_, at);
    return ownConvolveRect(src, dst_.header, plan_) ? kConvDone : kConvNoMemory;
}

ConvResult Convolution::copied(const OwnConvRect& rect, Point at) {
    ImageView view;
    BorderedCopy pixels;
    return ownConvBorderedView(rect, view, pixels) ? toDestination(view.header, at) : kConvNoMemory;
}

ConvResult Convolution::whole() { return copied(src_.roi, {0, 0}); }

// Strips along the edges, whose neighbourhoods leave the image, are worked in copies; the interior where it is.
ConvResult Convolution::plain() {
    const ConvMargins& margins = plan_.margins;
    const int64_t left = margins.leftMargin;
    const int64_t top = margins.topMargin;
    const int64_t right = int64_t{margins.rightExtent} - 1;
    const int64_t bottom = int64_t{margins.bottomExtent} - 1;
    const int64_t width = src_.header.width;
    const int64_t height = src_.header.height;
    OwnConvRect& rest = src_.roi;
    const OwnConvRect all = rest;
    Point done = {0, 0}; // what top and left strips have taken
    OwnConvRect strip = all;
    ConvResult result = kConvDone;
    if (ownConvIntersect(rest, {0, 0, width, top}, strip)) {
        result = copied(strip, {0, 0});
        rest.yOffset += strip.height;
        rest.height -= strip.height;
        done.y = strip.height;
    }
    if (result == kConvDone && ownConvIntersect(rest, {0, height - bottom, width, bottom}, strip)) {
        result = copied(strip, {0, all.height - strip.height});
        rest.height -= strip.height;
    }
    if (result == kConvDone && ownConvIntersect(rest, {0, top, left, height - top - bottom}, strip)) {
        result = copied(strip, {0, done.y});
        rest.xOffset += strip.width;
        rest.width -= strip.width;
        done.x = strip.width;
    }
    if (result == kConvDone && ownConvIntersect(rest, {width - right, top, right, height - top - bottom}, strip)) {
        result = copied(strip, {all.width - strip.width, done.y});
        rest.width -= strip.width;
    }
    if (result != kConvDone || rest.width <= 0 || rest.height <= 0) return result;
    return toDestination(src_.header, done);
}

// The tiles of the destination, row by row. In place a copy of the whole source is made first.
ConvResult Convolution::tiles() {
    const TovTileInfo& info = *dst_.header.tileInfo;
    const Size size = {dst_.roi.width, dst_.roi.height};
    ImageView copy;
    BorderedCopy pixels;
    if (inPlace_ && !ownConvBorderedView(src_.roi, copy, pixels)) return kConvNoMemory;
    const TileSpan span = ownTileSpan(dst_.header, size);
    for (int32_t r = 0; r < span.nRows; r++) {
        for (int32_t c = 0; c < span.nCols; c++) {
            const TilePart part = tilePart(info, to_, size, span.firstCol + c, span.firstRow + r);
            const ConvResult result = tile(part, inPlace_ ? &copy : nullptr);
            if (result != kConvDone) return result;
        }
    }
    return kConvDone;
}

ConvResult Convolution::tile(const TilePart& part, const ImageView* copy) {
    const TovTileInfo& info = *dst_.header.tileInfo;
    const ConvMargins& margins = plan_.margins;
    HeldTile held(&dst_.header, TOV_TILE_WRITE);
    uint8_t* data = held.get(part.col, part.row);
    if (data == nullptr) return kConvNoTile;
    ImageView to;
    viewTile(to, dst_.header, data, part.inTile, part.size);
    to.header.maskROI = dst_.header.maskROI;
    moveTo(mask_.roi, maskFrom_, part.offset);

    // Windows of a whole tile are looked at, whatever part of it is worked.
    ImageView from(copy != nullptr ? copy->header : src_.header);
    from.place(from.roi.xOffset + part.offset.x, from.roi.yOffset + part.offset.y, {info.width, info.height});
    const Edges around = {int64_t{from.roi.xOffset} - margins.leftMargin, int64_t{from.roi.yOffset} - margins.topMargin,
                          margins.columns() + info.width, margins.rows() + info.height};
    const bool direct = copy != nullptr || (src_.header.tileInfo == nullptr && ownConvFitsImage(src_.header, around));
    BorderedCopy pixels;
    const OwnConvRect rect = from.roi;
    if (!direct && !ownConvBorderedView(rect, from, pixels)) return kConvNoMemory;
    if (!ownConvCommonSize(from.roi, to.roi)) return kConvDone;
    return ownConvolveRect(from.header, to.header, plan_) ? kConvDone : kConvNoMemory;
}

} // namespace

ConvResult ownConvolveImages(TovImage* srcImage, TovImage* dstImage, TovConvKernel* const* kernel, int32_t nKernels,
                             int32_t combineMethod) {
    Convolution call(srcImage, dstImage);
    return call.run(kernel, nKernels, combineMethod);
}

} // namespace tov
