// The way of bitmap rows into image rows, a piece at a time: bytes of the bitmap to pixels, pixels to pixels, and
// pixels to values of the image.
#pragma once

#include <cstddef>
#include <cstdint>

#include "dib/dib.h"
#include "tov.h"

namespace tov {

// Blue, green, red and alpha as bitmaps order them, blue in the low bits.
using Pixel = uint32_t;

// Pixels between reading and writing; a multiple of 8, so that pieces begin at whole bytes in rows of bits.
constexpr int32_t kPiece = 1024;

// Rows from the top of the picture down: where the first one begins, and the way to the next.
struct Rows {
    uint8_t* first;
    ptrdiff_t step;

    uint8_t* at(int64_t y) const { return first + static_cast<ptrdiff_t>(y) * step; }
};
Rows rowsFromTop(uint8_t* memory, int64_t step, int64_t rows, bool bottomUp);
// Bytes from row to row of a packed image.
int64_t imageRowBytes(const TovImage& image);

// How one colour comes out of a pixel of 16 or 32 bits: to 8 bits, the low ones 0 where the mask has fewer.
struct ColorField {
    uint32_t mask;
    int32_t down;
    int32_t up;
};

// What readers read with.
struct PixelSource {
    ColorField fields[4]; // blue, green, red, alpha
    Pixel table[256];     // the colour table; black where it is shorter
};

// Reads `count` pixels of a row, at most kPiece, from column x on.
using ReadPixels = void (*)(const PixelSource& source, const uint8_t* row, int32_t x, int32_t count, Pixel* pixels);
// By bit count; null for one that has no reader. Bit counts up to 8 read through the table.
ReadPixels pixelReader(int32_t bitCount);

// Changes `count` pixels where they stand.
using TransformPixels = void (*)(Pixel* pixels, int32_t count);
// Finds the transform between the order of bitmaps and a channel sequence, null where pixels stay as they are; false
// for a sequence that has none. Gray is made of colours on the way to an image, and colours of gray on the way back.
bool pixelTransform(const char (&channelSeq)[4], bool toImage, TransformPixels& transform);

// What serves one form of image, in either data order.
template <class F>
struct ByForm {
    int32_t nChannels;
    uint32_t depth;
    F pixelOrder;
    F planeOrder;
};
// Null for a form that a table doesn't have.
template <class F, size_t N>
F serving(const ByForm<F> (&forms)[N], int32_t nChannels, uint32_t depth, int32_t dataOrder) {
    for (const ByForm<F>& form : forms) {
        if (form.nChannels != nChannels || form.depth != depth) continue;
        return dataOrder == TOV_DATA_ORDER_PLANE ? form.planeOrder : form.pixelOrder;
    }
    return nullptr;
}

// Writes `count` pixels to a row, from column x on. channelStride, in bytes, counts in plane order alone.
using WritePixels = void (*)(const Pixel* pixels, int32_t count, uint8_t* row, int32_t x, ptrdiff_t channelStride);
// Null for a form of image that has no writer.
WritePixels pixelWriter(int32_t nChannels, uint32_t depth, int32_t dataOrder);

} // namespace tov
