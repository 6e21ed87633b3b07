// The way of image rows into bitmap rows, a piece at a time.
#pragma once

#include "dib/kernels.h"
#include "dib/nearest.h"

namespace tov {

// Reads `count` pixels of a row, at most kPiece, from column x on. channelStride, in bytes, counts in plane order
// alone.
using ReadImage = void (*)(const uint8_t* row, int32_t x, int32_t count, ptrdiff_t channelStride, Pixel* pixels);
// Null for a form of image that has no reader.
ReadImage imageReader(int32_t nChannels, uint32_t depth, int32_t dataOrder);

// How one colour goes into a pixel of 16 or 32 bits: shifted up and down, then masked.
struct MaskField {
    uint32_t mask;
    int32_t up;
    int32_t down;
};

// What writers write with.
struct PixelTarget {
    MaskField fields[4]; // blue, green, red, alpha
    NearestEntry nearest;
};

// Writes `count` pixels to a row, from column x on.
using WriteBitmap = void (*)(PixelTarget& target, const Pixel* pixels, int32_t count, uint8_t* row, int32_t x);
// By bit count; null for one that has no writer.
WriteBitmap bitmapWriter(int32_t bitCount);

} // namespace tov
