// The colour twist of an image.
#include "core/context.h"
#include "twist/driver.h"

namespace tov {

namespace {

constexpr Reporter report{"tovApplyColorTwist", "tovtwist"};

bool isServed(const TovImage& src, const TovImage& dst, const TovColorTwist* cTwist) {
    const auto otherOrigin = [](const TovImage& image) {
        return image.maskROI != nullptr && image.origin != image.maskROI->origin;
    };
    return report.passes({
        {cTwist == nullptr, "cTwist==0"},
        {src.nChannels < 3, "(srcImage->nChannels < 3)"},
        {src.alphaChannel != 0 && src.nChannels < 4, "((srcImage->alphaChannel != 0) && (srcImage->nChannels < 4))"},
        {dst.nChannels < 3, "(dstImage->nChannels < 3)"},
        {dst.alphaChannel != 0 && dst.nChannels < 4, "((dstImage->alphaChannel != 0) && (dstImage->nChannels < 4))"},
        {src.depth != dst.depth, "(srcImage->depth != dstImage->depth)"},
        {src.depth != 8 && src.depth != 16, "((srcImage->depth != 8) && (srcImage->depth != 16))"},
        {src.dataOrder != dst.dataOrder, "(srcImage->dataOrder != dstImage->dataOrder)"},
        {src.origin != dst.origin, "(srcImage->origin != dstImage->origin)"},
        {otherOrigin(src), "(srcImage->origin != srcImage->maskROI->origin)"},
        {otherOrigin(dst), "(dstImage->origin != dstImage->maskROI->origin)"},
    });
}

} // namespace

} // namespace tov

using namespace tov;

void tovApplyColorTwist(TovImage* srcImage, TovImage* dstImage, const TovColorTwist* cTwist, int32_t offset) {
    if (!report.accepts(srcImage) || !report.accepts(dstImage) || !isServed(*srcImage, *dstImage, cTwist)) return;
    if (srcImage->maskROI == nullptr && dstImage->maskROI == nullptr) {
        return ownApplyColorTwist(report, srcImage, dstImage, *cTwist, offset);
    }
    ownApplyColorTwistMasked(report, srcImage, dstImage, *cTwist, offset);
}
