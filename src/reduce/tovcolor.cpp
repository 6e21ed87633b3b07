// Bit reduction: checks, the walk over rectangles of the destination, and its three paths.
#include <cstring>

#include "core/context.h"
#include "core/image.h"
#include "core/lifecycle.h"
#include "core/memory.h"
#include "core/tiles.h"
#include "reduce/color.h"
#include "reduce/dither.h"
#include "reduce/noise.h"
#include "reduce/reduce.h"
#include "reduce/reduction.h"

namespace tov {

namespace {

constexpr Reporter report{"tovReduceBits", "tovcolor"};

bool isServed(TovImage* srcImage, TovImage* dstImage, int32_t jitterType, int32_t ditherType) {
    if (!report.passes({{jitterType < 0 || jitterType > 8, "(jitterType<0)||( jitterType >= 9)"}})) return false;
    if (!report.accepts(srcImage) || !report.accepts(dstImage)) return false;
    if (!ownSameForm(report.funcName, *srcImage, *dstImage)) return false;
    const bool dithers = ditherType != kNoDither;
    return report.passes({
        {jitterType != 0 && dithers && dstImage->depth == TOV_DEPTH_1U,
         "Jittering is incompatible with dithering operation for 1U destination image"},
        {dithers && colorKind(*srcImage) == ColorKind::kOther,
         "colorModel, (channelSeq)  must be RGB,(RGB,BGR) or GRAY,(G) when dithering mode is set on"},
    });
}

// A rectangle of the destination: all of a plain image, or what of a tile lies in the image.
struct Rect {
    int32_t x;
    int32_t y;
    Size size;
    int32_t col;
    int32_t row;
    uint8_t* data;
    ptrdiff_t rowStep;
    int32_t planeRows;
};

// The rectangles of an image, one after the other. A tile that can't be had ends its row of tiles, and the walk where
// it is the row's first.
class RectWalk {
public:
    explicit RectWalk(TovImage& image)
        : whole_{image.width, image.height}, tiles_(image, TOV_TILE_WRITE), tile_(tiles_.tileSize()) {}

    bool ownNextRect(Rect& rect) {
        for (; row_ * int64_t{tile_.height} < whole_.height; row_++, col_ = 0) {
            if (col_ * int64_t{tile_.width} >= whole_.width) continue;
            uint8_t* data = tiles_.get(col_, row_);
            if (data == nullptr && col_ == 0) return false;
            if (data == nullptr) continue;
            const int32_t x = col_ * tile_.width;
            const int32_t y = row_ * tile_.height;
            const Size size = smaller(tile_, {whole_.width - x, whole_.height - y});
            rect = {x, y, size, col_++, row_, data, tiles_.rowBytes(), tile_.height};
            return true;
        }
        return false;
    }
    void ownReleaseRect() { tiles_.release(); }

private:
    Size whole_;
    TileGrid tiles_;
    Size tile_;
    int32_t col_ = 0;
    int32_t row_ = 0;
};

// A rectangle of the source, copied, and its place in the destination; without a value when it can't be had.
class Staged {
public:
    Staged(TovImage& source, const Rect& rect) {
        int32_t step = 0;
        buffer_ = ownBorderedBuffer(&source, rect.x, rect.y, rect.size.width, rect.size.height, &step);
        place_ = {buffer_,      rect.data,        step,          rect.size.height, rect.size.width,
                  rect.rowStep, rect.size.height, rect.planeRows};
        if (buffer_ == nullptr) report(TOV_STS_NO_MEMORY, "Out of memory");
    }
    Staged(const Staged&) = delete;
    Staged& operator=(const Staged&) = delete;
    ~Staged() { ownFreeBuffer(buffer_); }

