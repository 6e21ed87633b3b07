// The four border modes, found by walking.
#include "reference/borders.h"

#include <algorithm>
#include <cstring>

namespace tovtest {

uint32_t constantBits(int32_t value, uint32_t depth) {
    uint32_t bits = static_cast<uint32_t>(value);
    if (depth == TOV_DEPTH_32F) {
        const auto real = static_cast<float>(value);
        std::memcpy(&bits, &real, 4);
    }
    const int count = static_cast<int>(depth & 0x7FFFFFFF);
    return count == 32 ? bits : bits & ((1u << count) - 1);
}

int32_t extended(int32_t c, int32_t length, int32_t mode) {
    if (mode == TOV_BORDER_REPLICATE) return std::clamp(c, 0, length - 1);
    int32_t at = 0, step = 1;
    for (int32_t k = 0; k != c;) {
        const bool up = c > 0;
        k += up ? 1 : -1;
        if (mode == TOV_BORDER_WRAP) {
            at = up ? (at + 1 == length ? 0 : at + 1) : (at == 0 ? length - 1 : at - 1);
        } else {
            if (k == -1) { // the mirror stands between -1 and 0
                step = 1;
            } else if (at + step < 0 || at + step >= length) {
                step = -step;
            } else {
                at += step;
            }
        }
    }
    return at;
}

int sideOf(const TestImage& image, int32_t x, int32_t y) {
    if (y < 0) return TOV_SIDE_TOP;
    if (y >= image.header.height) return TOV_SIDE_BOTTOM;
    return x < 0 ? TOV_SIDE_LEFT : x >= image.header.width ? TOV_SIDE_RIGHT : -1;
}

uint32_t borderedBits(const TestImage& image, int32_t x, int32_t y, int c) {
    if (const int side = sideOf(image, x, y); side >= 0) {
        const int32_t mode = image.header.borderMode[side] & 3;
        if (mode == TOV_BORDER_CONSTANT) return constantBits(image.header.borderConst[side], image.header.depth);
        x = extended(x, image.header.width, mode);
        y = extended(y, image.header.height, mode);
    }
    const Place place = placeOf(image, x, y, c);
    return readBits(place.address, place.bit, image.header.depth);
}

} // namespace tovtest
