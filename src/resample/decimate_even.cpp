// Area averages of bytes at 2:1 and 3:2, whose boxes repeat every pixel or two: sums of whole numbers.
#include <cstring>

#include "core/image.h"
#include "kernel/walk.h"
#include "kernel/word.h"
#include "resample/decimate.h"

namespace tov {

namespace {

// Takes `count` pixels of N bytes, each `step` bytes behind the one before, to dStep.
template <ptrdiff_t N>
OWN_INLINE void pick(const uint8_t* s, ptrdiff_t step, uint8_t* d, ptrdiff_t dStep, ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count; i++) std::memcpy(d + i * dStep, s + i * step, N);
}

OWN_INLINE uint8_t roundedUp(uint8_t a, uint8_t b) { return static_cast<uint8_t>((a + b + 1) >> 1); }

// The mean of four, rounded, from means of two, which processors have. With e and f of 0 or 1, p + q is 2 x - e and r +
// s is 2 y - f. Half of e + f is lost beside whole numbers unless both are 1, so that the mean is x + y + 1 - (e | f),
// halved and rounded down. That lacks 1 to the mean of x and y where e | f is 1 and x + y is odd.
OWN_INLINE uint8_t meanOf(uint8_t p, uint8_t q, uint8_t r, uint8_t s) {
    const uint8_t x = roundedUp(p, q);
    const uint8_t y = roundedUp(r, s);
    return static_cast<uint8_t>(roundedUp(x, y) - (((p ^ q) | (r ^ s)) & (x ^ y) & 1));
}

// What rates of 2:1 and 3:2 have in common: a form makes results of kValues values, kDst for every kSrc pixels of the
// source, by row(first row, row below it, number of the result's row, results, count). kAtOnce results are best made at
// once.
struct TwoToOne {
    static constexpr ptrdiff_t kDst = 1;
    static constexpr ptrdiff_t kSrc = 2;
};
struct ThreeToTwo {
    static constexpr ptrdiff_t kDst = 2;
    static constexpr ptrdiff_t kSrc = 3;
};

// Means of two times two.
template <ptrdiff_t N>
struct Halves : TwoToOne {
    static constexpr ptrdiff_t kValues = N;
    static constexpr ptrdiff_t kAtOnce = 16;

    OWN_INLINE static void row(const uint8_t* a, const uint8_t* b, ptrdiff_t, uint8_t* d, ptrdiff_t count) {
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) {
            for (ptrdiff_t c = 0; c < N; c++) {
                const ptrdiff_t at = 2 * N * i + c;
                d[N * i + c] = meanOf(a[at], a[at + N], b[at], b[at + N]);
            }
        }
    }
};

// Two bytes as a word have the same sum in either byte order.
template <>
struct Halves<1> : TwoToOne {
    static constexpr ptrdiff_t kValues = 1;
    static constexpr ptrdiff_t kAtOnce = 64;

    OWN_INLINE static void row(const uint8_t* a, const uint8_t* b, ptrdiff_t, uint8_t* d, ptrdiff_t count) {
        const Bytes2* above = reinterpret_cast<const Bytes2*>(a);
        const Bytes2* below = reinterpret_cast<const Bytes2*>(b);
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) {
            const auto low = static_cast<uint16_t>((above[i] & UINT8_MAX) + (below[i] & UINT8_MAX));
            const auto high = static_cast<uint16_t>((above[i] >> 8) + (below[i] >> 8));
            d[i] = static_cast<uint8_t>(static_cast<uint16_t>(low + high + 2) >> 2);
        }
    }
};

// Pixels of three bytes don't fill vectors: means of all neighbours, of which every other one is taken.
template <>
struct Halves<3> : TwoToOne {
    static constexpr ptrdiff_t kValues = 3;
    static constexpr ptrdiff_t kAtOnce = 64;

    OWN_INLINE static void row(const uint8_t* a, const uint8_t* b, ptrdiff_t, uint8_t* d, ptrdiff_t count) {
        uint8_t means[6 * kAtOnce];
        OWN_EACH
        for (ptrdiff_t i = 0; i < 6 * count - 3; i++) means[i] = meanOf(a[i], a[i + 3], b[i], b[i + 3]);
        pick<3>(means, 6, d, 3, count);
    }
};

