// Pixels of composition with division in single precision, where that is proven to round to the same samples.
#include <cstring>

#include "alpha/composite_rows.h"
#include "kernel/kernel.h"
#include "kernel/word.h"

namespace tov {

namespace {

// The literal form divides doubles, C / r, with fractions fa = a * scale, where scale is (1 + d) / 255 and d = 254 / 2^32
// is below one rounding of single precision, u = 2^-24. Here numerator and denominator are both 65025 times as large, X
// and Y being 255 times the colours as the operators take them: whole numbers below 2^24 as far as d is left out. The
// complements na and nb, 255 * (1 - fa) and 255 * (1 - fb), have d in them, since what is left of 1 may be as small.
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

// What an operator works on; as an alpha, X and Y are 255 a and 255 b.
struct Alphas {
    float a, na, b, nb;
};
struct Over {
    OWN_INLINE static float colour(float X, float Y, Alphas f) { return kLargest * X + Y * f.na; }
    OWN_INLINE static float alpha(Alphas f) { return kLargest * f.a + f.b * f.na; }
};
struct In {
    OWN_INLINE static float colour(float X, float, Alphas f) { return X * f.b; }
    OWN_INLINE static float alpha(Alphas f) { return f.b * f.a; }
};
struct Out {
    OWN_INLINE static float colour(float X, float, Alphas f) { return X * f.nb; }
    OWN_INLINE static float alpha(Alphas f) { return f.nb * f.a; }
};
struct Atop {
    OWN_INLINE static float colour(float X, float Y, Alphas f) { return X * f.b + Y * f.na; }
    OWN_INLINE static float alpha(Alphas f) { return kLargest * f.b; }
};
struct Xor {
    OWN_INLINE static float colour(float X, float Y, Alphas f) { return X * f.nb + Y * f.na; }
    OWN_INLINE static float alpha(Alphas f) { return f.nb * f.a + f.na * f.b; }
};
struct Plus {
    OWN_INLINE static float colour(float X, float Y, Alphas) { return kLargest * X + kLargest * Y; }
    OWN_INLINE static float alpha(Alphas f) { return kLargest * f.b + kLargest * f.a; }
};

template <int32_t Place>
OWN_INLINE float byteAt(uint32_t word) {
    return static_cast<float>(static_cast<int32_t>(word >> (kFirstIsLow ? 8 * Place : 24 - 8 * Place) & UINT8_MAX));
}

// The nearest sample of a quotient, in a byte of a word; sets doubt where the literal form may find another one.
template <int32_t Place>
OWN_INLINE uint32_t nearestAt(float quotient, uint32_t& doubt) {
    constexpr float rounder = 8388608.0F;
    const float positive = quotient > 0.0F ? quotient : 0.0F;
    const float limited = positive < kLargest ? positive : kLargest;
    const float nearest = (limited + rounder) - rounder;
    const float off = limited - nearest;
    doubt |= (off > kDoubt || off < -kDoubt) ? 1U : 0U;
    return static_cast<uint32_t>(static_cast<int32_t>(nearest)) << (kFirstIsLow ? 8 * Place : 24 - 8 * Place);
}

template <class Operator, bool Premultiplied>
OWN_INLINE void nearestPixels(const uint8_t* A, const uint8_t* B, uint8_t* nearest, uint32_t* doubts,
                              ptrdiff_t nPixels) {
    OWN_EACH
    for (ptrdiff_t i = 0; i < nPixels; i++) {
        uint32_t wordA;
        uint32_t wordB;
        std::memcpy(&wordA, A + 4 * i, sizeof wordA);
        std::memcpy(&wordB, B + 4 * i, sizeof wordB);
        const float a = byteAt<3>(wordA);
        const float b = byteAt<3>(wordB);
        const Alphas f = {a, (kLargest - a) - a * kScaleError, b, (kLargest - b) - b * kScaleError};
        const float factorA = Premultiplied ? kLargest : a;
        const float factorB = Premultiplied ? kLargest : b;
        const float alpha = Operator::alpha(f);
        const float reciprocal = 1.0F / (alpha > 0.5F ? alpha : kOne);
        const float q0 = Operator::colour(byteAt<0>(wordA) * factorA, byteAt<0>(wordB) * factorB, f) * reciprocal;
        const float q1 = Operator::colour(byteAt<1>(wordA) * factorA, byteAt<1>(wordB) * factorB, f) * reciprocal;
        const float q2 = Operator::colour(byteAt<2>(wordA) * factorA, byteAt<2>(wordB) * factorB, f) * reciprocal;
        uint32_t doubt = 0;
        const uint32_t word = nearestAt<0>(q0, doubt) | nearestAt<1>(q1, doubt) | nearestAt<2>(q2, doubt) |
                              nearestAt<3>(alpha * (1.0F / kLargest), doubt);
        std::memcpy(nearest + 4 * i, &word, sizeof word);
        doubts[i] = doubt;
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
    {ownNearestPlainOver_8u, ownNearestPlainIn_8u, ownNearestPlainOut_8u, ownNearestPlainAtop_8u,
     ownNearestPlainXor_8u, ownNearestPlainPlus_8u},
    {ownNearestOver_8u, ownNearestIn_8u, ownNearestOut_8u, ownNearestAtop_8u, ownNearestXor_8u, ownNearestPlus_8u}};

} // namespace tov
