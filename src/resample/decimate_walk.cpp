// The ways of decimation over plain and tiled images.
#include <cmath>

#include "core/image.h"
#include "core/ownrect.h"
#include "core/tiles.h"
#include "kernel/round.h"
#include "resample/decimate.h"

namespace tov {

namespace {

// One axis of a tiled source.
struct SourceAxis {
    double rate;
    int32_t tile;   // length of a tile
    int32_t length; // of the image
    int32_t margin;
    bool nearest;

    // Cubic kernels leave the first two pixels of a tile to the tile in front of it, whose samples they need.
    double extra() const { return margin == 2 ? 2 * rate : 0; }
    int32_t lastTile() const { return (length - 1) / tile; }
    int32_t firstTile(double position) const {
        const double first = margin < 1 ? position : position - (margin - 1) * rate;
        return smaller(truncated((first > 0 ? first : 0) / tile), lastTile());
    }
};

// Cuts one axis of a block into pieces, each served by a tile of the source.
class AxisPieces {
public:
    // position is that of the block's first pixel, from the image's first pixel on.
    AxisPieces(const SourceAxis& axis, double position, int32_t size)
        : axis_(axis), size_(size), first_(position), position_(position), tile_(axis.firstTile(position) - 1) {}

    // Goes on to the next tile that serves a pixel. False at the end of the block.
    bool next() {
        offset_ += count_;
        count_ = 0;
        while (offset_ < size_ && count_ == 0) {
            tile_++;
            inTile_ = position_ - origin();
            if (!axis_.nearest && inTile_ < 0) inTile_ = 0;
            // The image's last tile serves what is left, though sums may have grown beyond it by their rounding.
            const int32_t end = tile_ == axis_.lastTile() ? size_ : smaller(size_, endOfTile());
            if (end > offset_) count_ = end - offset_;
        }
        return count_ > 0;
    }
    // Takes over where a kernel has come to, counted from the tile's first pixel.
    void reached(double inTile) { position_ = inTile + origin(); }

    int32_t tile() const { return tile_; }
    int32_t offset() const { return offset_; }
    int32_t count() const { return count_; }
    double inTile() const { return inTile_; }
    double position() const { return position_; }
    double origin() const { return static_cast<double>(tile_) * axis_.tile; }
    // What the image holds from the tile's first pixel on.
    int32_t left() const { return axis_.length - tile_ * axis_.tile; }
    // The samples that the piece takes, from the tile's first pixel on.
    int32_t need() const {
        const double most = count_ * axis_.rate + inTile_ + std::fabs(static_cast<double>(axis_.margin));
        return axis_.nearest ? smaller(left(), axis_.tile) : smaller(left(), truncated(most));
    }

private:
    // The block's first pixel that the tile doesn't serve.
    int32_t endOfTile() const {
        if (axis_.nearest) return offset_ + truncated((axis_.tile - inTile_ + 0.99999 * axis_.rate) / axis_.rate);
        const double end = axis_.tile + axis_.extra();
        const int32_t last = truncated((origin() + end - first_) / axis_.rate);
        const bool onMore = (static_cast<double>(last) - offset_) * axis_.rate + inTile_ < end;
        return onMore ? last + 1 : last;
    }

    const SourceAxis& axis_;
    int32_t size_;
    double first_;
    double position_;
    double inTile_ = 0;
    int32_t tile_;
    int32_t offset_ = 0;
    int32_t count_ = 0;
};

// The samples of a piece: a tile where they lie in one, otherwise a copy of whole tiles.
class Samples {
public:
    // False when they can't be had.
    bool ownDecimateFetch(TovImage& src, int32_t col, int32_t row, Size need) {
        const TovTileInfo& tiles = *src.tileInfo;
        const int64_t width = alignUp(need.width, tiles.width);
        const int64_t height = alignUp(need.height, tiles.height);
        if (width > INT32_MAX || height > INT32_MAX) return false;
        block_ = {static_cast<int32_t>(width), static_cast<int32_t>(height)};
        if (block_.width > tiles.width || block_.height > tiles.height) {
            return copy_.fetch(view_, src, {col * tiles.width, row * tiles.height}, block_);
        }
        tile_.serve(&src, TOV_TILE_READ);
        uint8_t* data = tile_.get(col, row);
        if (data == nullptr) return false;
        viewTile(view_, src, data, {0, 0}, block_);
        return true;
    }
    const TovImage& image() const { return view_.header; }
    Size block() const { return block_; }

private:
    ImageView view_;
    BorderedCopy copy_;
    HeldTile tile_;
    Size block_{};
};

class Walk {
public:
    explicit Walk(const DecimateCall& call) : call_(call) {}

