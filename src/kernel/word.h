// A 32-bit word at any address, for runs that go by words whatever the values are.
#pragma once

#include <cstdint>

namespace tov {

#if defined(__GNUC__)
struct __attribute__((packed, may_alias)) Word {
#else
#pragma pack(push, 1)
struct Word {
#endif
    Word() = default;
    explicit Word(uint32_t value) : bits(value) {}
    operator uint32_t() const { return bits; }

    uint32_t bits;
};
#if !defined(__GNUC__)
#pragma pack(pop)
#endif

} // namespace tov
