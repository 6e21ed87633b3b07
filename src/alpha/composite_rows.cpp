// The integer rows of alpha composition.
#include "alpha/composite_rows.h"

#include <cstring>

#include "alpha/scalemul.h"
#include "kernel/saturate.h"
#include "kernel/word.h"

namespace tov {

namespace {

// Each product truncates, so its place in the formula is part of the result. x * (1 - a) is always x - M(a, x).
template <class T>
OWN_INLINE T without(T x, T a) {
    return static_cast<T>(x - ownScaleMul(a, x));
}

struct Over {
    template <class T>
    OWN_INLINE T operator()(T A, T a, T B, T) const {
        return addSat(A, without(B, a));
    }
};
struct In {
    template <class T>
    OWN_INLINE T operator()(T A, T, T, T b) const {
        return ownScaleMul(A, b);
    }
};
struct Out {
    template <class T>
    OWN_INLINE T operator()(T A, T, T, T b) const {
        return without(A, b);
    }
};
struct Atop {
    template <class T>
    OWN_INLINE T operator()(T A, T a, T B, T b) const {
        return addSat(ownScaleMul(A, b), without(B, a));
    }
};
struct Xor {
    template <class T>
    OWN_INLINE T operator()(T A, T a, T B, T b) const {
        return addSat(without(A, b), without(B, a));
    }
};
struct Plus {
    template <class T>
    OWN_INLINE T operator()(T A, T, T B, T) const {
        return addSat(A, B);
    }
};

template <class Operator, class T>
OWN_INLINE void combineRow(const T* A, const T* a, const T* B, const T* b, T* dst, ptrdiff_t count) {
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) dst[i] = Operator{}(A[i], a[i], B[i], b[i]);
}

template <class T>
OWN_INLINE void scaleRow(const T* row, const T* weights, T* scaled, ptrdiff_t count) {
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) scaled[i] = ownScaleMul(row[i], weights[i]);
}

template <class T>
OWN_INLINE void complementRow(const T* alpha, T* complements, ptrdiff_t count) {
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) complements[i] = static_cast<T>(~alpha[i]);
}

// A pixel of four samples as one word.
template <class T>
struct PixelWord;
template <>
struct PixelWord<uint8_t> {
    using Word = uint32_t;
};
template <>
struct PixelWord<uint16_t> {
    using Word = uint64_t;
};

// The last of the four samples in a word.
template <class T, class Word>
OWN_INLINE Word alphaOf(Word pixel) {
    return kFirstIsLow ? static_cast<Word>(pixel >> (24 * sizeof(T)))
                       : static_cast<Word>(pixel & static_cast<T>(~T{0}));
}

// The alpha of the pixel in a word, in all of the word's samples.
template <class T, class Word>
OWN_INLINE Word spreadWord(Word pixel) {
    constexpr int bits = 8 * sizeof(T);
    const auto alpha = alphaOf<T>(pixel);
    const auto pair = static_cast<Word>(alpha | alpha << bits);
    return static_cast<Word>(pair | pair << (2 * bits));
}

template <class T>
OWN_INLINE void spreadRow(const T* pixels, T* alphas, ptrdiff_t nPixels) {
    using Word = typename PixelWord<T>::Word;
    OWN_EACH
    for (ptrdiff_t i = 0; i < nPixels; i++) {
        Word pixel;
        std::memcpy(&pixel, pixels + 4 * i, sizeof pixel);
        const auto spread = spreadWord<T>(pixel);
        std::memcpy(alphas + 4 * i, &spread, sizeof spread);
    }
}

// Pixels of 8-bit samples are worked in half words of two samples: products fit, and vectors have the fewest steps.
using Halves = uint16_t[2 * kPixelBlock];

OWN_INLINE uint16_t highProduct(uint32_t x, uint32_t y) { return static_cast<uint16_t>(x * y >> 16); }

// Both samples scaled by weights w, which are given as 257 * w. floor(x * w / 255) is the top byte of (256 x + 1) * 257
// w in 24 bits: with x * w = 255 q + r that is 2^24 q + 256 * (257 r - q) + 257 w, and what follows 2^24 q is neither
// negative, q being at most w, nor 2^24 and more, r being at most 254.
OWN_INLINE uint16_t scaleHalf(uint16_t samples, uint16_t lowWeight, uint16_t highWeight) {
    const uint16_t low = highProduct(static_cast<uint16_t>(samples << 8 | 1), lowWeight);
    const uint16_t high = highProduct(static_cast<uint16_t>((samples & 0xFF00) | 1), highWeight);
    return static_cast<uint16_t>(low >> 8 | (high & 0xFF00));
}