    explicit operator bool() const { return buffer_ != nullptr; }
    const ReductionPlace& place() const { return place_; }

private:
    uint8_t* buffer_;
    ReductionPlace place_{};
};

void reducePlain(const TovImage& src, const TovImage& dst) {
    const Size size = smaller({src.width, src.height}, {dst.width, dst.height});
    ownReduceBits(
        src, dst,
        {src.imageData, dst.imageData, src.widthStep, size.height, size.width, dst.widthStep, src.height, dst.height});
}

// Rectangle by rectangle, without errors that pass from one to the next. False when the source can't be staged.
bool reduceRects(TovImage& src, TovImage& dst, int32_t jitterType, int32_t ditherType, int32_t levels) {
    RectWalk walk(dst);
    for (Rect rect{}; walk.ownNextRect(rect);) {
        {
            const Staged staged(src, rect);
            if (!staged) return false;
            if (jitterType == 0) {
                ownReduceBits(src, dst, staged.place());
            } else {
                ownjitter_rect(src, dst, staged.place(), jitterType);
            }
            if (ditherType != kNoDither) {
                own_dither_rect(dst, ditherType,
                                {rect.data, rect.size.width, rect.size.height, rect.rowStep, levels, rect.col, rect.row,
                                 rect.planeRows});
            }
            walk.ownReleaseRect();
        }
    }
    return true;
}

// Line by line over whole rows of tiles, so that errors pass from tile to tile. A tile that can't be had ends its line.
void spreadOverTiles(TovImage& dst, int32_t ditherType, int32_t levels, int32_t* err) {
    const Size tile = {dst.tileInfo->width, dst.tileInfo->height};
    const int32_t nCols = (dst.width - 1) / tile.width + 1;
    const int32_t nRows = (dst.height - 1) / tile.height + 1;
    const int32_t reach = ditherType == kFloydDither ? 1 : 2;
    HeldTile held(&dst, TOV_TILE_WRITE);
    HeldTile heldRight(&dst, TOV_TILE_WRITE);
    HeldTile heldBelow(&dst, TOV_TILE_WRITE);
    DitherLine line{};
    line.rowStep = ownTileRowBytes(&dst);
    line.levels = levels;
    line.tileHeight = tile.height;
    line.tileWidth = tile.width;
    line.err = err;
    for (int32_t r = 0; r < nRows; r++) {
        line.tileRow = r;
        line.height = smaller(tile.height, dst.height - r * tile.height);
        for (line.line = 0; line.line < tile.height; line.line++) {
            for (int32_t c = 0; c < nCols; c++) {
                line.tile = held.get(c, r);
                if (line.tile == nullptr) break;
                line.right = c + 1 < nCols ? heldRight.get(c + 1, r) : nullptr;
                const bool crosses = line.line >= tile.height - reach && r + 1 < nRows;
                line.below = crosses ? heldBelow.get(c, r + 1) : nullptr;
                line.tileCol = c;
                line.width = smaller(tile.width, dst.width - c * tile.width);
                own_dither_tiled_errprop(dst, ditherType, line);
                held.release();
                heldRight.release();
                heldBelow.release();
            }
        }
    }
}

void reduceThenSpread(TovImage& src, TovImage& dst, int32_t jitterType, int32_t ditherType, int32_t levels) {
    if (!reduceRects(src, dst, jitterType, kNoDither, levels)) return;
    if (ownTileRowBytes(&dst) == 0) return; // no tile of it was to be had, and none will be
    const size_t entries = (static_cast<size_t>(dst.tileInfo->width) + 4) * static_cast<size_t>(dst.nChannels);
    const AlignedBlock<int32_t> err(entries);
    if (!err) return report(TOV_STS_NO_MEMORY, "no memory for error propagation dithering errors array");
    // A row of tiles that is cut short leaves no errors behind for the tiles of the next line but old ones.
    std::memset(err.get(), 0, entries * sizeof(int32_t));
    spreadOverTiles(dst, ditherType, levels, err.get());
}

// A gray picture to bits: dithered to the ends of the source's range first.
void ditherToBits(TovImage& src, TovImage& dst, int32_t ditherType) {
    const TemporaryImage whole(makeHeaderLike(src, src.depth, {src.width, src.height}));
    if (tovGetErrStatus() < 0) return;
    tovAllocateImage(whole.get(), 1, 0);
    // Whatever a handler does to the status, there is no going on without pixels.
    if (tovGetErrStatus() < 0 || whole.get() == nullptr) return;
    tovCopy(&src, whole.get());
    if (tovGetErrStatus() < 0 || !whole) return;

    const bool tiled = src.tileInfo != nullptr || dst.tileInfo != nullptr;
    const bool unbroken = tiled && spreadsErrors(ditherType);
    if (unbroken) {
        own_dither_rect(*whole.get(), ditherType,
                        {whole->imageData, whole->width, whole->height, whole->widthStep, 0, 0, 0, whole->height});
    }
    RectWalk walk(dst);
    for (Rect rect{}; walk.ownNextRect(rect);) {
        const Staged staged(*whole.get(), rect);
        if (!staged) return;
        const ReductionPlace& place = staged.place();
        if (!unbroken) {
            own_dither_rect(
                *whole.get(), ditherType,
                {place.srcData, place.width, place.height, place.srcStep, 0, rect.col, rect.row, rect.planeRows});
        }
        ownMapToBit(*whole.get(), dst, place);
        walk.ownReleaseRect();
    }
}

} // namespace

void tovReduceBits(TovImage* srcImage, TovImage* dstImage, int32_t jitterType, int32_t ditherType, int32_t levels) {
    if (!isServed(srcImage, dstImage, jitterType, ditherType)) return;
    const bool tiled = srcImage->tileInfo != nullptr || dstImage->tileInfo != nullptr;
    const bool dithers = ditherType != kNoDither;
    if (!tiled && jitterType == 0 && !dithers) return reducePlain(*srcImage, *dstImage);

    const int32_t bits = depthBits(dstImage->depth);
    levels = levels < 0 ? 0 : levels > bits ? bits / 2 : levels;
    if (jitterType != 0) ownNoiseInit();
    if (dithers && dstImage->depth == TOV_DEPTH_1U && colorKind(*srcImage) == ColorKind::kGray) {
        return ditherToBits(*srcImage, *dstImage, ditherType);
    }
    if (spreadsErrors(ditherType) && dstImage->tileInfo != nullptr) {
        return reduceThenSpread(*srcImage, *dstImage, jitterType, ditherType, levels);
    }
    reduceRects(*srcImage, *dstImage, jitterType, ditherType, levels);
}

} // namespace tov
