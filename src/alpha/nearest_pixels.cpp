// Pixels of composition with division in single precision, where that is proven to round to the same samples.
#include <cmath>
#include <cstring>

#include "alpha/composite_rows.h"
#include "kernel/kernel.h"
#include "kernel/word.h"

namespace tov {

namespace {

// The literal form divides doubles, C / r, with fractions fa = a * scale, where scale is (1 + d) / 255 and d = 254 /
// 2^32 is below one rounding of single precision, u = 2^-24. Here numerator and denominator are both 65025 times as
// large, X and Y being 255 times the colours as the operators take them: whole numbers below 2^24 as far as d is left
// out. The complements na and nb, 255 * (1 - fa) and 255 * (1 - fb), have d in them, since what is left of 1 may be as
// small.
//
// X, Y, a and b differ from the literal's by d, less than 1 u; a complement by 1 u. A product with it and the sum make
// numerators exact to 4 u and denominators exact to 4 u: all terms are positive, except that a complement of 255 is
// -255 d, which is nothing beside another term that isn't 0, and rounds to 0 alone. The reciprocal and its product add
// 2 u. So a quotient is within 10 u, or 256 * 10 u below 256, of the literal one, whose own roundings are far smaller:
// where it is further than 256 * 11 u from halfway between two samples, both round to the same one. Denominators are
// near whole numbers, so the literal's limit for dividing, half of 1 on this scale, can't fall between both either.
constexpr float kLargest = 255.0F;
constexpr float kOne = 65025.0F;
constexpr float kScaleError = 254.0F / 4294967296.0F;
constexpr float kDoubt = 0.5F - 256.0F * 11.0F / 16777216.0F;

// As an alpha, X and Y are 255 a and 255 b.
struct Over {
    OWN_INLINE static float colour(float X, float Y, float na, float, float) { return kLargest * X + Y * na; }
    OWN_INLINE static float alpha(float a, float na, float b, float) { return kLargest * a + b * na; }
};
struct In {
    OWN_INLINE static float colour(float X, float, float, float b, float) { return X * b; }
    OWN_INLINE static float alpha(float a, float, float b, float) { return b * a; }
};
struct Out {
    OWN_INLINE static float colour(float X, float, float, float, float nb) { return X * nb; }
    OWN_INLINE static float alpha(float a, float, float, float nb) { return nb * a; }
};
struct Atop {
    OWN_INLINE static float colour(float X, float Y, float na, float b, float) { return X * b + Y * na; }
    OWN_INLINE static float alpha(float, float, float b, float) { return kLargest * b; }
};
struct Xor {
    OWN_INLINE static float colour(float X, float Y, float na, float, float nb) { return X * nb + Y * na; }
    OWN_INLINE static float alpha(float a, float na, float b, float nb) { return nb * a + na * b; }
};
struct Plus {
    OWN_INLINE static float colour(float X, float Y, float, float, float) { return kLargest * X + kLargest * Y; }
    OWN_INLINE static float alpha(float a, float, float b, float) { return kLargest * b + kLargest * a; }
};

template <int32_t Place>
OWN_INLINE float byteAt(uint32_t word) {
    return static_cast<float>(static_cast<int32_t>(word >> (kFirstIsLow ? 8 * Place : 24 - 8 * Place) & UINT8_MAX));
}

OWN_INLINE float limited(float quotient) { return quotient < kLargest ? quotient : kLargest; }
OWN_INLINE float nearestWhole(float value) { return (value + 8388608.0F) - 8388608.0F; }
OWN_INLINE float larger(float a, float b) { return a > b ? a : b; }

template <int32_t Place>
OWN_INLINE uint32_t byteOf(float value) {
    return static_cast<uint32_t>(static_cast<int32_t>(value)) << (kFirstIsLow ? 8 * Place : 24 - 8 * Place);
}

template <class Operator, bool Premultiplied>
OWN_INLINE void nearestPixels(const uint8_t* A, const uint8_t* B, uint8_t* nearest, uint32_t* doubts,
                              ptrdiff_t nPixels) {
    OWN_EACH
    for (ptrdiff_t i = 0; i < nPixels; i++) {
        uint32_t wordA = 0;
        uint32_t wordB = 0;
        std::memcpy(&wordA, A + 4 * i, sizeof wordA);
        std::memcpy(&wordB, B + 4 * i, sizeof wordB);
        const float a = byteAt<3>(wordA);
        const float b = byteAt<3>(wordB);
        const float na = (kLargest - a) - a * kScaleError;
        const float nb = (kLargest - b) - b * kScaleError;
        const float factorA = Premultiplied ? kLargest : a;
        const float factorB = Premultiplied ? kLargest : b;
        const float alpha = Operator::alpha(a, na, b, nb);
        const float over = 1.0F / (alpha > 0.5F ? alpha : kOne);
        const auto colour = [=](float A1, float B1) OWN_INLINE_LAMBDA {
            return limited(Operator::colour(A1 * factorA, B1 * factorB, na, b, nb) * over);
        };
        const float q0 = colour(byteAt<0>(wordA), byteAt<0>(wordB));
        const float q1 = colour(byteAt<1>(wordA), byteAt<1>(wordB));
        const float q2 = colour(byteAt<2>(wordA), byteAt<2>(wordB));
        const float q3 = limited(alpha * (1.0F / kLargest));
        const float n0 = nearestWhole(q0);
        const float n1 = nearestWhole(q1);
        const float n2 = nearestWhole(q2);
        const float n3 = nearestWhole(q3);
        const float off01 = larger(std::fabs(q0 - n0), std::fabs(q1 - n1));
        const float off23 = larger(std::fabs(q2 - n2), std::fabs(q3 - n3));
        const uint32_t word = byteOf<0>(n0) | byteOf<1>(n1) | byteOf<2>(n2) | byteOf<3>(n3);
        std::memcpy(nearest + 4 * i, &word, sizeof word);
        doubts[i] = larger(off01, off23) > kDoubt ? 1 : 0;
    }
}

using Row = const uint8_t*;

OWN_KERNEL void ownNearestOver_8u(Row A, Row B, uint8_t* nearest, uint32_t* doubts, ptrdiff_t n) {
    nearestPixels<Over, true>(A, B, nearest, doubts, n);
}
OWN_KERNEL void ownNearestIn_8u(Row A, Row B, uint8_t* nearest, uint32_t* doubts, ptrdiff_t n) {
    nearestPixels<In, true>(A, B, nearest, doubts, n);
}
OWN_KERNEL void ownNearestOut_8u(Row A, Row B, uint8_t* nearest, uint32_t* doubts, ptrdiff_t n) {
    nearestPixels<Out, true>(A, B, nearest, doubts, n);
}
OWN_KERNEL void ownNearestAtop_8u(Row A, Row B, uint8_t* nearest, uint32_t* doubts, ptrdiff_t n) {
    nearestPixels<Atop, true>(A, B, nearest, doubts, n);
}
OWN_KERNEL void ownNearestXor_8u(Row A, Row B, uint8_t* nearest, uint32_t* doubts, ptrdiff_t n) {
    nearestPixels<Xor, true>(A, B, nearest, doubts, n);
}
OWN_KERNEL void ownNearestPlus_8u(Row A, Row B, uint8_t* nearest, uint32_t* doubts, ptrdiff_t n) {
    nearestPixels<Plus, true>(A, B, nearest, doubts, n);
}
OWN_KERNEL void ownNearestPlainOver_8u(Row A, Row B, uint8_t* nearest, uint32_t* doubts, ptrdiff_t n) {
    nearestPixels<Over, false>(A, B, nearest, doubts, n);
}
OWN_KERNEL void ownNearestPlainIn_8u(Row A, Row B, uint8_t* nearest, uint32_t* doubts, ptrdiff_t n) {
    nearestPixels<In, false>(A, B, nearest, doubts, n);
}
OWN_KERNEL void ownNearestPlainOut_8u(Row A, Row B, uint8_t* nearest, uint32_t* doubts, ptrdiff_t n) {
    nearestPixels<Out, false>(A, B, nearest, doubts, n);
}
OWN_KERNEL void ownNearestPlainAtop_8u(Row A, Row B, uint8_t* nearest, uint32_t* doubts, ptrdiff_t n) {
    nearestPixels<Atop, false>(A, B, nearest, doubts, n);
}
OWN_KERNEL void ownNearestPlainXor_8u(Row A, Row B, uint8_t* nearest, uint32_t* doubts, ptrdiff_t n) {
    nearestPixels<Xor, false>(A, B, nearest, doubts, n);
}
OWN_KERNEL void ownNearestPlainPlus_8u(Row A, Row B, uint8_t* nearest, uint32_t* doubts, ptrdiff_t n) {
    nearestPixels<Plus, false>(A, B, nearest, doubts, n);
}

} // namespace

const NearestPixels kNearestPixels_8u[2][kOperators] = {
    {ownNearestPlainOver_8u, ownNearestPlainIn_8u, ownNearestPlainOut_8u, ownNearestPlainAtop_8u, ownNearestPlainXor_8u,
     ownNearestPlainPlus_8u},
    {ownNearestOver_8u, ownNearestIn_8u, ownNearestOut_8u, ownNearestAtop_8u, ownNearestXor_8u, ownNearestPlus_8u}};

} // namespace tov
