// The row kernels of the colour twist.
#include "twist/kernels.h"

#include <initializer_list>

#include "kernel/kernel.h"

namespace tov {

namespace {

// How many pixels are worked at once where they must be taken apart.
constexpr int32_t kBlock = 256;

// One output channel: a weighted sum of three samples and a constant, in one of two exact arithmetics.
struct IntegerChannel {
    OWN_INLINE IntegerChannel(const TwistMap& map, int32_t channel)
        : w0(map.data[4 * channel]),
          w1(map.data[4 * channel + 1]),
          w2(map.data[4 * channel + 2]),
          constant(map.data[4 * channel + 3]),
          shift(map.shift),
          low(map.low),
          high(map.high),
          offset(map.offset) {}

    template <bool Clamp>
    OWN_INLINE int32_t at(int32_t x0, int32_t x1, int32_t x2) const {
        int32_t value = (constant + x0 * w0 + x1 * w1 + x2 * w2) >> shift;
        if (Clamp) {
            value = value < low ? low : value;
            value = value > high ? high : value;
        }
        return value + offset;
    }

    int32_t w0, w1, w2, constant;
    int32_t shift, low, high, offset;
};

struct DoubleChannel {
    OWN_INLINE DoubleChannel(const TwistMap& map, int32_t channel)
        : w0(map.m[4 * channel]),
          w1(map.m[4 * channel + 1]),
          w2(map.m[4 * channel + 2]),
          constant(map.m[4 * channel + 3]),
          low(map.low),
          high(map.high),
          end(map.high + 1.0),
          offset(map.offset) {}

    template <bool Clamp>
    OWN_INLINE int32_t at(int32_t x0, int32_t x1, int32_t x2) const {
        double value = constant + x0 * w0 + x1 * w1 + x2 * w2;
        if (Clamp) {
            value = value < low ? low : value;
            value = value >= end ? high : value;
        }
        return static_cast<int32_t>(value) + offset;
    }

