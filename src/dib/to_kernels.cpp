// Readers of images and writers of bitmaps.
#include "dib/to_kernels.h"

#include <cstring>

#include "kernel/bitpack.h"
#include "kernel/kernel.h"

namespace tov {

namespace {

// One value as a byte: the high one of wider values.
template <class T>
OWN_INLINE Pixel byteOf(T value) {
    return static_cast<Pixel>(value) >> (8 * sizeof(T) - 8);
}

void ownReadBits(const uint8_t* row, int32_t x, int32_t count, ptrdiff_t, Pixel* pixels) {
    for (int32_t i = 0; i < count; i++) {
        const bool set = (row[(x + i) >> 3] & (0x80 >> ((x + i) & 7))) != 0;
        pixels[i] = set ? 0xFFFFFF : 0;
    }
}

template <class T>
OWN_INLINE void readGray(const uint8_t* row, int32_t x, int32_t count, Pixel* pixels) {
    const T* values = reinterpret_cast<const T*>(row) + x;
    OWN_EACH
    for (int32_t i = 0; i < count; i++) pixels[i] = byteOf(values[i]) * 0x10101;
}

template <class T, int32_t NChannels>
OWN_INLINE void readInterleaved(const uint8_t* row, int32_t x, int32_t count, Pixel* pixels) {
    const T* values = reinterpret_cast<const T*>(row) + ptrdiff_t{x} * NChannels;
    OWN_EACH
    for (int32_t i = 0; i < count; i++) {
        Pixel pixel = 0;
        for (int32_t c = 0; c < NChannels; c++) pixel |= byteOf(values[i * NChannels + c]) << (8 * c);
        pixels[i] = pixel;
    }
}

template <class T, int32_t NChannels>
OWN_INLINE void readPlanes(const uint8_t* row, int32_t x, int32_t count, ptrdiff_t channelStride, Pixel* pixels) {
    const T* planes[NChannels];
    for (int32_t c = 0; c < NChannels; c++) planes[c] = reinterpret_cast<const T*>(row + c * channelStride) + x;
    OWN_EACH
    for (int32_t i = 0; i < count; i++) {
        Pixel pixel = 0;
        for (int32_t c = 0; c < NChannels; c++) pixel |= byteOf(planes[c][i]) << (8 * c);
        pixels[i] = pixel;
    }
}

OWN_KERNEL void ownReadGrayU8(const uint8_t* row, int32_t x, int32_t count, ptrdiff_t, Pixel* pixels) {
    readGray<uint8_t>(row, x, count, pixels);
}
OWN_KERNEL void ownReadGrayU16(const uint8_t* row, int32_t x, int32_t count, ptrdiff_t, Pixel* pixels) {
    readGray<uint16_t>(row, x, count, pixels);
}
OWN_KERNEL void ownReadPixels3U8(const uint8_t* row, int32_t x, int32_t count, ptrdiff_t, Pixel* pixels) {
    readInterleaved<uint8_t, 3>(row, x, count, pixels);
}
OWN_KERNEL void ownReadPixels3U16(const uint8_t* row, int32_t x, int32_t count, ptrdiff_t, Pixel* pixels) {
    readInterleaved<uint16_t, 3>(row, x, count, pixels);
}
OWN_KERNEL void ownReadPixels4U8(const uint8_t* row, int32_t x, int32_t count, ptrdiff_t, Pixel* pixels) {
    readInterleaved<uint8_t, 4>(row, x, count, pixels);
}
OWN_KERNEL void ownReadPixels4U16(const uint8_t* row, int32_t x, int32_t count, ptrdiff_t, Pixel* pixels) {
    readInterleaved<uint16_t, 4>(row, x, count, pixels);
}
OWN_KERNEL void ownReadPlanes3U8(const uint8_t* row, int32_t x, int32_t count, ptrdiff_t stride, Pixel* pixels) {
    readPlanes<uint8_t, 3>(row, x, count, stride, pixels);
}
OWN_KERNEL void ownReadPlanes3U16(const uint8_t* row, int32_t x, int32_t count, ptrdiff_t stride, Pixel* pixels) {
    readPlanes<uint16_t, 3>(row, x, count, stride, pixels);
}
OWN_KERNEL void ownReadPlanes4U8(const uint8_t* row, int32_t x, int32_t count, ptrdiff_t stride, Pixel* pixels) {
    readPlanes<uint8_t, 4>(row, x, count, stride, pixels);
}
OWN_KERNEL void ownReadPlanes4U16(const uint8_t* row, int32_t x, int32_t count, ptrdiff_t stride, Pixel* pixels) {
    readPlanes<uint16_t, 4>(row, x, count, stride, pixels);
}

constexpr ByForm<ReadImage> kReaders[] = {
    {1, TOV_DEPTH_1U, ownReadBits, ownReadBits},
    {1, TOV_DEPTH_8U, ownReadGrayU8, ownReadGrayU8},
    {1, TOV_DEPTH_16U, ownReadGrayU16, ownReadGrayU16},
    {3, TOV_DEPTH_8U, ownReadPixels3U8, ownReadPlanes3U8},
    {3, TOV_DEPTH_16U, ownReadPixels3U16, ownReadPlanes3U16},
    {4, TOV_DEPTH_8U, ownReadPixels4U8, ownReadPlanes4U8},
    {4, TOV_DEPTH_16U, ownReadPixels4U16, ownReadPlanes4U16},
};

// Bits and nibbles of a last byte that are no pixel's keep their values.
void ownWriteIndex1(PixelTarget& target, const Pixel* pixels, int32_t count, uint8_t* row, int32_t x) {
    uint8_t found[kPiece];
    target.nearest.ownNearestPaletteIndex(pixels, count, found);
    packBits([](uint8_t index) { return index != 0; }, count, found, 1, row + (x >> 3));
}

void ownWriteIndex4(PixelTarget& target, const Pixel* pixels, int32_t count, uint8_t* row, int32_t x) {
    uint8_t found[kPiece];
    target.nearest.ownNearestPaletteIndex(pixels, count, found);
    row += x >> 1;
    for (int32_t i = 0; i + 1 < count; i += 2) *row++ = static_cast<uint8_t>(found[i] << 4 | (found[i + 1] & 15));
    if ((count & 1) != 0) *row = static_cast<uint8_t>(found[count - 1] << 4 | (*row & 15));
}

void ownWriteIndex8(PixelTarget& target, const Pixel* pixels, int32_t count, uint8_t* row, int32_t x) {
    target.nearest.ownNearestPaletteIndex(pixels, count, row + x);
}

OWN_INLINE uint32_t inField(const MaskField& field, uint32_t value) {
    return ((value << field.up) >> field.down) & field.mask;
}

template <class Word>
OWN_INLINE void writeWords(const PixelTarget& target, const Pixel* pixels, int32_t count, uint8_t* row, int32_t x) {
    row += ptrdiff_t{x} * static_cast<ptrdiff_t>(sizeof(Word));
    const MaskField blue = target.fields[0];
    const MaskField green = target.fields[1];
    const MaskField red = target.fields[2];
    const MaskField alpha = target.fields[3];
    OWN_EACH
    for (int32_t i = 0; i < count; i++) {
        const Pixel p = pixels[i];
        const auto word = static_cast<Word>(inField(blue, p & UINT8_MAX) | inField(green, p >> 8 & UINT8_MAX) |
                                            inField(red, p >> 16 & UINT8_MAX) | inField(alpha, p >> 24));
        std::memcpy(row + i * sizeof(Word), &word, sizeof(Word));
    }
}

OWN_KERNEL void ownWriteWords16(PixelTarget& target, const Pixel* pixels, int32_t count, uint8_t* row, int32_t x) {
    writeWords<uint16_t>(target, pixels, count, row, x);
}
OWN_KERNEL void ownWriteWords32(PixelTarget& target, const Pixel* pixels, int32_t count, uint8_t* row, int32_t x) {
    writeWords<uint32_t>(target, pixels, count, row, x);
}

OWN_KERNEL void ownWriteBytes3(PixelTarget&, const Pixel* pixels, int32_t count, uint8_t* row, int32_t x) {
    row += ptrdiff_t{x} * 3;
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        for (int32_t c = 0; c < 3; c++) row[i * 3 + c] = static_cast<uint8_t>(pixels[i] >> (8 * c));
    }
}

} // namespace

ReadImage imageReader(int32_t nChannels, uint32_t depth, int32_t dataOrder) {
    return serving(kReaders, nChannels, depth, dataOrder);
}

WriteBitmap bitmapWriter(int32_t bitCount) {
    switch (bitCount) {
    case 1: return ownWriteIndex1;
    case 4: return ownWriteIndex4;
    case 8: return ownWriteIndex8;
    case 16: return ownWriteWords16;
    case 24: return ownWriteBytes3;
    case 32: return ownWriteWords32;
    default: return nullptr;
    }
}

} // namespace tov
