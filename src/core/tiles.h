// Tiles: asking for them, views of them as small plain images, and plain copies of rectangles that may cross them.
#pragma once

#include "core/geometry.h"
#include "core/lifecycle.h"
#include "core/memory.h"
#include "tov.h"

namespace tov {

// Bytes from row to row of a tile; 0 for an image that isn't sound or isn't tiled, and for rows of more bytes than the
// field can tell. Tiles of such rows are never asked for: each counts as one that can't be had.
int32_t ownTileRowBytes(TovImage* image);

// Makes a header that of a plain image of another size, such as one of its tiles. The pixels are the caller's to set.
// An imageSize that doesn't fit its field is the largest number there.
void shapeAsPlain(TovImage& header, Size size, int32_t rowBytes);

// Makes a view of one tile of an image: plain, without mask, its region of the image's coi at a place in the tile.
void viewTile(ImageView& view, TovImage& image, uint8_t* tileData, Point inTile, Size size);

// The part of one tile that lies in a rectangle; offset is that from the rectangle's first pixel.
struct TilePart {
    int32_t col;
    int32_t row;
    Point offset;
    Point inTile;
    Size size;
};
// The part in tile (col, row) of the rectangle of `size` that begins at `at` in the image with these tiles.
TilePart tilePart(const TovTileInfo& tiles, Point at, Size size, int32_t col, int32_t row);

// One tile at a time of one image, asked for in one mode. A tile still held when the holder ends is released.
class HeldTile {
public:
    HeldTile() = default;
    HeldTile(TovImage* image, int32_t mode) : image_(image), mode_(mode) {}
    HeldTile(const HeldTile&) = delete;
    HeldTile& operator=(const HeldTile&) = delete;
    ~HeldTile() { release(); }

    void serve(TovImage* image, int32_t mode) {
        image_ = image;
        mode_ = mode;
    }
    // The tile's pixels, or null; a tile that could not be had is not held.
    uint8_t* get(int32_t col, int32_t row);
    void release();
    // Owes no release any more.
    void dismiss() { held_ = false; }
    bool held() const { return held_; }

private:
    TovImage* image_ = nullptr;
    int32_t mode_ = 0;
    int32_t col_ = 0;
    int32_t row_ = 0;
    bool held_ = false;
};

// An image as a grid of tiles, of which one at a time is taken; a plain image is one tile, which is always there.
class TileGrid {
public:
    TileGrid(TovImage& image, int32_t mode)
        : image_(image),
          size_(tiled() ? Size{image.tileInfo->width, image.tileInfo->height} : Size{image.width, image.height}),
          rowBytes_(tiled() ? ownTileRowBytes(&image) : image.widthStep),
          tile_(&image, mode) {}

    bool tiled() const { return image_.tileInfo != nullptr; }
    Size tileSize() const { return size_; }
    ptrdiff_t rowBytes() const { return rowBytes_; }

    // As those of HeldTile.
    uint8_t* get(int32_t col, int32_t row) { return tiled() ? tile_.get(col, row) : image_.imageData; }
    void release() { tile_.release(); }
    void dismiss() { tile_.dismiss(); }

private:
    TovImage& image_;
    Size size_;
    ptrdiff_t rowBytes_;
    HeldTile tile_;
};

// Asks with TOV_TILE_READ for `count` tiles of a tile row, column by column from firstCol on in steps of colStep (+1 or
// -1). All are asked for even after a null; 1 when any answer was null, else 0.
int32_t ownGetTileRow(TovImage* image, uint8_t** pointers, int32_t count, int32_t firstCol, int32_t row,
                      int32_t colStep);
// Releases what ownGetTileRow gave, from the last tile back to the first; null pointers were never held.
void ownReleaseTileRow(TovImage* image, uint8_t* const* pointers, int32_t count, int32_t firstCol, int32_t row,
                       int32_t colStep);

// A plain source of ownCopyBlock, or its target: where it begins and the distances of its rows and planes in bytes.
struct BlockPlace {
    uint8_t* data;
    ptrdiff_t rowStep;
    ptrdiff_t planeStep;
};

// A rectangle between two corners, both inclusive. A second corner in front of the first one walks backwards, which
// mirrors.
struct Corners {
    int32_t x1;
    int32_t y1;
    int32_t x2;
    int32_t y2;
};

// Copies the rectangle to (targetX, targetY) of the target and on, in nPlanes planes of pixels of pixelBytes bytes.
// pixelBytes 0 means bits: set ones are set, clear ones leave the target as it is.
void ownCopyBlock(const BlockPlace& source, const Corners& from, const BlockPlace& target, Point to, int32_t pixelBytes,
                  int32_t nPlanes);

// The same from an image that may be tiled; 0, or 1 when a tile or memory could not be had.
int32_t ownGatherRect(TovImage* image, const Corners& from, const BlockPlace& target, Point to, int32_t pixelBytes,
                      int32_t nPlanes);

// Fills a place with the rectangle, which may lie partly or wholly outside the image and is extended there by the
// image's border settings. Rows of the place are whole words; the image's planes go to as many planes of it. False when
// a tile or memory can't be had.
bool ownBorderedFill(TovImage* image, const OwnRect& rect, const BlockPlace& place);

// A new block with the rectangle from (x, y) on, which may lie partly or wholly outside the image and is extended there
// by the image's border settings; step receives its row distance. Planes follow each other height * step bytes apart.
// Null when the header, a tile or memory fails. The caller hands it to ownFreeBuffer.
uint8_t* ownBorderedBuffer(TovImage* image, int32_t x, int32_t y, int32_t width, int32_t height, int32_t* step);
// Null is ignored.
void ownFreeBuffer(uint8_t* buffer);

// Owns a bordered buffer and shows it as a plain image.
class BorderedCopy {
public:
    BorderedCopy() = default;
    BorderedCopy(const BorderedCopy&) = delete;
    BorderedCopy& operator=(const BorderedCopy&) = delete;
    ~BorderedCopy() { ownFreeBuffer(data_); }

    // Copies the rectangle of `size` from a point of the image on, as ownBorderedBuffer does. The view has no mask, and
    // its region is the whole copy, of the image's coi. False when the copy can't be had.
    bool fetch(ImageView& view, TovImage& image, Point from, Size size);

private:
    uint8_t* data_ = nullptr;
};

} // namespace tov
