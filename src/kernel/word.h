// A 32-bit word at any address, for runs that go by words whatever the values are.
#pragma once

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

// Two and four bytes at any address as a number. In kernels g++ makes wider vectors of these than of copies by
// memcpy. Name them in declarations: `auto` forgets that they may lie anywhere.
#if defined(__GNUC__)
using Bytes2 __attribute__((aligned(1), may_alias)) = uint16_t;
using Bytes4 __attribute__((aligned(1), may_alias)) = uint32_t;
#else
using Bytes2 = uint16_t;
using Bytes4 = uint32_t;
#endif

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
