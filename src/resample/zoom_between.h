// The formulas of zooming between samples: the exact ones, and weighted sums in single precision that come near them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "kernel/kernel.h"
#include "resample/zoom.h"

namespace tov {

// The weights of the cubic through four samples, in Newton's form.
struct Newton {
    OWN_INLINE explicit Newton(float t)
        : s(static_cast<float>(t + 1.0)),
          b(static_cast<float>(0.5 * t * s)),
          c(static_cast<float>((t - 1.0) * b * 0.33333334F)) {}

    // Differences are rounded to single precision where they multiply.
    OWN_INLINE double at(double v0, double v1, double v2, double v3) const {
        const double d1 = v1 - v0;
        const double d2 = v2 - v1 - d1;
        const double d3 = v3 - 2 * v2 + v1 - d2;
        return v0 + double{s} * static_cast<float>(d1) + double{b} * static_cast<float>(d2) +
               double{c} * static_cast<float>(d3);
    }

    float s;
    float b;
    float c;
};

// Bytes are zoomed by weighted sums in single precision, across and down, that come near the exact results. As a number
// of units of 2^-16 with the fraction cut off, and lift() units more, a sum is never below the exact value and 0.00001:
// the lift is at least its distance from the exact value, plus 1 for the cut and 0.66 for 0.00001. Exact results are
// rounded down, where what lacks less than 0.00001 counts as a whole. So the whole part of a sum is the exact result,
// unless the exact value is below that; then less than 2 * (lift - 1) units are left behind the whole part. Such sums
// are doubts. Below 0 the cut goes up, but not beyond 0.
//
// The bounds of the distance, in u = 2^-24, of which 256 make a unit: what a rounding to single precision costs is u /
// 2 for numbers up to 1, u up to 2, 128 u up to 256 and 256 u up to 512, and no more than u times the number.
constexpr int32_t kUnitBits = 16;

// Whether the weights at a position are multiples of 2^-7. Where all are, on both axes, nothing is ever rounded: rows
// are multiples of 2^-7 and results of 2^-14, below 1024. Their sums need no lift.
template <class Mode>
OWN_INLINE bool isShort(float t) {
    float w[Mode::kWeights];
    Mode::weights(t, w, 1);
    bool all = true;
    for (const float weight : w) all = all && weight * 128 == static_cast<float>(static_cast<int32_t>(weight * 128));
    return all;
}

template <int32_t N, class Product>
OWN_INLINE float sumOf(const Product& product, ptrdiff_t i) {
    if constexpr (N == 2) {
        return product(0, i) + product(1, i);
    } else {
        return (product(0, i) + product(1, i)) + (product(2, i) + product(3, i));
    }
}

// How rows are made and blended: from two samples on each axis, or from four.
struct Linear {
    using Weights = float;
    using Word = uint16_t;
    static constexpr int32_t kSamples = 2;
    static constexpr int32_t kFirst = 0; // the first of them, from the index on
    static constexpr int32_t kWeights = 1;

    OWN_INLINE static void weights(float t, float* w, ptrdiff_t) { *w = t; }
    template <class T>
    OWN_INLINE static void across(const T* const* taps, const float* w, ptrdiff_t, float* d, ptrdiff_t count) {
        const T* const v0 = taps[0];
        const T* const v1 = taps[1];
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) d[i] = static_cast<float>(v0[i] + double{w[i]} * (v1[i] - v0[i]));
    }
    template <class T>
    OWN_INLINE static T exact(const float* const* rows, float t, ptrdiff_t i) {
        return static_cast<T>(ownRound(rows[0][i] * (1 - double{t}) + rows[1][i] * double{t}));
    }

