// Erosion by the whole square of every pixel; rows are read when the operation reads them.
#include "reference/erode.h"

#include <algorithm>

#include "reference/borders.h"

namespace tovtest {
namespace {

uint32_t valueAt(const TestImage& image, int32_t x, int32_t y, int c) {
    const int side = sideOf(image, x, y);
    const bool constant = side >= 0 && (image.header.borderMode[side] & 3) == TOV_BORDER_CONSTANT;
    if (constant && image.header.depth == TOV_DEPTH_1U) return image.header.borderConst[side] != 0;
    return borderedBits(image, x, y, c);
}

// The tiles of a row: one after the other in runs that end where the width repeats; of a replicated column once a run.
void logRow(Scene& scene, const TestImage& image, int32_t x, int32_t y, int32_t count, int32_t mode) {
    if (!image.tiled()) return;
    const int32_t width = image.header.width;
    int32_t tile = -1;
    for (int32_t u = x; u < x + count; ++u) {
        if (u % width == 0) tile = -1;
        const int side = sideOf(image, u, y);
        const int32_t border = side < 0 ? TOV_BORDER_WRAP : image.header.borderMode[side] & 3;
        if (border == TOV_BORDER_CONSTANT) continue;
        const int32_t col = extended(u, width, border) / image.tiles.width;
        const int32_t row = extended(y, image.header.height, border) / image.tiles.height;
        if (col == tile) continue;
        tile = col;
        scene.server.log.push_back({image.index, col, row, mode});
        scene.server.log.push_back({image.index, col, row, TOV_TILE_RELEASE});
    }
}

} // namespace

void erodeImage(Scene& scene, TestImage& src, TestImage& dst, int32_t n) {
    const auto srcChannels = channelsOf(src), dstChannels = channelsOf(dst);
    const Common common({&src, &dst}, masksOf({&src, &dst}));
    if (common.empty()) return;
    const int32_t w = common.width, h = common.height;
    const Area from = regionOf(src), to = regionOf(dst);
    for (std::size_t k = 0; k < srcChannels.size(); ++k) {
        std::vector<std::vector<uint32_t>> lines; // each with the rim of a pixel at both ends
        for (int32_t y = -n; y < h + n; ++y) {
            std::vector<uint32_t> line;
            const int32_t v = from.y + std::clamp(y, -1, h);
            for (int32_t u = -1; u <= w; ++u) line.push_back(valueAt(src, from.x + u, v, srcChannels[k]));
            lines.push_back(line);
            logRow(scene, src, from.x - n, v, w + 2 * n, TOV_TILE_READ);
            const int32_t row = y - n;
            if (row < 0) continue;
            if (common.masked()) logRow(scene, dst, to.x, to.y + row, w, TOV_TILE_READ);
            for (int32_t x = 0; x < w; ++x) {
                uint32_t least = UINT32_MAX;
                for (int32_t j = row; j <= row + 2 * n; ++j) {
                    for (int32_t u = x - n; u <= x + n; ++u)
                        least = std::min(least, lines[j][std::clamp(u, -1, w) + 1]);
                }
                if (common.allows(x, row)) setSample(dst, to.x + x, to.y + row, dstChannels[k], least);
            }
            logRow(scene, dst, to.x, to.y + row, w, TOV_TILE_WRITE);
        }
    }
    ++scene.notes[&src == &dst ? "in place" : "between images"];
    if (common.masked()) ++scene.notes["masked"];
    if (src.tiled()) ++scene.notes["from tiles"];
    if (dst.tiled()) ++scene.notes["to tiles"];
    if (n > w) ++scene.notes["a square wider than the region"];
}

} // namespace tovtest
