// The filters of Jarvis, Judice and Ninke and of Stucki, which reach two pixels and two rows.
#include "reduce/dither_rows.h"

namespace tov {

namespace {

constexpr DitherFilter kJarvis = {2, 13, {1197, 855}, {{513, 855, 1197, 855, 513}, {171, 513, 855, 513, 171}}};
constexpr DitherFilter kStucki = {2, 13, {1560, 780}, {{390, 780, 1560, 780, 390}, {195, 390, 780, 390, 195}}};

template <class T>
OWN_INLINE void dither(const char* kernel, const DitherChannels& channels, const DitherRect& rect, int32_t ditherType) {
    const Reporter report = {kernel, "owndiths"};
    if (ditherType == kJarvisDither) return ditherChannels<T, kJarvis>(report, channels, rect);
    ditherChannels<T, kStucki>(report, channels, rect);
}

OWN_KERNEL void owncbDither_Gray_S_J_PX(const DitherChannels& channels, const DitherRect& rect, int32_t ditherType) {
    dither<uint8_t>("owncbDither_Gray_S_J_PX", channels, rect, ditherType);
}
OWN_KERNEL void ownwbDither_Gray_S_J_PX(const DitherChannels& channels, const DitherRect& rect, int32_t ditherType) {
    dither<uint16_t>("ownwbDither_Gray_S_J_PX", channels, rect, ditherType);
}
OWN_KERNEL void owncbDither_S_J_PX(const DitherChannels& channels, const DitherRect& rect, int32_t ditherType) {
    dither<uint8_t>("owncbDither_S_J_PX", channels, rect, ditherType);
}
OWN_KERNEL void ownwbDither_S_J_PX(const DitherChannels& channels, const DitherRect& rect, int32_t ditherType) {
    dither<uint16_t>("ownwbDither_S_J_PX", channels, rect, ditherType);
}

template <class T>
OWN_INLINE void tiledLine(const TovImage& image, const DitherChannels& channels, const DitherLine& line,
                          int32_t ditherType) {
    if (ditherType == kJarvisDither) return ditherLine<T, kJarvis>(image, channels, line);
    ditherLine<T, kStucki>(image, channels, line);
}

OWN_KERNEL void ownWideLine_8u(const TovImage& image, const DitherChannels& channels, const DitherLine& line,
                               int32_t ditherType) {
    tiledLine<uint8_t>(image, channels, line, ditherType);
}
OWN_KERNEL void ownWideLine_16u(const TovImage& image, const DitherChannels& channels, const DitherLine& line,
                                int32_t ditherType) {
    tiledLine<uint16_t>(image, channels, line, ditherType);
}

} // namespace

const DitherKernel kWideKernels[2][2] = {{owncbDither_Gray_S_J_PX, owncbDither_S_J_PX},
                                         {ownwbDither_Gray_S_J_PX, ownwbDither_S_J_PX}};

void wideTiledLine(const TovImage& image, int32_t ditherType, const DitherChannels& channels, const DitherLine& line) {
    (image.depth == TOV_DEPTH_8U ? ownWideLine_8u : ownWideLine_16u)(image, channels, line, ditherType);
}

} // namespace tov
