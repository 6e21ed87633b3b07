// The kernels of scaled multiplication.
#include "alpha/access.h"
#include "alpha/kernels.h"
#include "alpha/scalemul.h"
#include "kernel/walk.h"

namespace tov {

namespace {

struct ScaleMul {
    template <class T>
    OWN_INLINE T operator()(T x, T y) const {
        return ownScaleMul(x, y);
    }
};

template <class T>
struct ScaleBy {
    OWN_INLINE T operator()(T x) const { return ownScaleMul(x, value); }
    T value;
};

// dst = formula(sources...). Rows that hold nothing but the channels in work are walked as runs, planes that are all in
// work one after the other. Anything else goes row by row, in each row channel by channel; pixels are taken whole there
// too where images that are the same or disjoint can't tell.
template <class T, class Formula, class... Images>
OWN_INLINE void multiply(Formula formula, Size size, const TovImage* mask, const TovImage& dst, const Images&... srcs) {
    const bool chosen = coiOf(dst) != 0 || ((coiOf(srcs) != 0) || ...);
    const int32_t nch = chosen ? 1 : dst.nChannels - (dst.alphaChannel != 0 ? 1 : 0);
    const bool alike = ((srcs.dataOrder == dst.dataOrder) && ...);
    const bool inPixels = alike && dst.dataOrder == TOV_DATA_ORDER_PIXEL;
    const bool full = alike && mask == nullptr && dst.nChannels == nch;
    const bool runs = full && ((srcs.nChannels == nch) && ...);
    const auto first = [](const TovImage& image) { return coiOf(image) != 0 ? coiOf(image) : 1; };
    const auto walk = [&](const auto& to, const auto&... from) OWN_INLINE_LAMBDA {
        Span span = {size.width, size.height, 1, nch};
        const bool together =
            inPixels && (runs || !(overlapsElsewhere(footprintOf(to, span), footprintOf(from, span)) || ...));
        if (!together) span = {size.width, size.height, nch, 1, !full || inPixels};
        if (mask != nullptr) {
            walkLanes<true>(span, maskLane(mask), formula, to, from...);
        } else {
            walkLanes<false>(span, MaskLane{}, formula, to, from...);
        }
    };
    walk(channelLane<T>(dst, first(dst)), channelLane<const T>(srcs, first(srcs))...);
}

template <class T>
T clampToDepth(int32_t value) {
    constexpr int32_t largest = static_cast<T>(~T{0});
    return static_cast<T>(value < 0 ? 0 : value > largest ? largest : value);
}

OWN_KERNEL void ownMultiplySScale_8u(const TovImage& src, const TovImage& dst, uint8_t value, Size size,
                                     const TovImage* mask) {
    multiply<uint8_t>(ScaleBy<uint8_t>{value}, size, mask, dst, src);
}
OWN_KERNEL void ownMultiplySScale_16u(const TovImage& src, const TovImage& dst, uint16_t value, Size size,
                                      const TovImage* mask) {
    multiply<uint16_t>(ScaleBy<uint16_t>{value}, size, mask, dst, src);
}
OWN_KERNEL void ownMultiplyScale_8u(const TovImage& a, const TovImage& b, const TovImage& dst, Size size,
                                    const TovImage* mask) {
    multiply<uint8_t>(ScaleMul{}, size, mask, dst, a, b);
}
OWN_KERNEL void ownMultiplyScale_16u(const TovImage& a, const TovImage& b, const TovImage& dst, Size size,
                                     const TovImage* mask) {
    multiply<uint16_t>(ScaleMul{}, size, mask, dst, a, b);
}

} // namespace

void ownMultiplySScale(TovImage* srcImage, TovImage* dstImage, int32_t value, Size size, const TovImage* mask) {
    if (dstImage->depth == TOV_DEPTH_8U) {
        ownMultiplySScale_8u(*srcImage, *dstImage, clampToDepth<uint8_t>(value), size, mask);
    } else {
        ownMultiplySScale_16u(*srcImage, *dstImage, clampToDepth<uint16_t>(value), size, mask);
    }
}

void ownMultiplyScale(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage, Size size, const TovImage* mask) {
    if (dstImage->depth == TOV_DEPTH_8U) {
        ownMultiplyScale_8u(*srcImageA, *srcImageB, *dstImage, size, mask);
    } else {
        ownMultiplyScale_16u(*srcImageA, *srcImageB, *dstImage, size, mask);
    }
}

} // namespace tov
