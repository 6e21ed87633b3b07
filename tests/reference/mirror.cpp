// Mirroring value by value: the source is read as a whole before anything is written.
#include "reference/mirror.h"

#include <algorithm>

#include "reference/walks.h"

namespace tovtest {
namespace {

bool refuse(Scene& scene, bool fails, const char* context) {
    if (!fails) return false;
    scene.reports.push_back({TOV_STS_BAD_ARG, "tovMirror", context, "tovmirr"});
    scene.status = TOV_STS_BAD_ARG;
    return true;
}

// The tile requests of a tiled destination.
void logWalk(Scene& scene, TestImage& src, TestImage& dst, int32_t width, int32_t height, int32_t axis) {
    const Area from = regionOf(src), to = regionOf(dst);
    const int32_t tw = dst.tiles.width, th = dst.tiles.height;
    const bool inPlace = &src == &dst;
    const auto tilesOf = [](int32_t start, int32_t length, int32_t tile, bool backwards) {
        std::vector<int32_t> tiles;
        for (int32_t t = start / tile; t <= (start + length - 1) / tile; ++t) tiles.push_back(t);
        if (backwards) std::reverse(tiles.begin(), tiles.end());
        return tiles;
    };
    const auto cols = tilesOf(to.x, width, tw, axis != 0), rows = tilesOf(to.y, height, th, axis != 1);
    const auto cut = [](int32_t tile, int32_t length, int32_t start, int32_t whole) {
        const int32_t begin = std::max(tile * length, start), end = std::min((tile + 1) * length, start + whole);
        return std::pair<int32_t, int32_t>(begin - start, end - begin);
    };
    const auto block = [&](int32_t col, int32_t row) {
        const auto [bx, bw] = cut(col, tw, to.x, width);
        const auto [by, bh] = cut(row, th, to.y, height);
        if (src.tiled() && !inPlace) {
            logGather(scene, src, from.x + (axis != 0 ? width - bx - bw : bx),
                      from.y + (axis != 1 ? height - by - bh : by), bw, bh);
        }
        scene.server.log.push_back({dst.index, col, row, TOV_TILE_WRITE});
        scene.server.log.push_back({dst.index, col, row, TOV_TILE_RELEASE});
    };
    if (inPlace && axis == -1) logGather(scene, src, from.x, from.y, width, height);
    for (int32_t outer : axis == 1 ? rows : cols) {
        const auto [b, n] = axis == 1 ? cut(outer, th, to.y, height) : cut(outer, tw, to.x, width);
        if (inPlace && axis == 1) logGather(scene, src, from.x, from.y + b, width, n);
        if (inPlace && axis == 0) logGather(scene, src, from.x + b, from.y, n, height);
        for (int32_t inner : axis == 1 ? cols : rows) axis == 1 ? block(inner, outer) : block(outer, inner);
    }
}

} // namespace

void mirrorImage(Scene& scene, TestImage& src, TestImage& dst, int32_t axis) {
    const auto srcChannels = channelsOf(src), dstChannels = channelsOf(dst);
    const bool bits = src.form.depth == TOV_DEPTH_1U;
    if (refuse(scene, &src == &dst && src.mask, "(srcImage==dstImage && srcImage->maskROI != ((void *)0))")) return;
    if (refuse(scene, bits && src.form.alpha, "(srcImage->depth==1 && srcImage->alphaChannel!=0)")) return;
    if (refuse(scene, bits && dst.form.alpha, "(dstImage->depth==1 && dstImage->alphaChannel!=0)")) return;
    if (refuse(scene, srcChannels.size() != dstChannels.size(), "(nChannelsSrc != nChannelsDst)")) return;
    const bool oneChannel = src.form.nChannels == 1 && dst.form.nChannels == 1;
    if (refuse(scene, !oneChannel && src.form.order != dst.form.order, "(srcImage->dataOrder!=dstImage->dataOrder)")) {
        return;
    }
    const Area from = regionOf(src), to = regionOf(dst);
    int32_t width = std::min(from.width, to.width), height = std::min(from.height, to.height);
    for (const TestImage* mask : {src.mask, dst.mask}) {
        if (!mask) continue;
        width = std::min(width, regionOf(*mask).width);
        height = std::min(height, regionOf(*mask).height);
    }
    if (width <= 0 || height <= 0) return;
    scene.notes[&src == &dst ? "in place" : "between images"]++;
    const auto allows = [](const TestImage* mask, int32_t i, int32_t j) {
        return !mask || getSample(*mask, regionOf(*mask).x + i, regionOf(*mask).y + j, 0) != 0;
    };
    std::vector<double> values;
    for (int c : srcChannels) {
        for (int32_t j = 0; j < height; ++j) {
            for (int32_t i = 0; i < width; ++i) values.push_back(getSample(src, from.x + i, from.y + j, c));
        }
    }
    for (std::size_t k = 0; k < dstChannels.size(); ++k) {
        for (int32_t j = 0; j < height; ++j) {
            for (int32_t i = 0; i < width; ++i) {
                const int32_t si = axis != 0 ? width - 1 - i : i, sj = axis != 1 ? height - 1 - j : j;
                const bool moves = allows(src.mask, si, sj) && allows(dst.mask, i, j);
                const double value = values[(k * height + sj) * width + si];
                if (moves || bits) setSample(dst, to.x + i, to.y + j, dstChannels[k], moves ? value : 0);
                scene.notes[moves ? "moves" : "stays"]++;
            }
        }
    }
    if (dst.tiled()) {
        logWalk(scene, src, dst, width, height, axis);
        scene.notes["into tiles"]++;
    } else if (src.tiled()) {
        logGather(scene, src, from.x, from.y, width, height);
        scene.notes["from tiles"]++;
    }
}

} // namespace tovtest