// The weights of a block of pixels: each pixel's alpha in both of its halves, and the same with 255 in the half that
// has the alpha itself, where that must stay as it is.
struct Weights {
    OWN_INLINE void load(const uint8_t* pixels, ptrdiff_t nPixels) {
        auto* bytes = reinterpret_cast<uint8_t*>(alphas);
        OWN_EACH
        for (ptrdiff_t i = 0; i < nPixels; i++) {
            // Four copies, written out, are one selection of bytes to the compiler.
            const uint8_t alpha = pixels[4 * i + 3];
            bytes[4 * i] = alpha;
            bytes[4 * i + 1] = alpha;
            bytes[4 * i + 2] = alpha;
            bytes[4 * i + 3] = alpha;
        }
    }

    OWN_INLINE void loadBoth(const uint8_t* pixels, ptrdiff_t nPixels) {
        const Bytes4* words = reinterpret_cast<const Bytes4*>(pixels);
        Bytes4* spread = reinterpret_cast<Bytes4*>(alphas);
        Bytes4* kept = reinterpret_cast<Bytes4*>(keeping);
        OWN_EACH
        for (ptrdiff_t i = 0; i < nPixels; i++) {
            const auto word = spreadWord<uint8_t>(uint32_t{words[i]});
            spread[i] = word;
            kept[i] = word | (kFirstIsLow ? UINT32_C(0xFFFF0000) : UINT32_C(0x0000FFFF));
        }
    }

    // Both samples multiplied by their alpha, the alpha itself excepted.
    OWN_INLINE uint16_t colours(uint16_t samples, ptrdiff_t i) const {
        return kFirstIsLow ? scaleHalf(samples, alphas[i], keeping[i]) : scaleHalf(samples, keeping[i], alphas[i]);
    }

    Halves alphas;
    Halves keeping;
};

// An operator on whole pixels is a sum of at most two terms, each a pixel, its product with the other one's alpha, or
// what the product leaves of it. No byte of the latter borrows from its neighbour, since a product is never the larger.
enum class Term { None, Whole, Within, Without };
template <Term Kind>
OWN_INLINE uint16_t termOf(uint16_t samples, uint16_t otherAlpha) {
    if constexpr (Kind == Term::None) return 0;
    if constexpr (Kind == Term::Whole) return samples;
    const uint16_t product = scaleHalf(samples, otherAlpha, otherAlpha);
    return Kind == Term::Within ? product : static_cast<uint16_t>(samples - product);
}

OWN_INLINE void addRows(const uint8_t* termsA, const uint8_t* termsB, uint8_t* dst, ptrdiff_t nPixels) {
    OWN_EACH
    for (ptrdiff_t i = 0; i < 4 * nPixels; i++) dst[i] = addSat(termsA[i], termsB[i]);
}

// One term of all pixels of a block.
template <Term Kind>
OWN_INLINE const uint8_t* termRow(const uint8_t* pixels, const Weights& other, uint8_t* terms, ptrdiff_t nPixels) {
    if (Kind == Term::Whole) return pixels;
    const Bytes2* from = reinterpret_cast<const Bytes2*>(pixels);
    Bytes2* to = reinterpret_cast<Bytes2*>(terms);
    OWN_EACH
    for (ptrdiff_t i = 0; i < 2 * nPixels; i++) to[i] = termOf<Kind>(from[i], other.alphas[i]);
    return terms;
}

// Pixels whose colours are multiplied by their alpha, or should be: nothing holds them to be no larger than it.
template <Term TermA, Term TermB>
OWN_INLINE void combinePixels(const uint8_t* A, const uint8_t* B, uint8_t* dst, ptrdiff_t nPixels) {
    Weights a;
    Weights b;
    if (TermB == Term::Within || TermB == Term::Without) a.load(A, nPixels);
    if (TermA == Term::Within || TermA == Term::Without) b.load(B, nPixels);
    if constexpr (TermB == Term::None) {
        termRow<TermA>(A, b, dst, nPixels);
    } else {
        uint8_t bufferA[4 * kPixelBlock];
        uint8_t bufferB[4 * kPixelBlock];
        const uint8_t* termsA = termRow<TermA>(A, b, bufferA, nPixels);
        const uint8_t* termsB = termRow<TermB>(B, a, bufferB, nPixels);
        addRows(termsA, termsB, dst, nPixels);
    }
}

