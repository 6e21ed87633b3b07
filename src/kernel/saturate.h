// Formulas on single values that stay in the value's own width, so that a vector holds as many as it can.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

#include "kernel/kernel.h"

namespace tov {

// All ones for negative values, otherwise 0. Compilers for this library's machines shift the sign in.
template <class T>
OWN_INLINE T signMask(T value) {
    static_assert((-1 >> 1) == -1, "shifts of negative values keep the sign");
    if constexpr (sizeof(T) == 1) return value < 0 ? T{-1} : T{0};
    return static_cast<T>(value >> (8 * sizeof(T) - 1));
}

// A result, or where `beyond` is all ones the limit on the side of a. Selected by bits, since in scalar code a branch
// on what pictures hold is often guessed wrong.
template <class T>
OWN_INLINE T limitWhere(T beyond, T result, T a) {
    const T limit = static_cast<T>(signMask(a) ^ std::numeric_limits<T>::max());
    return static_cast<T>(result ^ ((result ^ limit) & beyond));
}

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
        // The sum has left the range where its sign differs from that of both terms.
        return limitWhere(signMask(static_cast<T>((a ^ sum) & (b ^ sum))), sum, a);
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
        return limitWhere(signMask(static_cast<T>((a ^ b) & (a ^ difference))), difference, a);
    }
}

} // namespace tov
