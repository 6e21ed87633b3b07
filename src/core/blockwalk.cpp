// The block walk over tiled images.
#include "core/blockwalk.h"

#include "core/ownrect.h"
#include "core/tiles.h"

namespace tov {

namespace {

Point startOf(const TovImage& image) {
    return image.roi != nullptr ? Point{image.roi->xOffset, image.roi->yOffset} : Point{0, 0};
}

// A view's region on a plain image: its own offset plus the cell's.
void placeOnPlain(ImageView& view, const TovImage& image, const TilePart& cell) {
    view.borrow(image);
    view.header.maskROI = nullptr;
    view.place(view.roi.xOffset + cell.offset.x, view.roi.yOffset + cell.offset.y, cell.size);
}

class Walk {
public:
    Walk(const BlockWalk& walk, void (*operation)(const void*, TovImage*, TovImage*), const void* args)
        : walk_(walk), operation_(operation), args_(args), toDst_(walk.dst->tileInfo != nullptr) {}

    void run() {
        if (walk_.size.empty()) return;
        const TovImage& image = toDst_ ? *walk_.dst : *walk_.source;
        const TileSpan span = ownTileSpan(image, walk_.size);
        for (int32_t r = 0; r < span.nRows; r++) {
            for (int32_t c = 0; c < span.nCols; c++) {
                const TilePart cell =
                    tilePart(*image.tileInfo, startOf(image), walk_.size, span.firstCol + c, span.firstRow + r);
                if (!(toDst_ ? writeCell(cell) : readCell(cell))) return;
            }
        }
    }

private:
    bool writeCell(const TilePart& cell) {
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
        const Point from = startOf(*walk_.source);
        if (!copy.fetch(source, *walk_.source, {from.x + cell.offset.x, from.y + cell.offset.y}, cell.size)) {
            walk_.report.backtrace();
            return false;
        }
        operate(cell, &source, dst);
        tile.release();
        return true;
    }

    bool readCell(const TilePart& cell) {
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

    void operate(const TilePart& cell, ImageView* source, ImageView& dst) {
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
