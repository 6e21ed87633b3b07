// Tiles held one by one and row by row, and copies of rectangles across them.
#include "core/tiles.h"

#include <cstring>

#include "core/image.h"
#include "kernel/bitrows.h"

namespace tov {

namespace {

int64_t tileRowBytes(const TovImage& image) {
    return ownRowBytes(image.dataOrder, image.depth, image.align, image.nChannels, image.tileInfo->width);
}

// Whether a view can hold the distance of a tile's rows. Without it nothing tells where the next row begins.
bool hasServableTiles(const TovImage& image) { return tileRowBytes(image) <= INT32_MAX; }

} // namespace

int32_t ownTileRowBytes(TovImage* image) {
    if (image == nullptr || tovCheckImage(image) != TOV_STS_OK || image->tileInfo == nullptr) return 0;
    return hasServableTiles(*image) ? static_cast<int32_t>(tileRowBytes(*image)) : 0;
}

void shapeAsPlain(TovImage& header, Size size, int32_t rowBytes) {
    const int64_t rows = int64_t{size.height} * (header.dataOrder == TOV_DATA_ORDER_PLANE ? header.nChannels : 1);
    const int64_t bytes = rows <= INT32_MAX ? rows * rowBytes : INT32_MAX;
    header.tileInfo = nullptr;
    header.widthStep = rowBytes;
    header.width = size.width;
    header.height = size.height;
    header.imageSize = bytes <= INT32_MAX ? static_cast<int32_t>(bytes) : INT32_MAX;
}

void viewTile(ImageView& view, TovImage& image, uint8_t* tileData, Point inTile, Size size) {
    view.borrow(image);
    view.header.maskROI = nullptr;
    shapeAsPlain(view.header, {image.tileInfo->width, image.tileInfo->height}, ownTileRowBytes(&image));
    view.header.imageData = tileData;
    view.place(inTile.x, inTile.y, size);
}

TilePart tilePart(const TovTileInfo& tiles, Point at, Size size, int32_t col, int32_t row) {
    const auto along = [](int32_t tile, int32_t length, int32_t begin, int32_t whole, int32_t& offset,
                          int32_t& inTile) {
        const int64_t start = int64_t{tile} * length;
        const int64_t first = start > begin ? start : begin;
        const int64_t end = start + length < int64_t{begin} + whole ? start + length : int64_t{begin} + whole;
        offset = static_cast<int32_t>(first - begin);
        inTile = static_cast<int32_t>(first - start);
        return static_cast<int32_t>(end - first);
    };
    TilePart part{};
    part.col = col;
    part.row = row;
    part.size.width = along(col, tiles.width, at.x, size.width, part.offset.x, part.inTile.x);
    part.size.height = along(row, tiles.height, at.y, size.height, part.offset.y, part.inTile.y);
    return part;
}

uint8_t* HeldTile::get(int32_t col, int32_t row) {
    held_ = false;
    if (!hasServableTiles(*image_)) return nullptr;
    TovTileInfo* tiles = image_->tileInfo;
    tiles->callBack(image_, col, row, mode_);
    col_ = col;
    row_ = row;
    held_ = tiles->tileData != nullptr;
    return tiles->tileData;
}

void HeldTile::release() {
    if (!held_) return;
    held_ = false;
    image_->tileInfo->callBack(image_, col_, row_, TOV_TILE_RELEASE);
}

bool BorderedCopy::fetch(ImageView& view, TovImage& image, Point from, Size size) {
    int32_t step = 0;
    ownFreeBuffer(data_);
    data_ = ownBorderedBuffer(&image, from.x, from.y, size.width, size.height, &step);
    if (data_ == nullptr) return false;
    view.borrow(image);
    shapeAsPlain(view.header, size, step);
    view.header.maskROI = nullptr;
    view.header.imageData = data_;
    view.place(0, 0, size);
    return true;
}

int32_t ownGetTileRow(TovImage* image, uint8_t** pointers, int32_t count, int32_t firstCol, int32_t row,
                      int32_t colStep) {
    int32_t failed = 0;
    for (int32_t i = 0; i < count; i++) {
        image->tileInfo->callBack(image, firstCol + i * colStep, row, TOV_TILE_READ);
        pointers[i] = image->tileInfo->tileData;
        if (pointers[i] == nullptr) failed = 1;
    }
    return failed;
}

void ownReleaseTileRow(TovImage* image, uint8_t* const* pointers, int32_t count, int32_t firstCol, int32_t row,
                       int32_t colStep) {
    for (int32_t i = count - 1; i >= 0; i--) {
        if (pointers[i] == nullptr) continue;
        image->tileInfo->tileData = pointers[i];
        image->tileInfo->callBack(image, firstCol + i * colStep, row, TOV_TILE_RELEASE);
    }
}

namespace {

// Sets the target's bits where the source's are set.
void copyBitRow(const uint8_t* source, int32_t x1, int32_t x2, uint8_t* target, int32_t targetX) {
    if (x1 <= x2) {
        const auto added = [](uint64_t old, uint64_t bits) OWN_INLINE_LAMBDA { return old | bits; };
        bitRow(added, x2 - x1 + 1, target + (targetX >> 3), targetX & 7, BitPlace{source, x1});
        return;
    }
    for (int32_t x = x1; x >= x2; x--, targetX++) {
        const bool set = (source[x >> 3] & (0x80 >> (x & 7))) != 0;
        if (set) target[targetX >> 3] |= static_cast<uint8_t>(0x80 >> (targetX & 7));
    }
}

void copyPixelRow(const uint8_t* source, int32_t x1, int32_t x2, uint8_t* target, int32_t targetX, size_t pixelBytes) {
    const auto bytes = static_cast<ptrdiff_t>(pixelBytes);
    source += x1 * bytes;
    target += targetX * bytes;
    if (x1 <= x2) {
        std::memcpy(target, source, static_cast<size_t>(int64_t{x2} - x1 + 1) * pixelBytes);
        return;
    }
    for (int32_t x = x1; x >= x2; x--, source -= bytes, target += bytes) std::memcpy(target, source, pixelBytes);
}

// One axis of a gather: the tiles between two coordinates in the direction of the walk.
struct TileAxis {
    TileAxis(int32_t from, int32_t to, int32_t length)
        : first(from / length),
          count((to < from ? first - to / length : to / length - first) + 1),
          step(to < from ? -1 : 1),
          from_(from % length),
          to_(to % length),
          length_(length) {}

