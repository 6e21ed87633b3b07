// The merging of two images' masks by operations on whole images.
#include "arith/arith.h"
#include "core/ownrect.h"

namespace tov {

namespace {

// The mask of two images whose masks differ; without a value where the call ends.
TemporaryImage mergeMasks(const Reporter& report, TovImage* srcMask, TovImage* dstMask) {
    Size size;
    if (!ownCommonSize3(*srcMask, *dstMask, nullptr, size, true)) return {};
    TemporaryImage merged = ownBitImage(TOV_DATA_ORDER_PLANE, srcMask->origin, TOV_ALIGN_4BYTES, size);
    if (tovGetErrStatus() < 0 && report.backtrace() != 0) return {};
    tovAnd(srcMask, dstMask, merged.get());
    // Whatever the handler says, there is no going on without pixels.
    if (tovGetErrStatus() < 0 && (report.backtrace() != 0 || !merged)) return {};
    return merged;
}

} // namespace

TemporaryImage ownBitImage(int32_t dataOrder, int32_t origin, int32_t align, Size size) {
    TovImage* image = makeBitHeader(dataOrder, origin, align, size);
    tovAllocateImage(image, 1, 0);
    return TemporaryImage(image);
}

PairMask::PairMask(const Reporter& report, const TovImage& src, const TovImage& dst)
    : mask_(dst.maskROI != nullptr ? dst.maskROI : src.maskROI) {
    if (src.maskROI == nullptr || dst.maskROI == nullptr || src.maskROI == dst.maskROI) return;
    merged_ = mergeMasks(report, src.maskROI, dst.maskROI);
    mask_ = merged_.get();
    failed_ = !merged_;
}

} // namespace tov
