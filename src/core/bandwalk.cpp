// The band walk over tiled images.
#include "core/bandwalk.h"

#include "core/ownrect.h"
#include "core/tiles.h"

namespace tov {

namespace {

// Where the walk stands in one image's grid. Column and row ranges are those of the current tile, ends exclusive; the
// last tile may end beyond the largest coordinate.
struct OwnTileWalker {
    bool tiled;
    int64_t colStart;
    int64_t colEnd;
    int64_t rowStart;
    int64_t rowEnd;
    int32_t col;
    int32_t row;
    int32_t tileHeight;
    int32_t tileWidth;

    void toColumn(int32_t newCol) {
        col = newCol;
        colStart = int64_t{col} * tileWidth;
        colEnd = colStart + tileWidth;
    }
    void toRow(int32_t newRow) {
        row = newRow;
        rowStart = int64_t{row} * tileHeight;
        rowEnd = rowStart + tileHeight;
    }
};

// Makes the view's header that of a plain image or of one tile, and puts the walker on the rectangle's first tile.
void ownTileViewInit(TovImage* image, ImageView& view, const OwnRect& rect, OwnTileWalker& walker) {
    walker = {};
    view.header.maskROI = nullptr;
    walker.tiled = image->tileInfo != nullptr;
    if (!walker.tiled) return;
    const TovTileInfo& tiles = *image->tileInfo;
    shapeAsPlain(view.header, {tiles.width, tiles.height}, ownTileRowBytes(image));
    walker.tileWidth = tiles.width;
    walker.tileHeight = tiles.height;
    walker.toColumn(rect.x / tiles.width);
    walker.toRow(rect.y / tiles.height);
}

// One image of the walk.
class BandImage {
public:
    void init(TovImage* image, const char* context, int32_t mode) {
        view.borrow(*image);
        ownImageRect(*image, rect);
        image_ = image;
        context_ = context;
        tile_.serve(image, mode);
    }
    bool inPlay() const { return image_ != nullptr; }

    void begin(Size size) {
        rect.xEnd = rect.x + size.width;
        rect.yEnd = rect.y + size.height;
        ownTileViewInit(image_, view, rect, walker_);
        firstCol_ = walker_.col;
        row_ = rect.y;
        col_ = rect.x;
    }
    bool rowsLeft() const { return row_ < rect.yEnd; }
    bool columnsLeft() const { return col_ < rect.xEnd; }

    // Begins a band: the view's rows run to the end of the tile row. False when the first tile can't be had.
    bool beginBand() {
        col_ = rect.x;
        if (!walker_.tiled) {
            view.roi.yOffset = row_;
            view.roi.height = rect.yEnd - row_;
            return true;
        }
        walker_.toColumn(firstCol_);
        if (row_ >= walker_.rowEnd) walker_.toRow(walker_.row + 1);
        view.roi.yOffset = static_cast<int32_t>(row_ - walker_.rowStart);
        view.roi.height = static_cast<int32_t>((walker_.rowEnd < rect.yEnd ? walker_.rowEnd : rect.yEnd) - row_);
        return getTile();
    }

    // Begins a cell: the view's columns run to the end of the tile. False when a new tile can't be had.
    bool beginCell() {
        if (!walker_.tiled) {
            view.roi.xOffset = col_;
            view.roi.width = rect.xEnd - col_;
            return true;
        }
        if (col_ >= walker_.colEnd) {
            tile_.release();
            walker_.toColumn(walker_.col + 1);
            if (!getTile()) return false;
        }
        view.roi.xOffset = static_cast<int32_t>(col_ - walker_.colStart);
        view.roi.width = static_cast<int32_t>((walker_.colEnd < rect.xEnd ? walker_.colEnd : rect.xEnd) - col_);
        return true;
    }

    void advanceColumns(int32_t width) { col_ += width; }
    void advanceRows(int32_t height) { row_ += height; }
    void release() { tile_.release(); }
    const char* context() const { return context_; }