    // The stretch of tile i (0 to count - 1) that belongs to the walk, in the walk's direction.
    int32_t begin(int32_t i) const { return i == 0 ? from_ : step > 0 ? 0 : length_ - 1; }
    int32_t end(int32_t i) const { return i == count - 1 ? to_ : step > 0 ? length_ - 1 : 0; }
    int32_t size(int32_t i) const { return (end(i) - begin(i)) * step + 1; }

    int32_t first;
    int32_t count;
    int32_t step;

private:
    int32_t from_;
    int32_t to_;
    int32_t length_;
};

} // namespace

void ownCopyBlock(const BlockPlace& source, const Corners& from, const BlockPlace& target, Point to, int32_t pixelBytes,
                  int32_t nPlanes) {
    const int32_t down = from.y2 < from.y1 ? -1 : 1;
    const int32_t nRows = (from.y2 - from.y1) * down + 1;
    for (int32_t plane = 0; plane < nPlanes; plane++) {
        const uint8_t* sourceRow = source.data + plane * source.planeStep + from.y1 * source.rowStep;
        uint8_t* targetRow = target.data + plane * target.planeStep + to.y * target.rowStep;
        for (int32_t i = 0; i < nRows; i++) {
            if (pixelBytes == 0) {
                copyBitRow(sourceRow, from.x1, from.x2, targetRow, to.x);
            } else {
                copyPixelRow(sourceRow, from.x1, from.x2, targetRow, to.x, static_cast<size_t>(pixelBytes));
            }
            sourceRow += down * source.rowStep;
            targetRow += target.rowStep;
        }
    }
}

int32_t ownGatherRect(TovImage* image, const Corners& from, const BlockPlace& target, Point to, int32_t pixelBytes,
                      int32_t nPlanes) {
    const TovTileInfo* tiles = image->tileInfo;
    if (tiles == nullptr) {
        const BlockPlace source = {image->imageData, image->widthStep, planeDistance(*image)};
        ownCopyBlock(source, from, target, to, pixelBytes, nPlanes);
        return 0;
    }
    if (!hasServableTiles(*image)) return 1;
    const TileAxis cols(from.x1, from.x2, tiles->width);
    const TileAxis rows(from.y1, from.y2, tiles->height);
    const auto rowBytes = static_cast<ptrdiff_t>(tileRowBytes(*image));
    const AlignedBlock<uint8_t*> pointers(static_cast<size_t>(cols.count));
    if (!pointers) return 1;
    Point at = to;
    for (int32_t r = 0; r < rows.count; r++) {
        const int32_t row = rows.first + r * rows.step;
        const bool failed = ownGetTileRow(image, pointers.get(), cols.count, cols.first, row, cols.step) != 0;
        at.x = to.x;
        for (int32_t c = 0; c < cols.count && !failed; c++) {
            const BlockPlace tile = {pointers[static_cast<size_t>(c)], rowBytes, tiles->height * rowBytes};
            ownCopyBlock(tile, {cols.begin(c), rows.begin(r), cols.end(c), rows.end(r)}, target, at, pixelBytes,
                         nPlanes);
            at.x += cols.size(c);
        }
        ownReleaseTileRow(image, pointers.get(), cols.count, cols.first, row, cols.step);
        if (failed) return 1;
        at.y += rows.size(r);
    }
    return 0;
}

} // namespace tov
