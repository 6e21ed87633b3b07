// Dithering: values are rounded to fewer levels in place, and what is lost is spread over their neighbours.
#pragma once

#include <cstddef>

#include "reduce/reduce.h"
#include "tov.h"

namespace tov {

// A rectangle of an image, or of a tile of one, from its first pixel on; rowStep in bytes.
struct DitherRect {
    uint8_t* data;
    int32_t width;
    int32_t height;
    ptrdiff_t rowStep;
    int32_t levels; // high bits that stay: 0 to the depth
    int32_t tileCol;
    int32_t tileRow;
    int32_t tileHeight; // rows of a plane
};

// One line of one tile, cut to the image. The tiles to the right and below may be null. err has an array for each
// channel, of tileWidth entries and the filter's margins.
struct DitherLine {
    uint8_t* tile;
    uint8_t* right;
    uint8_t* below;
    int32_t width;
    int32_t height;
    ptrdiff_t rowStep;
    int32_t levels;
    int32_t line;
    int32_t tileCol;
    int32_t tileRow;
    int32_t tileHeight;
    int32_t* err;
    int32_t tileWidth;
};

// Where the channels that are dithered lie: one in a gray image, the three colours of a coloured one. An image that
// tells of neither has none, and neither has one that tells of colours and lacks channels for them.
struct DitherChannels {
    DitherChannels(const TovImage& image, ptrdiff_t rowStep, int32_t planeRows);

    ptrdiff_t offset(int32_t channel) const { return first + channel * channelStep; }
    // One channel alone; colours are counted from red on.
    DitherChannels only(int32_t channel) const;

    bool gray = false;
    bool colors = false;
    bool blueFirst = false;
    int32_t count = 0;
    ptrdiff_t first = 0;       // in bytes
    ptrdiff_t channelStep = 0; // in bytes
    ptrdiff_t pixelStep = 1;   // in elements
};

// Dithers a rectangle of an 8U or 16U image. What isn't served, and arrays of errors that can't be had, are reported;
// the rectangle stays as it is then.
void own_dither_rect(const TovImage& image, int32_t ditherType, const DitherRect& rect);

// Dithers a line of a tile and hands its errors on to the tiles to the right and below.
void own_dither_tiled_errprop(const TovImage& image, int32_t ditherType, const DitherLine& line);

// The kernels that spread errors: of one channel, or of the three of a pixel.
using DitherKernel = void (*)(const DitherChannels& channels, const DitherRect& rect, int32_t ditherType);
DitherKernel ditherKernel(uint32_t depth, int32_t ditherType, bool colors);
void ditherTiledLine(const TovImage& image, int32_t ditherType, const DitherChannels& channels, const DitherLine& line);

// The parts of these that stand with each filter: kernels by depth (8 or 16 bits) and channels, one line of one tile.
extern const DitherKernel kFloydKernels[2][2];
extern const DitherKernel kWideKernels[2][2];
void floydTiledLine(const TovImage& image, const DitherChannels& channels, const DitherLine& line);
void wideTiledLine(const TovImage& image, int32_t ditherType, const DitherChannels& channels, const DitherLine& line);

void ditherOrdered(uint32_t depth, const DitherChannels& channels, const DitherRect& rect);

} // namespace tov
