// The row kernels of the colour twist.
#include "twist/kernels.h"

#include <cstring>
#include <initializer_list>

#include "kernel/kernel.h"
#include "kernel/word.h"

namespace tov {

namespace {

// How many pixels are worked at once where they must be taken apart.
constexpr int32_t kBlock = 256;

// One output channel: a weighted sum of three samples and a constant, in one of two exact arithmetics.
struct IntegerChannel {
    OWN_INLINE IntegerChannel(const TwistMap& map, ptrdiff_t channel)
        : w0(map.data[4 * channel]),
          w1(map.data[4 * channel + 1]),
          w2(map.data[4 * channel + 2]),
          constant(map.data[4 * channel + 3]),
          shift(map.shift),
          low(map.low + map.offset),
          high(map.high + map.offset) {}

    template <bool Clamp>
    OWN_INLINE int32_t at(int32_t x0, int32_t x1, int32_t x2) const {
        int32_t value = (constant + x0 * w0 + x1 * w1 + x2 * w2) >> shift;
        if (Clamp) {
            value = value < low ? low : value;
            value = value > high ? high : value;
        }
        return value;
    }

    int32_t w0, w1, w2, constant;
    int32_t shift, low, high;
};

struct DoubleChannel {
    OWN_INLINE DoubleChannel(const TwistMap& map, ptrdiff_t channel)
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

// All three output channels.
template <class Channel, bool Clamp>
struct Arithmetic {
    OWN_INLINE explicit Arithmetic(const TwistMap& map) : first(map, 0), second(map, 1), third(map, 2) {}

    OWN_INLINE int32_t y0(int32_t x0, int32_t x1, int32_t x2) const { return first.template at<Clamp>(x0, x1, x2); }
    OWN_INLINE int32_t y1(int32_t x0, int32_t x1, int32_t x2) const { return second.template at<Clamp>(x0, x1, x2); }
    OWN_INLINE int32_t y2(int32_t x0, int32_t x1, int32_t x2) const { return third.template at<Clamp>(x0, x1, x2); }

