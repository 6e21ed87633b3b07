// The floating-point rows of alpha composition.
#include "alpha/composite_rows.h"
#include "kernel/kernel.h"

namespace tov {

namespace {

// Colour and result alpha of each operator, evaluated as written: the order decides the last bits.
struct Over {
    OWN_INLINE static double colour(double A, double fa, double B, double) { return A + B * (1 - fa); }
    OWN_INLINE static double alpha(double fa, double fb) { return (1 - fa) * fb + fa; }
};
struct In {
    OWN_INLINE static double colour(double A, double, double, double fb) { return A * fb; }
    OWN_INLINE static double alpha(double fa, double fb) { return fb * fa; }
};
struct Out {
    OWN_INLINE static double colour(double A, double, double, double fb) { return A * (1 - fb); }
    OWN_INLINE static double alpha(double fa, double fb) { return (1 - fb) * fa; }
};
struct Atop {
    OWN_INLINE static double colour(double A, double fa, double B, double fb) { return A * fb + B * (1 - fa); }
    OWN_INLINE static double alpha(double, double fb) { return fb; }
};
struct Xor {
    OWN_INLINE static double colour(double A, double fa, double B, double fb) { return A * (1 - fb) + B * (1 - fa); }
    OWN_INLINE static double alpha(double fa, double fb) { return (1 - fb) * fa + (1 - fa) * fb; }
};
struct Plus {
    OWN_INLINE static double colour(double A, double, double B, double) { return A + B; }
    OWN_INLINE static double alpha(double fa, double fb) { return fb + fa; }
};

using Row = const double*;

template <class Operator>
OWN_INLINE void combineRow(Row A, Row fa, Row B, Row fb, const DivideLimits& limits, double* C, ptrdiff_t count) {
    const double eps = limits.eps;
    const double largest = limits.largest;
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        const double colour = Operator::colour(A[i], fa[i], B[i], fb[i]);
        const double alpha = Operator::alpha(fa[i], fb[i]);
        const bool divides = alpha > eps;
        const double plain = colour / (divides ? alpha : 1.0);
        C[i] = divides && plain > largest ? largest : plain;
    }
}

template <class Operator>
OWN_INLINE void alphaRow(Row fa, Row fb, const DivideLimits& limits, double* alpha, ptrdiff_t count) {
    const double largest = limits.largest;
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) alpha[i] = largest * Operator::alpha(fa[i], fb[i]);
}

template <class T>
OWN_INLINE void loadRow(const T* samples, double factor, double* row, ptrdiff_t count) {
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) row[i] = static_cast<int32_t>(samples[i]) * factor;
}

// Behind the addition of 2^23 a single-precision number holds whole numbers only, so that storing it rounds to the
// nearest one, ties to even; taking 2^23 off again is exact.
template <class T>
OWN_INLINE void storeRow(Row row, T* samples, ptrdiff_t count) {
    constexpr int32_t largest = static_cast<T>(~T{0});
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        const auto shifted = static_cast<float>(row[i] + 8388608.0);
        const auto value = static_cast<int32_t>(shifted - 8388608.0F);
        samples[i] = static_cast<T>(value > largest ? largest : value);
    }
}

