// Device-independent bitmaps in memory: what their headers say, their run-length streams, and their way into images.
#pragma once

#include <cstdint>

#include "core/context.h"
#include "core/memory.h"
#include "tov.h"

namespace tov {

// A caller's bitmap. The header is a copy: in a file that was read into memory it may stand at any address.
struct Bitmap {
    BITMAPINFOHEADER header;
    uint8_t* start; // of the caller's header
};

constexpr uint32_t kBitmapRGB = 0;
constexpr uint32_t kBitmapRLE8 = 1;
constexpr uint32_t kBitmapRLE4 = 2;
constexpr uint32_t kBitmapMasks = 3;

// True when biSize is that of a BITMAPINFOHEADER. Nothing behind biSize is read, so that shorter headers are safe.
bool hasInfoHeader(const BITMAPINFOHEADER* dib);
Bitmap bitmapAt(BITMAPINFOHEADER* dib);

// The checks of planes, compression with its bit count, and height that all bitmap operations share, in this order.
// False after a report.
bool acceptsBitmap(const Reporter& report, const BITMAPINFOHEADER& header);

// The absolute value of biHeight, which may have no positive counterpart in its own width.
int64_t bitmapRows(const BITMAPINFOHEADER& header);

// Bytes of a row of `width` elements of `bits` bits, rounded up to a multiple of `align`; 0 for none.
int64_t ownDIBRowBytes(int64_t width, int64_t bits, int32_t align);
// Bytes from row to row of a bitmap.
int64_t bitmapRowBytes(const BITMAPINFOHEADER& header);

// Four-byte entries between header and pixels.
uint32_t ownPaletteSize(const BITMAPINFOHEADER& header);
uint8_t* ownDIBPixels(const Bitmap& bitmap);

// True when the colour table is the ramp from black to white in equal steps. A single entry is no ramp.
bool ownIsGrayPalette(const Bitmap& bitmap);

// A mask's trailing zeros and the run of ones above them.
struct MaskShift {
    int32_t shift;
    int32_t width;
};
// mask must not be 0.
MaskShift ownMaskShift(uint32_t mask);

// The masks of a bitmap of 16 or 32 bits. 16 bits have no alpha, its mask is 0.
struct ColorMasks {
    uint32_t red;
    uint32_t green;
    uint32_t blue;
    uint32_t alpha;

    // A colour without bits has no place in a pixel.
    bool complete() const { return red != 0 && green != 0 && blue != 0; }
};
// alpha is 0, too, where a colour's mask is.
ColorMasks bitmapMasks(const Bitmap& bitmap);
// The same as blue, green, red and alpha; false after a report where a colour's mask is 0.
bool acceptsMasks(const Reporter& report, const Bitmap& bitmap, uint32_t (&inOrder)[4]);

// The rows of a compressed bitmap, bitmapRowBytes apart, in a new block; null after a report. Pixels that the stream
// leaves out are 0. The stream has no length: the block of the bitmap must hold it up to its end-of-bitmap code or its
// first fault.
AlignedBlock<uint8_t> ownRLEDecompress(const Bitmap& bitmap);

// Replaces the pixel array of a bitmap by its stream, in the form that biCompression names, and sets biSizeImage; or
// sets biCompression to 0 where the stream is no smaller. False after a report: nothing has changed then.
bool ownRLECompress(BITMAPINFOHEADER* dib);

// Fills an image from a bitmap that is no larger, from the top left pixel on; an image without pixels gets them.
// channelSeq decides about gray, BGR and RGB. nChannels may be 1 (depths 1U, 8U, 16U), 3 or 4 (8U, 16U). The row step
// is that of a packed image, widthStep doesn't count.
//
// Does nothing when the status is negative from earlier. A mask of 0 is TOV_STS_BAD_ARG; an index past the end of the
// colour table is black. A bitmap without columns or rows writes nothing.
void tovConvertFromDIB(BITMAPINFOHEADER* dib, TovImage* image);

} // namespace tov
