// Changing an image's size either way.
#include "resample/zoom.h"

namespace tov {

namespace {

constexpr Reporter report{"tovResize", "tovresiz"};

} // namespace

} // namespace tov

using namespace tov;

void tovResize(TovImage* srcImage, TovImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
               int32_t interpolate) {
    if (interpolate != TOV_INTER_SUPER) {
        ownZoomCore(srcImage, dstImage, xDst, xSrc, yDst, ySrc, interpolate);
    } else if (xDst > xSrc || yDst > ySrc) {
        return report(TOV_STS_BAD_ARG, "(interpolate == TOV_INTER_SUPER) && (xDst > xSrc || yDst > ySrc)");
    } else {
        tovDecimate(srcImage, dstImage, xDst, xSrc, yDst, ySrc, interpolate);
    }
    if (tovGetErrStatus() < 0) report.backtrace();
}