OWN_KERNEL void ownDivideRowOver(Row A, Row fa, Row B, Row fb, const DivideLimits& limits, double* C, ptrdiff_t n) {
    combineRow<Over>(A, fa, B, fb, limits, C, n);
}
OWN_KERNEL void ownDivideRowIn(Row A, Row fa, Row B, Row fb, const DivideLimits& limits, double* C, ptrdiff_t n) {
    combineRow<In>(A, fa, B, fb, limits, C, n);
}
OWN_KERNEL void ownDivideRowOut(Row A, Row fa, Row B, Row fb, const DivideLimits& limits, double* C, ptrdiff_t n) {
    combineRow<Out>(A, fa, B, fb, limits, C, n);
}
OWN_KERNEL void ownDivideRowAtop(Row A, Row fa, Row B, Row fb, const DivideLimits& limits, double* C, ptrdiff_t n) {
    combineRow<Atop>(A, fa, B, fb, limits, C, n);
}
OWN_KERNEL void ownDivideRowXor(Row A, Row fa, Row B, Row fb, const DivideLimits& limits, double* C, ptrdiff_t n) {
    combineRow<Xor>(A, fa, B, fb, limits, C, n);
}
OWN_KERNEL void ownDivideRowPlus(Row A, Row fa, Row B, Row fb, const DivideLimits& limits, double* C, ptrdiff_t n) {
    combineRow<Plus>(A, fa, B, fb, limits, C, n);
}
OWN_KERNEL void ownDivideAlphaOver(Row fa, Row fb, const DivideLimits& limits, double* alpha, ptrdiff_t n) {
    alphaRow<Over>(fa, fb, limits, alpha, n);
}
OWN_KERNEL void ownDivideAlphaIn(Row fa, Row fb, const DivideLimits& limits, double* alpha, ptrdiff_t n) {
    alphaRow<In>(fa, fb, limits, alpha, n);
}
OWN_KERNEL void ownDivideAlphaOut(Row fa, Row fb, const DivideLimits& limits, double* alpha, ptrdiff_t n) {
    alphaRow<Out>(fa, fb, limits, alpha, n);
}
OWN_KERNEL void ownDivideAlphaAtop(Row fa, Row fb, const DivideLimits& limits, double* alpha, ptrdiff_t n) {
    alphaRow<Atop>(fa, fb, limits, alpha, n);
}
OWN_KERNEL void ownDivideAlphaXor(Row fa, Row fb, const DivideLimits& limits, double* alpha, ptrdiff_t n) {
    alphaRow<Xor>(fa, fb, limits, alpha, n);
}
OWN_KERNEL void ownDivideAlphaPlus(Row fa, Row fb, const DivideLimits& limits, double* alpha, ptrdiff_t n) {
    alphaRow<Plus>(fa, fb, limits, alpha, n);
}

OWN_KERNEL void ownMultiplyRow(double* row, Row factors, ptrdiff_t count) {
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) row[i] = row[i] * factors[i];
}
OWN_KERNEL void ownLoadRow_8u(const uint8_t* samples, double factor, double* row, ptrdiff_t count) {
    loadRow(samples, factor, row, count);
}
OWN_KERNEL void ownLoadRow_16u(const uint16_t* samples, double factor, double* row, ptrdiff_t count) {
    loadRow(samples, factor, row, count);
}
OWN_KERNEL void ownStoreRow_8u(Row row, uint8_t* samples, ptrdiff_t count) { storeRow(row, samples, count); }
OWN_KERNEL void ownStoreRow_16u(Row row, uint16_t* samples, ptrdiff_t count) { storeRow(row, samples, count); }

} // namespace

const DivideRows kDivideRows = {
    {ownDivideRowOver, ownDivideRowIn, ownDivideRowOut, ownDivideRowAtop, ownDivideRowXor, ownDivideRowPlus},
    {ownDivideAlphaOver, ownDivideAlphaIn, ownDivideAlphaOut, ownDivideAlphaAtop, ownDivideAlphaXor,
     ownDivideAlphaPlus},
    ownMultiplyRow,
};

// The constants of 8U are single-precision numbers, those of 16U double ones.
const DivideSamples<uint8_t> kDivideSamples_8u = {
    ownLoadRow_8u, ownStoreRow_8u, {0x1.010102p-8, 0x1.020306p-17, 255.0}};
const DivideSamples<uint16_t> kDivideSamples_16u = {
    ownLoadRow_16u, ownStoreRow_16u, {1.5259021896696422e-05, 1.1641887462193043e-10, 65535.0}};

} // namespace tov
