// The scaled product of two samples, on which all integer alpha arithmetic rests.
#pragma once

#include <cstdint>

#include "kernel/kernel.h"

namespace tov {

// floor(x * y / max), max being the largest value of T, exactly and without a division. With p = x * y = q * max + r, r
// below max: (p >> s) + p + 1 is (q << s) + (p >> s) - q + r + 1, whose part behind (q << s) stays between 0 and max,
// since p >> s is q, or q - 1 with r below q.
//
// At 8 bits the same sum is the high half of (p + 1) * 257, as vectors have it in one step: with z = p + 1 that is
// (z + (z >> 8)) >> 8, and z >> 8 differs from p >> 8 only where p ends in 255 and the sum stays below the next
// multiple of 256 all the same.
OWN_INLINE uint16_t scaleMul8(uint16_t x, uint16_t y) {
    const auto z = static_cast<uint16_t>(x * y + 1);
    return static_cast<uint16_t>((z * uint32_t{257}) >> 16);
}
OWN_INLINE uint8_t ownScaleMul(uint8_t x, uint8_t y) { return static_cast<uint8_t>(scaleMul8(x, y)); }
OWN_INLINE uint16_t ownScaleMul(uint16_t x, uint16_t y) {
    const uint32_t p = uint32_t{x} * y;
    return static_cast<uint16_t>(((p >> 16) + p + 1) >> 16);
}

} // namespace tov
