// The header model: the check that every operation makes first, and the addresses that walks begin at.
#include "core/image.h"

namespace tov {

int32_t depthIndex(uint32_t depth) {
    switch (depth) {
    case TOV_DEPTH_1U: return 0;
    case TOV_DEPTH_8U: return 1;
    case TOV_DEPTH_8S: return 2;
    case TOV_DEPTH_16U: return 3;
    case TOV_DEPTH_16S: return 4;
    case TOV_DEPTH_32S: return 5;
    case TOV_DEPTH_32F: return 6;
    default: return -1;
    }
}

TovStatus checkSize(const TovImage& image) {
    if (image.width <= 0 || image.height <= 0) return TOV_STS_BAD_IMAGE_SIZE;
    if (image.nChannels <= 0) return TOV_STS_BAD_CHANNELS;
    if (image.nChannels != 1 && image.depth == TOV_DEPTH_1U) return TOV_STS_BAD_1U_CHANNELS;
    return TOV_STS_OK;
}

TovStatus checkForm(const TovImage& image) {
    if (depthIndex(image.depth) < 0) return TOV_STS_BAD_DEPTH;
    if (image.alphaChannel != 0 && image.alphaChannel != image.nChannels) return TOV_STS_BAD_ALPHA_CHANNEL;
    if (!isDataOrder(image.dataOrder)) return TOV_STS_BAD_DATA_ORDER;
    if (!isOrigin(image.origin)) return TOV_STS_BAD_ORIGIN;
    return isAlign(image.align) ? TOV_STS_OK : TOV_STS_BAD_ALIGN;
}

TovStatus checkMask(TovImage* mask) {
    if (mask == nullptr) return TOV_STS_OK;
    if (mask->depth != TOV_DEPTH_1U) return TOV_STS_BAD_DEPTH - 100;
    if (mask->tileInfo != nullptr) return TOV_STS_TILED_MASK;
    const TovStatus fault = tovCheckImage(mask);
    return fault != TOV_STS_OK ? fault - 100 : TOV_STS_OK;
}

namespace {

TovStatus checkTiles(const TovTileInfo& tiles) {
    if (tiles.callBack == nullptr) return TOV_STS_NULL_CALLBACK;
    if (tiles.width <= 0 || tiles.height <= 0 || tiles.width % 8 != 0 || tiles.height % 8 != 0) {
        return TOV_STS_BAD_TILE_SIZE;
    }
    return TOV_STS_OK;
}

TovStatus checkRegion(const TovROI& roi, int32_t nChannels) {
    if (roi.coi < 0 || roi.coi > nChannels) return TOV_STS_BAD_COI;
    if (roi.height <= 0 || roi.width <= 0) return TOV_STS_BAD_ROI_SIZE;
    if (roi.xOffset < 0 || roi.yOffset < 0) return TOV_STS_BAD_ROI_OFFSET;
    return TOV_STS_OK;
}

TovStatus firstFault(TovImage* image) {
    if (image == nullptr) return TOV_STS_NULL_IMAGE;
    const bool tiled = image->tileInfo != nullptr;
    if ((image->imageData != nullptr) == tiled) return TOV_STS_BAD_DATA_OR_TILE;
    if (image->imageSize <= 0 && !tiled) return TOV_STS_BAD_IMAGE_SIZE;
    if (image->widthStep <= 0 && !tiled) return TOV_STS_BAD_WIDTHSTEP;
    if (const TovStatus fault = checkSize(*image)) return fault;
    if (const TovStatus fault = checkForm(*image)) return fault;
    if (const TovStatus fault = checkMask(image->maskROI)) return fault;
    if (tiled) {
        if (const TovStatus fault = checkTiles(*image->tileInfo)) return fault;
    }
    return image->roi != nullptr ? checkRegion(*image->roi, image->nChannels) : TOV_STS_OK;
}

} // namespace

TovStatus tovCheckImage(TovImage* image) {
    const TovStatus fault = firstFault(image);
    if (fault != TOV_STS_OK) tovSetErrStatus(fault);
    return fault;
}

Channels channelsOf(const TovImage& image) {
    if (image.roi != nullptr && image.roi->coi != 0) return {1, image.roi->coi - 1};
    return {image.alphaChannel != 0 ? image.nChannels - 1 : image.nChannels, 0};
}

RoiStart ownRoiStart(const TovImage& image, int32_t coiOffset) {
    if (image.roi == nullptr) return {image.imageData, {image.width, image.height}, 0};
    const TovROI& roi = *image.roi;
    // Offsets are not negative and sizes are positive, so neither difference leaves the range.
    Size size = smaller({roi.width, roi.height}, {image.width - roi.xOffset, image.height - roi.yOffset});
    if (size.width < 0) size.width = 0;
    if (size.height < 0) size.height = 0;
    const int32_t bitOffset = roi.xOffset & 7;
    // A region beyond the image has no address, and its offsets may be too large to make one.
    if (size.empty()) return {image.imageData, size, bitOffset};
    const int64_t bits = depthBits(image.depth);
    const bool planes = image.dataOrder == TOV_DATA_ORDER_PLANE;
    const int64_t value = planes ? roi.xOffset : int64_t{roi.xOffset} * image.nChannels + coiOffset;
    ptrdiff_t offset = ptrdiff_t{roi.yOffset} * image.widthStep + static_cast<ptrdiff_t>((value * bits) >> 3);
    if (planes) offset += coiOffset * planeDistance(image);
    return {image.imageData + offset, size, bitOffset};
}

bool isApart(const TovImage& a, const TovImage& b) {
    if (a.tileInfo != nullptr || b.tileInfo != nullptr) return false;
    const auto begin = [](const TovImage& i) { return reinterpret_cast<uintptr_t>(i.imageData); };
    const auto end = [begin](const TovImage& i) {
        const int64_t nPlanes = i.dataOrder == TOV_DATA_ORDER_PLANE ? i.nChannels : 1;
        return begin(i) + static_cast<uintptr_t>(planeDistance(i) * nPlanes);
    };
    return end(a) <= begin(b) || end(b) <= begin(a);
}

bool ownSameLayout(const TovImage& a, const TovImage& b, bool hasAlpha) {
    // The largest number stands for the size of a tile that doesn't fit the field.
    if (hasAlpha || a.imageSize == INT32_MAX) return false;
    if (a.height != b.height || a.width != b.width || a.imageSize != b.imageSize || a.align != b.align) return false;
    const auto whole = [](const TovImage& image) {
        const TovROI* roi = image.roi;
        return roi == nullptr ||
               (roi->xOffset == 0 && roi->yOffset == 0 && roi->width >= image.width && roi->height >= image.height &&
                (roi->coi == 0 || (roi->coi == 1 && image.nChannels == 1)));
    };
    return whole(a) && whole(b);
}

} // namespace tov
