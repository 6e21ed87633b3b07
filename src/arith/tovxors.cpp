// Exclusive or with a value.
#include "arith/arith.h"
#include "arith/operation.h"
#include "core/bandwalk.h"
#include "core/image.h"
#include "core/lifecycle.h"
#include "core/ownrect.h"

namespace tov {

namespace {

constexpr Reporter report{"tovXorS", "tovxors"};

} // namespace

void tovXorS(TovImage* srcImage, TovImage* dstImage, int32_t value) {
    if (!report.accepts(srcImage) || !report.accepts(dstImage)) return;
    if (srcImage->depth != dstImage->depth) return report(TOV_STS_BAD_ARG, "(srcImage->depth != dstImage->depth)");
    if (srcImage->depth != TOV_DEPTH_1U && srcImage->dataOrder != dstImage->dataOrder) {
        return report(TOV_STS_BAD_ARG, "(srcImage->dataOrder != dstImage->dataOrder)");
    }
    const Channels src = channelsOf(*srcImage);
    const Channels dst = channelsOf(*dstImage);
    if (src.count != dst.count) return report(TOV_STS_BAD_ARG, "(nChSrc != nChDst)");

    const CombinedMask mask = ownCombineMasks(srcImage->maskROI, dstImage->maskROI, nullptr);
    if (!maskIsUsable(report, mask.state)) return;
    if (dstImage->depth == TOV_DEPTH_32F) return report(TOV_STS_BAD_ARG, kNoFloat);

    const KernelPair<UnaryArgs>& pair = kXorSKernels[depthIndex(dstImage->depth)];
    const auto kernel = mask.mask != nullptr ? pair.masked : pair.plain;
    const bool hasAlpha = srcImage->alphaChannel != 0 || dstImage->alphaChannel != 0;
    const UnaryArgs args = {srcImage,   dstImage,   mask.mask, fillPattern(value, dstImage->depth),
                            src.offset, dst.offset, dst.count, hasAlpha};
    if (srcImage->tileInfo == nullptr && dstImage->tileInfo == nullptr) {
        const bool flat = mask.mask == nullptr && ownSameLayout(*srcImage, *dstImage, hasAlpha);
        return flat ? ownXorFlat(args) : kernel(args);
    }
    const CellKernel<UnaryArgs> cellKernel = {kernel, args};
    const BandWalk walk = {report,
                           {srcImage, nullptr},
                           dstImage,
                           mask.mask,
                           {"(srcImage->tileInfo->tileData == ((void*)(0)))", nullptr},
                           kNoDstTile};
    runBandWalk(walk, runCell<UnaryArgs>, &cellKernel);
}

} // namespace tov
