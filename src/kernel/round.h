// Floating-point numbers to integers, defined for every input.
#pragma once

#include <cstdint>

#include "kernel/kernel.h"

namespace tov {

// Toward zero, limited to the range of the result; not a number gives the lower end.
OWN_INLINE int32_t truncated(double value) {
    const double low = value > -2147483648.0 ? value : -2147483648.0;
    return static_cast<int32_t>(low < 2147483647.0 ? low : 2147483647.0);
}

// To the nearest integer, ties to the even one, for values between -2^31 and 2^31: adding 1.5 * 2^52 leaves no room for
// a fraction.
OWN_INLINE int32_t nearestEven(double value) {
    constexpr double room = 6755399441055744.0;
    return static_cast<int32_t>((value + room) - room);
}

} // namespace tov