    double w0, w1, w2, constant;
    double low, high, end;
    int32_t offset;
};

// Three planes of samples to three planes; results may take the place of their samples.
template <class Channel, bool Clamp, class T>
OWN_INLINE void twistPlanesAs(const TwistMap& map, const T* const (&x)[3], T* const (&y)[3], ptrdiff_t count) {
    const Channel first(map, 0);
    const Channel second(map, 1);
    const Channel third(map, 2);
    const T* x0 = x[0];
    const T* x1 = x[1];
    const T* x2 = x[2];
    T* y0 = y[0];
    T* y1 = y[1];
    T* y2 = y[2];
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        const int32_t s0 = x0[i];
        const int32_t s1 = x1[i];
        const int32_t s2 = x2[i];
        y0[i] = static_cast<T>(first.template at<Clamp>(s0, s1, s2));
        y1[i] = static_cast<T>(second.template at<Clamp>(s0, s1, s2));
        y2[i] = static_cast<T>(third.template at<Clamp>(s0, s1, s2));
    }
}

template <class T>
OWN_INLINE void twistPlanes(const TwistMap& map, const T* const (&x)[3], T* const (&y)[3], ptrdiff_t count) {
    if (map.fits32) {
        map.needClamp ? twistPlanesAs<IntegerChannel, true>(map, x, y, count)
                      : twistPlanesAs<IntegerChannel, false>(map, x, y, count);
    } else {
        map.needClamp ? twistPlanesAs<DoubleChannel, true>(map, x, y, count)
                      : twistPlanesAs<DoubleChannel, false>(map, x, y, count);
    }
}

template <class T>
struct Planes {
    T x0[kBlock];
    T x1[kBlock];
    T x2[kBlock];
};

template <ptrdiff_t Step, class T>
OWN_INLINE void takeApart(const T* src, ptrdiff_t step, Planes<T>& planes, ptrdiff_t count) {
    const ptrdiff_t n = Step != 0 ? Step : step;
    for (ptrdiff_t i = 0; i < count; i++) {
        planes.x0[i] = src[i * n];
        planes.x1[i] = src[i * n + 1];
        planes.x2[i] = src[i * n + 2];
    }
}

template <ptrdiff_t Step, class T>
OWN_INLINE void putTogether(const Planes<T>& planes, T* dst, ptrdiff_t step, ptrdiff_t count) {
    const ptrdiff_t n = Step != 0 ? Step : step;
    for (ptrdiff_t i = 0; i < count; i++) {
        dst[i * n] = planes.x0[i];
        dst[i * n + 1] = planes.x1[i];
        dst[i * n + 2] = planes.x2[i];
    }
}

// Pixels from src to dst, in blocks that are taken apart into planes.
template <class T>
OWN_INLINE void twistPixelRun(const TwistMap& map, const T* src, ptrdiff_t srcStep, T* dst, ptrdiff_t dstStep,
                              ptrdiff_t count, ptrdiff_t block) {
    Planes<T> planes;
    for (ptrdiff_t done = 0; done < count; done += block) {
        const ptrdiff_t n = count - done < block ? count - done : block;
        const T* from = src + done * srcStep;
        T* to = dst + done * dstStep;
        srcStep == 3   ? takeApart<3>(from, 3, planes, n)
        : srcStep == 4 ? takeApart<4>(from, 4, planes, n)
                       : takeApart<0>(from, srcStep, planes, n);
        twistPlanes<T>(map, {planes.x0, planes.x1, planes.x2}, {planes.x0, planes.x1, planes.x2}, n);
        dstStep == 3   ? putTogether<3>(planes, to, 3, n)
        : dstStep == 4 ? putTogether<4>(planes, to, 4, n)
                       : putTogether<0>(planes, to, dstStep, n);
    }
}

template <class T>
OWN_INLINE void pixelRun(const TwistMap& map, const TwistRow<T>& row, ptrdiff_t start, ptrdiff_t count) {
    twistPixelRun(map, row.src + start * row.srcStep, row.srcStep, row.dst + start * row.dstStep, row.dstStep, count,
                  row.free ? kBlock : 1);
}

template <class T>
OWN_INLINE void planeRun(const TwistMap& map, const TwistRow<T>& row, ptrdiff_t start, ptrdiff_t count) {
    const ptrdiff_t block = row.free ? count : 1;
    for (ptrdiff_t x = start; x < start + count; x += block) {
        const T* src = row.src + x;
        T* dst = row.dst + x;
        twistPlanes<T>(map, {src, src + row.srcStep, src + 2 * row.srcStep},
                       {dst, dst + row.dstStep, dst + 2 * row.dstStep}, block);
    }
}

OWN_KERNEL void ownTwistPixel_8u(const TwistMap& map, const TwistRow<uint8_t>& row) {
    pixelRun(map, row, 0, row.count);
}
OWN_KERNEL void ownTwistPixelMask_8u(const TwistMap& map, const TwistRow<uint8_t>& row) {
    for (MaskRuns runs(row.mask, row.maskBit, row.count); runs.next();) pixelRun(map, row, runs.start, runs.length);
}
OWN_KERNEL void ownTwistPixel_16u(const TwistMap& map, const TwistRow<uint16_t>& row) {
    pixelRun(map, row, 0, row.count);
}
OWN_KERNEL void ownTwistPixelMask_16u(const TwistMap& map, const TwistRow<uint16_t>& row) {
    for (MaskRuns runs(row.mask, row.maskBit, row.count); runs.next();) pixelRun(map, row, runs.start, runs.length);
}
OWN_KERNEL void ownTwistPlane_8u(const TwistMap& map, const TwistRow<uint8_t>& row) {
    planeRun(map, row, 0, row.count);
}
OWN_KERNEL void ownTwistPlaneMask_8u(const TwistMap& map, const TwistRow<uint8_t>& row) {
    for (MaskRuns runs(row.mask, row.maskBit, row.count); runs.next();) planeRun(map, row, runs.start, runs.length);
}
OWN_KERNEL void ownTwistPlane_16u(const TwistMap& map, const TwistRow<uint16_t>& row) {
    planeRun(map, row, 0, row.count);
}
OWN_KERNEL void ownTwistPlaneMask_16u(const TwistMap& map, const TwistRow<uint16_t>& row) {
    for (MaskRuns runs(row.mask, row.maskBit, row.count); runs.next();) planeRun(map, row, runs.start, runs.length);
}

} // namespace

const TwistKernel<uint8_t> kTwistKernels_8u[2][2] = {{ownTwistPixel_8u, ownTwistPixelMask_8u},
                                                     {ownTwistPlane_8u, ownTwistPlaneMask_8u}};
const TwistKernel<uint16_t> kTwistKernels_16u[2][2] = {{ownTwistPixel_16u, ownTwistPixelMask_16u},
                                                       {ownTwistPlane_16u, ownTwistPlaneMask_16u}};

bool ownTwistNeedsClamp(const double* m, float rangeLow, float rangeHigh, int32_t depth16) {
    const double largest = depth16 != 0 ? UINT16_MAX : UINT8_MAX;
    for (int32_t r = 0; r < 3; r++) {
        double lowest = m[4 * r + 3];
        double highest = m[4 * r + 3];
        for (int32_t c = 0; c < 3; c++) {
            const double reach = largest * m[4 * r + c];
            lowest += reach < 0 ? reach : 0;
            highest += reach > 0 ? reach : 0;
        }
        for (const double sum : {lowest, highest}) {
            // A single-precision number can lie inside where the sum is just below, and outside where it is just
            // inside; both count as a doubt.
            const auto single = static_cast<float>(sum);
            if (sum < 0 || sum < rangeLow || single < rangeLow || single >= rangeHigh) return true;
        }
    }
    return false;
}

} // namespace tov
