// Rows of nearest pixels whose positions follow a simple rule: loops for those, in which no position is looked up.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kernel/word.h"

namespace tov {

// Bytes of a row from which on it pays to ask for the beginning of the next one.
constexpr size_t kLongRow = 3072;

// A part of a row in which each column of the source stands twice.
struct Pairs {
    int32_t first;
    int32_t count; // an even number
};

// The pairs around the middle of a table of columns. Few are none: tables without such a rule have some as well.
inline Pairs pairsIn(const int32_t* columns, int32_t count) {
    constexpr int32_t few = 32;
    int32_t first = count / 2;
    if (first > 0 && columns[first - 1] == columns[first]) first--;
    int32_t end = first;
    while (end + 1 < count && columns[end] == columns[first] + (end - first) / 2 && columns[end + 1] == columns[end]) {
        end += 2;
    }
    while (first > 1 && columns[first - 1] == columns[first] - 1 && columns[first - 2] == columns[first - 1]) {
        first -= 2;
    }
    return end - first < few ? Pairs{0, 0} : Pairs{first, end - first};
}

// Takes the pixels of a row twice each, Bytes bytes at a time. Each line of the destination asks for the next one.
template <size_t Bytes>
OWN_INLINE void takeTwice(const void* from, void* to, ptrdiff_t nPairs) {
    using Pixel = typename AnyBytes<Bytes>::Type;
    constexpr ptrdiff_t line = 64 / (2 * ptrdiff_t{Bytes});
    const Pixel* s = static_cast<const Pixel*>(from);
    Pixel* d = static_cast<Pixel*>(to);
    const auto take = [=](ptrdiff_t begin, ptrdiff_t end) OWN_INLINE_LAMBDA {
        OWN_EACH
        for (ptrdiff_t i = begin; i < end; i++) {
            d[2 * i] = s[i];
            d[2 * i + 1] = s[i];
        }
    };
    ptrdiff_t i = 0;
    for (; i + line <= nPairs; i += line) {
        prefetch<64>(d + 2 * (i + line));
        take(i, i + line);
    }
    take(i, nPairs);
}

// The same for pixels of three bytes, each but the last by four bytes, whose fourth is written over.
template <>
OWN_INLINE void takeTwice<3>(const void* from, void* to, ptrdiff_t nPairs) {
    const uint8_t* s = static_cast<const uint8_t*>(from);
    uint8_t* d = static_cast<uint8_t*>(to);
    for (ptrdiff_t i = 0; i + 1 < nPairs; i++, s += 3, d += 6) {
        std::memcpy(d, s, 4);
        std::memcpy(d + 3, s, 4);
    }
    if (nPairs == 0) return;
    std::memcpy(d, s, 3);
    std::memcpy(d + 3, s, 3);
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
