// Conversion between depths.
#include "core/context.h"
#include "core/image.h"
#include "core/pairwalk.h"
#include "reduce/convert_kernels.h"

namespace tov {

namespace {

constexpr Reporter report{"tovConvert", "..\\_SRC\\tovcvrt"};

bool isServed(const TovImage& src, const TovImage& dst) {
    const bool toBits = dst.depth == TOV_DEPTH_1U && src.depth != TOV_DEPTH_1U;
    const bool needsChannel = toBits && src.nChannels > 1;
    return report.passes({
        {src.depth == TOV_DEPTH_32F, "(srcImage->depth == 32)"},
        {dst.depth == TOV_DEPTH_32F, "(dstImage->depth == 32)"},
        {src.height != dst.height, "(srcImage->height != dstImage->height)"},
        {src.width != dst.width, "(srcImage->width != dstImage->width)"},
        {needsChannel && src.roi == nullptr, "(srcImage->roi == 0)"},
        {needsChannel && src.roi != nullptr && src.roi->coi == 0, "(srcImage->roi->coi == 0)"},
        {!toBits && src.nChannels != dst.nChannels, "srcImage->nChannels != dstImage->nChannels"},
        {src.depth == TOV_DEPTH_1U && dst.depth != TOV_DEPTH_1U,
         "((srcImage->depth == 1) && (srcImage->depth != dstImage->depth))"},
    });
}

struct ConvertCall {
    const TovImage& src;
    const TovImage& dst;
    ConvertKernel kernel;
    int32_t srcChannel;
};

void convertBlock(const void* args, const PairBlock& block) {
    const auto& call = *static_cast<const ConvertCall*>(args);
    const auto view = [](const TovImage& image, const BlockPlace& place) -> ConvertView {
        return {image.depth, image.nChannels, image.dataOrder, image.origin,
                place.data,  place.rowStep,   place.planeStep};
    };
    ConvertView src = view(call.src, block.src);
    src.base += call.srcChannel * src.channelBytes();
    call.kernel(src, view(call.dst, block.dst), block.size);
}

// Runs a kernel over two whole images of one size, from a zero-based channel of the source on.
void ownConvertWalk(TovImage& src, TovImage& dst, ConvertKernel kernel, int32_t srcChannel) {
    const ConvertCall call = {src, dst, kernel, srcChannel};
    PairWalk walk = {report, &src, &dst, {0, 0}, {0, 0}, {dst.width, dst.height}};
    walk.upwards = src.origin != dst.origin;
    runPairWalk(walk, convertBlock, &call);
}

} // namespace

} // namespace tov

using namespace tov;

void tovConvert(TovImage* srcImage, TovImage* dstImage) {
    if (!report.accepts(srcImage) || !report.accepts(dstImage)) return;
    if (srcImage == dstImage || !isServed(*srcImage, *dstImage)) return;

    if (dstImage->depth != TOV_DEPTH_1U) {
        const ConvertKernel kernel = convertElementsKernel(srcImage->depth, dstImage->depth);
        return ownConvertWalk(*srcImage, *dstImage, kernel, 0);
    }
    if (srcImage->depth == TOV_DEPTH_1U) return ownConvertWalk(*srcImage, *dstImage, ownConvert1UCopy, 0);
    const int32_t channel = srcImage->nChannels < 2 ? 0 : srcImage->roi->coi - 1;
    ownConvertWalk(*srcImage, *dstImage, convertTo1UKernel(srcImage->depth), channel);
}
