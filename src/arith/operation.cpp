// The frame of the arithmetic operations with two sources.
#include "arith/operation.h"

#include "core/bandwalk.h"
#include "core/image.h"
#include "core/ownrect.h"

namespace tov {

bool maskIsUsable(const Reporter& report, int32_t maskState, int32_t line) {
    if (maskState == OWN_MASK_NO_MEMORY) report(TOV_STS_NO_MEMORY, "Out of memory", line);
    return maskState != OWN_MASK_NO_MEMORY && maskState != OWN_MASK_EMPTY;
}

void runBinary(const Reporter& report, const KernelPair<BinaryArgs>* kernels, TovImage* srcImageA, TovImage* srcImageB,
               TovImage* dstImage) {
    if (!report.accepts(srcImageA) || !report.accepts(srcImageB) || !report.accepts(dstImage)) return;
    const bool orderMatters = srcImageA->depth != TOV_DEPTH_1U;
    const Channels a = channelsOf(*srcImageA);
    const Channels b = channelsOf(*srcImageB);
    const Channels dst = channelsOf(*dstImage);
    if (!report.passes({
            {srcImageA->depth != dstImage->depth, "(srcImageA->depth != dstImage->depth)"},
            {srcImageB->depth != dstImage->depth, "(srcImageB->depth != dstImage->depth)"},
            {orderMatters && srcImageA->dataOrder != dstImage->dataOrder,
             "(srcImageA->dataOrder != dstImage->dataOrder)"},
            {orderMatters && srcImageB->dataOrder != dstImage->dataOrder,
             "(srcImageB->dataOrder != dstImage->dataOrder)"},
            {a.count != dst.count, "(nChSrcA != nChDst)"},
            {b.count != dst.count, "(nChSrcB != nChDst)"},
        })) {
        return;
    }

    const CombinedMask mask = ownCombineMasks(srcImageA->maskROI, srcImageB->maskROI, dstImage->maskROI);
    if (!maskIsUsable(report, mask.state)) return;
    const KernelPair<BinaryArgs>& pair = kernels[depthIndex(dstImage->depth)];
    const auto kernel = mask.mask != nullptr ? pair.masked : pair.plain;
    if (kernel == nullptr) return report(TOV_STS_BAD_ARG, kNoFloat);

    const bool hasAlpha = srcImageA->alphaChannel != 0 || srcImageB->alphaChannel != 0 || dstImage->alphaChannel != 0;
    const BinaryArgs args = {srcImageA, srcImageB,  dstImage,  mask.mask, a.offset,
                             b.offset,  dst.offset, dst.count, hasAlpha};
    if (srcImageA->tileInfo == nullptr && srcImageB->tileInfo == nullptr && dstImage->tileInfo == nullptr) {
        return kernel(args);
    }
    const CellKernel<BinaryArgs> cellKernel = {kernel, args};
    const BandWalk walk = {
        report,
        {srcImageA, srcImageB},
        dstImage,
        mask.mask,
        {"(srcImageA->tileInfo->tileData == ((void*)(0)))", "(srcImageB->tileInfo->tileData == ((void*)(0)))"},
        kNoDstTile};
    runBandWalk(walk, runCell<BinaryArgs>, &cellKernel);
}

} // namespace tov
