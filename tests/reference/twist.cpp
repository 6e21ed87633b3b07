// Sums of whole numbers, scaled by what they are compared with.
#include "reference/twist.h"

#include <algorithm>

namespace tovtest {
namespace {

// An output sample. All limits are scaled up instead of the sum down.
int32_t twisted(const TovColorTwist& twist, int row, const int32_t (&x)[3], int32_t offset, int32_t V) {
    int64_t sum = twist.data[4 * row + 3];
    for (int c = 0; c < 3; ++c) sum += int64_t{twist.data[4 * row + c]} * x[c];
    if (offset >= V) return V;
    if (offset <= -V) return 0;
    const int64_t low = offset < 0 ? -offset : 0, high = offset < 0 ? V + 1 : V + 1 - offset;
    const int64_t unit = int64_t{1} << twist.scalingValue;
    const int64_t whole = sum < low * unit ? low : sum >= high * unit ? high - 1 : sum / unit;
    return static_cast<int32_t>(whole) + offset;
}

// The tile of each image changes wherever the walk enters another one.
void logTwist(Scene& scene, TestImage& src, TestImage& dst, int32_t width, int32_t height) {
    std::vector<TestImage*> sides = {&dst};
    if (&src != &dst) sides.push_back(&src);
    struct Tile {
        int32_t col = -1, row = -1;
    };
    std::vector<Tile> held(2);
    const auto log = [&](const TestImage* image, const Tile& tile, int32_t mode) {
        scene.server.log.push_back({image->index, tile.col, tile.row, mode});
    };
    for (int32_t y = 0; y < height; ++y) {
        bool bandBegins = y == 0;
        for (const TestImage* side : {&dst, &src}) {
            bandBegins = bandBegins || (side->tiled() && (regionOf(*side).y + y) % side->tiles.height == 0);
        }
        for (int32_t x = 0; x < width && bandBegins; ++x) {
            for (std::size_t i = 0; i < sides.size(); ++i) {
                if (!sides[i]->tiled()) continue;
                const Area at = regionOf(*sides[i]);
                const Tile tile{(at.x + x) / sides[i]->tiles.width, (at.y + y) / sides[i]->tiles.height};
                if (tile.col == held[i].col && tile.row == held[i].row) continue;
                if (held[i].col >= 0) log(sides[i], held[i], TOV_TILE_RELEASE);
                held[i] = tile;
                log(sides[i], tile, i == 0 ? TOV_TILE_WRITE : TOV_TILE_READ);
            }
        }
    }
    for (std::size_t i = 0; i < sides.size(); ++i) {
        if (held[i].col >= 0) log(sides[i], held[i], TOV_TILE_RELEASE);
    }
}

} // namespace

void twistImage(Scene& scene, TestImage& src, TestImage& dst, const TovColorTwist& twist, int32_t offset) {
    const Common common({&src, &dst}, masksOf({&src, &dst}));
    if (common.empty()) return;
    if (common.masked()) ++scene.notes["masked"];
    if (src.mask && dst.mask && src.mask != dst.mask) ++scene.notes["merged"];
    if (src.tiled() || dst.tiled()) ++scene.notes["tiled"];
    if (&src == &dst) ++scene.notes["in place"];
    logTwist(scene, src, dst, common.width, common.height);
    const Area from = regionOf(src), to = regionOf(dst);
    const int32_t V = dst.header.depth == TOV_DEPTH_8U ? 255 : 65535;
    // Blocks end at tile edges; memory of tiles is not shared, so pixels may go row by row.
    for (int32_t j = 0; j < common.height; ++j) {
        for (int32_t i = 0; i < common.width; ++i) {
            if (!common.allows(i, j)) continue;
            int32_t x[3];
            for (int c = 0; c < 3; ++c) x[c] = static_cast<int32_t>(getSample(src, from.x + i, from.y + j, c));
            for (int c = 0; c < 3; ++c) setSample(dst, to.x + i, to.y + j, c, twisted(twist, c, x, offset, V));
        }
    }
}

} // namespace tovtest
