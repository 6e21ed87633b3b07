// Zooming pixel by pixel: the positions of each axis as a list, then a formula at each crossing of two.
#include "reference/zoom.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "reference/walks.h"

namespace tovtest {
namespace {

int32_t rounded(double v) { return static_cast<int32_t>(std::nearbyint(v + 0.00001 - 0.5)); }

struct Stretch {
    double rate, step;
};
Stretch stretchOf(int32_t length, int32_t dst, int32_t src) {
    const double rate = static_cast<double>(src) / dst, full = static_cast<double>(length) / src * dst;
    return {rate, rate == 1 ? 1.0 : full > 1 ? (length - 1) / (full - 1) : 0.0};
}

struct At {
    int32_t index;
    float fraction;
};
// One axis of a source: `size` samples from `origin` on, which stand at `offset` in a plain image of a length.
struct Line {
    int32_t origin, offset, length, size;
    int32_t last = length - offset - 1;

    void clip(int32_t most) {
        last -= std::max(0, size - most);
        size = std::min(size, most);
    }
    std::vector<At> positions(int32_t mode, double start, double step, int32_t count) const {
        std::vector<At> all;
        double p = mode == TOV_INTER_NN ? start + 0.5 : start;
        for (int32_t i = 0; i < count; ++i, p += step) {
            int32_t k = rounded(p);
            double fraction = p - k;
            if (mode == TOV_INTER_LINEAR && k == last) {
                --k;
                fraction = 1;
            }
            if (mode == TOV_INTER_CUBIC) {
                const int32_t a = k + offset;
                k += a == length - 1 ? -2 : a == 0 ? 1 : a == length - 2 ? -1 : 0;
                fraction = a == length - 1 ? 2.0 : p - k;
            }
            all.push_back({k, static_cast<float>(fraction)});
        }
        return all;
    }
};

float single(double v) { return static_cast<float>(v); }

double newton(double a, double b, double c, double d, float t) {
    const float s = single(double{t} + 1), B = single(0.5 * t * s),
                C = single((double{t} - 1) * B * double{0.33333334F});
    const double d1 = b - a, d2 = c - b - d1, d3 = d - 2 * c + b - d2;
    return a + double{s} * single(d1) + double{B} * single(d2) + double{C} * single(d3);
}

using Bits = std::vector<std::vector<bool>>;

// The part `area` of a mask, in another size.
Bits scaledMask(const TestImage& mask, const Area& area, int32_t width, int32_t height, double xr, double yr) {
    Bits bits(static_cast<std::size_t>(height), std::vector<bool>(static_cast<std::size_t>(width)));
    const auto axis = [](int32_t length, int32_t count, double rate, int32_t& reached) {
        const int32_t covered = rounded(rate * count);
        const Stretch s = stretchOf(length, count, covered < 1 ? rounded(count / rate) : covered);
        reached = std::min(count, std::max(1, rounded(length / s.rate)));
        return Line{0, 0, length, length}.positions(TOV_INTER_NN, 0, s.step, reached);
    };
    int32_t w, h;
    const auto xs = axis(area.width, width, xr, w), ys = axis(area.height, height, yr, h);
    for (int32_t j = 0; j < h; ++j) {
        for (int32_t i = 0; i < w; ++i)
            bits[j][i] = getSample(mask, area.x + xs[i].index, area.y + ys[j].index, 0) != 0;
    }
    return bits;
}

struct Zoom {
    Scene& scene;
    TestImage &src, &dst;
    int32_t mode;
    Stretch sx, sy;
    std::vector<int> srcChannels = channelsOf(src), dstChannels = channelsOf(dst);

    double pixel(const Line& x, const Line& y, const At& px, const At& py, int c) const {
        const auto at = [&](int32_t i, int32_t j) { return getSample(src, x.origin + i, y.origin + j, c); };
        const int32_t i = px.index, j = py.index;
        if (mode == TOV_INTER_NN) return at(i, j);
        const double t = py.fraction;
        if (mode == TOV_INTER_LINEAR) {
            const auto row = [&](int32_t k) {
                const double right = at(std::max(0, i + 1), k), left = i + x.origin < 0 ? right : at(i, k);
                return double{single(left + px.fraction * (right - left))};
            };
            const double below = row(std::max(0, j + 1)), above = j + y.origin < 0 ? below : row(j);
            return rounded(above * (1 - t) + below * t);
        }
        const auto row = [&](int32_t k) {
            return double{single(newton(at(i - 1, k), at(i, k), at(i + 1, k), at(i + 2, k), px.fraction))};
        };
        const int32_t value = rounded(newton(row(j - 1), row(j), row(j + 1), row(j + 2), py.fraction));
        return saturate(value, src.form.depth);
    }

