// Region arithmetic and the merging of masks.
#include "core/ownrect.h"

#include <initializer_list>

#include "core/image.h"

namespace tov {

namespace {

constexpr int32_t kPlainCell = 128;

int32_t notNegative(int32_t value) { return value < 0 ? 0 : value; }

Point regionOffset(const TovImage& image) {
    return image.roi != nullptr ? Point{notNegative(image.roi->xOffset), notNegative(image.roi->yOffset)} : Point{0, 0};
}

// The kernels of the merge: one formula over two or three sources.
OWN_KERNEL void andMasks2(Size size, const BitLane<uint8_t>& to, const BitLane<const uint8_t>& a,
                          const BitLane<const uint8_t>& b) {
    const auto both = [](uint64_t, uint64_t x, uint64_t y) OWN_INLINE_LAMBDA { return x & y; };
    walkBits<8>(size.width, size.height, both, to, a, b);
}

OWN_KERNEL void andMasks3(Size size, const BitLane<uint8_t>& to, const BitLane<const uint8_t>& a,
                          const BitLane<const uint8_t>& b, const BitLane<const uint8_t>& c) {
    const auto all = [](uint64_t, uint64_t x, uint64_t y, uint64_t z) OWN_INLINE_LAMBDA { return x & y & z; };
    walkBits<8>(size.width, size.height, all, to, a, b, c);
}

} // namespace

void ownImageRect(const TovImage& image, OwnRect& rect) {
    rect.x = 0;
    rect.y = 0;
    rect.width = image.width;
    rect.height = image.height;
    const TovROI* roi = image.roi;
    if (roi == nullptr) return;
    const Size size = smaller({roi->width, roi->height}, {image.width - roi->xOffset, image.height - roi->yOffset});
    rect.x = roi->xOffset;
    rect.y = roi->yOffset;
    rect.width = size.width;
    rect.height = size.height;
}

CombinedMask ownCombineMasks(const TovImage* maskA, const TovImage* maskB, const TovImage* maskC) {
    const TovImage* masks[3] = {};
    int32_t count = 0;
    for (const TovImage* mask : {maskA, maskB, maskC}) {
        if (mask != nullptr) masks[count++] = mask;
    }
    CombinedMask result;
    if (count < 2) {
        result.mask = const_cast<TovImage*>(masks[0]);
        return result;
    }
    Size size = kUnlimited;
    BitLane<const uint8_t> from[3] = {};
    for (int32_t i = 0; i < count; i++) from[i] = roiBits<const uint8_t>(*masks[i], size);
    if (size.empty()) {
        result.state = OWN_MASK_EMPTY;
        return result;
    }
    result.made = TemporaryImage(makeBitHeader(TOV_DATA_ORDER_PLANE, masks[0]->origin, TOV_ALIGN_8BYTES, size));
    if (result.made.get() != nullptr) tovAllocateImage(result.made.get(), 1, 0);
    if (!result.made) {
        result.state = OWN_MASK_NO_MEMORY;
        return result;
    }
    const BitLane<uint8_t> to = {result.made->imageData, result.made->widthStep, 0};
    if (count == 2) {
        andMasks2(size, to, from[0], from[1]);
    } else {
        andMasks3(size, to, from[0], from[1], from[2]);
    }
    result.mask = result.made.get();
    result.state = OWN_MASK_NEW;
    return result;
}

bool ownRoiSize(const TovImage& image, Size& size, bool clip) {
    size = {image.width, image.height};
    const TovROI* roi = image.roi;
    if (roi == nullptr) return true;
    const Size own = {roi->width, roi->height};
    if (own.empty()) return false;
    if (!clip) {
        size = own;
        return true;
    }
    if (roi->xOffset >= image.width || roi->yOffset >= image.height) return false;
    const Point offset = regionOffset(image);
    // What lies in front of the image's edges is not part of it.
    const Size kept = {own.width + (roi->xOffset < 0 ? roi->xOffset : 0),
                       own.height + (roi->yOffset < 0 ? roi->yOffset : 0)};
    size = smaller(kept, {image.width - offset.x, image.height - offset.y});
    return !size.empty();
}

bool ownCommonSize2(const TovImage& a, const TovImage* b, Size& size, bool clip) {
    if (!ownRoiSize(a, size, clip)) return false;
    Size other;
    if (b == nullptr) return true;
    if (!ownRoiSize(*b, other, clip)) return false;
    size = smaller(size, other);
    return true;
}

bool ownCommonSize3(const TovImage& a, const TovImage& b, const TovImage* c, Size& size, bool clip) {
    Size other;
    if (!ownCommonSize2(a, &b, size, clip)) return false;
    if (c == nullptr) return true;
    if (!ownRoiSize(*c, other, clip)) return false;
    size = smaller(size, other);
    return true;
}

TileSpan ownTileSpan(const TovImage& image, Size size) {
    const TovTileInfo* tiles = image.tileInfo;
    const Size cell = tiles != nullptr ? Size{tiles->width, tiles->height} : Size{kPlainCell, kPlainCell};
    const Point from = regionOffset(image);
    const auto lastCell = [](int32_t offset, int32_t length, int32_t cellLength) {
        return static_cast<int32_t>((int64_t{offset} + length - 1) / cellLength);
    };
    TileSpan span;
    span.tileWidth = cell.width;
    span.tileHeight = cell.height;
    span.firstCol = from.x / cell.width;
    span.firstRow = from.y / cell.height;
    span.xInTile = from.x % cell.width;
    span.yInTile = from.y % cell.height;
    span.nCols = lastCell(from.x, size.width, cell.width) - span.firstCol + 1;
    span.nRows = lastCell(from.y, size.height, cell.height) - span.firstRow + 1;
    return span;
}

bool ownMaskBits(const TovImage& image, BitLane<const uint8_t>& bits) {
    if (image.depth != TOV_DEPTH_1U) return false;
    const Point from = regionOffset(image);
    bits = {image.imageData + ptrdiff_t{from.y} * image.widthStep + (from.x >> 3), image.widthStep, from.x & 7};
    return true;
}

bool ownPlainAddress(const TovImage& image, PlainAddress& address) {
    const Point from = regionOffset(image);
    int32_t channel = 0;
    if (image.roi != nullptr) {
        channel = image.roi->coi;
    } else if (image.nChannels == 1 && image.alphaChannel != 0) {
        return false;
    }
    const bool colourOnly = image.alphaChannel != 0 && channel == 0;
    const ptrdiff_t bytes = depthBits(image.depth) >> 3;
    const ptrdiff_t skipped = channel > 1 ? channel - 1 : 0;
    address.rowStep = image.widthStep;
    address.planeStep = planeDistance(image);
    address.nChannels = channel > 0 ? 1 : colourOnly ? image.nChannels - 1 : image.nChannels;
    address.x = from.x;
    address.start = image.imageData + from.y * address.rowStep;
    if (image.dataOrder == TOV_DATA_ORDER_PLANE) {
        address.start += from.x * bytes + skipped * address.planeStep;
    } else {
        address.start += (ptrdiff_t{from.x} * image.nChannels + skipped) * bytes;
    }
    return true;
}

bool ownPlainPair(const Reporter& report, const TovImage& src, const TovImage& dst, const TovImage* mask,
                  PlainPair& pair) {
    BitLane<const uint8_t> bits{};
    if (!ownPlainAddress(src, pair.src) || !ownPlainAddress(dst, pair.dst)) return false;
    if (mask != nullptr && !ownMaskBits(*mask, bits)) return false;
    pair.mask = {bits.first, bits.rowStep, bits.bitOffset};
    if (pair.src.nChannels == pair.dst.nChannels) return true;
    report(TOV_STS_BAD_ARG, "Number of processed channels of srcImage != Number of processed channels of dstImage");
    return false;
}

} // namespace tov
