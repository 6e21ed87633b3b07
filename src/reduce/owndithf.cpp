// Floyd's filter.
#include "reduce/dither_rows.h"

namespace tov {

namespace {

constexpr DitherFilter kFloyd = {1, 4, {7, 0}, {{0, 1, 5, 3, 0}, {}}};

template <class T>
OWN_INLINE void dither(const char* kernel, const DitherChannels& channels, const DitherRect& rect) {
    ditherChannels<T, kFloyd>(Reporter{kernel, "owndithf"}, channels, rect);
}

OWN_KERNEL void owncbDither_Gray_Floyd_PX(const DitherChannels& channels, const DitherRect& rect, int32_t) {
    dither<uint8_t>("owncbDither_Gray_Floyd_PX", channels, rect);
}
OWN_KERNEL void ownwbDither_Gray_Floyd_PX(const DitherChannels& channels, const DitherRect& rect, int32_t) {
    dither<uint16_t>("ownwbDither_Gray_Floyd_PX", channels, rect);
}
OWN_KERNEL void owncbDither_Floyd_PX(const DitherChannels& channels, const DitherRect& rect, int32_t) {
    dither<uint8_t>("owncbDither_Floyd_PX", channels, rect);
}
OWN_KERNEL void ownwbDither_Floyd_PX(const DitherChannels& channels, const DitherRect& rect, int32_t) {
    dither<uint16_t>("ownwbDither_Floyd_PX", channels, rect);
}

OWN_KERNEL void ownFloydLine_8u(const TovImage& image, const DitherChannels& channels, const DitherLine& line) {
    ditherLine<uint8_t, kFloyd>(image, channels, line);
}
OWN_KERNEL void ownFloydLine_16u(const TovImage& image, const DitherChannels& channels, const DitherLine& line) {
    ditherLine<uint16_t, kFloyd>(image, channels, line);
}

} // namespace

const DitherKernel kFloydKernels[2][2] = {{owncbDither_Gray_Floyd_PX, owncbDither_Floyd_PX},
                                          {ownwbDither_Gray_Floyd_PX, ownwbDither_Floyd_PX}};

void floydTiledLine(const TovImage& image, const DitherChannels& channels, const DitherLine& line) {
    (image.depth == TOV_DEPTH_8U ? ownFloydLine_8u : ownFloydLine_16u)(image, channels, line);
}

} // namespace tov
