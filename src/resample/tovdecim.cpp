// Decimation: reducing an image by rational rates, from its first pixel on.
#include "core/image.h"
#include "core/ownrect.h"
#include "resample/decimate.h"

namespace tov {

namespace {

constexpr Reporter report{"tovDecimate", "tovdecim"};

// Pixels written for each `src` pixels read.
struct Rate {
    int32_t dst;
    int32_t src;

    bool whole() const { return src % dst == 0; }
    double value() const { return static_cast<double>(src) / dst; }
    int32_t of(int32_t length) const { return static_cast<int32_t>(int64_t{length} * dst / src); }
};

// A source's channel of interest asks for one in a destination of several channels.
bool isServed(TovImage* srcImage, TovImage* dstImage, Rate x, Rate y, int32_t mode) {
    const TovImage& src = *srcImage;
    const TovImage& dst = *dstImage;
    const bool fromOne = src.roi != nullptr && dst.nChannels > 1 && src.roi->coi > 0;
    const bool toOne = dst.roi != nullptr && src.nChannels > 1 && dst.roi->coi > 0;
    const bool sound = report.all({
        {srcImage == dstImage, "srcImage == dstImage"},
        {src.depth != dst.depth, "srcImage->depth != dstImage->depth"},
        {src.depth != TOV_DEPTH_1U && src.depth != TOV_DEPTH_8U && src.depth != TOV_DEPTH_16U,
         "srcImage->depth != TOV_DEPTH_1U && srcImage->depth != TOV_DEPTH_8U && srcImage->depth != TOV_DEPTH_16U"},
        {src.origin != dst.origin, "srcImage->origin != dstImage->origin"},
        {src.dataOrder != dst.dataOrder, "srcImage->dataOrder != dstImage->dataOrder"},
        {fromOne && dst.roi != nullptr && dst.roi->coi == 0, "srcImage->roi->coi > 0 && dstImage->roi->coi == 0"},
        {fromOne && dst.roi == nullptr, "srcImage->roi->coi > 0 && dstImage->roi == ((void *)0)"},
        {toOne && src.roi != nullptr && src.roi->coi == 0, "dstImage->roi->coi > 0 && srcImage->roi->coi == 0"},
        {toOne && src.roi == nullptr, "dstImage->roi->coi > 0 && srcImage->roi == ((void *)0)"},
        {mode < TOV_INTER_NN || mode > TOV_INTER_SUPER,
         "interpolate != TOV_INTER_NN, TOV_INTER_LINEAR, TOV_INTER_CUBIC or TOV_INTER_SUPER"},
        {x.dst < 1, "xDst <= 0"},
        {x.src < 1, "xSrc <= 0"},
        {y.dst < 1, "yDst <= 0"},
        {y.src < 1, "ySrc <= 0"},
        {x.dst > x.src, "xDst > xSrc"},
        {y.dst > y.src, "yDst > ySrc"},
    });
    // A failure left by an earlier call ends this one, too. A handler may have cleared the status of one found here.
    return sound && tovGetErrStatus() >= 0;
}

// The mode that takes effect, and the margins that a tiled source needs for it.
void ownDecimateMode(DecimateCall& call, Rate x, Rate y) {
    const TovImage& src = *call.src;
    const bool tooSmall = src.width < 4 || src.height < 4;
    const bool picks = call.mode != TOV_INTER_SUPER && x.whole() && y.whole();
    if (tooSmall || picks) call.mode = TOV_INTER_NN;
    if (call.mode == TOV_INTER_SUPER) {
        const auto covered = [](Rate rate) { return (int64_t{rate.dst} + rate.src - 1) / rate.dst; };
        const TovTileInfo* tiles = src.tileInfo;
        if (tiles != nullptr && (covered(x) > tiles->width || covered(y) > tiles->height)) {
            call.mode = TOV_INTER_NN;
        } else {
            call.xMargin = -static_cast<int32_t>(covered(x));
            call.yMargin = -static_cast<int32_t>(covered(y));
        }
    }
    if (call.mode == TOV_INTER_LINEAR || call.mode == TOV_INTER_CUBIC) {
        const int32_t reach = call.mode == TOV_INTER_LINEAR ? 1 : 2;
        call.xMargin = x.whole() ? 0 : reach;
        call.yMargin = y.whole() ? 0 : reach;
    }
    if (call.mode == TOV_INTER_NN) call.start = {x.whole() ? 0 : 0.5, y.whole() ? 0 : 0.5};
}

// Alpha is a channel like the others here.
int32_t channelsIn(const TovImage& image) { return image.roi != nullptr && image.roi->coi != 0 ? 1 : image.nChannels; }

} // namespace

} // namespace tov

using namespace tov;

void tovDecimate(TovImage* srcImage, TovImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
                 int32_t interpolate) {
    if (!report.accepts(srcImage) || !report.accepts(dstImage)) return;
    const Rate x = {xDst, xSrc};
    const Rate y = {yDst, ySrc};
    if (!isServed(srcImage, dstImage, x, y, interpolate)) return;

    OwnRect src;
    OwnRect dst;
    ownImageRect(*srcImage, src);
    ownImageRect(*dstImage, dst);
    const Size size = smaller({dst.width, dst.height}, {x.of(src.width), y.of(src.height)});
    if (size.empty()) return;

    DecimateCall call = {report,
                         srcImage,
                         dstImage,
                         interpolate,
                         nullptr,
                         static_cast<float>(x.value()),
                         static_cast<float>(y.value()),
                         0,
                         0,
                         {0, 0},
                         {src.x, src.y},
                         {dst.x, dst.y},
                         size,
                         smaller(channelsIn(*srcImage), channelsIn(*dstImage))};
    ownDecimateMode(call, x, y);
    call.kernel = ownDecimateKernel(srcImage->depth, call.mode, x.whole(), y.whole());
    runDecimate(call);
}
