// The frame of the arithmetic operations with two sources.
#include "arith/operation.h"

#include "core/bandwalk.h"
#include "core/image.h"
#include "core/ownrect.h"

namespace tov {

namespace {

// What a band walk hands on to a kernel in each cell.
struct CellKernel {
    void (*run)(const BinaryArgs& args);
    BinaryArgs args;
};

void runCell(const void* kernelArgs, const BandCell& cell) {
    const auto& kernel = *static_cast<const CellKernel*>(kernelArgs);
    BinaryArgs args = kernel.args;
    args.srcA = cell.sources[0];
    args.srcB = cell.sources[1];
    args.dst = cell.dst;
    args.mask = cell.mask;
    kernel.run(args);
}

} // namespace

bool maskIsUsable(const Reporter& report, int32_t maskState, int32_t line) {
    if (maskState == OWN_MASK_NO_MEMORY) report(TOV_STS_NO_MEMORY, "Out of memory", line);
    return maskState != OWN_MASK_NO_MEMORY && maskState != OWN_MASK_EMPTY;
}

void runBinary(const Reporter& report, const KernelPair<BinaryArgs>* kernels, TovImage* srcImageA, TovImage* srcImageB,
               TovImage* dstImage) {
    if (!report.accepts(srcImageA) || !report.accepts(srcImageB) || !report.accepts(dstImage)) return;
    if (srcImageA->depth != dstImage->depth) return report(TOV_STS_BAD_ARG, "(srcImageA->depth != dstImage->depth)");
    if (srcImageB->depth != dstImage->depth) return report(TOV_STS_BAD_ARG, "(srcImageB->depth != dstImage->depth)");
    if (srcImageA->depth != TOV_DEPTH_1U) {
        if (srcImageA->dataOrder != dstImage->dataOrder) {
            return report(TOV_STS_BAD_ARG, "(srcImageA->dataOrder != dstImage->dataOrder)");
        }
        if (srcImageB->dataOrder != dstImage->dataOrder) {
            return report(TOV_STS_BAD_ARG, "(srcImageB->dataOrder != dstImage->dataOrder)");
        }
    }
    const Channels a = channelsOf(*srcImageA);
    const Channels b = channelsOf(*srcImageB);
    const Channels dst = channelsOf(*dstImage);
    if (a.count != dst.count) return report(TOV_STS_BAD_ARG, "(nChSrcA != nChDst)");
    if (b.count != dst.count) return report(TOV_STS_BAD_ARG, "(nChSrcB != nChDst)");

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
    const CellKernel cellKernel = {kernel, args};
    const BandWalk walk = {
        report,
        {srcImageA, srcImageB},
        dstImage,
        mask.mask,
        {"(srcImageA->tileInfo->tileData == ((void*)(0)))", "(srcImageB->tileInfo->tileData == ((void*)(0)))"},
        kNoDstTile};
    runBandWalk(walk, runCell, &cellKernel);
}

} // namespace tov