// At 3:2 samples count by halves on each axis: twice and once. `sum` is 4 times the box's, whose mean is never
// halfway between two numbers, so that dividing by 9 gives what the literal form gives, as checked here for every sum.
constexpr uint8_t ninth(int32_t sum) {
    const auto rounded = static_cast<uint16_t>(sum + 4);
    return static_cast<uint8_t>(static_cast<uint32_t>(rounded) * 7282U >> 16);
}
constexpr bool ninthIsExact() {
    constexpr double norm = 1 / (1.5 * 1.5);
    for (int32_t sum = 0; sum <= 9 * 255; sum++) {
        const double mean = sum / 4.0 * norm + 0.5;
        if (ninth(sum) != static_cast<uint8_t>(mean)) return false;
    }
    return true;
}
static_assert(ninthIsExact());

// Of two rows, and of two columns, one counts twice.
template <ptrdiff_t N>
struct Thirds : ThreeToTwo {
    static constexpr ptrdiff_t kValues = N;
    static constexpr ptrdiff_t kAtOnce = N == 3 ? 128 : 256 / N;

    OWN_INLINE static void row(const uint8_t* a, const uint8_t* b, ptrdiff_t y, uint8_t* d, ptrdiff_t count) {
        const uint8_t* twice = y % 2 == 0 ? a : b;
        const uint8_t* once = y % 2 == 0 ? b : a;
        uint16_t sums[kAtOnce / 2 * 3 * N];
        const ptrdiff_t values = (count / 2 * 3 + count % 2 * 2) * N;
        OWN_EACH
        for (ptrdiff_t i = 0; i < values; i++) sums[i] = static_cast<uint16_t>(2 * twice[i] + once[i]);
        if constexpr (N == 3) {
            neighbours(sums, values, d, count);
            return;
        }
        OWN_EACH
        for (ptrdiff_t i = 0; i < count / 2; i++) {
            for (ptrdiff_t c = 0; c < N; c++) {
                const uint16_t* s = sums + 3 * N * i + c;
                d[2 * N * i + c] = ninth(2 * s[0] + s[N]);
                d[2 * N * i + N + c] = ninth(s[N] + 2 * s[2 * N]);
            }
        }
        if (count % 2 == 0) return;
        const uint16_t* s = sums + values - 2 * N;
        for (ptrdiff_t c = 0; c < N; c++) d[N * (count - 1) + c] = ninth(2 * s[c] + s[N + c]);
    }

private:
    // As at 2:1, for pixels that don't fill vectors.
    OWN_INLINE static void neighbours(const uint16_t* sums, ptrdiff_t values, uint8_t* d, ptrdiff_t count) {
        uint8_t even[kAtOnce / 2 * 3 * N];
        uint8_t odd[kAtOnce / 2 * 3 * N];
        OWN_EACH
        for (ptrdiff_t i = 0; i < values - N; i++) {
            even[i] = ninth(2 * sums[i] + sums[i + N]);
            odd[i] = ninth(sums[i] + 2 * sums[i + N]);
        }
        pick<N>(even, 3 * N, d, 2 * N, (count + 1) / 2);
        pick<N>(odd + N, 3 * N, d + N, 2 * N, count / 2);
    }
};

// Rows of results, and where in the source they begin.
struct EvenRows {
    const uint8_t* src;
    ptrdiff_t srcStep;
    uint8_t* dst;
    ptrdiff_t dstStep;
    Size size; // of the results
};

// Rows of more bytes would leave the nearest cache before their turn, if they were asked for a row ahead.
constexpr ptrdiff_t kLongRow = 12288;
constexpr ptrdiff_t kLater = 1024;

