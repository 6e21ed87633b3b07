// The floating-point rows of alpha composition.
#include "alpha/composite_rows.h"
#include "alpha/divided.h"
#include "kernel/kernel.h"

namespace tov {

namespace {

using namespace divided;

using Row = const double*;

template <class Operator>
OWN_INLINE void combineRow(Row A, Row fa, Row B, Row fb, const DivideLimits& limits, double* C, ptrdiff_t count) {
    const double eps = limits.eps;
    const double largest = limits.largest;
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        const double colour = Operator::colour(A[i], fa[i], B[i], fb[i]);
        const double alpha = Operator::alpha(fa[i], fb[i]);
        C[i] = quotientOf(colour, alpha, eps, largest);
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

template <class T>
OWN_INLINE void storeRow(Row row, T* samples, ptrdiff_t count) {
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) samples[i] = sampleOf<T>(row[i]);
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

const DivideSamples<uint8_t> kDivideSamples_8u = {ownLoadRow_8u, ownStoreRow_8u, kLimits_8u};
const DivideSamples<uint16_t> kDivideSamples_16u = {ownLoadRow_16u, ownStoreRow_16u, kLimits_16u};

} // namespace tov
