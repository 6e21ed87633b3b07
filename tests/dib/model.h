// Bitmaps as their parts, drawn at random, and naive models of what becomes of them, a pixel at a time.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "support/block.h"
#include "support/rng.h"
#include "tov.h"

namespace tovtest {

struct Dib {
    BITMAPINFOHEADER header{};
    std::vector<uint32_t> words; // colour table or masks
    std::vector<uint8_t> pixels; // the array, without what follows the last row's pixels, or a stream

    int64_t rows() const { return header.biHeight < 0 ? -int64_t{header.biHeight} : header.biHeight; }
    int64_t step() const { return (int64_t{header.biWidth} * header.biBitCount + 31) / 32 * 4; }
    // In one block that ends at a protected page, so that the header stands at any address.
    Block block() const;
};
BITMAPINFOHEADER* headerIn(const Block& block);

Dib plainDib(int32_t bits, int32_t width, int32_t height, uint32_t compression = 0);
// Any bitmap that is served; masks may overlap and have holes.
Dib drawDib(Rng& rng);

// Blue, green, red, alpha.
using Bytes4 = std::array<uint8_t, 4>;
// The pixel in column x of the y-th row from the top of the picture. Streams must have been decoded.
Bytes4 pixelOf(const Dib& dib, int32_t x, int64_t y);
bool hasGrayTable(const Dib& dib);

// What a stream holds, or why not; `used` bytes of it have been read.
struct Decoded {
    std::string fault; // as in "mismatch biWidth"; empty for none
    std::vector<uint8_t> pixels;
    std::size_t used = 0;
};
Decoded decode(const Dib& dib);
// The bitmap with its rows in place of its stream.
Dib decoded(const Dib& dib);
// The stream of an array, end codes included.
std::vector<uint8_t> encode(const Dib& dib);

// Of a bitmap without compression: the entry, or the masked word, that stands for a pixel in its place.
void putPixel(Dib& dib, int32_t x, int64_t y, const Bytes4& pixel);
// The tables of fixed and of median-cut palettes. Pixels are blue, green, red.
std::vector<uint32_t> fixedTable(uint32_t entries, bool gray);
std::vector<uint32_t> medianCut(const std::vector<Bytes4>& pixels, bool gray, int32_t bits);

// A stream of any codes that fits the bitmap.
std::vector<uint8_t> drawStream(const Dib& dib, Rng& rng);

} // namespace tovtest