    int32_t fitted(int32_t size, int32_t from, double rate) const {
        return std::min(size, std::max(1, rounded(from / rate)));
    }

    // False when the call ends. Areas are those of the destination, of its mask and of the source's mask.
    bool rect(Line x, Line y, std::optional<Area> srcMask, Area to, std::optional<Area> dstMask, double x0, double y0,
              bool fit) {
        if (srcMask) x.clip(srcMask->width), y.clip(srcMask->height);
        if (dstMask) to.width = std::min(to.width, dstMask->width), to.height = std::min(to.height, dstMask->height);
        if (fit) to.width = fitted(to.width, x.size, sx.rate), to.height = fitted(to.height, y.size, sy.rate);
        const bool nothing = x.size <= 0 || y.size <= 0 || to.empty();
        if (srcMask && !nothing && src.mask->form.order == TOV_DATA_ORDER_PLANE) { // its copy has pixel order
            scene.reports = {{-5, "tovZoom", "srcImage->dataOrder != dstImage->dataOrder", "tovZoom"},
                             {-1, "tovResize", "", "tovresiz"},
                             {-1, "tovZoom", "", "tovZoom"}};
            scene.status = -5;
            return false;
        }
        if (srcChannels.size() != dstChannels.size()) {
            scene.reports.push_back(
                {-2, "tovZoom", "Processed channels of srcImage != Processed channels of dstImage", "tovZoom"});
            scene.status = -2;
            return false;
        }
        if (nothing) return true;
        Bits scaled;
        if (srcMask) {
            scaled = scaledMask(*src.mask, *srcMask, to.width, to.height, sx.rate, sy.rate);
        }
        const auto xs = x.positions(mode, x0, sx.step, to.width), ys = y.positions(mode, y0, sy.step, to.height);
        for (int32_t j = 0; j < to.height; ++j) {
            for (int32_t i = 0; i < to.width; ++i) {
                if (srcMask && !scaled[j][i]) continue;
                if (dstMask && getSample(*dst.mask, dstMask->x + i, dstMask->y + j, 0) == 0) continue;
                for (std::size_t c = 0; c < srcChannels.size(); ++c) {
                    const double value = pixel(x, y, xs[i], ys[j], srcChannels[c]);
                    const Place place = placeOf(dst, to.x + i, to.y + j, dstChannels[c]);
                    writeBits(place.address, place.bit, dst.form.depth,
                              static_cast<uint32_t>(static_cast<int32_t>(value)));
                }
            }
        }
        return true;
    }

    struct Cell {
        int32_t start, extent, margin, staged;
        double fraction;
    };
    Cell cell(const Stretch& s, int32_t offset, int32_t d, int32_t size, int32_t length) const {
        const double p = offset + d * s.step;
        Cell cell{d ? rounded(p) : offset, s.rate > 1 ? static_cast<int32_t>(std::ceil(size * s.rate)) + 1 : size + 1,
                  0, 0, 0};
        cell.fraction = d ? p - cell.start : 0;
        int32_t S = cell.start, n = cell.extent;
        if (mode != TOV_INTER_NN) {
            n = S + n >= length ? length - S : n + 1;
            if (mode == TOV_INTER_CUBIC && S + n < length) ++n;
            if (S > 0) {
                S -= 1, n += 1, cell.margin = 1;
                if (mode == TOV_INTER_CUBIC && n == 2) S -= 2, n += 2, cell.margin = 3;
                if (mode == TOV_INTER_CUBIC && n == 3) S -= 1, n += 1, cell.margin = 2;
            }
        }
        cell.staged = n;
        return cell;
    }

