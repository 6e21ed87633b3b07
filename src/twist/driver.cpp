// The colour twist over plain and tiled images, and its mask.
#include "twist/driver.h"

#include "arith/arith.h"
#include "core/image.h"
#include "core/lifecycle.h"
#include "core/ownrect.h"
#include "core/pairwalk.h"
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

struct TwistCall {
    const TwistMap& map;
    const TovImage& src;
    const TovImage& dst;
    MaskLane mask; // without a first byte where there is none
};

template <class T>
Lane<T> laneOf(const TovImage& image, const BlockPlace& place) {
    const bool planes = image.dataOrder == TOV_DATA_ORDER_PLANE;
    return {reinterpret_cast<T*>(place.data), place.rowStep, place.planeStep, planes ? 1 : image.nChannels};
}

// The rows of one block.
template <class T>
void twistRows(const TwistCall& call, const PairBlock& block, const TwistKernel<T> (&kernels)[2][2]) {
    const auto from = laneOf<const T>(call.src, block.src);
    const auto to = laneOf<T>(call.dst, block.dst);
    const bool planes = call.dst.dataOrder == TOV_DATA_ORDER_PLANE;
    const auto step = [planes](const auto& lane) {
        return planes ? lane.planeStep / static_cast<ptrdiff_t>(sizeof(T)) : lane.pixelStep;
    };
    const Span read = {block.size.width, block.size.height, planes ? 3 : 1, planes ? 1 : 3};
    const bool free = !overlapsElsewhere(footprintOf(to, read), footprintOf(from, read));
    const MaskLane& mask = call.mask;
    const int32_t bit = mask.bitOffset + block.offset.x;
    const auto kernel = kernels[planes ? 1 : 0][mask.first != nullptr ? 1 : 0];
    for (int32_t y = 0; y < block.size.height; y++) {
        const ptrdiff_t maskRow = block.offset.y + y;
        const uint8_t* bits = mask.first != nullptr ? mask.first + maskRow * mask.rowStep + (bit >> 3) : nullptr;
        kernel(call.map, {from.row(0, y), to.row(0, y), step(from), step(to), block.size.width, free, bits, bit & 7});
    }
}

void twistBlock(const void* args, const PairBlock& block) {
    const auto& call = *static_cast<const TwistCall*>(args);
    if (call.dst.depth == TOV_DEPTH_8U) return twistRows<uint8_t>(call, block, kTwistKernels_8u);
    twistRows<uint16_t>(call, block, kTwistKernels_16u);
}

// mask may be null.
void twistImages(const Reporter& report, TovImage* srcImage, TovImage* dstImage, const TovColorTwist& cTwist,
                 int32_t offset, const TovImage* mask) {
    OwnRect from;
    OwnRect to;
    ownImageRect(*srcImage, from);
    ownImageRect(*dstImage, to);
    Size size = {smaller(from.width, to.width), smaller(from.height, to.height)};
    const MaskLane bits = mask != nullptr ? roiMask(*mask, size) : MaskLane{};
    const TwistMap map = prepare(cTwist, srcImage->depth, offset);
    const TwistCall call = {map, *srcImage, *dstImage, bits};
    PairWalk walk = {report, srcImage, dstImage, {from.x, from.y}, {to.x, to.y}, size};
    walk.looksAtFirst = mask != nullptr;
    walk.releasesRefused = true;
    runPairWalk(walk, twistBlock, &call);
}

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
    twistImages(report, srcImage, dstImage, cTwist, offset, nullptr);
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
    twistImages(report, srcImage, dstImage, cTwist, offset, mask.get());
}

} // namespace tov
