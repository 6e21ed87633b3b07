// The pair walk over plain and tiled images.
#include "core/pairwalk.h"

#include "core/image.h"

namespace tov {

namespace {

// One image of the walk and the tile in hand.
class Side {
public:
    Side(TovImage& image, int32_t mode, Point start, const char* noTile)
        : image_(image), grid_(image, mode), start_(start), noTile_(noTile) {}

    // Takes the tile that holds a pixel of the rectangle. False ends the walk.
    bool moveTo(const PairWalk& walk, Point at, bool looksAtStatus) {
        const Size tile = grid_.tileSize();
        const Point inImage = {start_.x + at.x, start_.y + at.y};
        const Point cell = {inImage.x / tile.width, inImage.y / tile.height};
        inTile_ = {inImage.x % tile.width, inImage.y % tile.height};
        if (data_ != nullptr && cell.x == cell_.x && cell.y == cell_.y) return true;
        grid_.release();
        cell_ = cell;
        data_ = grid_.get(cell.x, cell.y);
        if (data_ == nullptr) {
            walk.report(TOV_STS_BAD_ARG, noTile_);
            return false;
        }
        if (!grid_.tiled() || !looksAtStatus || tovGetErrStatus() >= 0) return true;
        if (!walk.releasesRefused) grid_.dismiss();
        return false;
    }
    void release() { grid_.release(); }

    // What the tile has from the pixel on, to its right and downwards or upwards.
    Size left(bool upwards) const {
        const Size tile = grid_.tileSize();
        return {tile.width - inTile_.x, upwards ? inTile_.y + 1 : tile.height - inTile_.y};
    }
    BlockPlace place(int32_t rowsAbove) const {
        const ptrdiff_t rowBytes = grid_.rowBytes();
        const int32_t nValues = image_.dataOrder == TOV_DATA_ORDER_PLANE ? 1 : image_.nChannels;
        const ptrdiff_t pixelBytes = ptrdiff_t{nValues} * (depthBits(image_.depth) >> 3);
        const ptrdiff_t x = image_.depth == TOV_DEPTH_1U ? inTile_.x >> 3 : inTile_.x * pixelBytes;
        return {data_ + (inTile_.y - rowsAbove) * rowBytes + x, rowBytes, grid_.tileSize().height * rowBytes};
    }

private:
    const TovImage& image_;
    TileGrid grid_;
    Point start_;
    const char* noTile_;
    uint8_t* data_ = nullptr;
    Point cell_{};
    Point inTile_{};
};

class Walk {
public:
    explicit Walk(const PairWalk& walk)
        : walk_(walk),
          src_(*walk.src, TOV_TILE_READ, walk.from, "(srcImage->tileInfo->tileData == NULL)"),
          dst_(*walk.dst, TOV_TILE_WRITE, walk.to, "(dstImage->tileInfo->tileData == NULL)"),
          source_(walk.src == walk.dst ? dst_ : src_) {}

    void run(void (*kernel)(const void* args, const PairBlock& block), const void* args) {
        PairBlock block{};
        Point& at = block.offset;
        for (; at.y < walk_.size.height; at.y += block.size.height) {
            for (at.x = 0; at.x < walk_.size.width; at.x += block.size.width) {
                if (!moveTo(at)) return release();
                const Size rest = {walk_.size.width - at.x, walk_.size.height - at.y};
                block.size = smaller(smaller(dst_.left(false), source_.left(walk_.upwards)), rest);
                block.src = source_.place(walk_.upwards ? block.size.height - 1 : 0);
                block.dst = dst_.place(0);
                kernel(args, block);
            }
        }
        release();
    }

private:
    bool moveTo(Point at) {
        const bool isFirst = at.x == 0 && at.y == 0;
        if (!dst_.moveTo(walk_, at, walk_.looksAtFirst || !isFirst)) return false;
        if (&source_ == &dst_) return true;
        return src_.moveTo(walk_, {at.x, walk_.upwards ? walk_.size.height - 1 - at.y : at.y}, true);
    }
    void release() {
        dst_.release();
        src_.release();
    }

    const PairWalk& walk_;
    Side src_;
    Side dst_;
    const Side& source_; // the destination itself in place
};

} // namespace

void runPairWalk(const PairWalk& walk, void (*kernel)(const void* args, const PairBlock& block), const void* args) {
    if (!walk.size.empty()) Walk(walk).run(kernel, args);
}

} // namespace tov