// Pixels whose colours still are to be multiplied. Samples of A then are at most a, and what a leaves of samples of B
// at most 255 - a: no byte of such a sum reaches into its neighbour. The sum of whole pixels alone can.
template <Term TermA, Term TermB>
OWN_INLINE void combinePlainPixels(const uint8_t* A, const uint8_t* B, uint8_t* dst, ptrdiff_t nPixels) {
    Weights a;
    Weights b;
    a.loadBoth(A, nPixels);
    b.loadBoth(B, nPixels);
    const Bytes2* fromA = reinterpret_cast<const Bytes2*>(A);
    const Bytes2* fromB = reinterpret_cast<const Bytes2*>(B);
    if constexpr (TermA == Term::Whole && TermB == Term::Whole) {
        Halves bufferA;
        Halves bufferB;
        OWN_EACH
        for (ptrdiff_t i = 0; i < 2 * nPixels; i++) {
            bufferA[i] = a.colours(fromA[i], i);
            bufferB[i] = b.colours(fromB[i], i);
        }
        addRows(reinterpret_cast<const uint8_t*>(bufferA), reinterpret_cast<const uint8_t*>(bufferB), dst, nPixels);
    } else {
        Bytes2* to = reinterpret_cast<Bytes2*>(dst);
        OWN_EACH
        for (ptrdiff_t i = 0; i < 2 * nPixels; i++) {
            const uint16_t termA = termOf<TermA>(a.colours(fromA[i], i), b.alphas[i]);
            const uint16_t termB = termOf<TermB>(b.colours(fromB[i], i), a.alphas[i]);
            to[i] = static_cast<uint16_t>(termA + termB);
        }
    }
}

// Pixels of 16-bit samples go by the rows of samples, each sample beside its pixel's alpha.
template <bool Premultiplied, class Operator>
OWN_INLINE void combineSpread(const uint16_t* A, const uint16_t* B, uint16_t* dst, ptrdiff_t nPixels) {
    uint16_t alphasA[4 * kPixelBlock];
    uint16_t alphasB[4 * kPixelBlock];
    uint16_t scaledA[4 * kPixelBlock];
    uint16_t scaledB[4 * kPixelBlock];
    spreadRow(A, alphasA, nPixels);
    spreadRow(B, alphasB, nPixels);
    if (!Premultiplied) {
        const auto scalePixels = [nPixels](const uint16_t* pixels, const uint16_t* alphas, uint16_t* scaled)
                                     OWN_INLINE_LAMBDA {
                                         scaleRow(pixels, alphas, scaled, 4 * nPixels);
                                         for (ptrdiff_t i = 3; i < 4 * nPixels; i += 4) scaled[i] = alphas[i];
                                     };
        scalePixels(A, alphasA, scaledA);
        scalePixels(B, alphasB, scaledB);
        combineRow<Operator>(scaledA, alphasA, scaledB, alphasB, dst, 4 * nPixels);
    } else {
        combineRow<Operator>(A, alphasA, B, alphasB, dst, 4 * nPixels);
    }
}

using Row8 = const uint8_t*;
using Row16 = const uint16_t*;

