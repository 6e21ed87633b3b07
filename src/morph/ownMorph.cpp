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

// Makes the one mask of a call, whose bits are set where every mask allows it. False when it can't be made.
bool mergeMasks(const TovImage& src, const TovImage& dst, Size size, TemporaryImage& merged) {
    merged = TemporaryImage(makeBitHeader(TOV_DATA_ORDER_PIXEL, dst.origin, TOV_ALIGN_8BYTES, size));
    if (merged.get() != nullptr) tovAllocateImage(merged.get(), 1, 1);
    if (!merged) {
        tovSetErrStatus(TOV_STS_NO_MEMORY);
        return false;
    }
    for (TovImage* mask : {src.maskROI, dst.maskROI}) {
        if (mask != nullptr) tovAnd(merged.get(), mask, merged.get());
    }
    return tovGetErrStatus() == TOV_STS_OK;
}

// Gives the working headers their common regions and, where an image has a mask, the destination the merged one. False
// when there is nothing to do, or when the status says what has failed.
bool ownMorphPrepare(ImageView& src, ImageView& dst, TemporaryImage& mask) {
    const OwnRect from = ownMorphRect(src.header);
    const OwnRect to = ownMorphRect(dst.header);
    const Size size = smaller({from.width, from.height}, {to.width, to.height});
    if (size.empty()) return false;
    src.place(from.x, from.y, size);
    dst.place(to.x, to.y, size);
    if (src.header.maskROI == nullptr && dst.header.maskROI == nullptr) return true;
    if (!mergeMasks(src.header, dst.header, size, mask)) return false;
    dst.header.maskROI = mask.get();
    return true;
}

} // namespace

} // namespace tov

using namespace tov;

void tovErode(TovImage* srcImage, TovImage* dstImage, int32_t nIterations) {
    tovSetErrStatus(TOV_STS_OK);
    if (!ownMorphCheck(srcImage, dstImage, nIterations)) return;
    ImageView src(*srcImage);
    ImageView dst(*dstImage);
    TemporaryImage mask;
    if (!ownMorphPrepare(src, dst, mask)) return;
    ownMorphFilter({report, &src.header, &dst.header, mask.get(), nIterations});
}
