// The walk of a zoom over cells, where one of the images is tiled.
#include <cmath>

#include "core/ownrect.h"
#include "core/tiles.h"
#include "resample/zoom.h"

namespace tov {

namespace {

// The cells of a plain destination.
constexpr int32_t kPlainCell = 64;

// What a cell takes of one axis of the source.
struct CellAxis {
    int32_t start;
    int32_t extent;
    double fraction; // of the first position, from start on

    // Samples that a staged block has besides, in front of the start and in all.
    int32_t margin;
    int32_t stagedExtent;
};

CellAxis cellAxis(const Stretch& stretch, int32_t mode, int32_t offset, int32_t distance, int32_t size,
                  int32_t length) {
    CellAxis axis = {offset, 0, 0, 0, 0};
    if (distance > 0) {
        const double position = offset + distance * stretch.step;
        axis.start = smaller(ownRoundAny(position), length - 1);
        axis.fraction = position - axis.start;
    }
    axis.extent = stretch.rate > 1 ? ownRoundAny(std::ceil(size * stretch.rate)) + 1 : size + 1;
    int32_t extent = axis.extent;
    if (mode == TOV_INTER_NN) {
        axis.stagedExtent = extent;
        return axis;
    }
    const int32_t left = length - axis.start;
    extent = extent >= left ? left : extent + 1;
    if (mode == TOV_INTER_CUBIC && extent < left) extent++;
    if (axis.start > 0) {
        extent++;
        axis.margin = 1;
        if (mode == TOV_INTER_CUBIC && extent < 4) { // a cubic needs four samples
            axis.margin += 4 - extent;
            extent = 4;
        }
    }
    axis.stagedExtent = extent;
    return axis;
}

class Walk {
public:
    explicit Walk(const ZoomCall& call)
        : call_(call), src_(*call.src), dst_(*call.dst), size_(fitted(call, src_, dst_)), tiles_{} {
        if (call.dst->tileInfo != nullptr) {
            tiles_ = *call.dst->tileInfo;
        } else {
            tiles_.width = kPlainCell;
            tiles_.height = kPlainCell;
        }
    }

    void run() const {
        if (dst_.size.empty()) return;
        if (src_.size.empty()) {
            // Tells of channels that differ, and has nothing else to do.
            ownZoomRect(call_, *call_.src, *call_.dst, 0, 0, false);
            return;
        }
        const Point last = {(dst_.at.x + size_.width - 1) / tiles_.width,
                            (dst_.at.y + size_.height - 1) / tiles_.height};
        for (int32_t row = dst_.at.y / tiles_.height; row <= last.y; row++) {
            for (int32_t col = dst_.at.x / tiles_.width; col <= last.x; col++) {
                if (!runCell(tilePart(tiles_, dst_.at, size_, col, row))) return;
            }
        }
    }

private:
    bool runCell(const TilePart& cell) const {
        ImageView dst;
        HeldTile tile;
        if (call_.dst->tileInfo != nullptr) {
            tile.serve(call_.dst, TOV_TILE_WRITE);
            uint8_t* data = tile.get(cell.col, cell.row);
            if (data == nullptr) {
                kZoomReport(TOV_STS_TILE_FAILURE, "Error get tile to write");
                return false;
            }
            viewTile(dst, *call_.dst, data, cell.inTile, cell.size);
        } else {
            dst.borrow(*call_.dst);
            dst.place(dst_.at.x + cell.offset.x, dst_.at.y + cell.offset.y, cell.size);
        }
        const CellAxis x = cellAxis(call_.x, call_.mode, src_.at.x, cell.offset.x, cell.size.width, call_.src->width);
        const CellAxis y = cellAxis(call_.y, call_.mode, src_.at.y, cell.offset.y, cell.size.height, call_.src->height);
        ImageView src;
        BorderedCopy staged;
        if (!viewSource(src, staged, x, y)) {
            kZoomReport(TOV_STS_TILE_FAILURE, "Error get tile to read");
            return false;
        }
        ImageView srcMask;
        ImageView dstMask;
        src.header.maskROI = viewSourceMask(srcMask, cell, {x.extent, y.extent});
        dst.header.maskROI = nullptr;
        if (call_.dst->maskROI != nullptr) {
            dstMask.borrow(*call_.dst->maskROI);
            dstMask.place(dstMask.roi.xOffset + cell.offset.x, dstMask.roi.yOffset + cell.offset.y, cell.size);
            dst.header.maskROI = &dstMask.header;
        }
        return ownZoomRect(call_, src.header, dst.header, x.fraction, y.fraction, false);
    }

    // False when a staged block can't be had.
    bool viewSource(ImageView& view, BorderedCopy& staged, const CellAxis& x, const CellAxis& y) const {
        const Size size = {x.extent, y.extent};
        if (call_.src->tileInfo == nullptr) {
            view.borrow(*call_.src);
            view.place(x.start, y.start, size);
            return true;
        }
        const Point from = {x.start - x.margin, y.start - y.margin};
        if (!staged.fetch(view, *call_.src, from, {x.stagedExtent, y.stagedExtent}) || tovGetErrStatus() < 0) {
            return false;
        }
        view.place(x.margin, y.margin, size);
        return true;
    }

    // The part of the source's mask that belongs to a cell: `size` pixels, as far as the mask's region goes.
    TovImage* viewSourceMask(ImageView& view, const TilePart& cell, Size size) const {
        TovImage* mask = call_.src->maskROI;
        if (mask == nullptr) return nullptr;
        view.borrow(*mask);
        OwnRect whole;
        ownImageRect(*mask, whole);
        const Point at = {ownRoundAny(cell.offset.x * call_.x.step + whole.x),
                          ownRoundAny(cell.offset.y * call_.y.step + whole.y)};
        view.place(at.x, at.y, smaller(size, {whole.x + whole.width - at.x, whole.y + whole.height - at.y}));
        return &view.header;
    }

    const ZoomCall& call_;
    ZoomSide src_;
    ZoomSide dst_;
    Size size_;
    TovTileInfo tiles_;
};

} // namespace

void ownZoomCells(const ZoomCall& call) { Walk(call).run(); }

} // namespace tov
