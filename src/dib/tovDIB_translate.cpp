// Bitmaps to images.
#include "core/context.h"
#include "core/lifecycle.h"
#include "dib/dib.h"
#include "dib/kernels.h"

namespace {

using namespace tov;

constexpr Reporter report{"tovTranslateDIB", "tovDIB"};

// What image comes of a bitmap.
struct Form {
    int32_t nChannels;
    int32_t alphaChannel;
    uint32_t depth;
    const char* colorModel;
    const char* channelSeq;
    bool shares; // the bitmap's own pixels serve
};

constexpr Form gray(uint32_t depth, bool shares) { return {1, 0, depth, "GRAY", "G", shares}; }
constexpr Form color(bool shares) { return {3, 0, TOV_DEPTH_8U, "RGB", "BGR", shares}; }
constexpr Form colorAlpha(bool shares) { return {4, 4, TOV_DEPTH_8U, "RGBA", "BGRA", shares}; }

// The bit count is one of those that bitmaps have.
Form formOf(const Bitmap& bitmap) {
    const uint32_t compression = bitmap.header.biCompression;
    switch (bitmap.header.biBitCount) {
    case 1: return ownIsGrayPalette(bitmap) ? gray(TOV_DEPTH_1U, true) : color(false);
    case 4: return ownIsGrayPalette(bitmap) ? gray(TOV_DEPTH_8U, false) : color(false);
    case 8: return ownIsGrayPalette(bitmap) ? gray(TOV_DEPTH_8U, compression != kBitmapRLE8) : color(false);
    case 16: return color(false);
    case 24: return color(true);
    default: return colorAlpha(compression != kBitmapMasks);
    }
}

TovImage* refuse(TovStatus status, const char* context, int32_t line = __builtin_LINE()) {
    report(status, context, line);
    return nullptr;
}

TovImage* createHeader(const BITMAPINFOHEADER& header, const Form& form) {
    const int32_t order = form.shares ? TOV_DATA_ORDER_PIXEL : TOV_DATA_ORDER_PLANE;
    const int32_t align = form.shares ? TOV_ALIGN_4BYTES : TOV_ALIGN_32BYTES;
    const int32_t origin = header.biHeight < 0 ? TOV_ORIGIN_TL : TOV_ORIGIN_BL;
    const int64_t rows = bitmapRows(header);
    // A height without a positive counterpart is no height.
    const int32_t height = rows <= INT32_MAX ? static_cast<int32_t>(rows) : 0;
    return tovCreateImageHeader(form.nChannels, form.alphaChannel, form.depth, form.colorModel, form.channelSeq, order,
                                origin, align, header.biWidth, height, nullptr, nullptr, nullptr, nullptr);
}

} // namespace

TovImage* tovTranslateDIB(BITMAPINFOHEADER* dib, int32_t* cloneData) {
    if (dib == nullptr) return refuse(TOV_STS_BAD_ARG, "( dib == ((void *)0) )");
    if (cloneData == nullptr) return refuse(TOV_STS_BAD_ARG, "( cloneData == ((void *)0) )");
    if (!hasInfoHeader(dib)) return refuse(TOV_STS_BAD_ARG, "( dib->biSize != sizeof(BITMAPINFOHEADER) )");
    const Bitmap bitmap = bitmapAt(dib);
    if (!acceptsBitmap(report, bitmap.header)) return nullptr;
    if (pixelReader(bitmap.header.biBitCount) == nullptr) return refuse(TOV_STS_BAD_ARG, "dib->biBitCount is bad");

    const Form form = formOf(bitmap);
    TovImage* image = createHeader(bitmap.header, form);
    if (image == nullptr) {
        return refuse(TOV_STS_NO_MEMORY, "Not enough memory to allocate header for destination image");
    }
    if (form.shares) {
        // Pixel order at an alignment of 4 has the rows of the bitmap: widthStep and imageSize are right as created.
        image->imageData = ownDIBPixels(bitmap);
        *cloneData = 0;
        return image;
    }
    tovAllocateImage(image, 0, 0);
    if (image->imageData == nullptr) {
        tovDeallocateHeader(image);
        return refuse(TOV_STS_NO_MEMORY, "Not enough memory to allocate data for destination image");
    }
    *cloneData = 1;
    // What it reports leaves the image as it stands; the caller sees the status.
    tovConvertFromDIB(dib, image);
    return image;
}