    ImageView view;
    OwnRect rect{};

private:
    bool getTile() {
        view.header.imageData = tile_.get(walker_.col, walker_.row);
        return view.header.imageData != nullptr;
    }

    TovImage* image_ = nullptr;
    const char* context_ = nullptr;
    OwnTileWalker walker_{};
    HeldTile tile_;
    int32_t firstCol_ = 0;
    int32_t row_ = 0;
    int32_t col_ = 0;
};

// The images of a walk in the order in which they are served: sources, mask, destination, where cells begin; sources,
// destination, where bands begin, since a mask has no tiles.
class Walk {
public:
    explicit Walk(const BandWalk& walk) : walk_(walk) {
        BandImage& dst = images_[kDst];
        dst.init(walk.dst, walk.dstContext, TOV_TILE_WRITE);
        for (int32_t i = 0; i < 2; i++) {
            TovImage* source = walk.sources[i];
            if (source == nullptr || source == walk.dst) continue;
            images_[kSourceA + i].init(source, walk.sourceContexts[i], TOV_TILE_READ);
        }
        if (walk.mask != nullptr) images_[kMask].init(walk.mask, nullptr, 0);
        size_ = {dst.rect.width, dst.rect.height};
        for (const BandImage& image : images_) {
            if (image.inPlay()) size_ = smaller(size_, {image.rect.width, image.rect.height});
        }
        for (int32_t i = 0; i < 2; i++) {
            TovImage* source = walk.sources[i];
            BandImage& part = source == walk.dst ? dst : images_[kSourceA + i];
            cell_.sources[i] = source != nullptr ? &part.view.header : nullptr;
        }
        cell_.dst = &dst.view.header;
        cell_.mask = walk.mask != nullptr ? &images_[kMask].view.header : nullptr;
    }

    void run(void (*kernel)(const void* kernelArgs, const BandCell& cell), const void* kernelArgs) {
        if (size_.empty()) return;
        for (BandImage& image : images_) {
            if (image.inPlay()) image.begin(size_);
        }
        while (images_[kDst].rowsLeft()) {
            if (!band(kernel, kernelArgs)) return releaseAll();
        }
    }

private:
    enum { kSourceA, kSourceB, kMask, kDst, kImages };

    bool band(void (*kernel)(const void* kernelArgs, const BandCell& cell), const void* kernelArgs) {
        if (!each(&BandImage::beginBand)) return false;
        const int32_t height = common(&TovROI::height);
        while (images_[kDst].columnsLeft()) {
            if (!each(&BandImage::beginCell)) return false;
            const int32_t width = common(&TovROI::width);
            kernel(kernelArgs, cell_);
            for (BandImage& image : images_) image.advanceColumns(width);
        }
        releaseAll();
        for (BandImage& image : images_) image.advanceRows(height);
        return true;
    }

    bool each(bool (BandImage::*step)()) {
        for (BandImage& image : images_) {
            if (image.inPlay() && !(image.*step)()) {
                walk_.report(TOV_STS_BAD_ARG, image.context());
                return false;
            }
        }
        return true;
    }

    // The smallest of a field of the regions in play, which all of them take.
    int32_t common(int32_t TovROI::*field) {
        int32_t smallest = INT32_MAX;
        for (const BandImage& image : images_) {
            if (image.inPlay() && image.view.roi.*field < smallest) smallest = image.view.roi.*field;
        }
        for (BandImage& image : images_) image.view.roi.*field = smallest;
        return smallest;
    }

    void releaseAll() {
        for (BandImage& image : images_) image.release();
    }

    const BandWalk& walk_;
    BandImage images_[kImages];
    BandCell cell_{};
    Size size_{};
};

} // namespace

void runBandWalk(const BandWalk& walk, void (*kernel)(const void* kernelArgs, const BandCell& cell),
                 const void* kernelArgs) {
    Walk(walk).run(kernel, kernelArgs);
}

} // namespace tov
