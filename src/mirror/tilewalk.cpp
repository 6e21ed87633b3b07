// The walk of mirroring over a tiled destination.
#include "mirror/tilewalk.h"

#include "core/ownrect.h"
#include "core/tiles.h"

namespace tov {

namespace {

class Walk {
public:
    Walk(const Reporter& report, const MirrorArgs& args, Point from, Point to)
        : report_(report), args_(args), from_(from), to_(to), span_(ownTileSpan(*args.dst, args.size)) {}

    // In place the source is copied before tiles that it needs are written: as a whole, or a row or column of tiles at
    // a time where no other row or column is needed.
    MirrorEnd run() {
        const bool inPlace = args_.src == args_.dst;
        const bool rowsOutside = args_.flipAxis == 1;
        const bool wholeFirst = args_.flipAxis == -1;
        if (inPlace && wholeFirst && !keep({0, 0}, args_.size)) return MirrorEnd::kNoTemporary;
        const int32_t nOuter = rowsOutside ? span_.nRows : span_.nCols;
        const int32_t nInner = rowsOutside ? span_.nCols : span_.nRows;
        for (int32_t i = 0; i < nOuter; i++) {
            const int32_t outer = wholeFirst ? nOuter - 1 - i : i;
            if (inPlace && !wholeFirst && !keepLine(rowsOutside ? blockAt(0, outer) : blockAt(outer, 0))) {
                return MirrorEnd::kNoTemporary;
            }
            // Inner lines are walked backwards, since that is the order of the source.
            for (int32_t j = nInner - 1; j >= 0; j--) {
                const TilePart block = rowsOutside ? blockAt(j, outer) : blockAt(outer, j);
                const MirrorEnd end = mirrorBlock(block);
                if (end != MirrorEnd::kDone) return end;
            }
        }
        return MirrorEnd::kDone;
    }

private:
    // By its place in the span.
    TilePart blockAt(int32_t col, int32_t row) const {
        return tilePart(*args_.dst->tileInfo, to_, args_.size, span_.firstCol + col, span_.firstRow + row);
    }

    // Copies a part of the source's rectangle, from which blocks are then taken.
    bool keep(Point offset, Size size) {
        keptAt_ = offset;
        kept_ = copy_.fetch(keptView_, *args_.src, {from_.x + offset.x, from_.y + offset.y}, size);
        return kept_;
    }
    // The whole of the rectangle over a block's rows, or over its columns.
    bool keepLine(const TilePart& block) {
        if (args_.flipAxis == 1) return keep({0, block.offset.y}, {args_.size.width, block.size.height});
        return keep({block.offset.x, 0}, {block.size.width, args_.size.height});
    }

    // What lands in a block: its offset mirrored.
    Point sourceOf(const TilePart& block) const {
        const bool columns = args_.flipAxis != 0;
        const bool rows = args_.flipAxis != 1;
        return {columns ? args_.size.width - block.offset.x - block.size.width : block.offset.x,
                rows ? args_.size.height - block.offset.y - block.size.height : block.offset.y};
    }

    // The source's pixels for a block; false when they can't be had.
    bool viewSource(ImageView& view, BorderedCopy& copy, Point at, Size size) const {
        TovImage& source = *args_.src;
        if (!kept_ && source.tileInfo != nullptr) {
            return copy.fetch(view, source, {from_.x + at.x, from_.y + at.y}, size);
        }
        view.borrow(kept_ ? keptView_.header : source);
        view.header.maskROI = nullptr;
        const Point first = kept_ ? Point{-keptAt_.x, -keptAt_.y} : from_;
        view.place(first.x + at.x, first.y + at.y, size);
        return true;
    }

    static TovImage* viewMask(ImageView& view, const TovImage* mask, Point at, Size size) {
        if (mask == nullptr) return nullptr;
        view.borrow(*mask);
        view.place(view.roi.xOffset + at.x, view.roi.yOffset + at.y, size);
        return &view.header;
    }

    // All but kDone ends the walk.
    MirrorEnd mirrorBlock(const TilePart& block) {
        const Point at = sourceOf(block);
        ImageView source;
        ImageView sourceMask;
        ImageView dst;
        ImageView dstMask;
        BorderedCopy copy;
        if (!viewSource(source, copy, at, block.size)) return MirrorEnd::kNoTemporary;
        source.header.maskROI = viewMask(sourceMask, args_.src->maskROI, at, block.size);
        HeldTile tile(args_.dst, TOV_TILE_WRITE);
        uint8_t* data = tile.get(block.col, block.row);
        if (data == nullptr) {
            report_(TOV_STS_TILE_FAILURE, "Error get tile to write");
            return MirrorEnd::kReported;
        }
        viewTile(dst, *args_.dst, data, block.inTile, block.size);
        dst.header.maskROI = viewMask(dstMask, args_.dst->maskROI, block.offset, block.size);
        MirrorArgs args = args_;
        args.src = &source.header;
        args.dst = &dst.header;
        args.size = block.size;
        return ownMirrorDispatch(args) ? MirrorEnd::kDone : MirrorEnd::kNoTemporary;
    }

    const Reporter& report_;
    const MirrorArgs& args_;
    Point from_;
    Point to_;
    TileSpan span_;
    BorderedCopy copy_;
    ImageView keptView_;
    Point keptAt_{};
    bool kept_ = false;
};

} // namespace

MirrorEnd mirrorToTiles(const Reporter& report, const MirrorArgs& args, Point from, Point to) {
    return Walk(report, args, from, to).run();
}

} // namespace tov
