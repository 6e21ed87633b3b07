// Rows of bits to rows of values, and back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kernel/kernel.h"
#include "kernel/word.h"

namespace tov {

// The bits of a row from bit `bit` on, each as a value of 0 or 1.
template <class T>
inline void unpackBits(const uint8_t* row, ptrdiff_t bit, T* values, ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count; i++) {
        values[i] = static_cast<T>(row[(bit + i) >> 3] >> (7 - ((bit + i) & 7)) & 1);
    }
}

// The least significant bits of eight bytes, the first one's in front.
OWN_INLINE uint8_t firstBits(const uint8_t* flags) {
    uint64_t word = 0;
    std::memcpy(&word, flags, sizeof word);
    // The product moves each byte's bit to its place among the uppermost eight; no two terms meet there.
    constexpr uint64_t places = kFirstIsLow ? UINT64_C(0x8040201008040201) : UINT64_C(0x0102040810204081);
    return static_cast<uint8_t>((word * places) >> 56);
}

// Bit i of a row becomes test(s[i * step]), for `count` values, from the first byte's most significant bit on. Bits
// behind the last one stay. The row may begin where the values do, and otherwise is apart from them.
template <class T, class Test>
OWN_INLINE void packBits(Test test, int32_t count, const T* s, ptrdiff_t step, uint8_t* row) {
    constexpr ptrdiff_t kBlock = 64;
    uint8_t flags[kBlock];
    for (ptrdiff_t x = 0; x < count; x += kBlock) {
        const ptrdiff_t n = count - x < kBlock ? count - x : kBlock;
        const T* from = s + x * step;
        if (n == kBlock && step == 1) {
            OWN_EACH
            for (ptrdiff_t i = 0; i < kBlock; i++) flags[i] = test(from[i]) ? 1 : 0;
        } else {
            std::memset(flags, 0, sizeof flags);
            for (ptrdiff_t i = 0; i < n; i++) flags[i] = test(from[i * step]) ? 1 : 0;
        }
        uint8_t* bytes = row + (x >> 3);
        for (ptrdiff_t i = 0; i < n >> 3; i++) bytes[i] = firstBits(flags + 8 * i);
        if ((n & 7) == 0) continue;
        const auto kept = static_cast<uint8_t>(0xFF >> (n & 7));
        uint8_t& last = bytes[n >> 3];
        last = static_cast<uint8_t>((last & kept) | firstBits(flags + (n & ~7)));
    }
}

} // namespace tov
