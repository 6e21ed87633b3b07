// Zooming: stretching an image over another one, from end to end.
#include "core/ownrect.h"
#include "resample/zoom.h"

namespace tov {

namespace {

constexpr const Reporter& report = kZoomReport;

bool isServed(const TovImage& src, const TovImage& dst, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
              int32_t mode) {
    const bool sound = report.all({
        {mode != TOV_INTER_NN && mode != TOV_INTER_LINEAR && mode != TOV_INTER_CUBIC,
         "interpolate != TOV_INTER_NN && interpolate != TOV_INTER_LINEAR && interpolate != TOV_INTER_CUBIC"},
        {src.depth != dst.depth, "srcImage->depth != dstImage->depth"},
        {src.depth != TOV_DEPTH_1U && src.depth != TOV_DEPTH_8U && src.depth != TOV_DEPTH_16U,
         "srcImage->depth != TOV_DEPTH_1U && srcImage->depth != TOV_DEPTH_8U && srcImage->depth != TOV_DEPTH_16U"},
        {src.dataOrder != dst.dataOrder, "srcImage->dataOrder != dstImage->dataOrder"},
        {xDst <= 0 || xSrc <= 0, "xDst <= 0 || xSrc <= 0"},
        {yDst <= 0 || ySrc <= 0, "yDst <= 0 || ySrc <= 0"},
    });
    // A failure left by an earlier call ends this one, too. A handler may have cleared the status of one found here.
    return sound && tovGetErrStatus() >= 0;
}

Stretch stretchOf(int32_t length, int32_t dst, int32_t src) {
    Stretch axis = {static_cast<double>(src) / dst, 0};
    const double full = static_cast<double>(length) / src * dst;
    if (axis.rate == 1) {
        axis.step = 1;
    } else if (full > 1) {
        axis.step = (length - 1) / (full - 1);
    }
    return axis;
}

// Interpolation needs two, or four, samples on each axis.
int32_t effectiveMode(const TovImage& src, int32_t mode) {
    const int32_t least = smaller(src.width, src.height);
    if (src.depth == TOV_DEPTH_1U || least < 2) return TOV_INTER_NN;
    return least < 4 && mode == TOV_INTER_CUBIC ? TOV_INTER_LINEAR : mode;
}

bool isAlphaAlone(const TovImage& image) { return image.alphaChannel != 0 && image.nChannels == 1; }

} // namespace

void ownZoomCore(TovImage* srcImage, TovImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
                 int32_t interpolate) {
    if (!report.accepts(srcImage) || !report.accepts(dstImage)) return;
    if (!isServed(*srcImage, *dstImage, xDst, xSrc, yDst, ySrc, interpolate)) return;
    if (srcImage == dstImage) return report(TOV_STS_BAD_ARG, "This function isn`t in-plase function");
    if (isAlphaAlone(*srcImage) || isAlphaAlone(*dstImage)) return;
    OwnRect region;
    ownImageRect(*srcImage, region);
    const ZoomCall call = {srcImage, dstImage, effectiveMode(*srcImage, interpolate),
                           stretchOf(region.width, xDst, xSrc), stretchOf(region.height, yDst, ySrc)};
    if (srcImage->tileInfo != nullptr || dstImage->tileInfo != nullptr) return ownZoomCells(call);
    ownZoomRect(call, *srcImage, *dstImage, 0, 0, true);
}

} // namespace tov

using namespace tov;

void tovZoom(TovImage* srcImage, TovImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
             int32_t interpolate) {
    if (xDst < xSrc || yDst < ySrc) return report(TOV_STS_BAD_ARG, "xDst < xSrc || yDst < ySrc");
    ownZoomCore(srcImage, dstImage, xDst, xSrc, yDst, ySrc, interpolate);
}
