// The walk of depth conversion over plain and tiled images.
#include "reduce/convert_walk.h"

#include "core/tiles.h"

namespace tov {

namespace {

// One image of the walk: its grid of tiles, a single one for a plain image, and the tile at hand.
class Side {
public:
    Side(TovImage& image, int32_t mode, const char* noTile)
        : image_(image), noTile_(noTile), tiled_(image.tileInfo != nullptr), tile_(&image, mode) {
        grid_ = tiled_ ? Size{image.tileInfo->width, image.tileInfo->height} : Size{image.width, image.height};
        rowStep_ = tiled_ ? ownTileRowBytes(&image) : image.widthStep;
        data_ = image.imageData;
    }

    bool tiled() const { return tiled_; }
    Size grid() const { return grid_; }
    bool isAt(int32_t x, int32_t y) const { return x / grid_.width == col_ && y / grid_.height == row_; }

    // Asks for the tile that holds a pixel.
    bool fetch(const Reporter& report, int32_t x, int32_t y) {
        col_ = x / grid_.width;
        row_ = y / grid_.height;
        data_ = tile_.get(col_, row_);
        if (data_ == nullptr) report(TOV_STS_BAD_ARG, noTile_);
        return data_ != nullptr;
    }
    void release() { tile_.release(); }
    void forget() { tile_.dismiss(); }

    // From a pixel of the tile at hand on.
    ConvertView view(Point at) const {
        ConvertView view = {image_.depth, image_.nChannels, image_.dataOrder, image_.origin, grid_.height, rowStep_,
                            data_};
        const ptrdiff_t x = image_.depth == TOV_DEPTH_1U ? at.x >> 3 : at.x * view.pixelBytes();
        view.base += at.y * view.rowStep + x;
        return view;
    }

private:
    TovImage& image_;
    const char* noTile_;
    bool tiled_;
    Size grid_{};
    int32_t rowStep_;
    uint8_t* data_;
    int32_t col_ = 0;
    int32_t row_ = 0;
    HeldTile tile_;
};

class Walk {
public:
    Walk(const Reporter& report, TovImage& src, TovImage& dst, ConvertKernel kernel, int32_t srcChannel)
        : report_(report),
          kernel_(kernel),
          srcChannel_(srcChannel),
          size_{dst.width, dst.height},
          flips_(src.origin != dst.origin),
          src_(src, TOV_TILE_READ, "(srcImage->tileInfo->tileData == NULL)"),
          dst_(dst, TOV_TILE_WRITE, "(dstImage->tileInfo->tileData == NULL)") {}

    void run() {
        if (dst_.tiled() && !dst_.fetch(report_, 0, 0)) return;
        if (!src_.tiled() || readSource(0, 0)) convertBlocks();
        dst_.release();
        src_.release();
    }

private:
    int32_t sourceRow(int32_t y) const { return flips_ ? size_.height - 1 - y : y; }

    // False ends the walk, and then the tile isn't held, whatever the answer was.
    bool readSource(int32_t x, int32_t y) {
        if (src_.fetch(report_, x, sourceRow(y)) && tovGetErrStatus() >= 0) return true;
        src_.forget();
        return false;
    }
    bool writeTo(int32_t x, int32_t y) {
        dst_.release();
        if (dst_.fetch(report_, x, y) && tovGetErrStatus() >= 0) return true;
        dst_.forget();
        return false;
    }

    void convertBlocks() {
        int32_t height = 0;
        for (int32_t y = 0; y < size_.height; y += height) {
            int32_t width = 0;
            for (int32_t x = 0; x < size_.width; x += width) {
                if (!dst_.isAt(x, y) && !writeTo(x, y)) return;
                if (!src_.isAt(x, sourceRow(y))) {
                    src_.release();
                    if (!readSource(x, y)) return;
                }
                const Size block = blockAt(x, y);
                convert(x, y, block);
                width = block.width;
                height = block.height;
            }
        }
    }

    // What of both tiles remains from a pixel on, within the image. Where the source's rows are walked upwards, it
    // begins at its tile's upper edge or as many rows above the pixel as the destination's tile has below it.
    Size blockAt(int32_t x, int32_t y) const {
        const auto rest = [](int32_t at, int32_t length) { return length - at % length; };
        const int32_t srcRow = sourceRow(y) % src_.grid().height;
        const int32_t srcRest = flips_ ? srcRow + 1 : src_.grid().height - srcRow;
        const Size tiles = {smaller(rest(x, dst_.grid().width), rest(x, src_.grid().width)),
                            smaller(rest(y, dst_.grid().height), srcRest)};
        return smaller(tiles, {size_.width - x, size_.height - y});
    }

    void convert(int32_t x, int32_t y, Size block) const {
        const int32_t srcRow = sourceRow(y) - (flips_ ? block.height - 1 : 0);
        ConvertView src = src_.view({x % src_.grid().width, srcRow % src_.grid().height});
        src.base += srcChannel_ * src.channelBytes();
        kernel_(src, dst_.view({x % dst_.grid().width, y % dst_.grid().height}), block);
    }

    const Reporter& report_;
    ConvertKernel kernel_;
    int32_t srcChannel_;
    Size size_;
    bool flips_;
    Side src_;
    Side dst_;
};

} // namespace

void ownConvertWalk(const Reporter& report, TovImage& src, TovImage& dst, ConvertKernel kernel, int32_t srcChannel) {
    Walk(report, src, dst, kernel, srcChannel).run();
}

} // namespace tov