    void run() {
        Position at = call_.start;
        if (call_.dst->tileInfo == nullptr) {
            runBlock(*call_.dst, call_.size, at);
            return;
        }
        const TovTileInfo& tiles = *call_.dst->tileInfo;
        const TileSpan span = ownTileSpan(*call_.dst, call_.size);
        double rowStart = at.y;
        for (int32_t r = 0; r < span.nRows; r++) {
            at.x = call_.start.x;
            for (int32_t c = 0; c < span.nCols; c++) {
                at.y = rowStart;
                if (!runTile(tilePart(tiles, call_.to, call_.size, span.firstCol + c, span.firstRow + r), at)) return;
            }
            rowStart = at.y;
        }
    }

private:
    bool runTile(const TilePart& part, Position& at) const {
        HeldTile tile(call_.dst, TOV_TILE_WRITE);
        uint8_t* data = tile.get(part.col, part.row);
        if (data == nullptr) {
            call_.report(TOV_STS_INTERNAL, "dstImage->tileInfo->callBack crash");
            return false;
        }
        ImageView dst;
        viewTile(dst, *call_.dst, data, part.inTile, part.size);
        if (runBlock(dst.header, part.size, at)) return true;
        tile.dismiss();
        return false;
    }

    // Fills `size` pixels of dst from its region's first one on, and takes `at` on.
    bool runBlock(const TovImage& dst, Size size, Position& at) const {
        if (call_.src->tileInfo != nullptr) return runPieces(dst, size, at);
        const TovImage& src = *call_.src;
        const Size limit = {src.width - call_.from.x, src.height - call_.from.y};
        at = call_.kernel({&src, &dst, limit, call_.from, size, call_.nChannels, call_.xRate, call_.yRate, at});
        return true;
    }

    bool runPieces(const TovImage& dst, Size size, Position& at) const {
        const TovImage& src = *call_.src;
        const bool nearest = call_.mode == TOV_INTER_NN;
        const SourceAxis xAxis = {call_.xRate, src.tileInfo->width, src.width, call_.xMargin, nearest};
        const SourceAxis yAxis = {call_.yRate, src.tileInfo->height, src.height, call_.yMargin, nearest};
        Position end = at;
        for (AxisPieces rows(yAxis, call_.from.y + at.y, size.height); rows.next();) {
            for (AxisPieces cols(xAxis, call_.from.x + at.x, size.width); cols.next();) {
                Position reached{};
                if (!runPiece(dst, rows, cols, reached)) {
                    call_.report(TOV_STS_INTERNAL, "srcImage->tileInfo->callBack crash");
                    return false;
                }
                cols.reached(reached.x);
                end = {cols.position() - call_.from.x, reached.y};
            }
            rows.reached(end.y);
            end.y = rows.position() - call_.from.y;
        }
        at = end;
        return true;
    }

    bool runPiece(const TovImage& dst, const AxisPieces& rows, const AxisPieces& cols, Position& reached) const {
        Samples samples;
        const Size size = {cols.count(), rows.count()};
        if (!samples.ownDecimateFetch(*call_.src, cols.tile(), rows.tile(), {cols.need(), rows.need()})) return false;
        ImageView part(dst);
        part.place(part.roi.xOffset + cols.offset(), part.roi.yOffset + rows.offset(), size);
        const Size limit = smaller({cols.left(), rows.left()}, samples.block());
        reached = call_.kernel({&samples.image(),
                                &part.header,
                                limit,
                                {0, 0},
                                size,
                                call_.nChannels,
                                call_.xRate,
                                call_.yRate,
                                {cols.inTile(), rows.inTile()}});
        return true;
    }

    const DecimateCall& call_;
};

} // namespace

void runDecimate(const DecimateCall& call) { Walk(call).run(); }

} // namespace tov
