// What all ways of dithering share, and the ordered one.
#include "reduce/dither.h"

#include "core/image.h"
#include "kernel/kernel.h"
#include "reduce/color.h"

namespace tov {

DitherChannels::DitherChannels(const TovImage& image, ptrdiff_t rowStep, int32_t planeRows) {
    const ColorKind kind = colorKind(image);
    gray = kind == ColorKind::kGray;
    colors = kind == ColorKind::kRgb;
    blueFirst = image.channelSeq[0] == 'B';
    count = gray ? 1 : colors && image.nChannels >= 3 ? 3 : 0;
    const bool planes = image.dataOrder == TOV_DATA_ORDER_PLANE;
    channelStep = planes ? rowStep * planeRows : depthBits(image.depth) >> 3;
    pixelStep = planes ? 1 : image.nChannels;
}

DitherChannels DitherChannels::only(int32_t channel) const {
    DitherChannels one = *this;
    one.count = 1;
    one.first = offset(colors && blueFirst ? 2 - channel : channel);
    return one;
}

DitherKernel ditherKernel(uint32_t depth, int32_t ditherType, bool colors) {
    const auto& kernels = ditherType == kFloydDither ? kFloydKernels : kWideKernels;
    return kernels[depth == TOV_DEPTH_8U ? 0 : 1][colors ? 1 : 0];
}

void ditherTiledLine(const TovImage& image, int32_t ditherType, const DitherChannels& channels,
                     const DitherLine& line) {
    if (ditherType == kFloydDither) return floydTiledLine(image, channels, line);
    wideTiledLine(image, ditherType, channels, line);
}

namespace {

// By column and row of a pixel modulo 4: the numbers 0 to 15 of Bayer's pattern times 241, in units of 1 / 4096.
constexpr int32_t kThresholds[4][4] = {
    {0, 1928, 482, 2410}, {2892, 964, 3374, 1446}, {723, 2651, 241, 2169}, {3615, 1687, 3133, 1205}};

// A row of one channel. The thresholds of four neighbouring pixels repeat.
template <class T>
OWN_INLINE void orderedRow(T* row, int32_t width, ptrdiff_t pixelStep, const int32_t (&thresholds)[4], int32_t shift) {
    constexpr int32_t most = static_cast<T>(~T{0});
    constexpr int32_t kBlock = 16;
    const int32_t step = 1 << shift;
    int32_t repeated[kBlock];
    for (int32_t i = 0; i < kBlock; i++) repeated[i] = thresholds[i & 3];
    const auto threshold = [&](T& value, int32_t over) OWN_INLINE_LAMBDA {
        const int32_t lower = value & -step;
        const int32_t upper = lower + step < most ? lower + step : most;
        value = static_cast<T>((value & (step - 1)) > over ? upper : lower);
    };
    int32_t x = 0;
    for (; pixelStep == 1 && width - x >= kBlock; x += kBlock) {
        OWN_EACH
        for (int32_t i = 0; i < kBlock; i++) threshold(row[x + i], repeated[i]);
    }
    for (; x < width; x++) threshold(row[x * pixelStep], thresholds[x & 3]);
}

template <class T>
OWN_INLINE void ordered(const DitherChannels& channels, const DitherRect& rect) {
    const int32_t shift = 8 * static_cast<int32_t>(sizeof(T)) - rect.levels;
    const auto rowElements = static_cast<uint32_t>(rect.rowStep / static_cast<ptrdiff_t>(sizeof(T)));
    const uint32_t x0 = static_cast<uint32_t>(rect.tileCol) * rowElements;
    const uint32_t y0 = static_cast<uint32_t>(rect.tileRow) * static_cast<uint32_t>(rect.tileHeight);
    for (int32_t y = 0; y < rect.height; y++) {
        int32_t thresholds[4];
        for (uint32_t i = 0; i < 4; i++) {
            thresholds[i] = (kThresholds[(x0 + i) & 3][(y0 + static_cast<uint32_t>(y)) & 3] << shift) >> 12;
        }
        for (int32_t c = 0; c < channels.count; c++) {
            T* row = reinterpret_cast<T*>(rect.data + y * rect.rowStep + channels.offset(c));
            orderedRow(row, rect.width, channels.pixelStep, thresholds, shift);
        }
    }
}

OWN_KERNEL void ownDitherOrdered_8u(const DitherChannels& channels, const DitherRect& rect) {
    ordered<uint8_t>(channels, rect);
}
OWN_KERNEL void ownDitherOrdered_16u(const DitherChannels& channels, const DitherRect& rect) {
    ordered<uint16_t>(channels, rect);
}

} // namespace

void ditherOrdered(uint32_t depth, const DitherChannels& channels, const DitherRect& rect) {
    (depth == TOV_DEPTH_8U ? ownDitherOrdered_8u : ownDitherOrdered_16u)(channels, rect);
}

} // namespace tov