    Channel first, second, third;
};

// Calls `loop(arithmetic)` with the cheapest arithmetic that is exact for a call.
template <class Loop>
OWN_INLINE void inArithmetic(const TwistMap& map, Loop loop) {
    if (map.fits32) {
        map.needClamp ? loop(Arithmetic<IntegerChannel, true>(map)) : loop(Arithmetic<IntegerChannel, false>(map));
    } else {
        map.needClamp ? loop(Arithmetic<DoubleChannel, true>(map)) : loop(Arithmetic<DoubleChannel, false>(map));
    }
}

// Three planes of samples to three planes; results may take the place of their samples.
template <class T>
OWN_INLINE void twistPlanes(const TwistMap& map, const T* const (&x)[3], T* const (&y)[3], ptrdiff_t count) {
    inArithmetic(map, [&](const auto f) OWN_INLINE_LAMBDA {
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
            y0[i] = static_cast<T>(f.y0(s0, s1, s2));
            y1[i] = static_cast<T>(f.y1(s0, s1, s2));
            y2[i] = static_cast<T>(f.y2(s0, s1, s2));
        }
    });
}

// The bytes of a word by their place in memory.
template <int32_t Place>
OWN_INLINE int32_t byteAt(uint32_t word) {
    return static_cast<int32_t>(word >> (kFirstIsLow ? 8 * Place : 24 - 8 * Place) & UINT8_MAX);
}
OWN_INLINE uint32_t wordOf(int32_t b0, int32_t b1, int32_t b2, int32_t b3) {
    const auto low = static_cast<uint32_t>(kFirstIsLow ? b0 | b1 << 8 : b3 | b2 << 8);
    const auto high = static_cast<uint32_t>(kFirstIsLow ? b2 | b3 << 8 : b1 | b0 << 8);
    return low | high << 16;
}
OWN_INLINE uint32_t loadWord(const uint8_t* bytes) {
    uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}
OWN_INLINE void storeWord(uint8_t* bytes, uint32_t word) { std::memcpy(bytes, &word, sizeof word); }

// Pixels of four bytes as words. The fourth byte is written back as it was.
OWN_INLINE void twistWords(const TwistMap& map, const uint8_t* src, uint8_t* dst, ptrdiff_t count) {
    inArithmetic(map, [&](const auto f) OWN_INLINE_LAMBDA {
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) {
            const uint32_t word = loadWord(src + 4 * i);
            const int32_t x0 = byteAt<0>(word), x1 = byteAt<1>(word), x2 = byteAt<2>(word);
            const int32_t kept = byteAt<3>(loadWord(dst + 4 * i));
            storeWord(dst + 4 * i, wordOf(f.y0(x0, x1, x2), f.y1(x0, x1, x2), f.y2(x0, x1, x2), kept));
        }
    });
}

// Groups of four pixels of three bytes, which are three words.
OWN_INLINE void twistTriples(const TwistMap& map, const uint8_t* src, uint8_t* dst, ptrdiff_t nGroups) {
    inArithmetic(map, [&](const auto f) OWN_INLINE_LAMBDA {
        OWN_EACH
        for (ptrdiff_t i = 0; i < nGroups; i++) {
            const uint32_t w0 = loadWord(src + 12 * i);
            const uint32_t w1 = loadWord(src + 12 * i + 4);
            const uint32_t w2 = loadWord(src + 12 * i + 8);
            const int32_t a0 = byteAt<0>(w0), a1 = byteAt<1>(w0), a2 = byteAt<2>(w0);
            const int32_t b0 = byteAt<3>(w0), b1 = byteAt<0>(w1), b2 = byteAt<1>(w1);
            const int32_t c0 = byteAt<2>(w1), c1 = byteAt<3>(w1), c2 = byteAt<0>(w2);
            const int32_t d0 = byteAt<1>(w2), d1 = byteAt<2>(w2), d2 = byteAt<3>(w2);
            storeWord(dst + 12 * i, wordOf(f.y0(a0, a1, a2), f.y1(a0, a1, a2), f.y2(a0, a1, a2), f.y0(b0, b1, b2)));
            storeWord(dst + 12 * i + 4, wordOf(f.y1(b0, b1, b2), f.y2(b0, b1, b2), f.y0(c0, c1, c2), f.y1(c0, c1, c2)));
            storeWord(dst + 12 * i + 8, wordOf(f.y2(c0, c1, c2), f.y0(d0, d1, d2), f.y1(d0, d1, d2), f.y2(d0, d1, d2)));
        }
    });
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
    const T* src = row.src + start * row.srcStep;
    T* dst = row.dst + start * row.dstStep;
    ptrdiff_t done = 0;
    if constexpr (sizeof(T) == 1) {
        if (row.free && row.srcStep == 4 && row.dstStep == 4) return twistWords(map, src, dst, count);
        if (row.free && row.srcStep == 3 && row.dstStep == 3) {
            twistTriples(map, src, dst, count / 4);
            done = count & ~ptrdiff_t{3};
        }
    }
    twistPixelRun(map, src + done * row.srcStep, row.srcStep, dst + done * row.dstStep, row.dstStep, count - done,
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

OWN_WIDE_KERNEL void ownTwistPixel_8u(const TwistMap& map, const TwistRow<uint8_t>& row) {
    pixelRun(map, row, 0, row.count);
}
OWN_WIDE_KERNEL void ownTwistPixelMask_8u(const TwistMap& map, const TwistRow<uint8_t>& row) {
    for (MaskRuns runs(row.mask, row.maskBit, row.count); runs.next();) pixelRun(map, row, runs.start, runs.length);
}
OWN_WIDE_KERNEL void ownTwistPixel_16u(const TwistMap& map, const TwistRow<uint16_t>& row) {
    pixelRun(map, row, 0, row.count);
}
OWN_WIDE_KERNEL void ownTwistPixelMask_16u(const TwistMap& map, const TwistRow<uint16_t>& row) {
    for (MaskRuns runs(row.mask, row.maskBit, row.count); runs.next();) pixelRun(map, row, runs.start, runs.length);
}
OWN_WIDE_KERNEL void ownTwistPlane_8u(const TwistMap& map, const TwistRow<uint8_t>& row) {
    planeRun(map, row, 0, row.count);
}
OWN_WIDE_KERNEL void ownTwistPlaneMask_8u(const TwistMap& map, const TwistRow<uint8_t>& row) {
    for (MaskRuns runs(row.mask, row.maskBit, row.count); runs.next();) planeRun(map, row, runs.start, runs.length);
}
OWN_WIDE_KERNEL void ownTwistPlane_16u(const TwistMap& map, const TwistRow<uint16_t>& row) {
    planeRun(map, row, 0, row.count);
}
OWN_WIDE_KERNEL void ownTwistPlaneMask_16u(const TwistMap& map, const TwistRow<uint16_t>& row) {
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
