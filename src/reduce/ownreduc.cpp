// The reduction and the dithering of one rectangle: which depths and filters are served, and by which kernels.
#include "core/context.h"
#include "reduce/color.h"
#include "reduce/dither.h"
#include "reduce/noise.h"
#include "reduce/reduction.h"

namespace tov {

namespace {

constexpr const char* kFile = "ownreduc";
constexpr Reporter reportDither{"own_dither_rect", kFile};
constexpr Reporter reportTiled{"own_dither_tiled_errprop", kFile};
constexpr const char* kGrayDepths =
    "Error output depth for gray image dithering. Valid depths are :32S=>16U,8U; 16U => 8U,1U; 8U => 1U";
constexpr const char* kTiledGrayDepths =
    "Error depth for gray image dithering. Valid depths are :32S=>16U,8U; 16U => 8U,1U; 8U => 1U";
constexpr const char* kFewChannels = "image->nChannels < 3";
constexpr const char* kColorDepths = "Error output depth for color dithering. 16U,8U is valid now";

// What is reported for a source depth that doesn't go with the destination's.
struct DepthTexts {
    const char* from32s;
    const char* from16u;
    const char* from8u;
    const char* fromOther;
};

const char* depthText(const DepthTexts& texts, uint32_t srcDepth) {
    switch (srcDepth) {
    case TOV_DEPTH_32S: return texts.from32s;
    case TOV_DEPTH_16U: return texts.from16u;
    case TOV_DEPTH_8U: return texts.from8u;
    default: return texts.fromOther;
    }
}

constexpr const char* kInputDepths = "Error input depth. 32S,16U,8U input is valid now";

Reduction reductionOf(const TovImage& src, const TovImage& dst, const ReductionPlace& place) {
    const bool planes = src.dataOrder == TOV_DATA_ORDER_PLANE;
    return {place.srcData,
            place.dstData,
            place.srcStep,
            place.dstStep,
            place.srcStep * place.srcPlaneRows,
            place.dstStep * place.dstPlaneRows,
            {planes ? place.width : place.width * dst.nChannels, place.height},
            planes ? dst.nChannels : 1};
}

void jitter(const Reduction& reduction, uint32_t srcDepth, uint32_t dstDepth, int32_t amplitude) {
    if (srcDepth == TOV_DEPTH_8U) return ownJitter_8u1u(reduction, amplitude);
    if (srcDepth == TOV_DEPTH_16U) return ownJitter_16u(reduction, amplitude);
    if (dstDepth == TOV_DEPTH_16U) return ownJitter_32s16u(reduction, amplitude);
    if (dstDepth == TOV_DEPTH_8U) return ownJitter_32s8u(reduction, amplitude);
    ownJitter_32s1u(reduction, amplitude);
}

} // namespace

void ownReduceBits(const TovImage& src, const TovImage& dst, const ReductionPlace& place) {
    constexpr Reporter report{"ownReduceBits", kFile};
    constexpr DepthTexts texts = {"Error output depth. 32S to 16U,8U,1U conversion is valid now",
                                  "Error output depth. 16U to 8U,1U conversion is valid now",
                                  "Error output depth. 8U to 1U conversion is valid now", kInputDepths};
    const ReduceKernel kernel = reduceKernel(src.depth, dst.depth);
    if (kernel == nullptr) return report(TOV_STS_BAD_ARG, depthText(texts, src.depth));
    kernel(reductionOf(src, dst, place));
}

void ownjitter_rect(const TovImage& src, const TovImage& dst, const ReductionPlace& place, int32_t jitterType) {
    constexpr Reporter report{"ownjitter_rect", kFile};
    constexpr DepthTexts texts = {"Error output depth for 32S input. Conversion to 16U,8U,1U is valid now",
                                  "Error output depth for 16U input. Conversion to 8U,1U is valid now",
                                  "Error output depth. 8U to 1U conversion is valid now",
                                  "Error output depth for 8U input. Conversion to 1U is valid now"};
    const ReduceKernel kernel = reduceKernel(src.depth, dst.depth);
    if (kernel == nullptr) return report(TOV_STS_BAD_ARG, depthText(texts, src.depth));
    const Reduction reduction = reductionOf(src, dst, place);
    jitter(reduction, src.depth, dst.depth, jitterType);
    kernel(reduction);
}

void ownMapToBit(const TovImage& src, const TovImage& dst, const ReductionPlace& place) {
    constexpr Reporter report{"ownMapToBit", kFile};
    const ReduceKernel kernel = reduceKernel(src.depth, TOV_DEPTH_1U);
    if (kernel == nullptr) return report(TOV_STS_BAD_ARG, kInputDepths);
    kernel(reductionOf(src, dst, place));
}

void own_dither_rect(const TovImage& image, int32_t ditherType, const DitherRect& rect) {
    const DitherChannels channels(image, rect.rowStep, rect.tileHeight);
    if (!channels.gray && !channels.colors) return;
    if (!spreadsErrors(ditherType) && ditherType != kOrderedDither) {
        return reportDither(TOV_STS_BAD_ARG, "Erroneous dither option");
    }
    if (image.depth != TOV_DEPTH_8U && image.depth != TOV_DEPTH_16U) {
        return reportDither(TOV_STS_BAD_ARG,
                            channels.gray && ditherType == kOrderedDither ? kGrayDepths : kColorDepths);
    }
    if (channels.count == 0) return reportDither(TOV_STS_BAD_ARG, kFewChannels);
    if (ditherType == kOrderedDither) return ditherOrdered(image.depth, channels, rect);
    if (channels.colors && image.dataOrder == TOV_DATA_ORDER_PIXEL) {
        return ditherKernel(image.depth, ditherType, true)(channels, rect, ditherType);
    }
    for (int32_t c = 0; c < channels.count; c++) {
        ditherKernel(image.depth, ditherType, false)(channels.only(c), rect, ditherType);
    }
}

void own_dither_tiled_errprop(const TovImage& image, int32_t ditherType, const DitherLine& line) {
    const DitherChannels channels(image, line.rowStep, line.tileHeight);
    if (!channels.gray && !channels.colors) return;
    if (image.depth == TOV_DEPTH_8U || image.depth == TOV_DEPTH_16U) {
        if (channels.count == 0) return reportTiled(TOV_STS_BAD_ARG, kFewChannels);
        if (line.line < line.height) ditherTiledLine(image, ditherType, channels, line);
        return;
    }
    const bool gray = channels.gray && ditherType == kFloydDither;
    reportTiled(TOV_STS_BAD_ARG, gray ? kTiledGrayDepths : kColorDepths);
    reportTiled(TOV_STS_BAD_ARG, gray ? "Erroneous dither option" : "errDitherOption");
}

} // namespace tov
