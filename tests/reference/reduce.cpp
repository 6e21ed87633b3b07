// Dithering works on whole planes of numbers; where errors pass from tile to tile, it is the same as without tiles.
#include "reference/reduce.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "reference/walks.h"

namespace tovtest {
namespace {

// One channel of a rectangle.
struct Plane {
    int32_t width, height;
    std::vector<double> values;
    double& at(int32_t x, int32_t y) { return values[static_cast<std::size_t>(y) * width + x]; }
};

double reduced(double v, uint32_t from, uint32_t to) {
    const double range = from == TOV_DEPTH_32S ? 4294967296.0 : from == TOV_DEPTH_16U ? 65536.0 : 256.0;
    if (to == TOV_DEPTH_1U) return from == TOV_DEPTH_32S ? v > 0 : v >= range / 2;
    const double shifted = from == TOV_DEPTH_32S ? v + range / 2 : v;
    return std::floor(shifted / (range / (to == TOV_DEPTH_16U ? 65536.0 : 256.0)));
}

struct NoiseTables {
    NoiseTables() {
        for (int& entry : a) entry = std::rand() % 1024;
        for (int& entry : b) entry = std::rand() % 1024;
    }
    int at(int x, int y) const { return a[(x + b[x % 1024] + 4 * y) % 1024]; }
    int a[1024], b[1024];
};

double jittered(const NoiseTables& noise, double v, int32_t x, int32_t y, int amplitude, uint32_t from, uint32_t to) {
    const int n1 = noise.at(x, y), n2 = noise.at(y, x);
    if (from == TOV_DEPTH_32S && to == TOV_DEPTH_1U) {
        const double c = 2147483647.0, risen = v <= c * (n1 / 1024.0) ? v + c : v;
        const double t = risen + (2 * amplitude * (n2 / 1024.0) + 0.5 - amplitude) * c;
        return t >= -2147483648.0 && t <= c ? std::trunc(t) : v;
    }
    const bool wide = from == TOV_DEPTH_32S;
    const double step = from == TOV_DEPTH_8U    ? 16
                        : from == TOV_DEPTH_16U ? 256
                        : to == TOV_DEPTH_16U   ? 65536
                                                : 16777216;
    const double most = from == TOV_DEPTH_8U ? 255 : from == TOV_DEPTH_16U ? 65535 : 2147483647;
    if (v >= most + 1 - step) return v;
    const double low = v - std::floor(v / step) * step;
    const double risen = low <= std::floor(n1 * (step + 1) / 1024) ? v + step - (wide ? 1 : 0) : v;
    const double t = (wide ? v : risen) + (std::floor((2.0 * amplitude * n2 + 512) / 1024) - amplitude) * step;
    return t >= 0 && t <= most ? t : risen;
}

double nearestLevel(double v, int bits, int levels) {
    const double most = std::ldexp(1, bits) - 1, step = std::ldexp(1, bits - levels);
    if (step == 1) return v;
    const double low = std::fmod(v, step), half = std::floor((step - 1) / 2);
    return std::min(most, v - low + (low + half >= step ? step : 0));
}

void spreadErrors(Plane& plane, int ditherType, int bits, int levels) {
    static const int floyd[3][5] = {{0, 0, 0, 7, 0}, {0, 1, 5, 3, 0}, {}}; // rows: what each takes from the left on
    static const int jarvis[3][5] = {{0, 0, 0, 1197, 855}, {513, 855, 1197, 855, 513}, {171, 513, 855, 513, 171}};
    static const int stucki[3][5] = {{0, 0, 0, 1560, 780}, {390, 780, 1560, 780, 390}, {195, 390, 780, 390, 195}};
    const auto& weights = ditherType == 2 ? floyd : ditherType == 4 ? jarvis : stucki;
    const double unit = ditherType == 2 ? 16 : 8192, most = std::ldexp(1, bits) - 1;
    const auto taken = [&](double v, double sum) { return std::clamp(std::floor(v + sum / unit), 0.0, most); };
    for (int32_t y = 0; y < plane.height; ++y) {
        std::vector<double> errors(static_cast<std::size_t>(plane.width) + 4); // two pixels beside each end
        const auto error = [&](int32_t x) -> double& { return errors[static_cast<std::size_t>(x + 2)]; };
        for (int32_t x = 0; x < plane.width; ++x) {
            const double u = taken(plane.at(x, y), weights[0][3] * error(x - 1) + weights[0][4] * error(x - 2));
            plane.at(x, y) = nearestLevel(u, bits, levels);
            error(x) = u - plane.at(x, y);
        }
        for (int32_t row = 1; row <= 2 && y + row < plane.height && (row == 1 || ditherType != 2); ++row) {
            for (int32_t x = 0; x < plane.width; ++x) {
                double sum = 0;
                for (int32_t k = -2; k <= 2; ++k) sum += weights[row][k + 2] * error(x + k);
                plane.at(x, y + row) = taken(plane.at(x, y + row), sum);
            }
        }
    }
}

void thresholds(Plane& plane, int bits, int levels, int64_t x0, int64_t y0) {
    static const int bayer[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
    const double step = std::ldexp(1, bits - levels), most = std::ldexp(1, bits) - 1;
    for (int32_t y = 0; y < plane.height; ++y) {
        for (int32_t x = 0; x < plane.width; ++x) {
            double& v = plane.at(x, y);
            const double low = std::fmod(v, step);
            const double over = std::floor(241 * bayer[(x0 + x) % 4][(y0 + y) % 4] * step / 4096);
            v = std::min(most, v - low + (low > over ? step : 0));
        }
    }
}

// Steps of a walk over the destination's rectangles; each is asked for and released around `work`.
template <typename Work>
void eachRect(Scene& scene, TestImage& dst, Work&& work) {
    const int32_t w = dst.tiled() ? dst.tiles.width : dst.header.width;
    const int32_t h = dst.tiled() ? dst.tiles.height : dst.header.height;
    for (int32_t y = 0; y < dst.header.height; y += h) {
        for (int32_t x = 0; x < dst.header.width; x += w) {
            if (dst.tiled()) scene.server.log.push_back({dst.index, x / w, y / h, TOV_TILE_WRITE});
            work(Area{x, y, std::min(w, dst.header.width - x), std::min(h, dst.header.height - y)});
            if (dst.tiled()) scene.server.log.push_back({dst.index, x / w, y / h, TOV_TILE_RELEASE});
        }
    }
}

Plane planeOf(const TestImage& image, const Area& area, int c) {
    Plane plane{area.width, area.height, {}};
    for (int32_t y = 0; y < area.height; ++y) {
        for (int32_t x = 0; x < area.width; ++x) plane.values.push_back(getSample(image, area.x + x, area.y + y, c));
    }
    return plane;
}

void store(const Plane& plane, TestImage& image, const Area& area, int c) {
    for (std::size_t i = 0; i < plane.values.size(); ++i) {
        const int32_t offset = static_cast<int32_t>(i);
        setSample(image, area.x + offset % area.width, area.y + offset / area.width, c, plane.values[i]);
    }
}

// The second pass over tiles, line by line.
void logLines(Scene& scene, const TestImage& dst, int32_t reach) {
    std::vector<TileEvent>& log = scene.server.log;
    for (int32_t r = 0; r < dst.tileRows(); ++r) {
        for (int32_t j = 0; j < dst.tiles.height; ++j) {
            for (int32_t c = 0; c < dst.tileCols(); ++c) {
                std::vector<TileEvent> held = {{dst.index, c, r, TOV_TILE_WRITE}};
                if (c + 1 < dst.tileCols()) held.push_back({dst.index, c + 1, r, TOV_TILE_WRITE});
                const bool below = j >= dst.tiles.height - reach && r + 1 < dst.tileRows();
                if (below) held.push_back({dst.index, c, r + 1, TOV_TILE_WRITE});
                for (const TileEvent& tile : held) log.push_back(tile);
                for (const TileEvent& tile : held) log.push_back({tile.image, tile.x, tile.y, TOV_TILE_RELEASE});
            }
        }
    }
}

} // namespace

void reduceImage(Scene& scene, TestImage& src, TestImage& dst, int32_t jitterType, int32_t ditherType, int32_t levels) {
    const uint32_t from = src.header.depth, to = dst.header.depth;
    const int32_t dstBits = dst.form.bits();
    const bool gray = src.form.channelSeq[0] == 'G', tiled = src.tiled() || dst.tiled();
    const bool spreads = ditherType > 1 && ditherType < 16, dithers = ditherType != 1;
    const bool toBits = gray && dithers && to == TOV_DEPTH_1U;
    const bool unbroken = spreads && (toBits ? tiled : dst.tiled());
    const int32_t n = dst.header.nChannels, dithered = gray ? 1 : 3;
    if (toBits) levels = 0;
    levels = levels < 0 ? 0 : levels > dstBits ? dstBits / 2 : levels;
    const int bits = toBits ? src.form.bits() : dstBits;
    ++scene.notes[toBits ? "to bits" : unbroken ? "over tiles" : dithers ? "dithered" : "reduced"];
    if (jitterType != 0) ++scene.notes["jittered"];
    const NoiseTables* noise = jitterType != 0 ? new NoiseTables : nullptr;

    const auto dither = [&](Plane& plane, int64_t x0, int64_t y0) {
        if (ditherType == 16) return thresholds(plane, bits, levels, x0, y0);
        spreadErrors(plane, ditherType, bits, levels);
    };
    const Area all{0, 0, src.header.width, src.header.height};
    if (toBits && src.tiled()) { // the whole picture is copied
        for (int i = 0; i < src.tileRows() * src.tileCols(); ++i) {
            const int32_t x = i % src.tileCols() * src.tiles.width, y = i / src.tileCols() * src.tiles.height;
            logGather(scene, src, x, y, 1, 1);
        }
    }
    const bool staged = src.tiled() && !toBits;
    eachRect(scene, dst, [&](const Area& area) {
        if (staged) logGather(scene, src, area.x, area.y, area.width, area.height);
        for (int c = 0; c < n; ++c) {
            Plane plane = planeOf(src, area, c);
            if (toBits) {
                if (unbroken) continue;
            } else {
                for (int32_t y = 0; y < area.height; ++y) {
                    for (int32_t x = 0; x < area.width; ++x) {
                        double& v = plane.at(x, y);
                        const int32_t element = src.form.order == TOV_DATA_ORDER_PIXEL ? x * n + c : x;
                        if (noise) v = jittered(*noise, v, element, y, jitterType, from, to);
                        v = reduced(v, from, to);
                    }
                }
            }
            if (dithers && !unbroken && c < dithered) {
                // Ordered thresholds count columns from the tile's number times the row step in values.
                const int32_t tileCol = dst.tiled() ? area.x / dst.tiles.width : 0;
                const int32_t align = src.form.align, row = area.width * src.form.bits() / 8;
                const int32_t step = toBits ? (row + align - 1) / align * align : dst.form.rowStep();
                dither(plane, int64_t{tileCol} * (step / (bits / 8)), area.y);
            }
            if (toBits) {
                for (double& v : plane.values) v = reduced(v, from, to);
            }
            store(plane, dst, area, c);
        }
    });
    if (unbroken && !toBits) logLines(scene, dst, ditherType == 2 ? 1 : 2);
    for (int c = 0; unbroken && c < dithered; ++c) {
        Plane plane = planeOf(toBits ? src : dst, all, c);
        dither(plane, 0, 0);
        if (toBits) {
            for (double& v : plane.values) v = reduced(v, from, to);
        }
        store(plane, dst, all, c);
    }
    delete noise;
}

} // namespace tovtest
