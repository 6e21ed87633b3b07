// The box average.
#include <initializer_list>

#include "arith/arith.h"
#include "blur/walk.h"
#include "core/image.h"
#include "core/lifecycle.h"

namespace tov {

namespace {

constexpr Reporter report{"tovBlur", "tovBlur"};

// An image's region, cut at its edges, and its channels; false for an image of alpha alone.
struct BlurRegion {
    Point at;
    Size size;
    int32_t nChannels;
};
bool ownBlurRegion(const TovImage& image, BlurRegion& region) {
    const TovROI* roi = image.roi;
    region.at = roi != nullptr ? Point{roi->xOffset, roi->yOffset} : Point{0, 0};
    region.size = {image.width, image.height};
    if (roi != nullptr) {
        region.size = smaller({roi->width, roi->height}, {image.width - roi->xOffset, image.height - roi->yOffset});
    }
    region.nChannels = channelsOf(image).count;
    return region.nChannels > 0;
}

bool isServed(const TovImage& src, const TovImage& dst, const BlurCall& call) {
    return report.passes({
        {src.depth != dst.depth, "(srcImage->depth!=dstImage->depth)"},
        {dst.nChannels > 1 && src.dataOrder != dst.dataOrder, "(srcImage->dataOrder!=dstImage->dataOrder)"},
        {call.nRows < 0 || call.nCols < 0, "(nRows<0||nCols<0)"},
        {call.anchorX < 0 || call.anchorY < 0, "(anchorX<0||anchorY<0)"},
        {call.anchorX >= call.nCols || call.anchorY >= call.nRows, "(anchorX>=nCols||anchorY>=nRows)"},
    });
}

// The regions of images and masks, and what they have in common; false when the call ends.
bool settleSize(BlurCall& call) {
    BlurRegion dst;
    BlurRegion src;
    if (!ownBlurRegion(*call.dst, dst) || !ownBlurRegion(*call.src, src)) {
        report(TOV_STS_BAD_ALPHA_CHANNEL, "bad alpha channel's number");
        return false;
    }
    call.from = src.at;
    call.to = dst.at;
    call.size = smaller(dst.size, src.size);
    if (src.nChannels != dst.nChannels) {
        report(TOV_STS_BAD_CHANNELS, "bad channel's number");
        return false;
    }
    for (const TovImage* image : {call.src, call.dst}) {
        BlurRegion mask;
        if (image->maskROI == nullptr) continue;
        if (!ownBlurRegion(*image->maskROI, mask)) {
            report(TOV_STS_BAD_ALPHA_CHANNEL, "bad alpha channel's number");
            return false;
        }
        call.size = smaller(call.size, mask.size);
    }
    return true;
}

// The logical and of two masks; false when it fails. An earlier call's status is no failure of this one.
bool andMasks(TovImage* a, TovImage* b, TovImage* merged) {
    const TovStatus earlier = tovGetErrStatus();
    tovSetErrStatus(TOV_STS_OK);
    tovAnd(a, b, merged);
    const bool failed = tovGetErrStatus() < 0;
    if (!failed) tovSetErrStatus(earlier);
    return !failed;
}

// Whether a copy of a call's only mask would hold the bits of the mask's own region, unless the blur changed them.
bool servesAsItIs(const BlurCall& call, const TovImage& mask, int32_t origin) {
    const bool single = call.src->maskROI == nullptr || call.dst->maskROI == nullptr;
    return single && call.src->tileInfo == nullptr && isApart(mask, *call.dst) && mask.maskROI == nullptr &&
           mask.alphaChannel == 0 && mask.origin == origin && tovGetErrStatus() >= 0 && !call.size.empty();
}

// The mask of the call in an image of the common size; false when the call ends. It starts cleared, since masks of the
// masks can keep bits of it from being written.
bool makeMask(BlurCall& call, TemporaryImage& mask) {
    TovImage* srcMask = call.src->maskROI;
    TovImage* dstMask = call.dst->maskROI;
    TovImage* like = srcMask != nullptr ? srcMask : dstMask;
    const int32_t origin = srcMask != nullptr ? call.src->origin : dstMask->origin;
    if (servesAsItIs(call, *like, origin)) {
        call.mask = like;
        return true;
    }
    mask = TemporaryImage(tovCreateImageHeader(1, 0, TOV_DEPTH_1U, "GRAY", "GRAY", like->dataOrder, origin, like->align,
                                               call.size.width, call.size.height, nullptr, nullptr, nullptr, nullptr));
    if (mask.get() != nullptr) tovAllocateImage(mask.get(), 1, 0);
    if (!mask) {
        report(TOV_STS_NO_MEMORY, "Allocation failure");
        return false;
    }
    call.mask = mask.get();
    if (srcMask != nullptr && dstMask != nullptr) return andMasks(srcMask, dstMask, mask.get());
    tovCopy(like, mask.get());
    return tovGetErrStatus() >= 0;
}

} // namespace

} // namespace tov

using namespace tov;

void tovBlur(TovImage* srcImage, TovImage* dstImage, int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY) {
    if (!report.accepts(srcImage) || !report.accepts(dstImage)) return;
    BlurCall call = {report, srcImage, dstImage, nullptr, {}, {}, {}, nCols, nRows, anchorX, anchorY, 0};
    if (!isServed(*srcImage, *dstImage, call)) return;
    if (nRows == 1 && nCols == 1) return tovCopy(srcImage, dstImage);
    call.inverse = static_cast<float>(1.0 / (static_cast<double>(nCols) * nRows));
    if (!settleSize(call)) return;
    TemporaryImage mask;
    if (srcImage->maskROI != nullptr || dstImage->maskROI != nullptr) {
        if (!makeMask(call, mask)) return;
    }
    if (call.size.empty()) return;
    if (dstImage->tileInfo != nullptr) return srcImage == dstImage ? blurInPlaceTiles(call) : blurToTiles(call);
    return srcImage->tileInfo != nullptr ? blurFromTiles(call) : blurPlain(call);
}
