// The kernels of decimation that read pixels at positions: nearest, linear and cubic.
#include <limits>

#include "core/image.h"
#include "kernel/bitrows.h"
#include "kernel/round.h"
#include "kernel/walk.h"
#include "resample/decimate.h"
#include "resample/nearest.h"

namespace tov {

namespace {

// Below this, the smallest normal single, a position is the first pixel's.
constexpr double kAtFirst = 1.17549435e-38F;

// Columns whose places are worked out at once.
constexpr int32_t kColumns = 512;

// Where an axis may be read, in samples, and how far its samples lie apart.
struct Axis {
    int32_t before;
    int32_t limit;
    ptrdiff_t step;
};

// The N samples that a pixel takes along an axis, and the parameter between them.
template <int32_t N>
struct Taps {
    ptrdiff_t at[N];
    double t;
};

// A sample that the image doesn't have is replaced by the nearest that it has. Only one of weight 0 can be asked for
// there, unless the rounding of sums has taken a position beyond its box, or a tile holds fewer than four samples.
template <int32_t N>
OWN_INLINE Taps<N> tapsAt(double position, const Axis& axis) {
    Taps<N> taps;
    int32_t index = truncated(position);
    taps.t = position - index;
    if (N == 4 && index >= axis.limit - 2) {
        index--;
        taps.t += 1;
    }
    const int32_t first = N == 4 ? index - 1 : index;
    for (int32_t i = 0; i < N; i++) {
        const int32_t below = smaller(first + i, axis.limit - 1);
        taps.at[i] = (below < -axis.before ? -axis.before : below) * axis.step;
    }
    return taps;
}

// Between the samples v[0] to v[N - 1]: the sample itself, a line through two, or the cubic through four at -1, 0, 1
// and 2.
template <int32_t N>
OWN_INLINE double between(const double (&v)[N], double t) {
    constexpr double sixth = 0.16666667F;
    if constexpr (N == 1) return v[0];
    if constexpr (N == 2) return (1 - t) * v[0] + t * v[1];
    if constexpr (N == 4) {
        const double a = v[0];
        const double b = v[1];
        const double c = v[2];
        const double d = v[3];
        const double t2 = t * t;
        const double t3 = t2 * t;
        return (6 * b + (-2 * a - 3 * b + 6 * c - d) * t + (3 * a - 6 * b + 3 * c) * t2 +
                (-a + 3 * b - 3 * c + d) * t3) *
               sixth;
    }
}

template <class T>
OWN_INLINE T limited(double value) {
    constexpr double most = std::numeric_limits<T>::max();
    const double low = value > 0 ? value : 0;
    return static_cast<T>(low < most ? low : most);
}

// What all pixels of a call share.
template <class T>
struct Grid {
    explicit Grid(const DecimateArgs& args)
        : planes(args.src->dataOrder == TOV_DATA_ORDER_PLANE),
          nPlanes(planes ? args.nChannels : 1),
          nValues(planes ? 1 : args.nChannels) {
        Size any = kUnlimited;
        src = roiLane<const T>(*args.src, coiOffset(*args.src), any);
        dst = roiLane<T>(*args.dst, coiOffset(*args.dst), any);
        x = {args.before.x, args.limit.width, src.pixelStep};
        y = {args.before.y, args.limit.height, src.rowStep};
    }

