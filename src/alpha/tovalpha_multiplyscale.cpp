// The product of two images.
#include "alpha/kernels.h"
#include "alpha/masks.h"
#include "alpha/operands.h"
#include "alpha/stage.h"

namespace tov {

namespace {

constexpr Reporter report{"tovMultiplyScale", "tovalpha"};

bool isServed(const TovImage& a, const TovImage& b, const TovImage& dst) {
    return report.passes({
        {onlyAlphaNoRegion(dst), "dstImage->alphaChannel == 1 && dstImage->roi == 0"},
        {onlyAlphaNotChosen(dst), "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1"},
        {onlyAlphaNoRegion(a), "srcImageA->alphaChannel == 1 && srcImageA->roi == 0"},
        {onlyAlphaNotChosen(a), "srcImageA->alphaChannel == 1 && srcImageA->roi->coi != 1"},
        {onlyAlphaNoRegion(b), "srcImageB->alphaChannel == 1 && srcImageB->roi == 0"},
        {onlyAlphaNotChosen(b), "srcImageB->alphaChannel == 1 && srcImageB->roi->coi != 1"},
        {dst.depth != 8 && dst.depth != 16, "dstImage->depth != 8 && dstImage->depth != 16"},
        {a.depth != dst.depth, "srcImageA->depth != dstImage->depth"},
        {b.depth != dst.depth, "srcImageB->depth != dstImage->depth"},
    });
}

// Each source is compared with the destination, not with the other one.
bool channelsAgree(const TovImage& a, const TovImage& b, const TovImage& dst) {
    const bool chosenA = coiOf(a) != 0;
    const bool chosenB = coiOf(b) != 0;
    const bool chosenDst = coiOf(dst) != 0;
    return report.passes({
        {!chosenA && !chosenDst && colourCount(a) != colourCount(dst),
         "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != "
         "(dstImage->nChannels - (dstImage->alphaChannel != 0))"},
        {!chosenA && chosenDst && colourCount(a) != 1,
         "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != (dstImage->roi->coi > 0)"},
        {chosenA && !chosenDst && colourCount(dst) != 1,
         "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (srcImageA->roi->coi > 0)"},
        {!chosenB && !chosenDst && colourCount(b) != colourCount(dst),
         "(srcImageB->nChannels - (srcImageB->alphaChannel != 0)) != "
         "(dstImage->nChannels - (dstImage->alphaChannel != 0))"},
        {!chosenB && chosenDst && colourCount(b) != 1,
         "(srcImageB->nChannels - (srcImageB->alphaChannel != 0)) != (dstImage->roi->coi > 0)"},
        {chosenB && !chosenDst && colourCount(dst) != 1,
         "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (srcImageB->roi->coi > 0)"},
    });
}

// views: destination, sources, mask.
void runRect(const void*, TovImage* const* views, Size size) {
    ownMultiplyScale(views[1], views[2], views[0], size, views[3]);
}

} // namespace

} // namespace tov

using namespace tov;

void tovMultiplyScale(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage) {
    Size size = kUnlimited;
    if (!joins(report, dstImage, "dstImage==0", size) || !joins(report, srcImageA, "srcImageA==0", size) ||
        !joins(report, srcImageB, "srcImageB==0", size)) {
        return;
    }
    if (!isServed(*srcImageA, *srcImageB, *dstImage) || !channelsAgree(*srcImageA, *srcImageB, *dstImage)) return;
    MaskList masks;
    masks.add(dstImage);
    masks.add(srcImageA);
    masks.add(srcImageB);
    if (!masks.merge(report, size)) return;
    if (dstImage->tileInfo == nullptr && srcImageA->tileInfo == nullptr && srcImageB->tileInfo == nullptr) {
        return ownMultiplyScale(srcImageA, srcImageB, dstImage, size, masks.mask());
    }
    const StagedImage images[] = {{dstImage, TOV_TILE_WRITE},
                                  {srcImageA, TOV_TILE_READ},
                                  {srcImageB, TOV_TILE_READ},
                                  {masks.mask(), TOV_TILE_READ}};
    runStageWalk({report, size, images, 4, nullptr}, runRect, nullptr);
}
