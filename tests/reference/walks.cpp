// Naive forms of the walks: positions instead of walkers.
#include "reference/walks.h"

#include <algorithm>

#include "reference/samples.h"

namespace tovtest {

void logBands(Scene& scene, const std::vector<TestImage*>& sources, TestImage& dst, int32_t width, int32_t height) {
    std::vector<TestImage*> images = sources;
    images.push_back(&dst);
    images.erase(std::remove_if(images.begin(), images.end(), [](TestImage* i) { return !i->tiled(); }), images.end());
    if (width <= 0 || height <= 0) return;
    const auto log = [&](const TestImage* image, int32_t x, int32_t y, int32_t mode) {
        const Area region = regionOf(*image);
        if (mode != TOV_TILE_RELEASE) mode = image == &dst ? TOV_TILE_WRITE : TOV_TILE_READ;
        scene.server.log.push_back(
            {image->index, (region.x + x) / image->tiles.width, (region.y + y) / image->tiles.height, mode});
    };
    for (int32_t y = 0; y < height;) {
        int32_t bandEnd = height;
        for (const TestImage* image : images) {
            const int32_t row = regionOf(*image).y + y, tile = image->tiles.height;
            bandEnd = std::min(bandEnd, y + tile - row % tile);
            log(image, 0, y, TOV_TILE_READ);
        }
        for (int32_t x = 1; x < width; ++x) {
            for (const TestImage* image : images) {
                if ((regionOf(*image).x + x) % image->tiles.width != 0) continue;
                log(image, x - 1, y, TOV_TILE_RELEASE);
                log(image, x, y, TOV_TILE_READ);
            }
        }
        for (const TestImage* image : images) log(image, width - 1, y, TOV_TILE_RELEASE);
        y = bandEnd;
    }
}

void logGather(Scene& scene, const TestImage& image, int32_t x, int32_t y, int32_t width, int32_t height) {
    const int32_t w = image.tiles.width, h = image.tiles.height;
    for (int32_t row = y / h; row <= (y + height - 1) / h; ++row) {
        const int32_t first = x / w, last = (x + width - 1) / w;
        for (int32_t col = first; col <= last; ++col) {
            scene.server.log.push_back({image.index, col, row, TOV_TILE_READ});
        }
        for (int32_t col = last; col >= first; --col) {
            scene.server.log.push_back({image.index, col, row, TOV_TILE_RELEASE});
        }
    }
}

void logBlocks(Scene& scene, TestImage* src, TestImage& dst, int32_t width, int32_t height) {
    const TestImage& grid = dst.tiled() ? dst : *src;
    const Area at = regionOf(grid);
    const int32_t w = grid.tiles.width, h = grid.tiles.height;
    const int32_t mode = dst.tiled() ? TOV_TILE_WRITE : TOV_TILE_READ;
    for (int32_t y = 0; y < height; y += h - (at.y + y) % h) {
        for (int32_t x = 0; x < width; x += w - (at.x + x) % w) {
            const TileEvent get{grid.index, (at.x + x) / w, (at.y + y) / h, mode};
            scene.server.log.push_back(get);
            if (src && src->tiled() && dst.tiled()) {
                const Area from = regionOf(*src);
                logGather(scene, *src, from.x + x, from.y + y, std::min(width - x, w - (at.x + x) % w),
                          std::min(height - y, h - (at.y + y) % h));
            }
            scene.server.log.push_back({get.image, get.x, get.y, TOV_TILE_RELEASE});
        }
    }
}

} // namespace tovtest
