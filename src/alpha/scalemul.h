// The scaled product of two samples, on which all integer alpha arithmetic rests.
#pragma once

#include <cstdint>

#include "kernel/kernel.h"

namespace tov {

// floor(x * y / max), max being the largest value of T, exactly and without a division. With p = x * y = q * max + r, r
// below max: (p >> s) + p + 1 reaches (q << s) + (p >> s) - q + r + 1, whose part behind (q << s) stays between 0 and
// max, since p >> s is q or q - 1. The largest sum, 0xFE01 + 0xFE + 1 at 8 bits and 0xFFFE0001 + 0xFFFE + 1 at 16, fits
// twice the width.
OWN_INLINE uint8_t ownScaleMul(uint8_t x, uint8_t y) {
    const auto p = static_cast<uint16_t>(uint16_t{x} * uint16_t{y});
    return static_cast<uint8_t>(static_cast<uint16_t>((p >> 8) + p + 1) >> 8);
}
OWN_INLINE uint16_t ownScaleMul(uint16_t x, uint16_t y) {
    const uint32_t p = uint32_t{x} * y;
    return static_cast<uint16_t>(((p >> 16) + p + 1) >> 16);
}

} // namespace tov
