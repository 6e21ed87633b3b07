// Filling.
#include "arith/arith.h"
#include "core/blockwalk.h"
#include "core/image.h"
#include "core/lifecycle.h"
#include "core/ownrect.h"
#include "move/kernels.h"
#include "move/maskloan.h"

namespace tov {

namespace {

constexpr Reporter report{"tovSet", "tovsce"};

// Sets or clears bits under a mask by operations on whole images. Clearing inverts the mask in place, and back.
void setMaskedBits(TovImage* image, TovImage* mask, int32_t fillValue) {
    {
        const MaskLoan whole(image, nullptr);
        if (fillValue != 0) {
            tovOr(image, mask, image);
        } else {
            tovXorS(mask, mask, 1);
            tovAnd(image, mask, image);
            tovXorS(mask, mask, 1);
        }
    }
    if (tovGetErrStatus() < 0) report.backtrace();
}

Walk chooseWalk(const TovImage& image, bool masked, SetArgs& args) {
    const bool planes = image.dataOrder == TOV_DATA_ORDER_PLANE;
    if (masked) return planes && image.nChannels > 1 ? kWalkMaskedPlanes : kWalkMasked;
    if (planes) return kWalkRows;
    if (args.nChProcess != image.nChannels) return kWalkPixels;
    args.rowValues *= args.nChProcess;
    args.nChProcess = 1;
    return kWalkRows;
}

void setPlain(const TovImage& image, Size size, int32_t fillValue) {
    SetArgs args{};
    BitLane<const uint8_t> bits{};
    if (!ownPlainAddress(image, args.dst)) return;
    if (image.maskROI != nullptr && !ownMaskBits(*image.maskROI, bits)) return;
    args.pixelStep = image.nChannels;
    args.size = size;
    args.rowValues = size.width;
    args.nChProcess = args.dst.nChannels;
    args.value = fillPattern(fillValue, image.depth);
    args.mask = {bits.first, bits.rowStep, bits.bitOffset};
    const Walk walk = chooseWalk(image, image.maskROI != nullptr, args);
    setKernel(walk, depthBits(image.depth))(args);
}

void setCell(const void* fillValue, TovImage*, TovImage* dst) { tovSet(dst, *static_cast<const int32_t*>(fillValue)); }

} // namespace

} // namespace tov

using namespace tov;

void tovSet(TovImage* image, int32_t fillValue) {
    if (!report.accepts(image)) return;
    if (image->depth == TOV_DEPTH_32F) return report(TOV_STS_BAD_DEPTH, "You should use tovSetFP for this image");
    fillValue = limitToDepth(fillValue, image->depth);
    Size size;
    if (!ownCommonSize2(*image, image->maskROI, size, true)) return;
    if (image->depth == TOV_DEPTH_1U && image->maskROI != nullptr) {
        return setMaskedBits(image, image->maskROI, fillValue);
    }
    if (image->tileInfo == nullptr) return setPlain(*image, size, fillValue);
    runBlockWalk({report, nullptr, image, image->maskROI, size}, setCell, &fillValue);
}
