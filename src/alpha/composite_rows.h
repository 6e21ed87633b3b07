// Rows of alpha composition: what is done to runs of neighbouring samples, in tables by operator.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tov {

constexpr int32_t kOperators = 6;
constexpr int32_t kPixelBlock = 384;
constexpr int32_t kNearestBlock = 256;

// Integer arithmetic on samples of type T, 8 or 16 bits unsigned. Rows of one call are the same or disjoint.
//
// One formula serves colours and alpha: with the alphas in the place of the colours, each operator's colour is its
// result alpha, since a - M(b, a) + b - M(a, b) is a + b - 2 * M(a, b), M(a, b) + b - M(a, b) is b, and so on.
template <class T>
struct CompositeRows {
    // The operator on colours that are multiplied by their alpha.
    void (*combine[kOperators])(const T* rowA, const T* rowAlphaA, const T* rowB, const T* rowAlphaB, T* rowDst,
                                ptrdiff_t count);
    void (*scale)(const T* row, const T* weights, T* scaled, ptrdiff_t count);
    void (*complement)(const T* rowAlpha, T* complements, ptrdiff_t count);
    // Pixels of three colours and alpha, at most kPixelBlock: by premulAlpha and operator.
    void (*combinePixels[2][kOperators])(const T* pixelsA, const T* pixelsB, T* pixelsDst, ptrdiff_t nPixels);
    // Each pixel of four samples gets its last one in all four.
    void (*spread)(const T* pixels, T* alphas, ptrdiff_t nPixels);
};

// Arithmetic in double precision, with a division by the result alpha and rounding to the nearest value.
struct DivideLimits {
    double scale; // of a sample, to a fraction
    double eps;   // fractions up to it don't divide
    double largest;
};
struct DivideRows {
    void (*combine[kOperators])(const double* rowA, const double* rowFa, const double* rowB, const double* rowFb,
                                const DivideLimits& limits, double* rowC, ptrdiff_t count);
    // The result alpha on the scale of samples.
    void (*alpha[kOperators])(const double* rowFa, const double* rowFb, const DivideLimits& limits, double* rowAlpha,
                              ptrdiff_t count);
    void (*multiply)(double* row, const double* factors, ptrdiff_t count);
};
template <class T>
struct DivideSamples {
    // Samples times a factor.
    void (*load)(const T* samples, double factor, double* row, ptrdiff_t count);
    // The nearest samples, ties to even, limited to the largest one.
    void (*store)(const double* row, T* samples, ptrdiff_t count);
    DivideLimits limits;
};

// The same on pixels of three 8-bit colours and alpha, at most kNearestBlock, into memory of their own.
using NearestPixels = void (*)(const uint8_t* pixelsA, const uint8_t* pixelsB, uint8_t* nearest, ptrdiff_t nPixels);
// By premulAlpha and operator.
extern const NearestPixels kNearestPixels_8u[2][kOperators];

extern const CompositeRows<uint8_t> kCompositeRows_8u;
extern const CompositeRows<uint16_t> kCompositeRows_16u;
extern const DivideRows kDivideRows;
extern const DivideSamples<uint8_t> kDivideSamples_8u;
extern const DivideSamples<uint16_t> kDivideSamples_16u;

} // namespace tov
