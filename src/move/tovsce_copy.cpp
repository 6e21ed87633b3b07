// Copying.
#include "arith/arith.h"
#include "core/blockwalk.h"
#include "core/image.h"
#include "core/lifecycle.h"
#include "core/ownrect.h"
#include "move/kernels.h"
#include "move/maskloan.h"

namespace tov {

namespace {

constexpr Reporter report{"tovCopy", "tovsce"};

void reportDifferences(const TovImage& src, const TovImage& dst) {
    if (src.depth != dst.depth) report(TOV_STS_BAD_ARG, "srcImage->depth != dstImage->depth");
    if (src.origin != dst.origin) report(TOV_STS_BAD_ARG, "srcImage->origin != dstImage->origin");
    const bool orderMatters = src.depth != TOV_DEPTH_1U && (src.nChannels != 1 || dst.nChannels != 1);
    if (orderMatters && src.dataOrder != dst.dataOrder) {
        report(TOV_STS_BAD_ARG, "srcImage->dataOrder != dstImage->dataOrder");
    }
}

// dst = (dst and not mask) or (src and mask), by operations on whole images.
void copyMaskedBits(TovImage* srcImage, TovImage* dstImage, TovImage* mask, Size size) {
    {
        const TemporaryImage part = ownBitImage(mask->dataOrder, mask->origin, mask->align, size);
        if (tovGetErrStatus() < 0) return;
        {
            const MaskLoan whole(mask, nullptr);
            tovCopy(mask, part.get());
        }
        // Without a header there is no mask, and all of the destination would be cleared.
        if (part.get() != nullptr) {
            const MaskLoan under(dstImage, part.get());
            const MaskLoan whole(srcImage, nullptr);
            tovSet(dstImage, 0);
            tovAnd(srcImage, part.get(), part.get());
            tovOr(dstImage, part.get(), dstImage);
        }
    }
    if (tovGetErrStatus() < 0) report.backtrace();
}

Walk chooseWalk(const TovImage& src, const TovImage& dst, bool masked, CopyArgs& args) {
    const bool planes = src.dataOrder == TOV_DATA_ORDER_PLANE;
    if (masked) {
        return planes && (src.nChannels != 1 || dst.nChannels != 1) ? kWalkMaskedPlanes : kWalkMasked;
    }
    if (planes) return kWalkRows;
    if (src.nChannels != dst.nChannels || args.nChProcess != src.nChannels) return kWalkPixels;
    args.rowBytes *= args.nChProcess;
    args.nChProcess = 1;
    return kWalkRows;
}

void copyPlain(const TovImage& src, const TovImage& dst, const TovImage* mask, Size size) {
    CopyArgs args{};
    if (!ownPlainPair(report, src, dst, mask, args)) return;
    args.srcPixelStep = src.nChannels;
    args.dstPixelStep = dst.nChannels;
    args.size = size;
    args.rowBytes = ptrdiff_t{size.width} * depthBits(src.depth) / 8;
    args.nChProcess = args.src.nChannels;
    const Walk walk = chooseWalk(src, dst, mask != nullptr, args);
    copyKernel(walk, depthBits(src.depth))(args);
}

void copyCell(const void*, TovImage* source, TovImage* dst) { tovCopy(source, dst); }

} // namespace

} // namespace tov

using namespace tov;

void tovCopy(TovImage* srcImage, TovImage* dstImage) {
    if (!report.accepts(srcImage) || !report.accepts(dstImage)) return;
    reportDifferences(*srcImage, *dstImage);
    // A failure left by an earlier call ends this one, too.
    if (tovGetErrStatus() < 0 || srcImage == dstImage) return;

    const PairMask merged(report, *srcImage, *dstImage);
    if (merged.failed()) return;
    TovImage* mask = merged.get();
    Size size;
    if (!ownCommonSize3(*srcImage, *dstImage, mask, size, true)) return;
    if (srcImage->depth == TOV_DEPTH_1U && mask != nullptr) return copyMaskedBits(srcImage, dstImage, mask, size);
    if (srcImage->tileInfo == nullptr && dstImage->tileInfo == nullptr) {
        return copyPlain(*srcImage, *dstImage, mask, size);
    }
    runBlockWalk({report, srcImage, dstImage, mask, size}, copyCell, nullptr);
}
