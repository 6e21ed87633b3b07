// Making and freeing images and the blocks that they stand in.
#include <cstdlib>
#include <cstring>

#include "core/context.h"
#include "core/image.h"
#include "core/lifecycle.h"
#include "core/memory.h"

namespace tov {

namespace {

constexpr Reporter reportCreate{"tovCreateImageHeader", "tovalloc"};
constexpr Reporter reportAllocate{"tovAllocateImage", "tovalloc"};

// What an aligned block takes more than it holds: the pointer below it, the way to the next multiple of 32, and room to
// spare.
constexpr size_t kBlockOverhead = 68;
constexpr uintptr_t kBlockAlign = 32;

uintptr_t roundUp(uintptr_t address, uintptr_t align) { return (address + align - 1) & ~(align - 1); }

// Up to four characters of a text, filled up with zeros; nothing behind the text's end is read.
void copyName(char (&name)[4], const char* text) {
    size_t n = 0;
    for (; n < sizeof name && text[n] != '\0'; n++) name[n] = text[n];
    for (; n < sizeof name; n++) name[n] = '\0';
}

void fillPixels(const TovImage& image, uint32_t pattern) {
    uint8_t* p = image.imageData;
    for (int32_t left = image.imageSize; left > 0; left -= 4, p += 4) {
        std::memcpy(p, &pattern, left < 4 ? static_cast<size_t>(left) : 4);
    }
}

} // namespace

void* ownAlignedAlloc(size_t size) {
    if (size > SIZE_MAX - kBlockOverhead) return nullptr;
    void* start = std::malloc(size + kBlockOverhead);
    if (start == nullptr) return nullptr;
    const uintptr_t address = roundUp(reinterpret_cast<uintptr_t>(start) + sizeof start, kBlockAlign);
    uint8_t* block = static_cast<uint8_t*>(start) + (address - reinterpret_cast<uintptr_t>(start));
    std::memcpy(block - sizeof start, &start, sizeof start);
    return block;
}

void* ownAlignedAllocW(size_t count) { return count <= SIZE_MAX / 2 ? ownAlignedAlloc(count * 2) : nullptr; }

void ownAlignedFree(void* block) {
    if (block == nullptr) return;
    void* start = nullptr;
    std::memcpy(&start, static_cast<uint8_t*>(block) - sizeof start, sizeof start);
    std::free(start);
}

int64_t ownRowBytes(int32_t dataOrder, uint32_t depth, int32_t align, int32_t nChannels, int32_t width) {
    const int64_t values = dataOrder == TOV_DATA_ORDER_PIXEL ? int64_t{width} * nChannels : int64_t{width};
    // More values than bits in the largest row: a row can't hold them, and their bits need not fit 64 bits.
    if (values > int64_t{INT32_MAX} * 8) return INT64_C(1) << 40;
    return alignUp(values * depthBits(depth), int64_t{align} * 8) / 8;
}

PixelBytes pixelBytes(const TovImage& image) {
    const int64_t row = ownRowBytes(image.dataOrder, image.depth, image.align, image.nChannels, image.width);
    if (row > INT32_MAX) return {0, 0};
    int64_t size = row * image.height;
    if (size <= INT32_MAX && image.dataOrder == TOV_DATA_ORDER_PLANE) size *= image.nChannels;
    return {static_cast<int32_t>(row), size <= INT32_MAX ? static_cast<int32_t>(size) : 0};
}

int32_t limitToDepth(int32_t value, uint32_t depth) {
    const auto limited = [value](int32_t low, int32_t high) { return value < low ? low : value > high ? high : value; };
    switch (depth) {
    case TOV_DEPTH_1U: return limited(0, 1);
    case TOV_DEPTH_8U: return limited(0, UINT8_MAX);
    case TOV_DEPTH_8S: return limited(INT8_MIN, INT8_MAX);
    case TOV_DEPTH_16U: return limited(0, UINT16_MAX);
    case TOV_DEPTH_16S: return limited(INT16_MIN, INT16_MAX);
    default: return value;
    }
}

uint32_t fillPattern(int32_t value, uint32_t depth) {
    const auto bits = static_cast<uint32_t>(value);
    switch (depthBits(depth)) {
    case 1: return (bits & 1) != 0 ? ~uint32_t{0} : 0;
    case 8: return (bits & UINT8_MAX) * UINT32_C(0x01010101);
    case 16: return (bits & UINT16_MAX) * UINT32_C(0x00010001);
    default: return bits;
    }
}

TovROI* tovCreateROI(int32_t coi, int32_t xOffset, int32_t yOffset, int32_t width, int32_t height) {
    auto* roi = static_cast<TovROI*>(ownAlignedAlloc(sizeof(TovROI)));
    tovSetROI(roi, coi, xOffset, yOffset, width, height);
    return roi;
}

void tovSetROI(TovROI* roi, int32_t coi, int32_t xOffset, int32_t yOffset, int32_t width, int32_t height) {
    if (roi != nullptr) *roi = {coi, xOffset, yOffset, width, height};
}

void tovDeallocateHeader(TovImage* image) { tovDeallocate(image, TOV_IMAGE_HEADER); }

void tovDeallocateImage(TovImage* image) {
    std::free(image->imageDataOrigin);
    image->imageData = nullptr;
    image->imageDataOrigin = nullptr;
}

void ownClipSize(const TovImage& image, int32_t& width, int32_t& height) {
    Size limit = {image.width, image.height};
    if (const TovROI* roi = image.roi) {
        limit = smaller({image.width - roi->xOffset, image.height - roi->yOffset}, {roi->width, roi->height});
    }
    if (width > limit.width) width = limit.width;
    if (height > limit.height) height = limit.height;
}

TovImage* makeHeaderLike(const TovImage& image, uint32_t depth, Size size) {
    return tovCreateImageHeader(image.nChannels, image.alphaChannel, depth, image.colorModel, image.channelSeq,
                                image.dataOrder, image.origin, image.align, size.width, size.height, nullptr, nullptr,
                                nullptr, nullptr);
}

TovImage* makeBitHeader(int32_t dataOrder, int32_t origin, int32_t align, Size size) {
    return tovCreateImageHeader(1, 0, TOV_DEPTH_1U, "GRAY", "G", dataOrder, origin, align, size.width, size.height,
                                nullptr, nullptr, nullptr, nullptr);
}

void ImageView::borrow(const TovImage& image) {
    header = image;
    header.roi = &roi;
    roi = image.roi != nullptr ? *image.roi : TovROI{0, 0, 0, image.width, image.height};
}

} // namespace tov

