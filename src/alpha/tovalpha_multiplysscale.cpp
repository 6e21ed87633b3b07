// The product of an image and a scalar.
#include "alpha/kernels.h"
#include "alpha/masks.h"
#include "alpha/operands.h"
#include "alpha/stage.h"

namespace tov {

namespace {

constexpr Reporter report{"tovMultiplySScale", "tovalpha"};

bool channelsAgree(const TovImage& src, const TovImage& dst) {
    const bool srcChosen = coiOf(src) != 0;
    const bool dstChosen = coiOf(dst) != 0;
    return report.passes({
        {!srcChosen && !dstChosen && colourCount(src) != colourCount(dst),
         "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != (dstImage->nChannels - (dstImage->alphaChannel != "
         "0))"},
        {!srcChosen && dstChosen && colourCount(src) != 1,
         "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != (dstImage->roi->coi > 0)"},
        {srcChosen && !dstChosen && colourCount(dst) != 1,
         "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (srcImage->roi->coi > 0)"},
    });
}

// views: destination, source, mask.
void runRect(const void* value, TovImage* const* views, Size size) {
    ownMultiplySScale(views[1], views[0], *static_cast<const int32_t*>(value), size, views[2]);
}

} // namespace

} // namespace tov

using namespace tov;

void tovMultiplySScale(TovImage* srcImage, TovImage* dstImage, int32_t value) {
    Size size = kUnlimited;
    if (!joins(report, dstImage, "dstImage==0", size) || !joins(report, srcImage, "srcImage==0", size)) return;
    if (!report.passes({
            {onlyAlphaNoRegion(*dstImage), "dstImage->alphaChannel == 1 && dstImage->roi == 0"},
            {onlyAlphaNotChosen(*dstImage), "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1"},
            {onlyAlphaNoRegion(*srcImage), "srcImage->alphaChannel == 1 && srcImage->roi == 0"},
            {onlyAlphaNotChosen(*srcImage), "srcImage->alphaChannel == 1 && srcImage->roi->coi != 1"},
            {dstImage->depth != 8 && dstImage->depth != 16, "dstImage->depth != 8 && dstImage->depth != 16"},
            {srcImage->depth != dstImage->depth, "srcImage->depth != dstImage->depth"},
        }) ||
        !channelsAgree(*srcImage, *dstImage)) {
        return;
    }
    MaskList masks;
    masks.add(dstImage);
    masks.add(srcImage);
    if (!masks.merge(report, size)) return;
    if (dstImage->tileInfo == nullptr && srcImage->tileInfo == nullptr) {
        return ownMultiplySScale(srcImage, dstImage, value, size, masks.mask());
    }
    const StagedImage images[] = {{dstImage, TOV_TILE_WRITE}, {srcImage, TOV_TILE_READ}, {masks.mask(), TOV_TILE_READ}};
    runStageWalk({report, size, images, 3, nullptr}, runRect, &value);
}
