// Erosion.
#include <initializer_list>

#include "arith/arith.h"
#include "core/image.h"
#include "core/lifecycle.h"
#include "core/ownrect.h"
#include "morph/filter.h"

namespace tov {

namespace {

constexpr Reporter report{"tovErode", "ownMorph"};

bool ownMorphCheck(TovImage* srcImage, TovImage* dstImage, int32_t nIterations) {
    if (!report.accepts(srcImage) || !report.accepts(dstImage)) return false;
    const TovImage& src = *srcImage;
    const TovImage& dst = *dstImage;
    const bool served = src.depth == TOV_DEPTH_1U || src.depth == TOV_DEPTH_8U || src.depth == TOV_DEPTH_16U;
    return report.passes({
        {nIterations < 1, "Illegal number of of iterations"},
        {!served, "Illegal image depth"},
        {src.depth != dst.depth, "SRC and DST depth are different"},
        {src.dataOrder != dst.dataOrder, "SRC and DST order are different"},
        {src.origin != dst.origin, "SRC and DST orign are different"},
        {channelsOf(src).count != channelsOf(dst).count, "SRC and DST number of channels are different"},
    });
}

// What an image lets be worked on: its region inside the image, no larger than its mask's.
OwnRect ownMorphRect(const TovImage& image) {
    OwnRect rect{};
    ownImageRect(image, rect);
    if (image.maskROI != nullptr) {
        const OwnRect mask = ownMorphRect(*image.maskROI);
        rect.width = smaller(rect.width, mask.width);
        rect.height = smaller(rect.height, mask.height);
    }
    return rect;
}

// The mask of a call, whose bits are set where every mask allows it: a single one as it stands, unless it has a mask or
// an alpha channel itself or may change as dst is written, otherwise all of them merged. False when that can't be done.
bool findMask(const TovImage& src, const TovImage& dst, Size size, TemporaryImage& merged, MaskLane& mask) {
    TovImage* single = src.maskROI == nullptr ? dst.maskROI : dst.maskROI == nullptr ? src.maskROI : nullptr;
    if (single != nullptr && single->maskROI == nullptr && single->alphaChannel == 0 && isApart(*single, dst)) {
        mask = roiMask(*single, size);
        return true;
    }
    merged = TemporaryImage(makeBitHeader(TOV_DATA_ORDER_PIXEL, dst.origin, TOV_ALIGN_8BYTES, size));
    if (merged.get() != nullptr) tovAllocateImage(merged.get(), 1, 1);
    if (!merged) {
        tovSetErrStatus(TOV_STS_NO_MEMORY);
        return false;
    }
    for (TovImage* one : {src.maskROI, dst.maskROI}) {
        if (one != nullptr) tovAnd(merged.get(), one, merged.get());
    }
    mask = roiMask(*merged.get(), size);
    return tovGetErrStatus() == TOV_STS_OK;
}

// Gives the working headers their common regions, and finds the mask. False when there is nothing to do, or when the
// status says what has failed.
bool ownMorphPrepare(ImageView& src, ImageView& dst, TemporaryImage& merged, MaskLane& mask) {
    const OwnRect from = ownMorphRect(src.header);
    const OwnRect to = ownMorphRect(dst.header);
    const Size size = smaller({from.width, from.height}, {to.width, to.height});
    if (size.empty()) return false;
    src.place(from.x, from.y, size);
    dst.place(to.x, to.y, size);
    if (src.header.maskROI == nullptr && dst.header.maskROI == nullptr) return true;
    return findMask(src.header, dst.header, size, merged, mask);
}

} // namespace

} // namespace tov

using namespace tov;

void tovErode(TovImage* srcImage, TovImage* dstImage, int32_t nIterations) {
    tovSetErrStatus(TOV_STS_OK);
    if (!ownMorphCheck(srcImage, dstImage, nIterations)) return;
    ImageView src(*srcImage);
    ImageView dst(*dstImage);
    TemporaryImage merged;
    MaskLane mask;
    if (!ownMorphPrepare(src, dst, merged, mask)) return;
    ownMorphFilter({report, &src.header, &dst.header, mask, nIterations});
}