OWN_KERNEL void ownColorRowOver_8u(Row8 A, Row8 a, Row8 B, Row8 b, uint8_t* dst, ptrdiff_t count) {
    combineRow<Over>(A, a, B, b, dst, count);
}
OWN_KERNEL void ownColorRowIn_8u(Row8 A, Row8 a, Row8 B, Row8 b, uint8_t* dst, ptrdiff_t count) {
    combineRow<In>(A, a, B, b, dst, count);
}
OWN_KERNEL void ownColorRowOut_8u(Row8 A, Row8 a, Row8 B, Row8 b, uint8_t* dst, ptrdiff_t count) {
    combineRow<Out>(A, a, B, b, dst, count);
}
OWN_KERNEL void ownColorRowAtop_8u(Row8 A, Row8 a, Row8 B, Row8 b, uint8_t* dst, ptrdiff_t count) {
    combineRow<Atop>(A, a, B, b, dst, count);
}
OWN_KERNEL void ownColorRowXor_8u(Row8 A, Row8 a, Row8 B, Row8 b, uint8_t* dst, ptrdiff_t count) {
    combineRow<Xor>(A, a, B, b, dst, count);
}
OWN_KERNEL void ownColorRowPlus_8u(Row8 A, Row8 a, Row8 B, Row8 b, uint8_t* dst, ptrdiff_t count) {
    combineRow<Plus>(A, a, B, b, dst, count);
}
OWN_KERNEL void ownColorRowOver_16u(Row16 A, Row16 a, Row16 B, Row16 b, uint16_t* dst, ptrdiff_t count) {
    combineRow<Over>(A, a, B, b, dst, count);
}
OWN_KERNEL void ownColorRowIn_16u(Row16 A, Row16 a, Row16 B, Row16 b, uint16_t* dst, ptrdiff_t count) {
    combineRow<In>(A, a, B, b, dst, count);
}
OWN_KERNEL void ownColorRowOut_16u(Row16 A, Row16 a, Row16 B, Row16 b, uint16_t* dst, ptrdiff_t count) {
    combineRow<Out>(A, a, B, b, dst, count);
}
OWN_KERNEL void ownColorRowAtop_16u(Row16 A, Row16 a, Row16 B, Row16 b, uint16_t* dst, ptrdiff_t count) {
    combineRow<Atop>(A, a, B, b, dst, count);
}
OWN_KERNEL void ownColorRowXor_16u(Row16 A, Row16 a, Row16 B, Row16 b, uint16_t* dst, ptrdiff_t count) {
    combineRow<Xor>(A, a, B, b, dst, count);
}
OWN_KERNEL void ownColorRowPlus_16u(Row16 A, Row16 a, Row16 B, Row16 b, uint16_t* dst, ptrdiff_t count) {
    combineRow<Plus>(A, a, B, b, dst, count);
}

