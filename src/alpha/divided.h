// Composition with a division by the result alpha, in double precision: the literal form of each sample.
#pragma once

#include <cstdint>

#include "alpha/composite_rows.h"
#include "kernel/kernel.h"

// Colour and result alpha of each operator, evaluated as written: the order decides the last bits.
namespace tov::divided {

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

OWN_INLINE double quotientOf(double colour, double alpha, double eps, double largest) {
    const bool divides = alpha > eps;
    const double quotient = colour / (divides ? alpha : 1.0);
    return divides && quotient > largest ? largest : quotient;
}

// Behind the addition of 2^23 a single-precision number holds whole numbers only, so that storing it rounds to the
// nearest one, ties to even; taking 2^23 off again is exact.
template <class T>
OWN_INLINE T sampleOf(double value) {
    constexpr int32_t largest = static_cast<T>(~T{0});
    const auto shifted = static_cast<float>(value + 8388608.0);
    const auto whole = static_cast<int32_t>(shifted - 8388608.0F);
    return static_cast<T>(whole > largest ? largest : whole);
}

// The constants of 8U are single-precision numbers, those of 16U double ones.
constexpr DivideLimits kLimits_8u = {0x1.010102p-8, 0x1.020306p-17, 255.0};
constexpr DivideLimits kLimits_16u = {1.5259021896696422e-05, 1.1641887462193043e-10, 65535.0};

} // namespace tov::divided
