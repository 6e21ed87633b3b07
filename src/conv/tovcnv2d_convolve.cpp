// Convolution.
#include "conv/driver.h"
#include "conv/plan.h"
#include "core/context.h"

namespace tov {

namespace {

constexpr Reporter report{"tovConvolve2D", "tovcnv2d"};

bool beginsInside(const TovImage& image) {
    const TovROI* roi = image.roi;
    return roi == nullptr ||
           (roi->xOffset >= 0 && roi->yOffset >= 0 && roi->xOffset < image.width && roi->yOffset < image.height);
}

// A record of the caller's own making may lack its coefficients too.
bool isSound(const TovConvKernel& kernel) {
    return kernel.nRows >= 1 && kernel.nCols >= 1 && kernel.anchorX >= 0 && kernel.anchorY >= 0 &&
           kernel.nRows > kernel.anchorY && kernel.nCols > kernel.anchorX && kernel.values != nullptr;
}

bool acceptsKernels(TovConvKernel* const* kernel, int32_t nKernels, int32_t combineMethod) {
    const bool known = combineMethod >= TOV_COMBINE_SUM && combineMethod <= TOV_COMBINE_MIN;
    if (!report.passes({
            {kernel == nullptr, "kernel==0"},
            {nKernels <= 0 || nKernels > kConvMostKernels, "(nKernels<=0 || nKernels>10)"},
            {nKernels > 1 && !known, "Inadmissible method"},
        })) {
        return false;
    }
    for (int32_t i = 0; i < nKernels; i++) {
        if (!report.passes({
                {kernel[i] == nullptr, "kernel[i]==0"},
                {kernel[i] != nullptr && !isSound(*kernel[i]), "Bad kernel structure"},
            })) {
            return false;
        }
    }
    return true;
}

} // namespace

} // namespace tov

using namespace tov;

void tovConvolve2D(TovImage* srcImage, TovImage* dstImage, TovConvKernel* const* kernel, int32_t nKernels,
                   int32_t combineMethod) {
    if (!report.accepts(srcImage) || !report.accepts(dstImage)) return;
    if (!beginsInside(*srcImage) || !beginsInside(*dstImage)) return report(TOV_STS_BAD_ROI_OFFSET, "Bad ROI offsets");
    if (!acceptsKernels(kernel, nKernels, combineMethod)) return;
    const bool alike = srcImage->depth == dstImage->depth && srcImage->dataOrder == dstImage->dataOrder;
    if (!alike) return report(TOV_STS_BAD_ARG, "Uncompatible images");
    if (srcImage->depth == TOV_DEPTH_32F) {
        return report(TOV_STS_BAD_ARG, "32F images can be processed only with FP kernel");
    }
    switch (ownConvolveImages(srcImage, dstImage, kernel, nKernels, combineMethod)) {
    case kConvNoChannel: return report(TOV_STS_BAD_ARG, "No channel to operate");
    case kConvIncompatible: return report(TOV_STS_BAD_ARG, "Uncompatible images");
    case kConvNoMemory: return report(TOV_STS_NO_MEMORY, "Allocation failure");
    case kConvNoTile: return report(TOV_STS_TILE_FAILURE, "Error get tile to write");
    case kConvOneCoi: return report(TOV_STS_BAD_ARG, "One of the COI is not defined");
    case kConvMaskFailed:
    case kConvDone: return;
    }
}
