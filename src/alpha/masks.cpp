// The mask step of the alpha operations.
#include "alpha/masks.h"

#include "arith/arith.h"

namespace tov {

bool MaskList::merge(const Reporter& report, Size& size) {
    for (int32_t i = 0; i < count_; i++) {
        if (!report.accepts(masks_[i])) return false;
        ownClipSize(*masks_[i], size.width, size.height);
    }
    mask_ = masks_[0];
    if (count_ < 2) return true;

    const TovImage& first = *masks_[0];
    merged_ = TemporaryImage(makeHeaderLike(first, first.depth, size));
    if (merged_.get() != nullptr) tovAllocateImage(merged_.get(), 0, -1);
    if (!merged_) {
        report(TOV_STS_NO_MEMORY, "No working memory");
        return false;
    }
    mask_ = merged_.get();
    tovAnd(masks_[0], masks_[1], mask_);
    for (int32_t i = 2; i < count_; i++) tovAnd(masks_[i], mask_, mask_);
    // The status may be an earlier call's; a handler that returns 0 lets the call go on.
    return tovGetErrStatus() >= 0 || report.backtrace("Bad masks for images") == 0;
}

} // namespace tov
