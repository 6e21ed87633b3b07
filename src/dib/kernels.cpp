// Readers, transforms and writers of pixels between bitmaps and images.
#include "dib/kernels.h"

#include <cstring>

#include "kernel/kernel.h"

namespace tov {

namespace {

OWN_KERNEL void ownReadIndex1(const PixelSource& source, const uint8_t* row, int32_t x, int32_t count, Pixel* pixels) {
    row += x >> 3;
    for (int32_t i = 0; i < count; i += 8) {
        const uint32_t bits = *row++;
        const int32_t n = count - i < 8 ? count - i : 8;
        for (int32_t k = 0; k < n; k++) pixels[i + k] = source.table[(bits >> (7 - k)) & 1];
    }
}

OWN_KERNEL void ownReadIndex4(const PixelSource& source, const uint8_t* row, int32_t x, int32_t count, Pixel* pixels) {
    row += x >> 1;
    for (int32_t i = 0; i + 1 < count; i += 2) {
        const uint8_t pair = *row++;
        pixels[i] = source.table[pair >> 4];
        pixels[i + 1] = source.table[pair & 15];
    }
    if ((count & 1) != 0) pixels[count - 1] = source.table[*row >> 4];
}

OWN_KERNEL void ownReadIndex8(const PixelSource& source, const uint8_t* row, int32_t x, int32_t count, Pixel* pixels) {
    row += x;
    for (int32_t i = 0; i < count; i++) pixels[i] = source.table[row[i]];
}

OWN_KERNEL void ownReadBytes3(const PixelSource&, const uint8_t* row, int32_t x, int32_t count, Pixel* pixels) {
    row += ptrdiff_t{x} * 3;
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        pixels[i] = row[i * 3] | uint32_t{row[i * 3 + 1]} << 8 | uint32_t{row[i * 3 + 2]} << 16;
    }
}

OWN_INLINE uint32_t valueOf(const ColorField& field, uint32_t word) {
    return (((word & field.mask) >> field.down) << field.up) & UINT8_MAX;
}

template <class Word>
OWN_INLINE void readWords(const PixelSource& source, const uint8_t* row, int32_t x, int32_t count, Pixel* pixels) {
    row += ptrdiff_t{x} * static_cast<ptrdiff_t>(sizeof(Word));
    const ColorField blue = source.fields[0];
    const ColorField green = source.fields[1];
    const ColorField red = source.fields[2];
    const ColorField alpha = source.fields[3];
    OWN_EACH
    for (int32_t i = 0; i < count; i++) {
        Word word;
        std::memcpy(&word, row + i * sizeof(Word), sizeof(Word));
        pixels[i] =
            valueOf(blue, word) | valueOf(green, word) << 8 | valueOf(red, word) << 16 | valueOf(alpha, word) << 24;
    }
}

OWN_KERNEL void ownReadWords16(const PixelSource& source, const uint8_t* row, int32_t x, int32_t count, Pixel* pixels) {
    readWords<uint16_t>(source, row, x, count, pixels);
}
OWN_KERNEL void ownReadWords32(const PixelSource& source, const uint8_t* row, int32_t x, int32_t count, Pixel* pixels) {
    readWords<uint32_t>(source, row, x, count, pixels);
}

// Bits of a last byte that are no pixel's keep their values.
OWN_KERNEL void ownWriteBits(const Pixel* pixels, int32_t count, uint8_t* row, int32_t x, ptrdiff_t) {
    row += x >> 3;
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        uint32_t bits = 0;
        for (int32_t k = 0; k < 8; k++) bits = bits << 1 | ((pixels[i + k] >> 23) & 1);
        *row++ = static_cast<uint8_t>(bits);
    }
    for (int32_t k = 0; i + k < count; k++) {
        const uint32_t bit = uint32_t{128} >> k;
        const uint32_t rest = *row & ~bit;
        *row = static_cast<uint8_t>((pixels[i + k] & 0x800000) != 0 ? rest | bit : rest);
    }
}

