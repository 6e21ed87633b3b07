// The pixels of an image into a bitmap.
#include <cstddef>
#include <cstring>

#include "core/context.h"
#include "core/lifecycle.h"
#include "dib/dib.h"
#include "dib/palette.h"
#include "dib/to_kernels.h"
#include "reduce/reduce.h"

namespace tov {

namespace {

constexpr Reporter report{"tovConvertToDIB", "tovDIB"};

// The bitmap's size is read by itself, since its header may turn out to be a shorter one.
bool acceptsImage(const TovImage& image, const BITMAPINFOHEADER* dib) {
    BITMAPINFOHEADER header{};
    std::memcpy(&header, dib, offsetof(BITMAPINFOHEADER, biPlanes));
    const bool knownDepth = image.depth == TOV_DEPTH_1U || image.depth == TOV_DEPTH_8U || image.depth == TOV_DEPTH_16U;
    return report.passes({
        {image.nChannels <= 0 || image.nChannels > 4, "(image->nChannels <= 0 || image->nChannels > 4)"},
        {!knownDepth, "( (image->depth != 1) && (image->depth != 8) && (image->depth != 16) )"},
        {image.alphaChannel != 0 && image.alphaChannel != 4, "(image->alphaChannel != 0 && image->alphaChannel != 4)"},
        {image.alphaChannel == 0 && image.nChannels != 3 && image.nChannels != 1,
         "(image->nChannels != 3 && image->nChannels != 1)"},
        {image.width != header.biWidth || image.height != bitmapRows(header),
         "(image->width != dib->biWidth || image->height != abs(dib->biHeight))"},
    });
}

bool acceptsOptions(int32_t dither, int32_t paletteConversion) {
    const bool known = dither == kNoDither || dither == kFloydDither || dither == kJarvisDither ||
                       dither == kStuckiDither || dither == kOrderedDither;
    return report.passes({
        {!known, "(dither != 1 && dither != 2 && dither != 4 && dither != 8 && dither != 16)"},
        {paletteConversion < 0 || paletteConversion > 2,
         "(paletteConversion != 0 && paletteConversion != 1 && paletteConversion != 2)"},
    });
}

// Fills the colour table, if the bitmap has one that is to be filled; false after a report.
bool makeTable(BITMAPINFOHEADER* dib, const TovImage& image, int32_t paletteConversion) {
    if (bitmapAt(dib).header.biBitCount >= 16) return true;
    if (paletteConversion == 1) ownFixedPalette(dib, image.nChannels == 1);
    if (paletteConversion != 2 || ownMedcutPalette(dib, image)) return true;
    report(TOV_STS_INTERNAL, "Error of creating medcut palette");
    return false;
}

// The image with no more bits than the bitmap shows; without a value after a report.
TemporaryImage dithered(TovImage* image, int32_t bitCount, int32_t dither) {
    const int32_t levels = bitCount == 1 || bitCount == 4 ? bitCount : 8;
    if (bitCount != 1 && bitCount != 4 && bitCount != 8 && bitCount != 16 && bitCount != 24 && bitCount != 32) {
        report(TOV_STS_BAD_ARG, "Parameter biBitCount of DIB-image have illegal value");
        return {};
    }
    const uint32_t depth = bitCount == 1 ? TOV_DEPTH_1U : TOV_DEPTH_8U;
    TemporaryImage temporary(makeHeaderLike(*image, depth, {image->width, image->height}));
    if (temporary.get() == nullptr) {
        report(TOV_STS_NO_MEMORY, "Not enough memory to allocate header for temporal image");
        return {};
    }
    // Filled, so that nothing but pixels is shown where a handler clears the status of a reduction that failed.
    tovAllocateImage(temporary.get(), 1, 0);
    tovReduceBits(image, temporary.get(), 0, dither, levels);
    if (tovGetErrStatus() == TOV_STS_OK && temporary) return temporary;
    report(TOV_STS_INTERNAL, "Dithering can't be produced");
    return {};
}

struct Conversion {
    ReadImage read;
    TransformPixels transform; // null for none
    WriteBitmap write;
    PixelTarget target;
};

// Up to 16 bits colours are scaled to their mask's width; in 32 bits they keep their eight.
MaskField fieldOf(uint32_t mask, bool scales) {
    if (mask == 0) return {0, 0, 0};
    const MaskShift at = ownMaskShift(mask);
    if (!scales) return {mask, at.shift, 0};
    if (at.width >= 8) return {mask, at.shift + at.width - 8, 0};
    const int32_t up = at.shift - (8 - at.width);
    return up >= 0 ? MaskField{mask, up, 0} : MaskField{mask, 0, -up};
}

// Finds how the pixels are read, changed and written; false after a report.
bool prepare(const Bitmap& bitmap, const TovImage& image, Conversion& conversion) {
    const int32_t bits = bitmap.header.biBitCount;
    conversion.read = imageReader(image.nChannels, image.depth, image.dataOrder);
    if (!pixelTransform(image.channelSeq, false, conversion.transform)) {
        report(TOV_STS_BAD_COLOR_SEQ, "image->channelSeq unsupport");
        return false;
    }
    conversion.write = bitmapWriter(bits);
    if (conversion.write == nullptr) {
        report(TOV_STS_BAD_ARG, "dib->biBitCount is bad");
        return false;
    }
    if (bits == 16 || bits == 32) {
        uint32_t inOrder[4];
        if (!acceptsMasks(report, bitmap, inOrder)) return false;
        for (int32_t i = 0; i < 4; i++) conversion.target.fields[i] = fieldOf(inOrder[i], bits == 16);
    } else if (bits <= 8) {
        const uint8_t* table = bitmap.start + bitmap.header.biSize;
        conversion.target.nearest.read(table, ownPaletteSize(bitmap.header), int64_t{image.width} * image.height);
    }
    return true;
}

void convertRows(Conversion& conversion, const Bitmap& bitmap, const TovImage& image) {
    const BITMAPINFOHEADER& header = bitmap.header;
    const int64_t imageStep = imageRowBytes(image);
    const auto channelStride = static_cast<ptrdiff_t>(imageStep * image.height);
    const Rows from = rowsFromTop(image.imageData, imageStep, image.height, image.origin == TOV_ORIGIN_BL);
    const Rows to = rowsFromTop(ownDIBPixels(bitmap), bitmapRowBytes(header), image.height, header.biHeight > 0);
    Pixel piece[kPiece];
    for (int32_t y = 0; y < image.height; y++) {
        for (int32_t x = 0; x < image.width;) {
            const int32_t count = image.width - x < kPiece ? image.width - x : kPiece;
            conversion.read(from.at(y), x, count, channelStride, piece);
            if (conversion.transform != nullptr) conversion.transform(piece, count);
            conversion.write(conversion.target, piece, count, to.at(y), x);
            x += count;
        }
    }
}

} // namespace

} // namespace tov

