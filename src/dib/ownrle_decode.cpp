// Decoding of run-length streams.
#include <cstring>

#include "core/context.h"
#include "dib/dib.h"

namespace tov {

namespace {

constexpr Reporter report{"tovConvertFromDIB", "ownrle"};

struct Texts {
    const char* noMemory;
    const char* width;
    const char* height;
    const char* delta;
    const char* size;
};

// Rows of whole bytes.
struct Pixels8 {
    static constexpr Texts kTexts = {
        "Not enough memory to decompress BI_RLE8 DIB at DIB", "Incorrect format of BI_RLE8 DIB (mismatch biWidth)",
        "Incorrect format of BI_RLE8 DIB (mismatch biHeight)", "Incorrect format of BI_RLE8 DIB (bad Delta command)",
        "Incorrect format of BI_RLE8 DIB (mismatch biHeight or biWidth)"};

    static size_t bytes(int32_t count) { return static_cast<size_t>(count); }
    static void run(uint8_t* row, int64_t x, int32_t count, uint8_t value) {
        std::memset(row + x, value, bytes(count));
    }
    static void literal(uint8_t* row, int64_t x, int32_t count, const uint8_t* values) {
        std::memcpy(row + x, values, bytes(count));
    }
};

// Rows of half bytes, the even pixel in the high one.
struct Pixels4 {
    static constexpr Texts kTexts = {
        "Not enough memory to decompress BI_RLE4 DIB at DIB", "Incorrect format of BI_RLE4 DIB (mismatch biWidth)",
        "Incorrect format of BI_RLE4 DIB (mismatch biHeight)", "Incorrect format of BI_RLE4 DIB (bad Delta command)",
        "Incorrect format of BI_RLE4 DIB (mismatch biHeight or biWidth)"};

    static size_t bytes(int32_t count) { return static_cast<size_t>((count + 1) / 2); }

    static void putHigh(uint8_t& byte, int32_t value) { byte = static_cast<uint8_t>((byte & 0x0F) | value << 4); }
    static void putLow(uint8_t& byte, int32_t value) { byte = static_cast<uint8_t>((byte & 0xF0) | value); }

    static void run(uint8_t* row, int64_t x, int32_t count, uint8_t value) {
        row += x >> 1;
        if ((x & 1) != 0) {
            putLow(*row++, value >> 4);
            value = static_cast<uint8_t>(value << 4 | value >> 4);
            count--;
        }
        std::memset(row, value, static_cast<size_t>(count / 2));
        if ((count & 1) != 0) putHigh(row[count / 2], value >> 4);
    }

    static void literal(uint8_t* row, int64_t x, int32_t count, const uint8_t* values) {
        row += x >> 1;
        if ((x & 1) != 0) {
            for (int32_t i = 0; i < count; i++) {
                if ((i & 1) == 0) {
                    putLow(*row++, values[i / 2] >> 4);
                } else {
                    putHigh(*row, values[i / 2] & 0x0F);
                }
            }
            return;
        }
        std::memcpy(row, values, static_cast<size_t>(count / 2));
        if ((count & 1) != 0) putHigh(row[count / 2], values[count / 2] >> 4);
    }
};

// The rows that a stream fills.
struct Canvas {
    uint8_t* rows;
    ptrdiff_t rowStep;
    int32_t width;
    int32_t height;
};

// Returns the context of the fault that ends the stream, or null when it is complete.
template <class Pixels>
const char* decode(const uint8_t* stream, const Canvas& canvas) {
    const Texts& texts = Pixels::kTexts;
    int64_t x = 0;
    int64_t y = 0;
    // x doesn't pass the width as long as there is one.
    if (x > canvas.width) return texts.size;
    while (true) {
        const int32_t count = stream[0];
        const int32_t code = stream[1];
        stream += 2;
        const bool isRun = count != 0;
        if (isRun || code > 2) {
            const int32_t pixels = isRun ? count : code;
            if (y >= canvas.height || pixels > canvas.width - x) return texts.size;
            uint8_t* row = canvas.rows + static_cast<ptrdiff_t>(y) * canvas.rowStep;
            if (isRun) {
                Pixels::run(row, x, pixels, static_cast<uint8_t>(code));
            } else {
                Pixels::literal(row, x, pixels, stream);
                stream += (Pixels::bytes(pixels) + 1) & ~size_t{1};
            }
            x += pixels;
        } else if (code == 0) {
            if (x != canvas.width) return texts.width;
            x = 0;
            if (++y > canvas.height) return texts.size;
        } else if (code == 1) {
            return y >= canvas.height - 1 ? nullptr : texts.height;
        } else {
            x += stream[0];
            y += stream[1];
            stream += 2;
            if (x > canvas.width || y > canvas.height) return texts.delta;
        }
    }
}

template <class Pixels>
AlignedBlock<uint8_t> decompress(const Bitmap& bitmap) {
    const int64_t step = bitmapRowBytes(bitmap.header);
    const int64_t size = step * bitmap.header.biHeight;
    AlignedBlock<uint8_t> block;
    if (size <= PTRDIFF_MAX) block = AlignedBlock<uint8_t>(static_cast<size_t>(size));
    if (!block) {
        report(TOV_STS_NO_MEMORY, Pixels::kTexts.noMemory);
        return {};
    }
    std::memset(block.get(), 0, static_cast<size_t>(size));
    const Canvas canvas = {block.get(), static_cast<ptrdiff_t>(step), bitmap.header.biWidth, bitmap.header.biHeight};
    if (const char* fault = decode<Pixels>(ownDIBPixels(bitmap), canvas)) {
        report(TOV_STS_BAD_ARG, fault);
        return {};
    }
    return block;
}

} // namespace

AlignedBlock<uint8_t> ownRLEDecompress(const Bitmap& bitmap) {
    return bitmap.header.biCompression == kBitmapRLE8 ? decompress<Pixels8>(bitmap) : decompress<Pixels4>(bitmap);
}

} // namespace tov
