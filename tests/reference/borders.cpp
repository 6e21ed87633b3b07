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

// The coordinate that a mode other than the constant reads at c on an axis of the given length, found by walking.
static int32_t extended(int32_t c, int32_t length, int32_t mode) {
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

uint32_t borderedBits(const TestImage& image, int32_t x, int32_t y, int c) {
    const int32_t width = image.header.width, height = image.header.height;
    const int side = y < 0 ? TOV_SIDE_TOP : y >= height ? TOV_SIDE_BOTTOM : x < 0 ? TOV_SIDE_LEFT : TOV_SIDE_RIGHT;
    const int32_t mode = image.header.borderMode[side] & 3;
    if (x < 0 || y < 0 || x >= width || y >= height) {
        if (mode == TOV_BORDER_CONSTANT) return constantBits(image.header.borderConst[side], image.header.depth);
        x = extended(x, width, mode);
        y = extended(y, height, mode);
    }
    const Place place = placeOf(image, x, y, c);
    return readBits(place.address, place.bit, image.header.depth);
}

} // namespace tovtest
