// Rows of nearest pixels whose positions follow a simple rule: loops for those, in which no position is looked up.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kernel/word.h"

namespace tov {

// Bytes of a row from which on it pays to ask for the beginning of the next one.
constexpr size_t kLongRow = 3072;

// How many of the columns come before each of the others stands twice in a row, 0 or 1; -1 where that isn't so.
inline int32_t beforePairs(const int32_t* columns, int32_t count) {
    const int32_t before = count > 1 && columns[0] != columns[1] ? 1 : 0;
    for (int32_t i = before; i < count; i++) {
        if (columns[i] != columns[before] + (i - before) / 2) return -1;
    }
    return before;
}

// Takes the pixels of a row twice each, Bytes bytes at a time.
template <size_t Bytes>
OWN_INLINE void takeTwice(const void* from, void* to, ptrdiff_t nPairs) {
    using Pixel = typename AnyBytes<Bytes>::Type;
    const Pixel* s = static_cast<const Pixel*>(from);
    Pixel* d = static_cast<Pixel*>(to);
    OWN_EACH
    for (ptrdiff_t i = 0; i < nPairs; i++) {
        d[2 * i] = s[i];
        d[2 * i + 1] = s[i];
    }
}

// Takes every other pixel of a row, which has pixels to the one behind the last that is taken, Bytes bytes at a time.
template <size_t Bytes>
OWN_INLINE void takeEveryOther(const uint8_t* from, uint8_t* to, ptrdiff_t count) {
    using Pixel = typename AnyBytes<Bytes>::Type;
    const Pixel* s = reinterpret_cast<const Pixel*>(from);
    Pixel* d = reinterpret_cast<Pixel*>(to);
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) d[i] = s[2 * i];
}

// Two pixels as a word.
template <>
OWN_INLINE void takeEveryOther<1>(const uint8_t* from, uint8_t* to, ptrdiff_t count) {
    const Bytes2* s = reinterpret_cast<const Bytes2*>(from);
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) to[i] = static_cast<uint8_t>(kFirstIsLow ? s[i] : s[i] >> 8);
}

// One byte more than a pixel's, which the next pixel overwrites.
template <>
OWN_INLINE void takeEveryOther<3>(const uint8_t* from, uint8_t* to, ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count - 1; i++) std::memcpy(to + 3 * i, from + 6 * i, 4);
    std::memcpy(to + 3 * (count - 1), from + 6 * (count - 1), 3);
}

} // namespace tov
