// Sizes and rectangles as values; all region arithmetic is made of these.
#pragma once

#include <cstdint>

namespace tov {

struct Size {
    int32_t width;
    int32_t height;

    bool empty() const { return width <= 0 || height <= 0; }
};

inline int32_t smaller(int32_t a, int32_t b) { return a < b ? a : b; }

// The smaller width and the smaller height.
inline Size smaller(Size a, Size b) { return {smaller(a.width, b.width), smaller(a.height, b.height)}; }

struct Point {
    int32_t x;
    int32_t y;
};

// A rectangle as walks carry it. xEnd and yEnd are one past the right edge and the last row.
struct OwnRect {
    int32_t x;
    int32_t xEnd;
    int32_t y;
    int32_t yEnd;
    int32_t height;
    int32_t width;
};

} // namespace tov