    // What rounding leaves below 0 isn't limited but takes its low bits.
    static constexpr bool kLimited = false;
    // Values stay below 256, and differences of samples are whole numbers. Across, products and additions cost 128 u
    // each, and exact rows are rounded as well, by 128 u. Down, weights cost 255 u in all, products 256 u and the
    // addition 128 u. That makes 4 units.
    static int32_t lift(float) { return 6; }
    static bool serves(float t) { return t > -0.00002F && t <= 1; }
    static constexpr int32_t kNearWeights = 1;
    OWN_INLINE static void nearWeights(float t, float* w, ptrdiff_t) { *w = t; }
    OWN_INLINE static void nearAcross(const uint8_t* const* taps, const float* w, ptrdiff_t, float* d,
                                      ptrdiff_t count) {
        const uint8_t* const v0 = taps[0];
        const uint8_t* const v1 = taps[1];
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) {
            d[i] = static_cast<float>(v0[i]) + w[i] * static_cast<float>(v1[i] - v0[i]);
        }
    }
    OWN_INLINE static void sumWeights(float t, float* w, ptrdiff_t distance) {
        w[0] = 1 - t;
        w[distance] = t;
    }
};
struct Cubic {
    using Weights = Newton;
    using Word = uint32_t;
    static constexpr int32_t kSamples = 4;
    static constexpr int32_t kFirst = -1;
    static constexpr int32_t kWeights = 3;

    OWN_INLINE static void weights(float t, float* w, ptrdiff_t distance) {
        const Newton newton(t);
        w[0] = newton.s;
        w[distance] = newton.b;
        w[2 * distance] = newton.c;
    }
    // Differences of samples are whole numbers, of which single precision loses nothing.
    template <class T>
    OWN_INLINE static void across(const T* const* taps, const float* w, ptrdiff_t distance, float* d, ptrdiff_t count) {
        const T* const row[] = {taps[0], taps[1], taps[2], taps[3]};
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) {
            const int32_t v0 = row[0][i];
            const int32_t v1 = row[1][i];
            const int32_t v2 = row[2][i];
            const int32_t d1 = v1 - v0;
            const int32_t d2 = v2 - v1 - d1;
            const int32_t d3 = row[3][i] - 2 * v2 + v1 - d2;
            const double line = v0 + double{w[i]} * d1;
            d[i] = static_cast<float>(line + double{w[i + distance]} * d2 + double{w[i + 2 * distance]} * d3);
        }
    }
    template <class T>
    OWN_INLINE static T exact(const float* const* rows, const Newton& newton, ptrdiff_t i) {
        constexpr int32_t most = std::numeric_limits<T>::max();
        const int32_t value = ownRound(newton.at(rows[0][i], rows[1][i], rows[2][i], rows[3][i]));
        const int32_t low = value > 0 ? value : 0;
        return static_cast<T>(low < most ? low : most);
    }

    static constexpr bool kLimited = true;
    // With positions from -1 to 2, one weight at most is above 1, by 0.06, and their amounts make 1.64. So across rows
    // lie between -81 and 336; weights cost 638 u, products 418 u, additions 768 u, and what exact rows are rounded 256
    // u, in all 2080 u. Down, rows bring 3412 u, weights 840 u, products 552 u and additions 1536 u. Exact results
    // round differences of up to 417, 834 and 1668 as well, and multiply them by no more than 3, 3 and 1, which makes
    // 3328 u. That is 37.8 units. With positions from 0 to 1, which most rows have, amounts make 1.25, those of the
    // outer weights 0.065 each, and Newton's weights are no more than 2, 1 and 0.065: 2600 u, 380 u, 420 u, 768 u and
    // 1092 u make 20.6 units.
    static int32_t lift(float t) { return t > -0.00002F && t <= 1 ? 23 : 40; }
    static bool serves(float t) { return t > -1.00002F && t <= 2; }
    OWN_INLINE static void sumWeights(float t, float* w, ptrdiff_t distance) {
        const Newton newton(t);
        const double s = newton.s;
        const double b = newton.b;
        const double c = newton.c;
        w[0] = static_cast<float>(1 - s + b - c);
        w[distance] = static_cast<float>(s - 2 * b + 3 * c);
        w[2 * distance] = static_cast<float>(b - 3 * c);
        w[3 * distance] = static_cast<float>(c);
    }
    static constexpr int32_t kNearWeights = 4;
    OWN_INLINE static void nearWeights(float t, float* w, ptrdiff_t distance) { sumWeights(t, w, distance); }
    OWN_INLINE static void nearAcross(const uint8_t* const* taps, const float* w, ptrdiff_t distance, float* d,
                                      ptrdiff_t count) {
        const auto product = [&](int32_t k, ptrdiff_t i)
                                 OWN_INLINE_LAMBDA { return w[k * distance + i] * static_cast<float>(taps[k][i]); };
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) d[i] = sumOf<4>(product, i);
    }
};

} // namespace tov