    void cells(const Area& from, Area to, std::optional<Area> srcMask, std::optional<Area> dstMask) {
        Area s = from;
        if (srcMask) s.width = std::min(s.width, srcMask->width), s.height = std::min(s.height, srcMask->height);
        if (dstMask) to.width = std::min(to.width, dstMask->width), to.height = std::min(to.height, dstMask->height);
        if (to.empty()) return;
        to.width = fitted(to.width, s.width, sx.rate), to.height = fitted(to.height, s.height, sy.rate);
        const int32_t tw = dst.tiled() ? dst.tiles.width : 64, th = dst.tiled() ? dst.tiles.height : 64;
        for (int32_t y = 0, h; y < to.height; y += h) {
            h = std::min(to.height - y, th - (to.y + y) % th);
            for (int32_t x = 0, w; x < to.width; x += w) {
                w = std::min(to.width - x, tw - (to.x + x) % tw);
                const TileEvent tile{dst.index, (to.x + x) / tw, (to.y + y) / th, TOV_TILE_WRITE};
                if (dst.tiled()) scene.server.log.push_back(tile);
                const int32_t width = src.header.width, height = src.header.height;
                const Cell cx = cell(sx, from.x, x, w, width), cy = cell(sy, from.y, y, h, height);
                Line lx{cx.start, cx.start, width, std::min(cx.extent, width - cx.start)};
                Line ly{cy.start, cy.start, height, std::min(cy.extent, height - cy.start)};
                if (src.tiled()) {
                    const int32_t left = cx.start - cx.margin, top = cy.start - cy.margin;
                    logGather(scene, src, left, top, std::min(cx.staged, width - left),
                              std::min(cy.staged, height - top));
                    lx = {cx.start, cx.margin, cx.staged, std::min(cx.extent, cx.staged - cx.margin)};
                    ly = {cy.start, cy.margin, cy.staged, std::min(cy.extent, cy.staged - cy.margin)};
                }
                std::optional<Area> partOfSrc, partOfDst;
                if (srcMask) {
                    const int32_t mx = rounded(x * sx.step + srcMask->x), my = rounded(y * sy.step + srcMask->y);
                    partOfSrc = {mx, my, std::min(cx.extent, srcMask->x + srcMask->width - mx),
                                 std::min(cy.extent, srcMask->y + srcMask->height - my)};
                }
                if (dstMask) partOfDst = {dstMask->x + x, dstMask->y + y, w, h};
                const bool on =
                    rect(lx, ly, partOfSrc, {to.x + x, to.y + y, w, h}, partOfDst, cx.fraction, cy.fraction, false);
                if (dst.tiled()) scene.server.log.push_back({tile.image, tile.x, tile.y, TOV_TILE_RELEASE});
                if (!on) return;
            }
        }
    }
};

} // namespace

void zoomImage(Scene& scene, TestImage& src, TestImage& dst, const Rates& rates) {
    const auto refuse = [&](const char* context) {
        scene.reports.push_back({TOV_STS_BAD_ARG, "tovZoom", context, "tovZoom"});
        scene.status = TOV_STS_BAD_ARG;
    };
    if (src.form.order != dst.form.order) return refuse("srcImage->dataOrder != dstImage->dataOrder");
    if (&src == &dst) return refuse("This function isn`t in-plase function");
    if ((src.form.alpha && src.form.nChannels == 1) || (dst.form.alpha && dst.form.nChannels == 1)) return;
    const int32_t least = std::min(src.header.width, src.header.height);
    int32_t mode = rates.mode;
    if (mode == TOV_INTER_CUBIC && least < 4) mode = TOV_INTER_LINEAR;
    if (src.form.depth == TOV_DEPTH_1U || least < 2) mode = TOV_INTER_NN;
    const Area from = regionOf(src), to = regionOf(dst);
    Zoom zoom{scene,
              src,
              dst,
              mode,
              stretchOf(from.width, rates.xDst, rates.xSrc),
              stretchOf(from.height, rates.yDst, rates.ySrc)};
    std::optional<Area> srcMask, dstMask;
    if (src.mask) srcMask = regionOf(*src.mask), ++scene.notes["source mask"];
    if (dst.mask) dstMask = regionOf(*dst.mask), ++scene.notes["destination mask"];
    ++scene.notes[(src.tiled() ? "from tiles, mode " : "mode ") + std::to_string(mode)];
    const bool nothing = from.empty() || (srcMask && srcMask->empty());
    if ((src.tiled() || dst.tiled()) && !nothing) return zoom.cells(from, to, srcMask, dstMask);
    if (nothing && (to.empty() || (dstMask && dstMask->empty())) && (src.tiled() || dst.tiled())) return;
    zoom.rect({from.x, from.x, src.header.width, from.width}, {from.y, from.y, src.header.height, from.height}, srcMask,
              to, dstMask, 0, 0, true);
}

} // namespace tovtest
