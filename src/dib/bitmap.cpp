// What the header of a bitmap says: its faults, its sizes and addresses, its colour table and masks.
#include <cstring>

#include "core/lifecycle.h"
#include "dib/dib.h"

namespace tov {

namespace {

uint32_t readWord(const uint8_t* address) {
    uint32_t word = 0;
    std::memcpy(&word, address, sizeof word);
    return word;
}

// The bits above all colours, by the colour that begins highest (the wider one of two). Colours that reach the top bit
// leave none, and then alpha is the whole pixel.
uint32_t alphaAbove(const ColorMasks& masks) {
    MaskShift highest = {0, 0};
    for (const uint32_t mask : {masks.red, masks.green, masks.blue}) {
        const MaskShift at = ownMaskShift(mask);
        if (at.shift > highest.shift || (at.shift == highest.shift && at.width > highest.width)) highest = at;
    }
    const int32_t end = highest.shift + highest.width;
    return end < 32 ? UINT32_MAX << end : UINT32_MAX;
}

} // namespace

bool hasInfoHeader(const BITMAPINFOHEADER* dib) {
    return readWord(reinterpret_cast<const uint8_t*>(dib)) == sizeof(BITMAPINFOHEADER);
}

Bitmap bitmapAt(BITMAPINFOHEADER* dib) {
    Bitmap bitmap;
    bitmap.start = reinterpret_cast<uint8_t*>(dib);
    std::memcpy(&bitmap.header, bitmap.start, sizeof bitmap.header);
    return bitmap;
}

bool acceptsBitmap(const Reporter& report, const BITMAPINFOHEADER& header) {
    const uint32_t compression = header.biCompression;
    const bool runLengths = compression == kBitmapRLE8 || compression == kBitmapRLE4;
    return report.passes({
        {header.biPlanes != 1, "(dib->biPlanes != 1)"},
        {compression > kBitmapMasks,
         "(dib->biCompression != 0) && (dib->biCompression != 1) && "
         "(dib->biCompression != 2) && (dib->biCompression != 3)"},
        {header.biBitCount != 8 && compression == kBitmapRLE8, "(dib->biBitCount != 8) && (dib->biCompression == 1)"},
        {header.biBitCount != 4 && compression == kBitmapRLE4, "(dib->biBitCount != 4) && (dib->biCompression == 2)"},
        {header.biHeight < 0 && runLengths,
         "(dib->biHeight < 0) && ( (dib->biCompression == 1) || (dib->biCompression == 2) )"},
    });
}

int64_t bitmapRows(const BITMAPINFOHEADER& header) {
    const int64_t height = header.biHeight;
    return height < 0 ? -height : height;
}

int64_t ownDIBRowBytes(int64_t width, int64_t bits, int32_t align) {
    return width > 0 ? alignUp(width * bits, int64_t{align} * 8) / 8 : 0;
}

int64_t bitmapRowBytes(const BITMAPINFOHEADER& header) { return ownDIBRowBytes(header.biWidth, header.biBitCount, 4); }

uint32_t ownPaletteSize(const BITMAPINFOHEADER& header) {
    switch (header.biBitCount) {
    case 1:
    case 4:
    case 8: return header.biClrUsed != 0 ? header.biClrUsed : uint32_t{1} << header.biBitCount;
    case 16:
    case 32:
        if (header.biCompression == kBitmapRGB) return 0;
        return header.biCompression == kBitmapMasks ? 3 : header.biClrUsed;
    case 24: return 0;
    default: return header.biClrUsed;
    }
}

uint8_t* ownDIBPixels(const Bitmap& bitmap) {
    const uint64_t offset = uint64_t{bitmap.header.biSize} + uint64_t{4} * ownPaletteSize(bitmap.header);
    return bitmap.start + static_cast<ptrdiff_t>(offset);
}

bool ownIsGrayPalette(const Bitmap& bitmap) {
    const uint64_t n = ownPaletteSize(bitmap.header);
    if (n < 2) return false;
    const uint8_t* entry = bitmap.start + bitmap.header.biSize;
    for (uint64_t i = 0; i < n; i++, entry += 4) {
        const uint64_t gray = 255 * i / (n - 1);
        if (entry[0] != gray || entry[1] != gray || entry[2] != gray) return false;
    }
    return true;
}

MaskShift ownMaskShift(uint32_t mask) {
    MaskShift at = {0, 0};
    for (; (mask & 1) == 0; mask >>= 1) at.shift++;
    for (; (mask & 1) != 0; mask >>= 1) at.width++;
    return at;
}

ColorMasks bitmapMasks(const Bitmap& bitmap) {
    const bool wide = bitmap.header.biBitCount == 32;
    if (bitmap.header.biCompression != kBitmapMasks) {
        return wide ? ColorMasks{0xFF0000, 0xFF00, 0xFF, 0xFF000000} : ColorMasks{0x7C00, 0x03E0, 0x001F, 0};
    }
    const uint8_t* words = bitmap.start + bitmap.header.biSize;
    const uint32_t used = wide ? UINT32_MAX : UINT16_MAX;
    ColorMasks masks = {readWord(words) & used, readWord(words + 4) & used, readWord(words + 8) & used, 0};
    if (wide && masks.complete()) masks.alpha = alphaAbove(masks);
    return masks;
}

bool acceptsMasks(const Reporter& report, const Bitmap& bitmap, uint32_t (&inOrder)[4]) {
    const ColorMasks masks = bitmapMasks(bitmap);
    inOrder[0] = masks.blue;
    inOrder[1] = masks.green;
    inOrder[2] = masks.red;
    inOrder[3] = masks.alpha;
    return report.passes({{!masks.complete(), "dib->biCompression == 3 && mask == 0"}});
}

} // namespace tov