// One byte of a pixel as a value: the high bits of wider ones.
template <class T>
OWN_INLINE T valueAt(Pixel pixel, int32_t byte) {
    return static_cast<T>(((pixel >> (8 * byte)) & UINT8_MAX) << (8 * (sizeof(T) - 1)));
}

template <class T>
OWN_INLINE void writePlane(const Pixel* pixels, int32_t count, T* values, int32_t byte) {
    OWN_EACH
    for (int32_t i = 0; i < count; i++) values[i] = valueAt<T>(pixels[i], byte);
}

template <class T>
OWN_INLINE T* valuesFrom(uint8_t* row, ptrdiff_t first) {
    return reinterpret_cast<T*>(row) + first;
}

template <class T, int32_t NChannels>
OWN_INLINE void writePlanes(const Pixel* pixels, int32_t count, uint8_t* row, int32_t x, ptrdiff_t channelStride) {
    for (int32_t c = 0; c < NChannels; c++) {
        writePlane(pixels, count, valuesFrom<T>(row + c * channelStride, x), c);
    }
}

template <class T, int32_t NChannels>
OWN_INLINE void writeInterleaved(const Pixel* pixels, int32_t count, uint8_t* row, int32_t x) {
    T* values = valuesFrom<T>(row, ptrdiff_t{x} * NChannels);
    OWN_EACH
    for (int32_t i = 0; i < count; i++) {
        for (int32_t c = 0; c < NChannels; c++) values[i * NChannels + c] = valueAt<T>(pixels[i], c);
    }
}

OWN_KERNEL void ownWriteGrayU8(const Pixel* pixels, int32_t count, uint8_t* row, int32_t x, ptrdiff_t) {
    writePlane(pixels, count, valuesFrom<uint8_t>(row, x), 2);
}
OWN_KERNEL void ownWriteGrayU16(const Pixel* pixels, int32_t count, uint8_t* row, int32_t x, ptrdiff_t) {
    writePlane(pixels, count, valuesFrom<uint16_t>(row, x), 2);
}
OWN_KERNEL void ownWritePixels3U8(const Pixel* pixels, int32_t count, uint8_t* row, int32_t x, ptrdiff_t) {
    writeInterleaved<uint8_t, 3>(pixels, count, row, x);
}
OWN_KERNEL void ownWritePlanes3U8(const Pixel* pixels, int32_t count, uint8_t* row, int32_t x, ptrdiff_t stride) {
    writePlanes<uint8_t, 3>(pixels, count, row, x, stride);
}
OWN_KERNEL void ownWritePixels3U16(const Pixel* pixels, int32_t count, uint8_t* row, int32_t x, ptrdiff_t) {
    writeInterleaved<uint16_t, 3>(pixels, count, row, x);
}
OWN_KERNEL void ownWritePlanes3U16(const Pixel* pixels, int32_t count, uint8_t* row, int32_t x, ptrdiff_t stride) {
    writePlanes<uint16_t, 3>(pixels, count, row, x, stride);
}
OWN_KERNEL void ownWritePixels4U8(const Pixel* pixels, int32_t count, uint8_t* row, int32_t x, ptrdiff_t) {
    writeInterleaved<uint8_t, 4>(pixels, count, row, x);
}
OWN_KERNEL void ownWritePlanes4U8(const Pixel* pixels, int32_t count, uint8_t* row, int32_t x, ptrdiff_t stride) {
    writePlanes<uint8_t, 4>(pixels, count, row, x, stride);
}
OWN_KERNEL void ownWritePixels4U16(const Pixel* pixels, int32_t count, uint8_t* row, int32_t x, ptrdiff_t) {
    writeInterleaved<uint16_t, 4>(pixels, count, row, x);
}
OWN_KERNEL void ownWritePlanes4U16(const Pixel* pixels, int32_t count, uint8_t* row, int32_t x, ptrdiff_t stride) {
    writePlanes<uint16_t, 4>(pixels, count, row, x, stride);
}