using namespace tov;

TovImage* tovCreateImageHeader(int32_t nChannels, int32_t alphaChannel, uint32_t depth, const char* colorModel,
                               const char* channelSeq, int32_t dataOrder, int32_t origin, int32_t align, int32_t width,
                               int32_t height, TovROI* roi, TovImage* maskROI, void* imageId, TovTileInfo* tileInfo) {
    TovImage draft{};
    draft.headerSize = sizeof draft;
    draft.nChannels = nChannels;
    draft.alphaChannel = alphaChannel;
    draft.depth = depth;
    draft.dataOrder = dataOrder;
    draft.origin = origin;
    draft.align = align;
    draft.width = width;
    draft.height = height;
    draft.roi = roi;
    draft.maskROI = maskROI;
    draft.imageId = imageId;
    draft.tileInfo = tileInfo;

    TovStatus fault = checkSize(draft);
    if (fault == TOV_STS_OK && (colorModel == nullptr || channelSeq == nullptr)) fault = TOV_STS_BAD_COLOR_SEQ;
    if (fault == TOV_STS_OK) fault = checkForm(draft);
    if (fault == TOV_STS_OK) fault = checkMask(maskROI);
    if (fault == TOV_STS_OK) {
        const PixelBytes bytes = pixelBytes(draft);
        draft.widthStep = bytes.widthStep;
        draft.imageSize = bytes.imageSize;
        if (tileInfo == nullptr && bytes.imageSize == 0) fault = TOV_STS_BAD_IMAGE_SIZE;
    }
    if (fault != TOV_STS_OK) {
        reportCreate(fault, "Incorrect data-ins");
        return nullptr;
    }
    copyName(draft.colorModel, colorModel);
    copyName(draft.channelSeq, channelSeq);
    tovSetBorderMode(&draft, TOV_BORDER_CONSTANT, TOV_SIDES_ALL, 0);
    auto* image = static_cast<TovImage*>(ownAlignedAlloc(sizeof(TovImage)));
    if (image != nullptr) *image = draft;
    return image;
}

void tovAllocateImage(TovImage* image, int32_t doFill, int32_t fillValue) {
    const Reporter& report = reportAllocate;
    if (image == nullptr) return report(TOV_STS_BAD_ARG, "( image == ((void *)0) )");
    if (image->imageData != nullptr) return report(TOV_STS_BAD_ARG, "( image->imageData != ((void *)0) )");
    if (image->tileInfo != nullptr) return report(TOV_STS_BAD_ARG, "( image->tileInfo != ((void *)0) )");
    if (image->depth == TOV_DEPTH_32F) return report(TOV_STS_BAD_ARG, "( image->depth == 32 )");
    TovStatus fault = checkSize(*image);
    if (fault == TOV_STS_OK) fault = checkForm(*image);
    if (fault == TOV_STS_OK) fault = checkMask(image->maskROI);
    const PixelBytes bytes = fault == TOV_STS_OK ? pixelBytes(*image) : PixelBytes{0, 0};
    if (fault == TOV_STS_OK && bytes.imageSize == 0) fault = TOV_STS_BAD_IMAGE_SIZE;
    if (fault != TOV_STS_OK) return report(fault, "Incorrect data-ins");

    const auto align = static_cast<size_t>(image->align);
    image->imageDataOrigin = static_cast<uint8_t*>(std::malloc(align + static_cast<size_t>(bytes.imageSize) - 1));
    if (image->imageDataOrigin == nullptr) return;
    const auto start = reinterpret_cast<uintptr_t>(image->imageDataOrigin);
    image->imageData = image->imageDataOrigin + (roundUp(start, align) - start);
    image->imageSize = bytes.imageSize;
    image->widthStep = bytes.widthStep;
    if (doFill != 0) fillPixels(*image, fillPattern(fillValue, image->depth));
}

void tovDeallocate(TovImage* image, int32_t flags) {
    if (image == nullptr) return;
    if ((flags & TOV_IMAGE_ROI) != 0) {
        ownAlignedFree(image->roi);
        image->roi = nullptr;
    }
    if ((flags & TOV_IMAGE_MASK) != 0) {
        tovDeallocate(image->maskROI, TOV_IMAGE_HEADER | TOV_IMAGE_DATA | TOV_IMAGE_ROI | TOV_IMAGE_TILE);
        image->maskROI = nullptr;
    }
    if ((flags & TOV_IMAGE_TILE) != 0) {
        ownAlignedFree(image->tileInfo);
        image->tileInfo = nullptr;
    }
    if ((flags & TOV_IMAGE_DATA) != 0 && image->imageDataOrigin != nullptr) tovDeallocateImage(image);
    if ((flags & TOV_IMAGE_HEADER) != 0) ownAlignedFree(image);
}
