// The kernels of depth conversion.
#include "reduce/convert_kernels.h"

#include <limits>

#include "core/image.h"
#include "kernel/bitpack.h"
#include "kernel/walk.h"

namespace tov {

namespace {

// A value limited to what both types hold.
template <class D, class S>
struct Limited {
    OWN_INLINE D operator()(S value) const {
        using From = std::numeric_limits<S>;
        using To = std::numeric_limits<D>;
        constexpr S low = int64_t{To::min()} > int64_t{From::min()} ? static_cast<S>(To::min()) : From::min();
        constexpr S high = int64_t{To::max()} < int64_t{From::max()} ? static_cast<S>(To::max()) : From::max();
        const S raised = value < low ? low : value;
        return static_cast<D>(raised > high ? high : raised);
    }
};

template <class T>
Lane<T> laneOf(const ConvertView& view) {
    return {reinterpret_cast<T*>(view.base), view.rowStep, view.channelBytes(),
            view.pixelBytes() / view.elementBytes()};
}

// The destination's lane goes from its last row up where the origins differ.
template <class T>
Lane<T> targetLane(const ConvertView& src, const ConvertView& dst, int32_t height) {
    Lane<T> lane = laneOf<T>(dst);
    if (src.origin == dst.origin) return lane;
    lane.first = lane.row(0, height - 1);
    lane.rowStep = -lane.rowStep;
    return lane;
}

// Between pixels of N channels and N planes, whole rows of pixels at a time.
template <int32_t N, class D, class S>
OWN_INLINE void regroup(Size size, const Lane<D>& dst, const Lane<const S>& src) {
    const Limited<D, S> limited;
    const bool split = src.pixelStep == N;
    for (int32_t y = 0; y < size.height; y++) {
        D* d[N];
        const S* s[N];
        for (int32_t c = 0; c < N; c++) {
            d[c] = dst.row(c, y);
            s[c] = src.row(c, y);
        }
        if (split) {
            const S* pixels = s[0];
            OWN_EACH
            for (ptrdiff_t i = 0; i < size.width; i++) {
                for (int32_t c = 0; c < N; c++) d[c][i] = limited(pixels[N * i + c]);
            }
        } else {
            D* pixels = d[0];
            OWN_EACH
            for (ptrdiff_t i = 0; i < size.width; i++) {
                for (int32_t c = 0; c < N; c++) pixels[N * i + c] = limited(s[c][i]);
            }
        }
    }
}

// Row by row, channel by channel in a row, pixel by pixel in a channel, where memory overlaps.
template <class D, class S>
OWN_INLINE void convertElements(const ConvertView& srcView, const ConvertView& dstView, Size size) {
    const auto src = laneOf<const S>(srcView);
    const auto dst = targetLane<D>(srcView, dstView, size.height);
    const int32_t n = dstView.nChannels;
    const Span inPixels = {size.width, size.height, 1, n};
    const Span inPlanes = {size.width, size.height, n, 1, true};
    const auto footprint = [&](const auto& lane) {
        return footprintOf(lane, lane.pixelStep == n ? inPixels : inPlanes);
    };
    if (!overlapsElsewhere(footprint(dst), footprint(src))) {
        const bool regroups = (src.pixelStep == 1) != (dst.pixelStep == 1);
        if (src.pixelStep == n && dst.pixelStep == n) return walkLanes<false>(inPixels, {}, Limited<D, S>{}, dst, src);
        if (regroups && n == 3) return regroup<3>(size, dst, src);
        if (regroups && n == 4) return regroup<4>(size, dst, src);
    }
    walkLanes<false>(inPlanes, {}, Limited<D, S>{}, dst, src);
}

template <class S>
OWN_INLINE void convertTo1U(const ConvertView& srcView, const ConvertView& dstView, Size size) {
    const auto src = laneOf<const S>(srcView);
    const bool flips = srcView.origin != dstView.origin;
    for (int32_t y = 0; y < size.height; y++) {
        uint8_t* row = dstView.base + (flips ? size.height - 1 - y : y) * dstView.rowStep;
        const auto positive = [](S value) OWN_INLINE_LAMBDA { return value > 0; };
        packBits(positive, size.width, src.row(0, y), src.pixelStep, row);
    }
}

using View = const ConvertView&;

OWN_KERNEL void ownConvertElements_8u8u(View s, View d, Size size) { convertElements<uint8_t, uint8_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_8u8s(View s, View d, Size size) { convertElements<int8_t, uint8_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_8u16u(View s, View d, Size size) { convertElements<uint16_t, uint8_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_8u16s(View s, View d, Size size) { convertElements<int16_t, uint8_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_8u32s(View s, View d, Size size) { convertElements<int32_t, uint8_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_8s8u(View s, View d, Size size) { convertElements<uint8_t, int8_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_8s8s(View s, View d, Size size) { convertElements<int8_t, int8_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_8s16u(View s, View d, Size size) { convertElements<uint16_t, int8_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_8s16s(View s, View d, Size size) { convertElements<int16_t, int8_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_8s32s(View s, View d, Size size) { convertElements<int32_t, int8_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_16u8u(View s, View d, Size size) { convertElements<uint8_t, uint16_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_16u8s(View s, View d, Size size) { convertElements<int8_t, uint16_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_16u16u(View s, View d, Size size) {
    convertElements<uint16_t, uint16_t>(s, d, size);
}
OWN_KERNEL void ownConvertElements_16u16s(View s, View d, Size size) { convertElements<int16_t, uint16_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_16u32s(View s, View d, Size size) { convertElements<int32_t, uint16_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_16s8u(View s, View d, Size size) { convertElements<uint8_t, int16_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_16s8s(View s, View d, Size size) { convertElements<int8_t, int16_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_16s16u(View s, View d, Size size) { convertElements<uint16_t, int16_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_16s16s(View s, View d, Size size) { convertElements<int16_t, int16_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_16s32s(View s, View d, Size size) { convertElements<int32_t, int16_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_32s8u(View s, View d, Size size) { convertElements<uint8_t, int32_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_32s8s(View s, View d, Size size) { convertElements<int8_t, int32_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_32s16u(View s, View d, Size size) { convertElements<uint16_t, int32_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_32s16s(View s, View d, Size size) { convertElements<int16_t, int32_t>(s, d, size); }
OWN_KERNEL void ownConvertElements_32s32s(View s, View d, Size size) { convertElements<int32_t, int32_t>(s, d, size); }

OWN_KERNEL void ownConvertTo1U_8u(View s, View d, Size size) { convertTo1U<uint8_t>(s, d, size); }
OWN_KERNEL void ownConvertTo1U_8s(View s, View d, Size size) { convertTo1U<int8_t>(s, d, size); }
OWN_KERNEL void ownConvertTo1U_16u(View s, View d, Size size) { convertTo1U<uint16_t>(s, d, size); }
OWN_KERNEL void ownConvertTo1U_16s(View s, View d, Size size) { convertTo1U<int16_t>(s, d, size); }
OWN_KERNEL void ownConvertTo1U_32s(View s, View d, Size size) { convertTo1U<int32_t>(s, d, size); }

// By the place of the depths in tables, from 8U on.
const ConvertKernel kElements[5][5] = {
    {ownConvertElements_8u8u, ownConvertElements_8u8s, ownConvertElements_8u16u, ownConvertElements_8u16s,
     ownConvertElements_8u32s},
    {ownConvertElements_8s8u, ownConvertElements_8s8s, ownConvertElements_8s16u, ownConvertElements_8s16s,
     ownConvertElements_8s32s},
    {ownConvertElements_16u8u, ownConvertElements_16u8s, ownConvertElements_16u16u, ownConvertElements_16u16s,
     ownConvertElements_16u32s},
    {ownConvertElements_16s8u, ownConvertElements_16s8s, ownConvertElements_16s16u, ownConvertElements_16s16s,
     ownConvertElements_16s32s},
    {ownConvertElements_32s8u, ownConvertElements_32s8s, ownConvertElements_32s16u, ownConvertElements_32s16s,
     ownConvertElements_32s32s},
};
const ConvertKernel kTo1U[5] = {ownConvertTo1U_8u, ownConvertTo1U_8s, ownConvertTo1U_16u, ownConvertTo1U_16s,
                                ownConvertTo1U_32s};

} // namespace

ConvertKernel convertElementsKernel(uint32_t srcDepth, uint32_t dstDepth) {
    return kElements[depthIndex(srcDepth) - 1][depthIndex(dstDepth) - 1];
}

ConvertKernel convertTo1UKernel(uint32_t srcDepth) { return kTo1U[depthIndex(srcDepth) - 1]; }

void ownConvert1UCopy(const ConvertView& src, const ConvertView& dst, Size size) {
    const int32_t nBytes = (size.width >> 3) + ((size.width & 7) != 0 ? 1 : 0);
    const Span span = {nBytes, size.height, 1, 1};
    const auto same = [](uint8_t byte) OWN_INLINE_LAMBDA { return byte; };
    const Lane<const uint8_t> from = {src.base, src.rowStep, 0, 1};
    Lane<uint8_t> to = {dst.base, dst.rowStep, 0, 1};
    if (src.origin != dst.origin) to = {to.row(0, size.height - 1), -to.rowStep, 0, 1};
    walkLanes<false>(span, {}, same, to, from);
}

} // namespace tov