// While a row is made, the source's rows for the next one are asked for in the order of their addresses. The processor
// goes on from there on its own, which it doesn't where rows are read two at a time. Of long rows it is what comes a
// little later in both.
template <class Form>
OWN_INLINE void reduceRows(const EvenRows& rows) {
    constexpr ptrdiff_t n = Form::kValues;
    constexpr ptrdiff_t most = Form::kAtOnce;
    constexpr ptrdiff_t blockBytes = most * Form::kSrc / Form::kDst * n;
    const ptrdiff_t step = rows.srcStep;
    const ptrdiff_t width = rows.size.width;
    const ptrdiff_t height = rows.size.height;
    const ptrdiff_t rowBytes = width * Form::kSrc / Form::kDst * n;
    const bool isLong = rowBytes > kLongRow;
    for (ptrdiff_t y = 0; y < height; y++) {
        const ptrdiff_t first = y * Form::kSrc / Form::kDst;
        const ptrdiff_t nNew = (y + 1) * Form::kSrc / Form::kDst - first;
        const uint8_t* a = rows.src + first * step;
        const uint8_t* b = a + step;
        const uint8_t* next = y + 1 < height ? a + nNew * step : a;
        const uint8_t* firstNew = next + (2 - nNew) * step;
        // Two stretches of memory, one after the other, and the distance of what is asked for besides.
        const uint8_t* soon = isLong ? a : firstNew;
        const uint8_t* then = isLong ? next : firstNew + step;
        const ptrdiff_t beside = isLong ? step : blockBytes;
        uint8_t* d = rows.dst + y * rows.dstStep;
        ptrdiff_t x = 0;
        ptrdiff_t ahead = isLong ? kLater : 0;
        for (ptrdiff_t from = 0; x + most <= width; x += most, from += blockBytes) {
            const uint8_t* lines = ahead < rowBytes ? soon + ahead : then + (ahead - rowBytes);
            prefetch<blockBytes>(lines);
            prefetch<blockBytes>(lines + beside);
            ahead += isLong ? blockBytes : nNew * blockBytes;
            Form::row(a + from, b + from, y, d + x * n, most);
        }
        const ptrdiff_t from = x * Form::kSrc / Form::kDst * n;
        Form::row(a + from, b + from, y, d + x * n, width - x);
    }
}

OWN_WIDE_KERNEL void ownHalvesOne_8u(const EvenRows& rows) { reduceRows<Halves<1>>(rows); }
OWN_KERNEL void ownHalvesThree_8u(const EvenRows& rows) { reduceRows<Halves<3>>(rows); }
OWN_WIDE_KERNEL void ownHalvesFour_8u(const EvenRows& rows) { reduceRows<Halves<4>>(rows); }
OWN_WIDE_KERNEL void ownThirdsOne_8u(const EvenRows& rows) { reduceRows<Thirds<1>>(rows); }
OWN_KERNEL void ownThirdsThree_8u(const EvenRows& rows) { reduceRows<Thirds<3>>(rows); }
OWN_WIDE_KERNEL void ownThirdsFour_8u(const EvenRows& rows) { reduceRows<Thirds<4>>(rows); }

using EvenKernel = void (*)(const EvenRows& rows);
EvenKernel evenKernel(int32_t nValues, bool halves) {
    switch (nValues) {
    case 1: return halves ? ownHalvesOne_8u : ownThirdsOne_8u;
    case 3: return halves ? ownHalvesThree_8u : ownThirdsThree_8u;
    case 4: return halves ? ownHalvesFour_8u : ownThirdsFour_8u;
    default: return nullptr;
    }
}

} // namespace

bool ownDecimateEven_8u(const DecimateArgs& args, Position& reached) {
    const bool planes = args.src->dataOrder == TOV_DATA_ORDER_PLANE;
    const int32_t nValues = planes ? 1 : args.nChannels;
    Size any = kUnlimited;
    const auto src = roiLane<const uint8_t>(*args.src, coiOffset(*args.src), any);
    const auto dst = roiLane<uint8_t>(*args.dst, coiOffset(*args.dst), any);
    const auto isWhole = [](double position) { return position == static_cast<int32_t>(position); };
    reached = {args.at.x + args.size.width * args.xRate, args.at.y + args.size.height * args.yRate};
    const EvenKernel kernel = evenKernel(nValues, args.xRate == 2);
    const bool served = (args.xRate == 2 || args.xRate == 1.5) && args.xRate == args.yRate && isWhole(args.at.x) &&
                        isWhole(args.at.y) && src.pixelStep == nValues && dst.pixelStep == nValues && kernel != nullptr;
    // No box is moved back from the edge.
    if (!served || reached.x > args.limit.width || reached.y > args.limit.height) return false;
    const auto row = static_cast<int32_t>(args.at.y);
    const ptrdiff_t column = static_cast<ptrdiff_t>(args.at.x) * nValues;
    for (int32_t plane = 0; plane < (planes ? args.nChannels : 1); plane++) {
        kernel({src.row(plane, row) + column, src.rowStep, dst.row(plane, 0), dst.rowStep, args.size});
    }
    reached = {static_cast<float>(reached.x), static_cast<float>(reached.y)};
    return true;
}

} // namespace tov
