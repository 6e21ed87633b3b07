// Floating-point numbers to integers, defined for every input.
#pragma once

#include <cstdint>
#include <cstring>

#include "kernel/kernel.h"

namespace tov {

// Toward zero, limited to the range of the result; not a number gives the lower end.
OWN_INLINE int32_t truncated(double value) {
    const double low = value > -2147483648.0 ? value : -2147483648.0;
    return static_cast<int32_t>(low < 2147483647.0 ? low : 2147483647.0);
}

// To the nearest integer, ties to the even one, for values between -2^31 and 2^31: adding 1.5 * 2^52 leaves the integer
// in the low bits of the sum.
OWN_INLINE int32_t nearestEven(double value) {
    const double sum = value + 6755399441055744.0;
    uint64_t bits = 0;
    std::memcpy(&bits, &sum, sizeof bits);
    return static_cast<int32_t>(static_cast<uint32_t>(bits));
}

} // namespace tov
