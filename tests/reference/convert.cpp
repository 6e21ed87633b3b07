// Conversion value by value; the tile requests follow from where each pixel's tiles differ from those before it.
#include "reference/convert.h"

#include <algorithm>

namespace tovtest {
namespace {

// Which tile of an image is held at each step of the walk.
class Holder {
public:
    Holder(Scene& owner, const TestImage& of, int32_t asked) : scene(owner), image(of), mode(asked) {}

    void moveTo(int32_t x, int32_t y) {
        if (!image.tiled()) return;
        const int32_t newCol = x / image.tiles.width, newRow = y / image.tiles.height;
        if (held && newCol == col && newRow == row) return;
        release();
        col = newCol, row = newRow, held = true;
        scene.server.log.push_back({image.index, col, row, mode});
    }
    void release() {
        if (held) scene.server.log.push_back({image.index, col, row, TOV_TILE_RELEASE});
        held = false;
    }

private:
    Scene& scene;
    const TestImage& image;
    int32_t mode, col = 0, row = 0;
    bool held = false;
};

} // namespace

void convertImage(Scene& scene, TestImage& src, TestImage& dst) {
    if (&src == &dst) return;
    const int32_t width = dst.header.width, height = dst.header.height;
    const bool flips = src.header.origin != dst.header.origin;
    const bool toBits = dst.header.depth == TOV_DEPTH_1U;
    const bool copiesBits = src.header.depth == TOV_DEPTH_1U;
    const int32_t first = toBits && src.header.nChannels > 1 ? src.roi.coi - 1 : 0;
    ++scene.notes[src.tiled() || dst.tiled() ? "tiles" : "plain"];
    ++scene.notes[copiesBits ? "bit copy" : toBits ? "to bits" : flips ? "flipped" : "straight"];
    const auto sourceRow = [&](int32_t y) { return flips ? height - 1 - y : y; };
    for (int32_t y = 0; y < height; ++y) { // rows of the source, which counts where memory overlaps
        for (int32_t c = 0; c < (toBits ? 1 : dst.header.nChannels); ++c) {
            // Bits are copied in whole bytes, those behind a row's end included.
            const int32_t end = copiesBits ? (width + 7) / 8 * 8 : width;
            for (int32_t x = 0; x < end; ++x) {
                const double value = getSample(src, x, y, first + c);
                setSample(dst, x, sourceRow(y), c, toBits ? value > 0 : saturate(value, dst.header.depth));
            }
        }
    }
    // Blocks: a row of blocks is as high as the tiles of both allow.
    Holder from(scene, src, TOV_TILE_READ), to(scene, dst, TOV_TILE_WRITE);
    int32_t bandEnd = 0;
    for (int32_t y = 0; y < height; y = bandEnd) {
        const auto newRow = [&](int32_t line) {
            const int32_t a = sourceRow(line) / (src.tiled() ? src.tiles.height : height);
            const int32_t b = line / (dst.tiled() ? dst.tiles.height : height);
            return a * 100000 + b;
        };
        for (bandEnd = y + 1; bandEnd < height && newRow(bandEnd) == newRow(y);) ++bandEnd;
        for (int32_t x = 0; x < width; ++x) {
            to.moveTo(x, y);
            from.moveTo(x, sourceRow(y));
        }
    }
    to.release();
    from.release();
}

} // namespace tovtest
