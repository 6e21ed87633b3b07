// Values and words at any address: 32 bits for runs that go by words whatever the values are, and the bytes of 64 bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kernel/kernel.h"

namespace tov {

// Whether the byte of the lowest address holds a word's lowest bits.
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
constexpr bool kFirstIsLow = false;
#else
constexpr bool kFirstIsLow = true;
#endif

// Byte k of a word as it lies in memory, 0 to 7.
OWN_INLINE uint8_t byteInMemory(uint64_t word, int32_t k) {
    return static_cast<uint8_t>(word >> 8 * (kFirstIsLow ? k : 7 - k));
}

// How many bytes of a word in memory come before the first one that isn't 0; the word isn't 0.
OWN_INLINE int32_t leadingZeroBytes(uint64_t word) {
#if defined(__GNUC__)
    return (kFirstIsLow ? __builtin_ctzll(word) : __builtin_clzll(word)) >> 3;
#else
    int32_t n = 0;
    while (byteInMemory(word, n) == 0) n++;
    return n;
#endif
}

// The highest bits of those bytes of a word that are 0.
OWN_INLINE uint64_t zeroBytes(uint64_t word) {
    constexpr uint64_t low = UINT64_C(0x7F7F7F7F7F7F7F7F);
    return ~(((word & low) + low) | word | low);
}

// Value i of a row that may begin anywhere, at an odd address, too. g++ vectorises no copies by memcpy, and holds
// packed records that lie across each other for disjoint; clang forgets in templates that a type may lie anywhere.
#if defined(__GNUC__) && !defined(__clang__)
template <class T>
struct Unaligned {
    using Type __attribute__((aligned(1), may_alias)) = T;
};
template <class T>
OWN_INLINE T valueAt(const T* row, ptrdiff_t i) {
    if constexpr (alignof(T) == 1) {
        return row[i];
    } else {
        const typename Unaligned<T>::Type* anywhere = reinterpret_cast<const typename Unaligned<T>::Type*>(row);
        return anywhere[i];
    }
}
template <class T>
OWN_INLINE void setValueAt(T* row, ptrdiff_t i, T value) {
    if constexpr (alignof(T) == 1) {
        row[i] = value;
    } else {
        typename Unaligned<T>::Type* anywhere = reinterpret_cast<typename Unaligned<T>::Type*>(row);
        anywhere[i] = value;
    }
}
#else
template <class T>
OWN_INLINE T valueAt(const T* row, ptrdiff_t i) {
    T value;
    std::memcpy(&value, row + i, sizeof value);
    return value;
}
template <class T>
OWN_INLINE void setValueAt(T* row, ptrdiff_t i, T value) {
    std::memcpy(row + i, &value, sizeof value);
}
#endif

// Two and four bytes at any address as a number. In kernels g++ makes wider vectors of these than of copies by
// memcpy. Name them in declarations: `auto` forgets that they may lie anywhere.
#if defined(__GNUC__)
using Bytes2 __attribute__((aligned(1), may_alias)) = uint16_t;
using Bytes4 __attribute__((aligned(1), may_alias)) = uint32_t;
#else
using Bytes2 = uint16_t;
using Bytes4 = uint32_t;
#endif

// A value of so many bytes at any address, for templates.
template <size_t Bytes>
struct AnyBytes;
template <>
struct AnyBytes<1> {
    using Type = uint8_t;
};
template <>
struct AnyBytes<2> {
    using Type = Bytes2;
};
template <>
struct AnyBytes<4> {
    using Type = Bytes4;
};

struct Word {
    Word() = default;
    OWN_INLINE explicit Word(uint32_t value) { std::memcpy(bytes, &value, sizeof value); }
    // A word stands for its value wherever a formula takes one. NOLINTNEXTLINE(google-explicit-constructor)
    OWN_INLINE operator uint32_t() const {
        uint32_t value = 0;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }

    uint8_t bytes[4];
};

} // namespace tov
