// The walk of the colour twist over plain and tiled images.
#include "twist/driver.h"

#include "arith/arith.h"
#include "core/image.h"
#include "core/lifecycle.h"
#include "core/ownrect.h"
#include "core/tiles.h"
#include "kernel/overlap.h"
#include "twist/kernels.h"

namespace tov {

namespace {

// The range of a call: what whole parts are limited to, and what is added then.
void setRange(TwistMap& map, int32_t largest, int32_t offset) {
    map.offset = 0;
    if (offset >= largest) {
        map.low = map.high = largest;
    } else if (offset <= -largest) {
        map.low = map.high = 0;
    } else {
        map.low = offset < 0 ? -offset : 0;
        map.high = offset < 0 ? largest : largest - offset;
        map.offset = offset;
    }
}

TwistMap prepare(const TovColorTwist& cTwist, uint32_t depth, int32_t offset) {
    TwistMap map{};
    const int32_t largest = depth == TOV_DEPTH_8U ? UINT8_MAX : UINT16_MAX;
    // A record that was filled by hand may have any scale: its low five bits count.
    map.shift = cTwist.scalingValue & 31;
    const double factor = 1.0 / static_cast<double>(uint32_t{1} << map.shift);
    for (int32_t i = 0; i < 16; i++) map.m[i] = cTwist.data[i] * factor;
    setRange(map, largest, offset);
    // Where every sum has the same result there is no range to be inside of.
    const auto low = static_cast<float>(map.low);
    const float high = map.low == map.high ? low : static_cast<float>(map.high + 1);
    map.needClamp = ownTwistNeedsClamp(map.m, low, high, depth == TOV_DEPTH_16U ? 1 : 0);
    map.fits32 = true;
    for (int32_t r = 0; r < 3; r++) {
        int64_t reach = 0;
        for (int32_t c = 0; c < 4; c++) {
            int64_t weight = cTwist.data[4 * r + c];
            if (c == 3) weight += map.offset * (int64_t{1} << map.shift);
            map.data[4 * r + c] = static_cast<int32_t>(weight);
            reach += (weight < 0 ? -weight : weight) * (c < 3 ? largest : 1);
        }
        map.fits32 = map.fits32 && reach <= INT32_MAX;
    }
    return map;
}

// One image of the walk: its region and the tile in hand, a plain image being one tile.
class Side {
public:
    Side(TovImage* image, int32_t mode, const char* noTile) : image_(image), tile_(image, mode), noTile_(noTile) {
        ownImageRect(*image, rect_);
        const TovTileInfo* tiles = image->tileInfo;
        tileSize_ = tiles != nullptr ? Size{tiles->width, tiles->height} : Size{image->width, image->height};
        rowBytes_ = tiles != nullptr ? ownTileRowBytes(image) : image->widthStep;
        data_ = image->imageData;
    }

    Size size() const { return {rect_.width, rect_.height}; }
    bool tiled() const { return image_->tileInfo != nullptr; }
    void release() { tile_.release(); }

    // Takes the tile that holds a pixel of the region; false when the walk ends.
    bool moveTo(const Reporter& report, int32_t x, int32_t y, bool looksAtStatus = true) {
        place(x, y);
        if (!tiled()) return true;
        const int32_t col = (rect_.x + x) / tileSize_.width;
        const int32_t row = (rect_.y + y) / tileSize_.height;
        if (tile_.held() && col == col_ && row == row_) return true;
        tile_.release();
        col_ = col;
        row_ = row;
        data_ = tile_.get(col, row);
        if (data_ == nullptr) {
            report(TOV_STS_BAD_ARG, noTile_);
            return false;
        }
        return !looksAtStatus || tovGetErrStatus() >= 0;
    }
    // Works on the tile of another side, which is that of the same image.
    void share(const Side& other, int32_t x, int32_t y) {
        place(x, y);
        data_ = other.data_;
    }

    // What is left of the tile from the current pixel on.
    Size left() const { return {tileSize_.width - inTile_.x, tileSize_.height - inTile_.y}; }

    template <class T>
    Lane<T> lane() const {
        const bool planes = image_->dataOrder == TOV_DATA_ORDER_PLANE;
        const ptrdiff_t x = ptrdiff_t{inTile_.x} * (planes ? 1 : image_->nChannels);
        T* first = reinterpret_cast<T*>(data_ + inTile_.y * rowBytes_) + x;
        return {first, rowBytes_, tileSize_.height * rowBytes_, planes ? 1 : image_->nChannels};
    }

private:
    void place(int32_t x, int32_t y) { inTile_ = {(rect_.x + x) % tileSize_.width, (rect_.y + y) % tileSize_.height}; }

    TovImage* image_;
    HeldTile tile_;
    const char* noTile_;
    OwnRect rect_{};
    Size tileSize_{};
    ptrdiff_t rowBytes_ = 0;
    uint8_t* data_ = nullptr;
    int32_t col_ = 0;
    int32_t row_ = 0;
    Point inTile_{};
};

// The rows of one block.
template <class T>
void twistBlock(const TwistMap& map, const Side& src, const Side& dst, bool planes, Size size, const MaskLane& mask,
                const TwistKernel<T> (&kernels)[2][2]) {
    const auto from = src.lane<const T>();
    const auto to = dst.lane<T>();
    const auto step = [planes](const auto& lane) {
        return planes ? lane.planeStep / static_cast<ptrdiff_t>(sizeof(T)) : lane.pixelStep;
    };
    const Span read = {size.width, size.height, planes ? 3 : 1, planes ? 1 : 3};
    const bool free = !overlapsElsewhere(footprintOf(to, read), footprintOf(from, read));
    const auto kernel = kernels[planes ? 1 : 0][mask.first != nullptr ? 1 : 0];
    for (int32_t y = 0; y < size.height; y++) {
        const uint8_t* bits = mask.first != nullptr ? mask.first + y * mask.rowStep : nullptr;
        kernel(map, {from.row(0, y), to.row(0, y), step(from), step(to), size.width, free, bits, mask.bitOffset});
    }
}

class Walk {
public:
    Walk(const Reporter& report, TovImage* srcImage, TovImage* dstImage, const TwistMap& map)
        : report_(report),
          map_(map),
          same_(srcImage == dstImage),
          planes_(dstImage->dataOrder == TOV_DATA_ORDER_PLANE),
          bytes_(dstImage->depth == TOV_DEPTH_8U),
          dst_(dstImage, TOV_TILE_WRITE, "(dstImage->tileInfo->tileData == NULL)"),
          src_(srcImage, TOV_TILE_READ, "(srcImage->tileInfo->tileData == NULL)"),
          size_(smaller(dst_.size(), src_.size())) {}

