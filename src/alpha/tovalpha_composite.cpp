// Composition of two images by their alpha.
#include <initializer_list>

#include "alpha/kernels.h"
#include "alpha/masks.h"
#include "alpha/operands.h"
#include "alpha/stage.h"

namespace tov {

namespace {

constexpr Reporter report{"tovAlphaComposite", "tovalpha"};

bool choosesAlpha(const TovImage& image) { return image.alphaChannel > 0 && coiOf(image) == image.alphaChannel; }
bool choosesNothing(const TovImage& image) { return image.roi != nullptr && image.roi->coi == 0; }

// A channel of interest is all or nothing: the destination and both sources have one, or none has.
bool channelsAgree(const TovImage& a, const TovImage& b, const TovImage& dst) {
    const bool chosenA = coiOf(a) > 0;
    const bool chosenB = coiOf(b) > 0;
    const bool chosenDst = coiOf(dst) > 0;
    return report.passes({
        {chosenDst && a.roi == nullptr, "dstImage->roi->coi > 0 && srcImageA->roi == 0"},
        {chosenDst && choosesNothing(a), "dstImage->roi->coi > 0 && srcImageA->roi->coi == 0"},
        {chosenA && dst.roi == nullptr, "srcImageA->roi->coi > 0 && dstImage->roi == 0"},
        {chosenA && choosesNothing(dst), "srcImageA->roi->coi > 0 && dstImage->roi->coi == 0"},
        {chosenDst && b.roi == nullptr, "dstImage->roi->coi > 0 && srcImageB->roi == 0"},
        {chosenDst && choosesNothing(b), "dstImage->roi->coi > 0 && srcImageB->roi->coi == 0"},
        {chosenB && dst.roi == nullptr, "srcImageB->roi->coi > 0 && dstImage->roi == 0"},
        {chosenB && choosesNothing(dst), "srcImageB->roi->coi > 0 && dstImage->roi->coi == 0"},
        {!chosenDst && colourCount(a) != colourCount(dst),
         "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != "
         "(dstImage->nChannels - (dstImage->alphaChannel != 0))"},
        {!chosenDst && colourCount(b) != colourCount(dst),
         "(srcImageB->nChannels - (srcImageB->alphaChannel != 0)) != "
         "(dstImage->nChannels - (dstImage->alphaChannel != 0))"},
    });
}

bool colourImagesAgree(const TovImage& a, const TovImage& b, const TovImage& dst) {
    return report.passes({
               {choosesAlpha(dst), "dstImage->alphaChannel > 0 && dstImage->roi->coi == dstImage->alphaChannel"},
               {choosesAlpha(a), "srcImageA->alphaChannel > 0 && srcImageA->roi->coi == srcImageA->alphaChannel"},
               {choosesAlpha(b), "srcImageB->alphaChannel > 0 && srcImageB->roi->coi == srcImageB->alphaChannel"},
               {dst.depth != 8 && dst.depth != 16, "dstImage->depth != 8 && dstImage->depth != 16"},
               {a.depth != dst.depth, "srcImageA->depth != dstImage->depth"},
               {b.depth != dst.depth, "srcImageB->depth != dstImage->depth"},
           }) &&
           channelsAgree(a, b, dst);
}

// A given alpha image joins the common size; null is fine.
bool alphaJoins(TovImage* alpha, const TovImage& dst, const char* depthContext, Size& size,
                int32_t line = __builtin_LINE()) {
    if (alpha == nullptr) return true;
    return joins(report, alpha, nullptr, size, line) &&
           report.passes({{alpha->depth != dst.depth, depthContext, line}});
}

bool alphaImagesAgree(TovImage* srcImageA, TovImage* alphaImageA, TovImage* alphaImageB, TovImage* alphaImageDst,
                      const TovImage& dst, Size& size) {
    const bool fromA = alphaImageA == nullptr;
    return report.passes({{fromA && srcImageA->alphaChannel < 1, "srcImageA->alphaChannel < 1"}}) &&
           alphaJoins(alphaImageA, dst, "alphaImageA->depth != dstImage->depth", size) &&
           alphaJoins(alphaImageB, dst, "alphaImageB->depth != dstImage->depth", size) &&
           alphaJoins(alphaImageDst, dst, "alphaImageDst->depth != dstImage->depth", size) &&
           report.passes(
               {{alphaImageDst != nullptr && alphaImageDst->alphaChannel < 1, "alphaImageDst->alphaChannel < 1"}});
}

// Who gives B's alpha: null stands for the complement of A's.
TovImage* settleAlphaB(TovImage* srcImageB, TovImage* alphaImageA, TovImage* alphaImageB) {
    if (alphaImageB != nullptr) return alphaImageB;
    return alphaImageA == nullptr && srcImageB->alphaChannel != 0 ? srcImageB : nullptr;
}

TovImage* settleTarget(TovImage* dstImage, TovImage* alphaImageDst) {
    if (alphaImageDst != nullptr) return alphaImageDst;
    return dstImage->alphaChannel != 0 ? dstImage : nullptr;
}

// views: destination, alpha target, sources, alpha sources, mask.
void runRect(const void* kernelArgs, TovImage* const* views, Size size) {
    CompositeArgs args = *static_cast<const CompositeArgs*>(kernelArgs);
    args.dstImage = views[0];
    args.alphaTarget = views[1];
    args.srcImageA = views[2];
    args.srcImageB = views[3];
    args.alphaSourceA = views[4];
    args.alphaSourceB = views[5];
    ownAlphaComposite(args, size, views[6]);
}

void compose(const CompositeArgs& args, Size size, TovImage* mask) {
    const StagedImage images[] = {{args.dstImage, TOV_TILE_WRITE},
                                  {args.alphaTarget, TOV_TILE_WRITE},
                                  {args.srcImageA, TOV_TILE_READ},
                                  {args.srcImageB, TOV_TILE_READ},
                                  {args.alphaSourceA, TOV_TILE_READ},
                                  {args.alphaSourceB, TOV_TILE_READ},
                                  {mask, TOV_TILE_READ}};
    // The alpha target's view is fetched behind those of the sources.
    static constexpr int32_t viewOrder[] = {0, 2, 3, 1, 4, 5, 6};
    bool tiled = false;
    for (const StagedImage& image : images) {
        tiled = tiled || (image.image != nullptr && image.image->tileInfo != nullptr);
    }
    if (!tiled) return ownAlphaComposite(args, size, mask);
    runStageWalk({report, size, images, kMostStaged, viewOrder}, runRect, &args);
}

} // namespace

} // namespace tov

