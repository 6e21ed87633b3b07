// Bit operations on whole images, on which all mask logic rests, and the merging of two images' masks by them.
#pragma once

#include "core/context.h"
#include "core/lifecycle.h"
#include "tov.h"

namespace tov {

// dstImage = srcImageA or srcImageB, and dstImage = srcImageA and srcImageB, by bit. They are called and report as
// tovAdd does, under their own names; TOV_DEPTH_32F is TOV_STS_BAD_ARG, "This function does not support depth 32F".
// dataOrder of 1-bit images doesn't matter. Whole images are worked in 32-bit words, row ends included.
void tovOr(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage);
void tovAnd(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage);

// dstImage = srcImage exclusive-or the low bits of value. Otherwise as above, with one source.
void tovXorS(TovImage* srcImage, TovImage* dstImage, int32_t value);

// A cleared 1-bit image: masks of masks can keep bits of it from being written, and its row ends can reach those of the
// destination. Where the header can't be had, tovAllocateImage reports that.
TemporaryImage ownBitImage(int32_t dataOrder, int32_t origin, int32_t align, Size size);

// The mask of a call on two images: that of dst, or else that of src. Two that differ are merged by tovAnd into a
// temporary; a failure there is traced under the operation's name.
class PairMask {
public:
    PairMask(const Reporter& report, const TovImage& src, const TovImage& dst);

    TovImage* get() const { return mask_; }
    // The call ends: the masks have no pixel in common, or could not be merged.
    bool failed() const { return failed_; }

private:
    TovImage* mask_;
    TemporaryImage merged_;
    bool failed_ = false;
};

} // namespace tov