    // mask may be null.
    void run(const TovImage* mask) {
        MaskLane bits;
        if (mask != nullptr) bits = roiMask(*mask, size_);
        if (size_.empty()) return;
        if (dst_.moveTo(report_, 0, 0, mask != nullptr) && moveSource(0, 0)) bands(bits);
        dst_.release();
        src_.release();
    }

private:
    bool moveSource(int32_t x, int32_t y) {
        if (!same_) return src_.moveTo(report_, x, y);
        src_.share(dst_, x, y);
        return true;
    }

    void bands(const MaskLane& mask) {
        Size block{};
        for (int32_t y = 0; y < size_.height; y += block.height) {
            for (int32_t x = 0; x < size_.width; x += block.width) {
                if (!dst_.moveTo(report_, x, y) || !moveSource(x, y)) return;
                block = smaller(smaller(dst_.left(), src_.left()), {size_.width - x, size_.height - y});
                const int32_t bit = mask.bitOffset + x;
                const uint8_t* bits = mask.first != nullptr ? mask.first + y * mask.rowStep + (bit >> 3) : nullptr;
                const MaskLane part = {bits, mask.rowStep, bit & 7};
                if (bytes_) {
                    twistBlock<uint8_t>(map_, src_, dst_, planes_, block, part, kTwistKernels_8u);
                } else {
                    twistBlock<uint16_t>(map_, src_, dst_, planes_, block, part, kTwistKernels_16u);
                }
            }
        }
    }

    const Reporter& report_;
    const TwistMap& map_;
    bool same_;
    bool planes_;
    bool bytes_;
    Side dst_;
    Side src_;
    Size size_;
};

// The mask of a call in a header of its own: the one mask's pixels, or new ones with the and of two.
class TwistMask {
public:
    TwistMask()
        : image_(tovCreateImageHeader(1, 0, TOV_DEPTH_1U, "GREY", "GREY", TOV_DATA_ORDER_PLANE, TOV_ORIGIN_TL,
                                      TOV_ALIGN_8BYTES, 1, 1, &roi_, nullptr, nullptr, nullptr)) {}

    TovImage* get() const { return image_.get(); }

    void lend(const TovImage& mask) {
        TovImage& image = *image_.get();
        image.width = mask.width;
        image.height = mask.height;
        image.imageData = mask.imageData;
        image.widthStep = mask.widthStep;
        roi_ = mask.roi != nullptr ? *mask.roi : TovROI{0, 0, 0, mask.width, mask.height};
    }

    // False where the masks have no pixel in common.
    bool sizeAs(const TovImage& a, const TovImage& b) {
        OwnRect rectA;
        OwnRect rectB;
        ownImageRect(a, rectA);
        ownImageRect(b, rectB);
        TovImage& image = *image_.get();
        image.roi = nullptr;
        image.origin = a.origin;
        image.width = smaller(rectA.width, rectB.width);
        image.height = smaller(rectA.height, rectB.height);
        return image.width > 0 && image.height > 0;
    }

private:
    TovROI roi_ = {0, 0, 0, 1, 1};
    TemporaryImage image_;
};

} // namespace

void ownApplyColorTwist(const Reporter& report, TovImage* srcImage, TovImage* dstImage, const TovColorTwist& cTwist,
                        int32_t offset) {
    const TwistMap map = prepare(cTwist, srcImage->depth, offset);
    Walk(report, srcImage, dstImage, map).run(nullptr);
}

void ownApplyColorTwistMasked(const Reporter& report, TovImage* srcImage, TovImage* dstImage,
                              const TovColorTwist& cTwist, int32_t offset) {
    TovImage* srcMask = srcImage->maskROI;
    TovImage* dstMask = dstImage->maskROI;
    TwistMask mask;
    if (mask.get() == nullptr) return report(TOV_STS_BAD_ARG, "(msk == NULL)");
    if (tovGetErrStatus() < 0) return;
    if (srcMask == nullptr || dstMask == nullptr || srcMask == dstMask) {
        mask.lend(srcMask != nullptr ? *srcMask : *dstMask);
    } else {
        if (!mask.sizeAs(*srcMask, *dstMask)) return;
        tovAllocateImage(mask.get(), 1, 0);
        if (mask.get()->imageData == nullptr) return report(TOV_STS_BAD_ARG, "(msk->imageData == NULL)");
        if (tovGetErrStatus() < 0) return;
        tovAnd(srcMask, dstMask, mask.get());
        if (tovGetErrStatus() < 0 && report.backtrace("error_tovAnd") < 0) return;
    }
    const TwistMap map = prepare(cTwist, srcImage->depth, offset);
    Walk(report, srcImage, dstImage, map).run(mask.get());
}

} // namespace tov
