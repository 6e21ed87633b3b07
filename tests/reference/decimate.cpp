// Decimation pixel by pixel: the steps of each axis as a list, then a formula at each crossing of two steps.
#include "reference/decimate.h"

#include <algorithm>
#include <cmath>

#include "reference/walks.h"

namespace tovtest {
namespace {

// Where a pixel reads: its position, or its extent, counted from `origin`, of which `limit` samples may be read to the
// right and `before` to the left.
struct Step {
    int32_t origin, limit, before;
    double begin, end;
    int32_t index() const { return static_cast<int32_t>(begin); }
    bool first() const { return begin < 1.17549435e-38; }
};
struct Piece {
    int32_t tile, count;
    int32_t whole; // tiles in a row that it reads
};

struct Axis {
    double rate;
    bool isWhole;
    int32_t mode, length, from, tile; // tile 0: plain

    int32_t margin() const {
        if (mode == TOV_INTER_SUPER) return -static_cast<int32_t>(std::ceil(exact));
        return isWhole || mode == TOV_INTER_NN ? 0 : mode;
    }
    double exact; // rate before it was rounded to single precision

    // `count` steps from `position` on, which it takes along.
    void steps(std::vector<Step>& out, int32_t origin, int32_t limit, int32_t before, double& position,
               int count) const {
        for (int i = 0; i < count; ++i) {
            double begin = position, end = begin + rate;
            if (mode == TOV_INTER_SUPER && end >= limit) {
                end = limit;
                begin = std::max(0.0, end - rate);
            }
            out.push_back({origin, limit, before, begin, end});
            position = end;
        }
        position = static_cast<float>(position);
    }
    std::vector<Step> plain(double& position, int32_t size) const {
        std::vector<Step> out;
        steps(out, from, length - from, from, position, size);
        return out;
    }
    std::vector<Step> tiled(double& position, int32_t size, std::vector<Piece>& pieces) const {
        std::vector<Step> out;
        const double p0 = from + position, extra = margin() == 2 ? 2 * rate : 0;
        double p = p0;
        const double back = margin() < 1 ? p0 : std::max(0.0, p0 - (margin() - 1) * rate);
        for (int32_t k = std::min(static_cast<int32_t>(back / tile), (length - 1) / tile), done = 0; done < size; ++k) {
            const double end = static_cast<double>(k + 1) * tile, inTile = p - k * tile;
            const double start = mode == TOV_INTER_NN ? inTile : std::max(0.0, inTile);
            int32_t count;
            if (mode == TOV_INTER_NN) {
                count = static_cast<int32_t>((end - p + 0.99999 * rate) / rate);
            } else {
                count = static_cast<int32_t>((end + extra - p0) / rate) - done;
                if (count * rate + start < tile + extra) ++count;
            }
            count = std::min(count, size - done);
            if (end >= length) count = size - done;
            if (count <= 0) continue;
            const int32_t left = length - k * tile;
            const int32_t need = std::min(left, static_cast<int32_t>(count * rate + start + std::abs(margin())));
            const int32_t whole = mode == TOV_INTER_NN ? 1 : (need + tile - 1) / tile;
            pieces.push_back({k, count, whole});
            p = start;
            steps(out, k * tile, std::min(left, whole * tile), 0, p, count);
            p += k * tile;
            done += count;
        }
        position = p - from;
        return out;
    }
};

class Source {
public:
    Source(const TestImage& theImage, int theChannel, const Step& theX, const Step& theY)
        : image(theImage), channel(theChannel), x(theX), y(theY) {}

    // Sample (i, j) from the origins on, or the nearest that there is.
    double at(int32_t i, int32_t j) const {
        i = std::max(std::min(i, x.limit - 1), -x.before);
        j = std::max(std::min(j, y.limit - 1), -y.before);
        return getSample(image, x.origin + i, y.origin + j, channel);
    }
    template <typename At>
    static double line(const Step& s, int32_t mode, At at) {
        int32_t i = s.index();
        double t = s.begin - i;
        if (mode == TOV_INTER_NN || s.first()) return at(i);
        if (mode == TOV_INTER_LINEAR) return (1 - t) * at(i) + t * at(i + 1);
        if (i >= s.limit - 2) {
            --i;
            t += 1;
        }
        return cubicAt(at(i - 1), at(i), at(i + 1), at(i + 2), t);
    }
    double interpolated(int32_t xMode, int32_t yMode) const {
        return line(y, yMode, [&](int32_t j) { return line(x, xMode, [&](int32_t i) { return at(i, j); }); });
    }