using namespace tov;

void tovConvertToDIB(TovImage* image, BITMAPINFOHEADER* dib, int32_t dither, int32_t paletteConversion) {
    if (!report.accepts(image)) return;
    if (dib == nullptr) return report(TOV_STS_BAD_ARG, "dib==0");
    if (!acceptsImage(*image, dib)) return;
    if (!hasInfoHeader(dib)) return report(TOV_STS_BAD_ARG, "(dib->biSize != sizeof(BITMAPINFOHEADER))");
    const BITMAPINFOHEADER header = bitmapAt(dib).header;
    if (!acceptsBitmap(report, header) || !acceptsOptions(dither, paletteConversion)) return;
    if (dither == kNoDither && image->imageData == nullptr) {
        return report(TOV_STS_BAD_DATA_OR_TILE, "image->imageData==0");
    }
    if (!makeTable(dib, *image, paletteConversion)) return;
    {
        TemporaryImage temporary;
        const TovImage* shown = image;
        if (dither != kNoDither) {
            temporary = dithered(image, header.biBitCount, dither);
            if (!temporary) return;
            shown = temporary.get();
        }
        // A new colour table can have another length, which moves the pixels.
        const Bitmap bitmap = bitmapAt(dib);
        Conversion conversion{};
        if (!prepare(bitmap, *shown, conversion)) {
            temporary = TemporaryImage();
            if (tovGetErrStatus() >= 0) report(TOV_STS_INTERNAL, "");
            return;
        }
        convertRows(conversion, bitmap, *shown);
    }
    if (header.biCompression == kBitmapRLE8 || header.biCompression == kBitmapRLE4) ownRLECompress(dib);
}
