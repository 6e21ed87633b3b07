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

// Rounded to single precision. A function of its own, since g++ 12 leaves the rounding out where two neighbouring
// doubles are rounded and widened again in one vector register.
OWN_SHARED float single(double value) { return static_cast<float>(value); }

} // namespace tov