    double area(double norm) const {
        const auto i0 = static_cast<int32_t>(x.begin), i1 = static_cast<int32_t>(x.end);
        const auto j0 = static_cast<int32_t>(y.begin), j1 = static_cast<int32_t>(y.end);
        const double wl = 1 - (x.begin - i0), wr = x.end - i1, wt = 1 - (y.begin - j0), wb = y.end - j1;
        const auto row = [&](int32_t j) {
            double sum = 0;
            for (int32_t i = i0 + 1; i < i1; ++i) sum += at(i, j);
            return sum;
        };
        const auto side = [&](int32_t j) { return wl * at(i0, j) + row(j) + wr * at(i1, j); };
        double sum = 0, left = 0, right = 0;
        for (int32_t j = j0 + 1; j < j1; ++j) {
            sum += row(j);
            left += at(i0, j);
            right += at(i1, j);
        }
        if (wt > 0.0001) sum += wt * side(j0);
        if (wb > 0.0001) sum += wb * side(j1);
        if (wl > 0.0001) sum += wl * left;
        if (wr > 0.0001) sum += wr * right;
        return std::trunc(sum * norm + 0.5);
    }

private:
    const TestImage& image;
    int channel;
    const Step &x, &y;
};

bool refused(Scene& scene, const TestImage& src, const TestImage& dst) {
    const auto check = [&](bool fails, const char* context) {
        if (fails) scene.reports.push_back({TOV_STS_BAD_ARG, "tovDecimate", context, "tovdecim"});
    };
    const bool srcRoi = src.form.hasRoi, dstRoi = dst.form.hasRoi;
    const bool fromOne = srcRoi && dst.form.nChannels > 1 && src.roi.coi,
               toOne = dstRoi && src.form.nChannels > 1 && dst.roi.coi;
    check(&src == &dst, "srcImage == dstImage");
    check(src.form.origin != dst.form.origin, "srcImage->origin != dstImage->origin");
    check(src.form.order != dst.form.order, "srcImage->dataOrder != dstImage->dataOrder");
    check(fromOne && dstRoi && !dst.roi.coi, "srcImage->roi->coi > 0 && dstImage->roi->coi == 0");
    check(fromOne && !dstRoi, "srcImage->roi->coi > 0 && dstImage->roi == ((void *)0)");
    check(toOne && srcRoi && !src.roi.coi, "dstImage->roi->coi > 0 && srcImage->roi->coi == 0");
    check(toOne && !srcRoi, "dstImage->roi->coi > 0 && srcImage->roi == ((void *)0)");
    if (!scene.reports.empty()) scene.status = TOV_STS_BAD_ARG;
    return !scene.reports.empty();
}

} // namespace

double cubicAt(double a, double b, double c, double d, double t) {
    const double sixth = static_cast<double>(0.16666667F);
    const double t2 = t * t, t3 = t2 * t;
    return (6 * b + (-2 * a - 3 * b + 6 * c - d) * t + (3 * a - 6 * b + 3 * c) * t2 + (-a + 3 * b - 3 * c + d) * t3) *
           sixth;
}

void decimateImage(Scene& scene, TestImage& src, TestImage& dst, const Rates& rates) {
    if (refused(scene, src, dst)) return;
    const Area from = regionOf(src), to = regionOf(dst);
    const auto reduced = [](int64_t length, int32_t pixels, int32_t of) {
        return static_cast<int32_t>(length * pixels / of);
    };
    const int32_t width = std::min(to.width, reduced(from.width, rates.xDst, rates.xSrc));
    const int32_t height = std::min(to.height, reduced(from.height, rates.yDst, rates.ySrc));
    if (width <= 0 || height <= 0) return;
    const bool xWhole = rates.xSrc % rates.xDst == 0, yWhole = rates.ySrc % rates.yDst == 0;
    const double xr = static_cast<double>(rates.xSrc) / rates.xDst, yr = static_cast<double>(rates.ySrc) / rates.yDst;
    int32_t mode = rates.mode;
    if (src.header.width < 4 || src.header.height < 4) mode = TOV_INTER_NN;
    if (mode != TOV_INTER_SUPER && xWhole && yWhole) mode = TOV_INTER_NN;
    if (mode == TOV_INTER_SUPER && src.tiled() &&
        (std::ceil(xr) > src.tiles.width || std::ceil(yr) > src.tiles.height)) {
        mode = TOV_INTER_NN;
        ++scene.notes["tiles too small"];
    }
    const Axis xAxis{
        static_cast<float>(xr), xWhole, mode, src.header.width, from.x, src.tiled() ? src.tiles.width : 0, xr};
    const Axis yAxis{
        static_cast<float>(yr), yWhole, mode, src.header.height, from.y, src.tiled() ? src.tiles.height : 0, yr};
    const double x0 = mode == TOV_INTER_NN && !xWhole ? 0.5 : 0, y0 = mode == TOV_INTER_NN && !yWhole ? 0.5 : 0;
    const auto channel = [](const TestImage& image, int c) {
        return image.form.hasRoi && image.roi.coi ? image.roi.coi - 1 : c;
    };
    const auto count = [](const TestImage& image) {
        return image.form.hasRoi && image.roi.coi ? 1 : image.form.nChannels;
    };
    const int32_t bits = src.form.depth == TOV_DEPTH_1U;
    const double most = saturate(1e9, src.form.depth);
    ++scene.notes[(src.tiled() ? "tiles, mode " : "mode ") + std::to_string(mode)];

    // One block of the destination; x and y are taken along.
    const auto block = [&](const Area& at, double& x, double& y) {
        std::vector<Piece> cols, rows;
        const auto xs = src.tiled() ? xAxis.tiled(x, at.width, cols) : xAxis.plain(x, at.width);
        const auto ys = src.tiled() ? yAxis.tiled(y, at.height, rows) : yAxis.plain(y, at.height);
        for (const Piece& row : rows) {
            for (const Piece& col : cols) {
                const int32_t w = src.tiles.width, h = src.tiles.height;
                const int32_t cx = col.tile * w, cy = row.tile * h;
                logGather(scene, src, cx, cy, std::min(col.whole * w, src.header.width - cx),
                          std::min(row.whole * h, src.header.height - cy));
            }
        }
        for (int32_t j = 0; j < at.height; ++j) {
            for (int32_t i = 0; i < at.width; ++i) {
                for (int c = 0; c < std::min(count(src), count(dst)); ++c) {
                    const Source source(src, channel(src, c), xs[i], ys[j]);
                    const int32_t between = bits ? TOV_INTER_NN : mode;
                    const double value = mode == TOV_INTER_SUPER ? source.area(1 / (xAxis.rate * yAxis.rate))
                                                                 : source.interpolated(xWhole ? TOV_INTER_NN : between,
                                                                                       yWhole ? TOV_INTER_NN : between);
                    setSample(dst, to.x + at.x + i, to.y + at.y + j, channel(dst, c),
                              std::trunc(std::clamp(value, 0.0, most)));
                }
            }
        }
    };
    double x = x0, y = y0;
    if (!dst.tiled()) return block({0, 0, width, height}, x, y);
    for (int32_t j = 0, h; j < height; j += h) {
        h = std::min(height - j, dst.tiles.height - (to.y + j) % dst.tiles.height);
        x = x0;
        double after = y;
        for (int32_t i = 0, w; i < width; i += w) {
            w = std::min(width - i, dst.tiles.width - (to.x + i) % dst.tiles.width);
            after = y;
            const TileEvent tile{dst.index, (to.x + i) / dst.tiles.width, (to.y + j) / dst.tiles.height,
                                 TOV_TILE_WRITE};
            scene.server.log.push_back(tile);
            block({i, j, w, h}, x, after);
            scene.server.log.push_back({tile.image, tile.x, tile.y, TOV_TILE_RELEASE});
        }
        y = after;
    }
}

} // namespace tovtest