    bool planes;
    int32_t nPlanes;
    int32_t nValues;
    Lane<const T> src;
    Lane<T> dst;
    Axis x;
    Axis y;
};

// `count` pixels of a row, NX samples wide and NY high.
template <int32_t NX, int32_t NY, class T>
OWN_INLINE void pixelRow(const Grid<T>& grid, int32_t plane, const Taps<NY>& row, const Taps<NX>* columns,
                         int32_t count, T* d) {
    const T* rows[NY];
    for (int32_t j = 0; j < NY; j++) {
        const auto* first = reinterpret_cast<const uint8_t*>(grid.src.row(plane, 0));
        rows[j] = reinterpret_cast<const T*>(first + row.at[j]);
    }
    for (int32_t i = 0; i < count; i++, d += grid.dst.pixelStep) {
        for (int32_t c = 0; c < grid.nValues; c++) {
            if constexpr (NX == 1 && NY == 1) {
                d[c] = rows[0][columns[i].at[0] + c];
            } else {
                double down[NY];
                for (int32_t j = 0; j < NY; j++) {
                    double across[NX];
                    for (int32_t k = 0; k < NX; k++) across[k] = rows[j][columns[i].at[k] + c];
                    down[j] = between(across, columns[i].t);
                }
                d[c] = limited<T>(between(down, row.t));
            }
        }
    }
}

// Nearest pixels at 2:1 along x, for pixels of 1 to 4 bytes that are neighbours in both images. False, with nothing
// written, where it doesn't serve.
template <class T>
OWN_INLINE bool takeAtTwo(const Grid<T>& grid, const DecimateArgs& args, Position& reached) {
    const ptrdiff_t width = args.size.width;
    const auto column = static_cast<ptrdiff_t>(args.at.x);
    const int32_t n = grid.nValues;
    const auto nBytes = static_cast<ptrdiff_t>(n * sizeof(T));
    const bool dense = grid.src.pixelStep == n && grid.dst.pixelStep == n && nBytes <= 4;
    const bool inside =
        column >= 0 && args.at.x == static_cast<double>(column) && column + 2 * width <= args.limit.width;
    if (args.xRate != 2 || !dense || !inside) return false;
    const auto rowBytes = static_cast<size_t>(width * nBytes);
    for (int32_t plane = 0; plane < grid.nPlanes; plane++) {
        const auto* first = reinterpret_cast<const uint8_t*>(grid.src.row(plane, 0)) + column * nBytes;
        reached.y = args.at.y;
        const uint8_t* next = first + tapsAt<1>(reached.y, grid.y).at[0];
        for (int32_t j = 0; j < args.size.height; j++) {
            auto* d = reinterpret_cast<uint8_t*>(grid.dst.row(plane, j));
            const uint8_t* s = next;
            reached.y += args.yRate;
            next = first + tapsAt<1>(reached.y, grid.y).at[0];
            if (2 * rowBytes >= kLongRow) prefetchStart(next);
            switch (nBytes) {
            case 1: takeEveryOther<1>(s, d, width); break;
            case 2: takeEveryOther<2>(s, d, width); break;
            case 3: takeEveryOther<3>(s, d, width); break;
            default: takeEveryOther<4>(s, d, width); break;
            }
        }
    }
    reached = {static_cast<float>(column + 2 * width), static_cast<float>(reached.y)};
    return true;
}

// A row, of which the first pixel may stand on the source's first column: nothing lies across it then.
template <int32_t NX, int32_t NY, class T>
OWN_INLINE void blockRow(const Grid<T>& grid, int32_t plane, const Taps<NY>& row, const Taps<NX>* columns,
                         int32_t count, bool fromFirst, T* d) {
    const int32_t single = NX > 1 && fromFirst ? 1 : 0;
    if (single == 1) {
        const Taps<1> first = {{0}, 0};
        pixelRow<1, NY>(grid, plane, row, &first, 1, d);
    }
    pixelRow<NX, NY>(grid, plane, row, columns + single, count - single, d + single * grid.dst.pixelStep);
}

template <int32_t NX, int32_t NY, class T>
OWN_INLINE Position decimate(const DecimateArgs& args) {
    const Grid<T> grid(args);
    if constexpr (NX == 1 && NY == 1) {
        Position reached{};
        if (takeAtTwo(grid, args, reached)) return reached;
    }
    double x = args.at.x;
    double y = args.at.y;
    Taps<NX> columns[kColumns];
    for (int32_t first = 0, count = 0; first < args.size.width; first += count) {
        count = smaller(args.size.width - first, kColumns);
        const bool fromFirst = x < kAtFirst;
        for (int32_t i = 0; i < count; i++) {
            columns[i] = tapsAt<NX>(x, grid.x);
            x += args.xRate;
        }
        for (int32_t plane = 0; plane < grid.nPlanes; plane++) {
            y = args.at.y;
            for (int32_t j = 0; j < args.size.height; j++) {
                T* d = grid.dst.row(plane, j) + first * grid.dst.pixelStep;
                if (NY > 1 && y < kAtFirst) {
                    blockRow<NX, 1>(grid, plane, Taps<1>{{0}, 0}, columns, count, fromFirst, d);
                } else {
                    blockRow<NX, NY>(grid, plane, tapsAt<NY>(y, grid.y), columns, count, fromFirst, d);
                }
                y += args.yRate;
            }
        }
    }
    return {static_cast<float>(x), static_cast<float>(y)};
}

OWN_KERNEL Position ownDecimateNearest_8u(const DecimateArgs& args) { return decimate<1, 1, uint8_t>(args); }
OWN_KERNEL Position ownDecimateNearest_16u(const DecimateArgs& args) { return decimate<1, 1, uint16_t>(args); }
OWN_KERNEL Position ownDecimateLinearX_8u(const DecimateArgs& args) { return decimate<2, 1, uint8_t>(args); }
OWN_KERNEL Position ownDecimateLinearX_16u(const DecimateArgs& args) { return decimate<2, 1, uint16_t>(args); }
OWN_KERNEL Position ownDecimateLinearY_8u(const DecimateArgs& args) { return decimate<1, 2, uint8_t>(args); }
OWN_KERNEL Position ownDecimateLinearY_16u(const DecimateArgs& args) { return decimate<1, 2, uint16_t>(args); }
OWN_KERNEL Position ownDecimateLinear_8u(const DecimateArgs& args) { return decimate<2, 2, uint8_t>(args); }
OWN_KERNEL Position ownDecimateLinear_16u(const DecimateArgs& args) { return decimate<2, 2, uint16_t>(args); }
OWN_KERNEL Position ownDecimateCubicX_8u(const DecimateArgs& args) { return decimate<4, 1, uint8_t>(args); }
OWN_KERNEL Position ownDecimateCubicX_16u(const DecimateArgs& args) { return decimate<4, 1, uint16_t>(args); }
OWN_KERNEL Position ownDecimateCubicY_8u(const DecimateArgs& args) { return decimate<1, 4, uint8_t>(args); }
OWN_KERNEL Position ownDecimateCubicY_16u(const DecimateArgs& args) { return decimate<1, 4, uint16_t>(args); }
OWN_KERNEL Position ownDecimateCubic_8u(const DecimateArgs& args) { return decimate<4, 4, uint8_t>(args); }
OWN_KERNEL Position ownDecimateCubic_16u(const DecimateArgs& args) { return decimate<4, 4, uint16_t>(args); }

OWN_KERNEL Position ownDecimateNearest_1u(const DecimateArgs& args) {
    Size any = kUnlimited;
    const auto src = roiBits<const uint8_t>(*args.src, any);
    const auto dst = roiBits<uint8_t>(*args.dst, any);
    const Axis xAxis = {args.before.x, args.limit.width, 1};
    const Axis yAxis = {args.before.y, args.limit.height, src.rowStep};
    double x = args.at.x;
    double y = args.at.y;
    constexpr int32_t most = 32;
    ptrdiff_t columns[most];
    for (int32_t first = 0, count = 0; first < args.size.width; first += count) {
        count = smaller(args.size.width - first, most);
        for (int32_t i = 0; i < count; i++) {
            columns[i] = src.bitOffset + tapsAt<1>(x, xAxis).at[0];
            x += args.xRate;
        }
        y = args.at.y;
        for (int32_t j = 0; j < args.size.height; j++) {
            const uint8_t* row = src.first + tapsAt<1>(y, yAxis).at[0];
            uint64_t bits = 0;
            for (int32_t i = 0; i < count; i++) {
                bits = bits << 1 | (row[columns[i] >> 3] >> (7 - (columns[i] & 7)) & 1);
            }
            putBits(dst.first + j * dst.rowStep, ptrdiff_t{dst.bitOffset} + first, count, bits << (64 - count));
            y += args.yRate;
        }
    }
    return {static_cast<float>(x), static_cast<float>(y)};
}

// The kernels of a depth: by mode those for both axes, and those for one where the other rate is whole.
struct DepthKernels {
    DecimateKernel nearest;
    DecimateKernel linearX;
    DecimateKernel linearY;
    DecimateKernel linear;
    DecimateKernel cubicX;
    DecimateKernel cubicY;
    DecimateKernel cubic;
    DecimateKernel area;
};
constexpr DepthKernels kBits = {ownDecimateNearest_1u, ownDecimateNearest_1u, ownDecimateNearest_1u,
                                ownDecimateNearest_1u, ownDecimateNearest_1u, ownDecimateNearest_1u,
                                ownDecimateNearest_1u, ownDecimateArea_1u};
constexpr DepthKernels kBytes = {ownDecimateNearest_8u, ownDecimateLinearX_8u, ownDecimateLinearY_8u,
                                 ownDecimateLinear_8u,  ownDecimateCubicX_8u,  ownDecimateCubicY_8u,
                                 ownDecimateCubic_8u,   ownDecimateArea_8u};
constexpr DepthKernels kWords = {ownDecimateNearest_16u, ownDecimateLinearX_16u, ownDecimateLinearY_16u,
                                 ownDecimateLinear_16u,  ownDecimateCubicX_16u,  ownDecimateCubicY_16u,
                                 ownDecimateCubic_16u,   ownDecimateArea_16u};

} // namespace

DecimateKernel ownDecimateKernel(uint32_t depth, int32_t mode, bool xInteger, bool yInteger) {
    const DepthKernels& kernels = depth == TOV_DEPTH_1U ? kBits : depth == TOV_DEPTH_8U ? kBytes : kWords;
    switch (mode) {
    case TOV_INTER_LINEAR: return yInteger ? kernels.linearX : xInteger ? kernels.linearY : kernels.linear;
    case TOV_INTER_CUBIC: return yInteger ? kernels.cubicX : xInteger ? kernels.cubicY : kernels.cubic;
    case TOV_INTER_SUPER: return kernels.area;
    default: return kernels.nearest;
    }
}

} // namespace tov