OWN_KERNEL void ownPixelsToGray(Pixel* pixels, int32_t count) {
    OWN_EACH
    for (int32_t i = 0; i < count; i++) {
        const Pixel p = pixels[i];
        const uint32_t gray = (77 * (p >> 16 & UINT8_MAX) + 151 * (p >> 8 & UINT8_MAX) + 28 * (p & UINT8_MAX)) >> 8;
        pixels[i] = (p & 0xFF00FFFF) | gray << 16;
    }
}

OWN_KERNEL void ownPixelsToRGB(Pixel* pixels, int32_t count) {
    OWN_EACH
    for (int32_t i = 0; i < count; i++) {
        const Pixel p = pixels[i];
        pixels[i] = (p & 0xFF00FF00) | (p >> 16 & UINT8_MAX) | (p & UINT8_MAX) << 16;
    }
}

OWN_KERNEL void ownPixelsFromGray(Pixel* pixels, int32_t count) {
    OWN_EACH
    for (int32_t i = 0; i < count; i++) pixels[i] = (pixels[i] >> 16 & UINT8_MAX) * 0x10101;
}

struct Transform {
    char channelSeq[5];
    TransformPixels toImage;
    TransformPixels toBitmap;
};
constexpr Transform kTransforms[] = {{"G", ownPixelsToGray, ownPixelsFromGray},
                                     {"GRAY", ownPixelsToGray, ownPixelsFromGray},
                                     {"BGR", nullptr, nullptr},
                                     {"BGRA", nullptr, nullptr},
                                     {"RGB", ownPixelsToRGB, ownPixelsToRGB},
                                     {"RGBA", ownPixelsToRGB, ownPixelsToRGB}};

constexpr ByForm<WritePixels> kWriters[] = {
    {1, TOV_DEPTH_1U, ownWriteBits, ownWriteBits},
    {1, TOV_DEPTH_8U, ownWriteGrayU8, ownWriteGrayU8},
    {1, TOV_DEPTH_16U, ownWriteGrayU16, ownWriteGrayU16},
    {3, TOV_DEPTH_8U, ownWritePixels3U8, ownWritePlanes3U8},
    {3, TOV_DEPTH_16U, ownWritePixels3U16, ownWritePlanes3U16},
    {4, TOV_DEPTH_8U, ownWritePixels4U8, ownWritePlanes4U8},
    {4, TOV_DEPTH_16U, ownWritePixels4U16, ownWritePlanes4U16},
};

} // namespace

Rows rowsFromTop(uint8_t* memory, int64_t step, int64_t rows, bool bottomUp) {
    const auto bytes = static_cast<ptrdiff_t>(step);
    return bottomUp ? Rows{memory + static_cast<ptrdiff_t>(rows - 1) * bytes, -bytes} : Rows{memory, bytes};
}

int64_t imageRowBytes(const TovImage& image) {
    const bool planes = image.dataOrder == TOV_DATA_ORDER_PLANE;
    return ownDIBRowBytes(image.width, int64_t{image.depth} * (planes ? 1 : image.nChannels), image.align);
}

ReadPixels pixelReader(int32_t bitCount) {
    switch (bitCount) {
    case 1: return ownReadIndex1;
    case 4: return ownReadIndex4;
    case 8: return ownReadIndex8;
    case 16: return ownReadWords16;
    case 24: return ownReadBytes3;
    case 32: return ownReadWords32;
    default: return nullptr;
    }
}

bool pixelTransform(const char (&channelSeq)[4], bool toImage, TransformPixels& transform) {
    for (const Transform& known : kTransforms) {
        if (std::memcmp(channelSeq, known.channelSeq, sizeof channelSeq) != 0) continue;
        transform = toImage ? known.toImage : known.toBitmap;
        return true;
    }
    return false;
}

WritePixels pixelWriter(int32_t nChannels, uint32_t depth, int32_t dataOrder) {
    return serving(kWriters, nChannels, depth, dataOrder);
}

} // namespace tov
