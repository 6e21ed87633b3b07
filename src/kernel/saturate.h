// Formulas on single values that stay in the value's own width, so that a vector holds as many as it can.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

#include "kernel/kernel.h"

namespace tov {

// a + b, limited to the range of T; floats have no limit.
template <class T>
OWN_INLINE T addSat(T a, T b) {
    if constexpr (std::is_floating_point_v<T>) {
        return a + b;
    } else if constexpr (std::is_unsigned_v<T>) {
        const T room = static_cast<T>(~b);
        return static_cast<T>((a < room ? a : room) + b);
    } else {
        using U = std::make_unsigned_t<T>;
        const T sum = static_cast<T>(static_cast<U>(static_cast<U>(a) + static_cast<U>(b)));
        const T limit = a < 0 ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
        // The sum has left the range where its sign differs from that of both terms.
        return static_cast<T>((a ^ sum) & (b ^ sum)) < 0 ? limit : sum;
    }
}

// a - b, limited to the range of T; floats have no limit.
template <class T>
OWN_INLINE T subSat(T a, T b) {
    if constexpr (std::is_floating_point_v<T>) {
        return a - b;
    } else if constexpr (std::is_unsigned_v<T>) {
        return static_cast<T>((a > b ? a : b) - b);
    } else {
        using U = std::make_unsigned_t<T>;
        const T difference = static_cast<T>(static_cast<U>(static_cast<U>(a) - static_cast<U>(b)));
        const T limit = a < 0 ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
        return static_cast<T>((a ^ b) & (a ^ difference)) < 0 ? limit : difference;
    }
}

} // namespace tov
