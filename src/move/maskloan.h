// A header's mask, set aside for a while.
#pragma once

#include "tov.h"

namespace tov {

// Gives a header another mask, or none, for as long as it stands.
class MaskLoan {
public:
    MaskLoan(TovImage* image, TovImage* mask) : image_(image), own_(image->maskROI) { image->maskROI = mask; }
    MaskLoan(const MaskLoan&) = delete;
    MaskLoan& operator=(const MaskLoan&) = delete;
    ~MaskLoan() { image_->maskROI = own_; }

private:
    TovImage* image_;
    TovImage* own_;
};

} // namespace tov
