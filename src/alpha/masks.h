// One mask from those of all images of a call, by operations on whole images.
#pragma once

#include "core/context.h"
#include "core/geometry.h"
#include "core/lifecycle.h"
#include "tov.h"

namespace tov {

// The masks of a call in the order of its images; images without one, and null images, add nothing.
class MaskList {
public:
    void add(const TovImage* image) {
        if (image != nullptr && image->maskROI != nullptr) masks_[count_++] = image->maskROI;
    }

    // Checks the masks, lowers size to what they cover and merges two or more of them. False when the call ends: the
    // fault has been reported, under the operation's name.
    bool merge(const Reporter& report, Size& size);

    // After merge: the only mask as it stands, a new one of the merged size, or null.
    TovImage* mask() const { return mask_; }

private:
    static constexpr int32_t kMost = 6;

    TovImage* masks_[kMost] = {};
    int32_t count_ = 0;
    TovImage* mask_ = nullptr;
    TemporaryImage merged_;
};

} // namespace tov