OWN_KERNEL void ownScaleRow_8u(Row8 row, Row8 weights, uint8_t* scaled, ptrdiff_t count) {
    scaleRow(row, weights, scaled, count);
}
OWN_KERNEL void ownScaleRow_16u(Row16 row, Row16 weights, uint16_t* scaled, ptrdiff_t count) {
    scaleRow(row, weights, scaled, count);
}
OWN_KERNEL void ownComplementRow_8u(Row8 alpha, uint8_t* complements, ptrdiff_t count) {
    complementRow(alpha, complements, count);
}
OWN_KERNEL void ownComplementRow_16u(Row16 alpha, uint16_t* complements, ptrdiff_t count) {
    complementRow(alpha, complements, count);
}
OWN_KERNEL void ownSpreadRow_8u(Row8 pixels, uint8_t* alphas, ptrdiff_t nPixels) { spreadRow(pixels, alphas, nPixels); }
OWN_KERNEL void ownSpreadRow_16u(Row16 pixels, uint16_t* alphas, ptrdiff_t nPixels) {
    spreadRow(pixels, alphas, nPixels);
}
OWN_KERNEL void ownPixelsOver_8u(Row8 A, Row8 B, uint8_t* dst, ptrdiff_t nPixels) {
    combinePixels<Term::Whole, Term::Without>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPixelsIn_8u(Row8 A, Row8 B, uint8_t* dst, ptrdiff_t nPixels) {
    combinePixels<Term::Within, Term::None>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPixelsOut_8u(Row8 A, Row8 B, uint8_t* dst, ptrdiff_t nPixels) {
    combinePixels<Term::Without, Term::None>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPixelsAtop_8u(Row8 A, Row8 B, uint8_t* dst, ptrdiff_t nPixels) {
    combinePixels<Term::Within, Term::Without>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPixelsXor_8u(Row8 A, Row8 B, uint8_t* dst, ptrdiff_t nPixels) {
    combinePixels<Term::Without, Term::Without>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPixelsPlus_8u(Row8 A, Row8 B, uint8_t* dst, ptrdiff_t nPixels) {
    combinePixels<Term::Whole, Term::Whole>(A, B, dst, nPixels);
}
OWN_WIDE_KERNEL void ownPlainPixelsOver_8u(Row8 A, Row8 B, uint8_t* dst, ptrdiff_t nPixels) {
    combinePlainPixels<Term::Whole, Term::Without>(A, B, dst, nPixels);
}
OWN_WIDE_KERNEL void ownPlainPixelsIn_8u(Row8 A, Row8 B, uint8_t* dst, ptrdiff_t nPixels) {
    combinePlainPixels<Term::Within, Term::None>(A, B, dst, nPixels);
}
OWN_WIDE_KERNEL void ownPlainPixelsOut_8u(Row8 A, Row8 B, uint8_t* dst, ptrdiff_t nPixels) {
    combinePlainPixels<Term::Without, Term::None>(A, B, dst, nPixels);
}
OWN_WIDE_KERNEL void ownPlainPixelsAtop_8u(Row8 A, Row8 B, uint8_t* dst, ptrdiff_t nPixels) {
    combinePlainPixels<Term::Within, Term::Without>(A, B, dst, nPixels);
}
OWN_WIDE_KERNEL void ownPlainPixelsXor_8u(Row8 A, Row8 B, uint8_t* dst, ptrdiff_t nPixels) {
    combinePlainPixels<Term::Without, Term::Without>(A, B, dst, nPixels);
}
OWN_WIDE_KERNEL void ownPlainPixelsPlus_8u(Row8 A, Row8 B, uint8_t* dst, ptrdiff_t nPixels) {
    combinePlainPixels<Term::Whole, Term::Whole>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPixelsOver_16u(Row16 A, Row16 B, uint16_t* dst, ptrdiff_t nPixels) {
    combineSpread<true, Over>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPixelsIn_16u(Row16 A, Row16 B, uint16_t* dst, ptrdiff_t nPixels) {
    combineSpread<true, In>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPixelsOut_16u(Row16 A, Row16 B, uint16_t* dst, ptrdiff_t nPixels) {
    combineSpread<true, Out>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPixelsAtop_16u(Row16 A, Row16 B, uint16_t* dst, ptrdiff_t nPixels) {
    combineSpread<true, Atop>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPixelsXor_16u(Row16 A, Row16 B, uint16_t* dst, ptrdiff_t nPixels) {
    combineSpread<true, Xor>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPixelsPlus_16u(Row16 A, Row16 B, uint16_t* dst, ptrdiff_t nPixels) {
    combineSpread<true, Plus>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPlainPixelsOver_16u(Row16 A, Row16 B, uint16_t* dst, ptrdiff_t nPixels) {
    combineSpread<false, Over>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPlainPixelsIn_16u(Row16 A, Row16 B, uint16_t* dst, ptrdiff_t nPixels) {
    combineSpread<false, In>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPlainPixelsOut_16u(Row16 A, Row16 B, uint16_t* dst, ptrdiff_t nPixels) {
    combineSpread<false, Out>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPlainPixelsAtop_16u(Row16 A, Row16 B, uint16_t* dst, ptrdiff_t nPixels) {
    combineSpread<false, Atop>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPlainPixelsXor_16u(Row16 A, Row16 B, uint16_t* dst, ptrdiff_t nPixels) {
    combineSpread<false, Xor>(A, B, dst, nPixels);
}
OWN_KERNEL void ownPlainPixelsPlus_16u(Row16 A, Row16 B, uint16_t* dst, ptrdiff_t nPixels) {
    combineSpread<false, Plus>(A, B, dst, nPixels);
}

} // namespace

const CompositeRows<uint8_t> kCompositeRows_8u = {
    {ownColorRowOver_8u, ownColorRowIn_8u, ownColorRowOut_8u, ownColorRowAtop_8u, ownColorRowXor_8u,
     ownColorRowPlus_8u},
    ownScaleRow_8u,
    ownComplementRow_8u,
    {{ownPlainPixelsOver_8u, ownPlainPixelsIn_8u, ownPlainPixelsOut_8u, ownPlainPixelsAtop_8u, ownPlainPixelsXor_8u,
      ownPlainPixelsPlus_8u},
     {ownPixelsOver_8u, ownPixelsIn_8u, ownPixelsOut_8u, ownPixelsAtop_8u, ownPixelsXor_8u, ownPixelsPlus_8u}},
    ownSpreadRow_8u,
};
const CompositeRows<uint16_t> kCompositeRows_16u = {
    {ownColorRowOver_16u, ownColorRowIn_16u, ownColorRowOut_16u, ownColorRowAtop_16u, ownColorRowXor_16u,
     ownColorRowPlus_16u},
    ownScaleRow_16u,
    ownComplementRow_16u,
    {{ownPlainPixelsOver_16u, ownPlainPixelsIn_16u, ownPlainPixelsOut_16u, ownPlainPixelsAtop_16u,
      ownPlainPixelsXor_16u, ownPlainPixelsPlus_16u},
     {ownPixelsOver_16u, ownPixelsIn_16u, ownPixelsOut_16u, ownPixelsAtop_16u, ownPixelsXor_16u, ownPixelsPlus_16u}},
    ownSpreadRow_16u,
};

} // namespace tov
