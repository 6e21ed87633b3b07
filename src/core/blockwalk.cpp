// The block walk over tiled images.
#include "core/blockwalk.h"

#include "core/ownrect.h"
#include "core/tiles.h"

namespace tov {

namespace {

// One cell: its place in the grid's current tile, its distance from the rectangle's first pixel, and its size.
struct Cell {
    int32_t col;
    int32_t row;
    Point inTile;
    Point distance;
    Size size;
};

// A view's region on a plain image: its own offset plus the cell's distance.
void placeOnPlain(ImageView& view, const TovImage& image, const Cell& cell) {
    view.borrow(image);
    view.header.maskROI = nullptr;
    view.place(view.roi.xOffset + cell.distance.x, view.roi.yOffset + cell.distance.y, cell.size);
}

class Walk {
public:
    Walk(const BlockWalk& walk, void (*operation)(const void*, TovImage*, TovImage*), const void* args)
        : walk_(walk), operation_(operation), args_(args), toDst_(walk.dst->tileInfo != nullptr) {}

    void run() {
        if (walk_.size.empty()) return;
        const TileSpan span = ownTileSpan(toDst_ ? *walk_.dst : *walk_.source, walk_.size);
        Cell cell{};
        for (int32_t r = 0; r < span.nRows; r++) {
            cell.row = span.firstRow + r;
            cell.inTile.y = r == 0 ? span.yInTile : 0;
            cell.size.height = fitted(span.tileHeight - cell.inTile.y, walk_.size.height - cell.distance.y);
            cell.distance.x = 0;
            for (int32_t c = 0; c < span.nCols; c++) {
                cell.col = span.firstCol + c;
                cell.inTile.x = c == 0 ? span.xInTile : 0;
                cell.size.width = fitted(span.tileWidth - cell.inTile.x, walk_.size.width - cell.distance.x);
                if (!(toDst_ ? writeCell(cell) : readCell(cell))) return;
                cell.distance.x += cell.size.width;
            }
            cell.distance.y += cell.size.height;
        }
    }

private:
    static int32_t fitted(int32_t inTile, int32_t left) { return inTile < left ? inTile : left; }

    bool writeCell(const Cell& cell) {
        HeldTile tile(walk_.dst, TOV_TILE_WRITE);
        uint8_t* data = tile.get(cell.col, cell.row);
        if (data == nullptr) {
            walk_.report(TOV_STS_TILE_FAILURE, "Error get tile to write");
            return false;
        }
        ImageView dst;
        viewTile(dst, *walk_.dst, data, cell.inTile, cell.size);
        if (walk_.source == nullptr) {
            operate(cell, nullptr, dst);
            return true;
        }
        ImageView source;
        if (walk_.source->tileInfo == nullptr) {
            placeOnPlain(source, *walk_.source, cell);
            operate(cell, &source, dst);
            return true;
        }
        BorderedCopy copy;
        const TovROI* roi = walk_.source->roi;
        const Point from = roi != nullptr ? Point{roi->xOffset, roi->yOffset} : Point{0, 0};
        const Point at = {from.x + cell.distance.x, from.y + cell.distance.y};
        if (!copy.fetch(source, *walk_.source, at, cell.size)) {
            walk_.report.backtrace();
            return false;
        }
        operate(cell, &source, dst);
        tile.release();
        return true;
    }

    bool readCell(const Cell& cell) {
        HeldTile tile(walk_.source, TOV_TILE_READ);
        uint8_t* data = tile.get(cell.col, cell.row);
        if (data == nullptr) {
            walk_.report(TOV_STS_TILE_FAILURE, "Error get tile to read");
            return false;
        }
        ImageView source;
        ImageView dst;
        viewTile(source, *walk_.source, data, cell.inTile, cell.size);
        placeOnPlain(dst, *walk_.dst, cell);
        operate(cell, &source, dst);
        return true;
    }

    void operate(const Cell& cell, ImageView* source, ImageView& dst) {
        ImageView mask;
        if (walk_.mask != nullptr) {
            placeOnPlain(mask, *walk_.mask, cell);
            dst.header.maskROI = &mask.header;
        }
        operation_(args_, source != nullptr ? &source->header : nullptr, &dst.header);
    }

    const BlockWalk& walk_;
    void (*operation_)(const void*, TovImage*, TovImage*);
    const void* args_;
    bool toDst_;
};

} // namespace

void runBlockWalk(const BlockWalk& walk, void (*operation)(const void* args, TovImage* source, TovImage* dst),
                  const void* args) {
    Walk(walk, operation, args).run();
}

} // namespace tov
