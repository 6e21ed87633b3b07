// The pixels of a bitmap into an image.
#include "core/context.h"
#include "core/image.h"
#include "dib/dib.h"
#include "dib/kernels.h"

namespace tov {

namespace {

constexpr Reporter report{"tovConvertFromDIB", "tovDIB"};

bool accepts(const TovImage& image) {
    return report.passes({
        {image.alphaChannel < 0, "( image->alphaChannel < 0 )"},
        {image.nChannels < image.alphaChannel, "( image->nChannels < image->alphaChannel )"},
        {!isDataOrder(image.dataOrder), "( (image->dataOrder != 0) && (image->dataOrder != 1) )"},
        {!isOrigin(image.origin), "( (image->origin != 0) && (image->origin != 1) )"},
        {!isAlign(image.align),
         "( (image->align != 4) && (image->align != 8) && (image->align != 16) && (image->align != 32) )"},
        {image.height <= 0, "(image->height <= 0)"},
        {image.width <= 0, "(image->width <= 0)"},
        {image.imageSize <= 0, "(image->imageSize <= 0)"},
        {image.widthStep <= 0, "(image->widthStep <= 0)"},
    });
}

// The colour table, as far as indexes reach. Where it is shorter, indexes past its end are black.
void readTable(const Bitmap& bitmap, PixelSource& source) {
    const uint32_t entries = ownPaletteSize(bitmap.header);
    const uint32_t indexes = uint32_t{1} << bitmap.header.biBitCount;
    const uint8_t* entry = bitmap.start + bitmap.header.biSize;
    for (uint32_t i = 0; i < indexes && i < entries; i++, entry += 4) {
        source.table[i] = entry[0] | uint32_t{entry[1]} << 8 | uint32_t{entry[2]} << 16 | uint32_t{entry[3]} << 24;
    }
}

ColorField fieldOf(uint32_t mask) {
    if (mask == 0) return {0, 0, 0};
    const MaskShift at = ownMaskShift(mask);
    if (at.width >= 8) return {mask, at.shift + at.width - 8, 0};
    return {mask, at.shift, 8 - at.width};
}

struct Conversion {
    PixelSource source;
    ReadPixels read;
    TransformPixels transform; // null for none
    WritePixels write;
};

// Finds how the pixels of a bitmap are read, changed and written; false after a report.
bool prepare(const Bitmap& bitmap, const TovImage& image, Conversion& conversion) {
    const int32_t bits = bitmap.header.biBitCount;
    // A bit count that nothing reads is reported without a context.
    conversion.read = pixelReader(bits);
    if (conversion.read == nullptr) {
        report(TOV_STS_INTERNAL, "");
        return false;
    }
    if (bits == 16 || bits == 32) {
        uint32_t inOrder[4];
        if (!acceptsMasks(report, bitmap, inOrder)) return false;
        for (int32_t i = 0; i < 4; i++) conversion.source.fields[i] = fieldOf(inOrder[i]);
    }
    if (!pixelTransform(image.channelSeq, true, conversion.transform)) {
        report(TOV_STS_BAD_COLOR_SEQ, "image->channelSeq unsupport");
        return false;
    }
    if (bits <= 8) {
        readTable(bitmap, conversion.source);
        // Pixels that are looked up come out changed.
        if (conversion.transform != nullptr) conversion.transform(conversion.source.table, 1 << bits);
        conversion.transform = nullptr;
    }
    conversion.write = pixelWriter(image.nChannels, image.depth, image.dataOrder);
    if (conversion.write == nullptr) report(TOV_STS_INTERNAL, "");
    return conversion.write != nullptr;
}

// pixels is the bitmap's pixel array.
void convertRows(const Conversion& conversion, const BITMAPINFOHEADER& header, uint8_t* pixels, const TovImage& image) {
    // The bitmap is no larger than the image.
    const int32_t columns = header.biWidth;
    const int64_t rows = bitmapRows(header);
    if (columns <= 0 || rows == 0) return;
    const int64_t imageStep = imageRowBytes(image);
    const bool planes = image.dataOrder == TOV_DATA_ORDER_PLANE;
    const ptrdiff_t channelStride = planes ? static_cast<ptrdiff_t>(imageStep * image.height) : 0;
    const Rows from = rowsFromTop(pixels, bitmapRowBytes(header), rows, header.biHeight > 0);
    const Rows to = rowsFromTop(image.imageData, imageStep, image.height, image.origin == TOV_ORIGIN_BL);
    Pixel piece[kPiece];
    for (int64_t y = 0; y < rows; y++) {
        for (int32_t x = 0; x < columns;) {
            const int32_t count = columns - x < kPiece ? columns - x : kPiece;
            conversion.read(conversion.source, from.at(y), x, count, piece);
            if (conversion.transform != nullptr) conversion.transform(piece, count);
            conversion.write(piece, count, to.at(y), x, channelStride);
            x += count;
        }
    }
}

} // namespace

void tovConvertFromDIB(BITMAPINFOHEADER* dib, TovImage* image) {
    if (dib == nullptr) report(TOV_STS_BAD_ARG, "dib==0");
    if (image == nullptr) report(TOV_STS_BAD_ARG, "image==0");
    // A failure left by an earlier call ends this one, too. A handler may have cleared the status again.
    if (tovGetErrStatus() < 0 || dib == nullptr || image == nullptr) return;
    if (!accepts(*image)) return;
    if (!hasInfoHeader(dib)) return report(TOV_STS_BAD_ARG, "(dib->biSize != sizeof(BITMAPINFOHEADER))");
    const Bitmap bitmap = bitmapAt(dib);
    const BITMAPINFOHEADER& header = bitmap.header;
    if (!acceptsBitmap(report, header)) return;
    if (image->width < header.biWidth || image->height < bitmapRows(header)) {
        return report(TOV_STS_BAD_IMAGE_SIZE, "Image size is too small");
    }
    Conversion conversion{};
    if (!prepare(bitmap, *image, conversion)) return;
    if (image->imageData == nullptr) tovAllocateImage(image, 0, 0);
    if (image->imageData == nullptr) {
        return report(TOV_STS_NO_MEMORY, "Not enough memory to allocate data for destination image");
    }
    if (header.biCompression != kBitmapRLE8 && header.biCompression != kBitmapRLE4) {
        return convertRows(conversion, header, ownDIBPixels(bitmap), *image);
    }
    const AlignedBlock<uint8_t> expanded = ownRLEDecompress(bitmap);
    if (!expanded) return report(TOV_STS_INTERNAL, "Impossible to decompress RLE DIB");
    convertRows(conversion, header, expanded.get(), *image);
}

} // namespace tov
