// The integer rows of alpha composition.
#include "alpha/composite_rows.h"

#include <cstring>

#include "alpha/scalemul.h"
#include "kernel/saturate.h"

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

// The alpha of the pixel in a word, in all of the word's samples.
template <class T, class Word>
OWN_INLINE Word spreadWord(Word pixel) {
    constexpr int bits = 8 * sizeof(T);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    const auto alpha = static_cast<Word>(pixel & static_cast<T>(~T{0}));
#else
    const auto alpha = static_cast<Word>(pixel >> (3 * bits));
#endif
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

// The word with ones in its alpha, so that the product with the alpha leaves it as it is.
template <class T>
OWN_INLINE void scalePixelRow(const T* pixels, const T* alphas, T* scaled, ptrdiff_t nPixels) {
    using Word = typename PixelWord<T>::Word;
    const T bytes[4] = {0, 0, 0, static_cast<T>(~T{0})};
    Word kept;
    std::memcpy(&kept, bytes, sizeof kept);
    OWN_EACH
    for (ptrdiff_t i = 0; i < nPixels; i++) {
        Word weights;
        std::memcpy(&weights, alphas + 4 * i, sizeof weights);
        weights |= kept;
        std::memcpy(scaled + 4 * i, &weights, sizeof weights);
    }
    scaleRow(pixels, scaled, scaled, 4 * nPixels);
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
OWN_KERNEL void ownScalePixels_8u(Row8 pixels, Row8 alphas, uint8_t* scaled, ptrdiff_t nPixels) {
    scalePixelRow(pixels, alphas, scaled, nPixels);
}
OWN_KERNEL void ownScalePixels_16u(Row16 pixels, Row16 alphas, uint16_t* scaled, ptrdiff_t nPixels) {
    scalePixelRow(pixels, alphas, scaled, nPixels);
}

} // namespace

const CompositeRows<uint8_t> kCompositeRows_8u = {
    {ownColorRowOver_8u, ownColorRowIn_8u, ownColorRowOut_8u, ownColorRowAtop_8u, ownColorRowXor_8u,
     ownColorRowPlus_8u},
    ownScaleRow_8u,
    ownComplementRow_8u,
    ownSpreadRow_8u,
    ownScalePixels_8u,
};
const CompositeRows<uint16_t> kCompositeRows_16u = {
    {ownColorRowOver_16u, ownColorRowIn_16u, ownColorRowOut_16u, ownColorRowAtop_16u, ownColorRowXor_16u,
     ownColorRowPlus_16u},
    ownScaleRow_16u,
    ownComplementRow_16u,
    ownSpreadRow_16u,
    ownScalePixels_16u,
};

} // namespace tov