using namespace tov;

void tovAlphaComposite(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage, int32_t compositeType,
                       TovImage* alphaImageA, TovImage* alphaImageB, TovImage* alphaImageDst, int32_t premulAlpha,
                       int32_t divideMode) {
    Size size = kUnlimited;
    if (!joins(report, dstImage, "dstImage==0", size) || !joins(report, srcImageA, "srcImageA==0", size) ||
        !joins(report, srcImageB, "srcImageB==0", size)) {
        return;
    }
    if (!colourImagesAgree(*srcImageA, *srcImageB, *dstImage) ||
        !alphaImagesAgree(srcImageA, alphaImageA, alphaImageB, alphaImageDst, *dstImage, size)) {
        return;
    }
    if (!report.passes({
            {compositeType < TOV_COMPOSITE_OVER || compositeType > TOV_COMPOSITE_PLUS,
             "compositeType != 0 && compositeType != 1 && compositeType != 2 && compositeType != 3 && "
             "compositeType != 4 && compositeType != 5"},
            {premulAlpha != 0 && premulAlpha != 1, "premulAlpha != 0 && premulAlpha != 1"},
            {divideMode != 0 && divideMode != 1, "divideMode != 0 && divideMode != 1"},
        })) {
        return;
    }
    MaskList masks;
    for (const TovImage* image : {dstImage, srcImageA, srcImageB, alphaImageDst, alphaImageA, alphaImageB}) {
        masks.add(image);
    }
    if (!masks.merge(report, size)) return;
    const CompositeArgs args = {srcImageA,
                                srcImageB,
                                dstImage,
                                compositeType,
                                alphaImageA != nullptr ? alphaImageA : srcImageA,
                                settleAlphaB(srcImageB, alphaImageA, alphaImageB),
                                settleTarget(dstImage, alphaImageDst),
                                premulAlpha,
                                divideMode};
    compose(args, size, masks.mask());
}
