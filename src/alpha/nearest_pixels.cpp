// Pixels of composition with division in single precision, where that is proven to round to the same samples.
#include "alpha/composite_rows.h"
#include "alpha/divided.h"
#include "kernel/kernel.h"
#include "kernel/word.h"

namespace tov {

namespace {

// The literal form divides doubles, C / r, with fractions fa = a * scale. The scale is (1 + d) / 255, d = 254 / 2^32
// being below one rounding of single precision, u = 2^-24; so the complement 1 - fa is (255 - a - a * d) / 255. Here
// both factors of a colour, all of C / r but A and B, are formed once for a pixel.
//
// A complement is exact to 3 u, as are the fractions, r to 6 u, its reciprocal to 7 u and, all terms being positive, a
// quotient to 15 u: a complement of alpha 255 is -d, which is nothing beside another term that isn't 0, and rounds to 0
// alone. So quotients below 256 are within 2.3e-4 of the literal one, whose own roundings are far smaller. They are
// rounded to multiples of 1 / 2048, and where such a multiple isn't halfway between two samples, the literal quotient
// is on the same side. Where r isn't one of the literal's undivided ones, it is 1 / 65025 or more.
//
// Result alphas are quotients of whole numbers by 255, 1 / 510 away from halfway.
constexpr float kLargest = 255.0F;
constexpr float kScale = 0x1.010102p-8F;
constexpr float kScaleError = 254.0F / 4294967296.0F;
constexpr float kLeastDivisor = 1e-5F;
constexpr uint32_t kHalfSample = 1024;
constexpr int32_t kGridBits = 11;

// What becomes of a quotient halfway between two samples.
enum class Halfway {
    // The literal form decides.
    Doubt,
    // Quotients are (255 A) / a, or (255 (A + B)) / (a + b): no closer to halfway than 1 / 1020 unless they lie there.
    // Then the literal one, with scale in its denominator, is smaller by d, more than its roundings.
    Down,
    // Quotients are (A a + B b) / (a + b): likewise, but without d, and the literal's roundings vanish when it adds
    // 2^23.
    Even,
};

// Each operator's factors of A1 and B1, and its result alpha.
struct Over {
    using Literal = divided::Over;
    static constexpr Halfway kHalfway[2] = {Halfway::Doubt, Halfway::Doubt};
    static constexpr bool kTakesB = true;
    OWN_INLINE static float ofA(float, float) { return 1.0F; }
    OWN_INLINE static float ofB(float na) { return na; }
    OWN_INLINE static float alpha(float fa, float na, float fb, float) { return fa + fb * na; }
};
struct In {
    using Literal = divided::In;
    static constexpr Halfway kHalfway[2] = {Halfway::Down, Halfway::Down};
    static constexpr bool kTakesB = false;
    OWN_INLINE static float ofA(float fb, float) { return fb; }
    OWN_INLINE static float ofB(float) { return 0.0F; }
    OWN_INLINE static float alpha(float fa, float, float fb, float) { return fb * fa; }
};
struct Out {
    using Literal = divided::Out;
    static constexpr Halfway kHalfway[2] = {Halfway::Down, Halfway::Down};
    static constexpr bool kTakesB = false;
    OWN_INLINE static float ofA(float, float nb) { return nb; }
    OWN_INLINE static float ofB(float) { return 0.0F; }
    OWN_INLINE static float alpha(float fa, float, float, float nb) { return nb * fa; }
};
struct Atop {
    using Literal = divided::Atop;
    static constexpr Halfway kHalfway[2] = {Halfway::Doubt, Halfway::Doubt};
    static constexpr bool kTakesB = true;
    OWN_INLINE static float ofA(float fb, float) { return fb; }
    OWN_INLINE static float ofB(float na) { return na; }
    OWN_INLINE static float alpha(float, float, float fb, float) { return fb; }
};
struct Xor {
    using Literal = divided::Xor;
    static constexpr Halfway kHalfway[2] = {Halfway::Doubt, Halfway::Doubt};
    static constexpr bool kTakesB = true;
    OWN_INLINE static float ofA(float, float nb) { return nb; }
    OWN_INLINE static float ofB(float na) { return na; }
    OWN_INLINE static float alpha(float fa, float na, float fb, float nb) { return nb * fa + na * fb; }
};
struct Plus {
    using Literal = divided::Plus;
    static constexpr Halfway kHalfway[2] = {Halfway::Even, Halfway::Down};
    static constexpr bool kTakesB = true;
    OWN_INLINE static float ofA(float, float) { return 1.0F; }
    OWN_INLINE static float ofB(float) { return 1.0F; }
    OWN_INLINE static float alpha(float fa, float, float fb, float) { return fb + fa; }
};

template <int32_t Place>
OWN_INLINE float byteAt(uint32_t word) {
    return static_cast<float>(static_cast<int32_t>(word >> (kFirstIsLow ? 8 * Place : 24 - 8 * Place) & UINT8_MAX));
}

// The sample in bits kGridBits and up, and below them how far the quotient is above the halfway point under it, both
// of a quotient limited to the largest sample, in multiples of 1 / 2048: those are the last bits of numbers from 4096
// on.
template <Halfway At>
OWN_INLINE uint32_t onGrid(float quotient) {
    const float limited = quotient < kLargest ? quotient : kLargest;
    const auto bits = __builtin_bit_cast(uint32_t, limited + 4096.0F);
    if constexpr (At == Halfway::Doubt) return bits + kHalfSample;
    if constexpr (At == Halfway::Down) return bits + (kHalfSample - 1);
    return bits + (kHalfSample - 1) + (bits >> kGridBits & 1);
}

OWN_INLINE uint32_t partOf(uint32_t onGrid) { return onGrid & (2 * kHalfSample - 1); }
OWN_INLINE uint32_t smallerOf(uint32_t a, uint32_t b) { return a < b ? a : b; }

template <int32_t Place>
OWN_INLINE uint32_t byteOf(uint32_t onGrid) {
    return (onGrid >> kGridBits & UINT8_MAX) << (kFirstIsLow ? 8 * Place : 24 - 8 * Place);
}

// The nearest pixels, and which of them are in doubt, where any can be.
template <class Operator, bool Premultiplied>
OWN_INLINE void roundPixels(const uint8_t* A, const uint8_t* B, uint8_t* nearest, uint32_t* doubts, ptrdiff_t nPixels) {
    constexpr Halfway at = Operator::kHalfway[Premultiplied ? 1 : 0];
    const Bytes4* pixelsA = reinterpret_cast<const Bytes4*>(A);
    const Bytes4* pixelsB = reinterpret_cast<const Bytes4*>(B);
    Bytes4* pixels = reinterpret_cast<Bytes4*>(nearest);
    OWN_EACH
    for (ptrdiff_t i = 0; i < nPixels; i++) {
        const uint32_t wordA = pixelsA[i];
        const uint32_t wordB = pixelsB[i];
        const float a = byteAt<3>(wordA);
        const float b = byteAt<3>(wordB);
        const float fa = a * kScale;
        const float fb = b * kScale;
        const float na = ((kLargest - a) - a * kScaleError) * kScale;
        const float nb = ((kLargest - b) - b * kScaleError) * kScale;
        const float alpha = Operator::alpha(fa, na, fb, nb);
        const float over = 1.0F / (alpha > kLeastDivisor ? alpha : 1.0F);
        const float factorA = Operator::ofA(fb, nb) * over * (Premultiplied ? 1.0F : fa);
        const float factorB = Operator::ofB(na) * over * (Premultiplied ? 1.0F : fb);
        const auto colour = [=](float sampleA, float sampleB) OWN_INLINE_LAMBDA {
            return onGrid<at>(Operator::kTakesB ? sampleA * factorA + sampleB * factorB : sampleA * factorA);
        };
        const uint32_t c0 = colour(byteAt<0>(wordA), byteAt<0>(wordB));
        const uint32_t c1 = colour(byteAt<1>(wordA), byteAt<1>(wordB));
        const uint32_t c2 = colour(byteAt<2>(wordA), byteAt<2>(wordB));
        const uint32_t c3 = onGrid<Halfway::Doubt>(alpha * kLargest);
        pixels[i] = byteOf<0>(c0) | byteOf<1>(c1) | byteOf<2>(c2) | byteOf<3>(c3);
        if constexpr (at == Halfway::Doubt) {
            doubts[i] = smallerOf(smallerOf(partOf(c0), partOf(c1)), partOf(c2)) == 0 ? 1 : 0;
        }
    }
}

template <class Operator, bool Premultiplied>
OWN_SHARED void literalPixel(const uint8_t* A, const uint8_t* B, uint8_t* nearest) {
    using Literal = typename Operator::Literal;
    const DivideLimits limits = divided::kLimits_8u;
    const double fa = A[3] * limits.scale;
    const double fb = B[3] * limits.scale;
    const double alpha = Literal::alpha(fa, fb);
    for (int32_t k = 0; k < 3; k++) {
        const double colour =
            Literal::colour(A[k] * (Premultiplied ? 1.0 : fa), fa, B[k] * (Premultiplied ? 1.0 : fb), fb);
        nearest[k] = divided::sampleOf<uint8_t>(divided::quotientOf(colour, alpha, limits.eps, limits.largest));
    }
}

template <class Operator, bool Premultiplied>
OWN_INLINE void nearestPixels(const uint8_t* A, const uint8_t* B, uint8_t* nearest, ptrdiff_t nPixels) {
    constexpr ptrdiff_t group = 16;
    uint32_t doubts[kNearestBlock];
    roundPixels<Operator, Premultiplied>(A, B, nearest, doubts, nPixels);
    if (Operator::kHalfway[Premultiplied ? 1 : 0] != Halfway::Doubt) return;
    for (ptrdiff_t i = 0; i < nPixels; i += group) {
        const ptrdiff_t end = nPixels - i < group ? nPixels : i + group;
        uint32_t any = 0;
        for (ptrdiff_t k = i; k < end; k++) any |= doubts[k];
        for (ptrdiff_t k = i; any != 0 && k < end; k++) {
            if (doubts[k] != 0) literalPixel<Operator, Premultiplied>(A + 4 * k, B + 4 * k, nearest + 4 * k);
        }
    }
}

using Row = const uint8_t*;

OWN_WIDE_KERNEL void ownNearestOver_8u(Row A, Row B, uint8_t* nearest, ptrdiff_t n) {
    nearestPixels<Over, true>(A, B, nearest, n);
}
OWN_WIDE_KERNEL void ownNearestIn_8u(Row A, Row B, uint8_t* nearest, ptrdiff_t n) {
    nearestPixels<In, true>(A, B, nearest, n);
}
OWN_WIDE_KERNEL void ownNearestOut_8u(Row A, Row B, uint8_t* nearest, ptrdiff_t n) {
    nearestPixels<Out, true>(A, B, nearest, n);
}
OWN_WIDE_KERNEL void ownNearestAtop_8u(Row A, Row B, uint8_t* nearest, ptrdiff_t n) {
    nearestPixels<Atop, true>(A, B, nearest, n);
}
OWN_WIDE_KERNEL void ownNearestXor_8u(Row A, Row B, uint8_t* nearest, ptrdiff_t n) {
    nearestPixels<Xor, true>(A, B, nearest, n);
}
OWN_WIDE_KERNEL void ownNearestPlus_8u(Row A, Row B, uint8_t* nearest, ptrdiff_t n) {
    nearestPixels<Plus, true>(A, B, nearest, n);
}
OWN_WIDE_KERNEL void ownNearestPlainOver_8u(Row A, Row B, uint8_t* nearest, ptrdiff_t n) {
    nearestPixels<Over, false>(A, B, nearest, n);
}
OWN_WIDE_KERNEL void ownNearestPlainIn_8u(Row A, Row B, uint8_t* nearest, ptrdiff_t n) {
    nearestPixels<In, false>(A, B, nearest, n);
}
OWN_WIDE_KERNEL void ownNearestPlainOut_8u(Row A, Row B, uint8_t* nearest, ptrdiff_t n) {
    nearestPixels<Out, false>(A, B, nearest, n);
}
OWN_WIDE_KERNEL void ownNearestPlainAtop_8u(Row A, Row B, uint8_t* nearest, ptrdiff_t n) {
    nearestPixels<Atop, false>(A, B, nearest, n);
}
OWN_WIDE_KERNEL void ownNearestPlainXor_8u(Row A, Row B, uint8_t* nearest, ptrdiff_t n) {
    nearestPixels<Xor, false>(A, B, nearest, n);
}
OWN_WIDE_KERNEL void ownNearestPlainPlus_8u(Row A, Row B, uint8_t* nearest, ptrdiff_t n) {
    nearestPixels<Plus, false>(A, B, nearest, n);
}

} // namespace

const NearestPixels kNearestPixels_8u[2][kOperators] = {
    {ownNearestPlainOver_8u, ownNearestPlainIn_8u, ownNearestPlainOut_8u, ownNearestPlainAtop_8u, ownNearestPlainXor_8u,
     ownNearestPlainPlus_8u},
    {ownNearestOver_8u, ownNearestIn_8u, ownNearestOut_8u, ownNearestAtop_8u, ownNearestXor_8u, ownNearestPlus_8u}};

} // namespace tov
