// Area averages of bytes at 2:1 and 3:2, whose boxes repeat every pixel or two: sums of whole numbers.
#include <cstring>

#include "core/image.h"
#include "kernel/walk.h"
#include "kernel/word.h"
#include "resample/decimate.h"

namespace tov {

namespace {

// Source values that are worked at once: a multiple of 6 pixels of 1, 3 and 4 values.
constexpr ptrdiff_t kBlock = 1152;

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

// Takes `count` pixels of N bytes, each `step` bytes behind the one before, to dStep.
template <ptrdiff_t N>
OWN_INLINE void pick(const uint8_t* s, ptrdiff_t step, uint8_t* d, ptrdiff_t dStep, ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count; i++) std::memcpy(d + i * dStep, s + i * step, N);
}

// `count` pixels, each the mean of two times two.
template <ptrdiff_t N>
OWN_INLINE void halve(const uint8_t* a, const uint8_t* b, uint8_t* d, ptrdiff_t count) {
    uint8_t means[kBlock];
    for (ptrdiff_t done = 0; done < count; done += kBlock / (2 * N)) {
        const ptrdiff_t n = count - done < kBlock / (2 * N) ? count - done : kBlock / (2 * N);
        const uint8_t* above = a + 2 * N * done;
        const uint8_t* below = b + 2 * N * done;
        const ptrdiff_t values = 2 * N * n - N;
        OWN_EACH
        for (ptrdiff_t i = 0; i < values; i++) {
            const auto sum = static_cast<uint16_t>(above[i] + above[i + N] + below[i] + below[i + N] + 2);
            means[i] = static_cast<uint8_t>(sum >> 2);
        }
        pick<N>(means, 2 * N, d + N * done, N, n);
    }
}

// Two bytes as a word have the same sum in either byte order.
template <>
OWN_INLINE void halve<1>(const uint8_t* a, const uint8_t* b, uint8_t* d, ptrdiff_t count) {
    const Bytes2* above = reinterpret_cast<const Bytes2*>(a);
    const Bytes2* below = reinterpret_cast<const Bytes2*>(b);
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        const auto low = static_cast<uint16_t>((above[i] & UINT8_MAX) + (below[i] & UINT8_MAX));
        const auto high = static_cast<uint16_t>((above[i] >> 8) + (below[i] >> 8));
        d[i] = static_cast<uint8_t>(static_cast<uint16_t>(low + high + 2) >> 2);
    }
}

// Four bytes of a pixel as two pairs of 16 bits.
template <>
OWN_INLINE void halve<4>(const uint8_t* a, const uint8_t* b, uint8_t* d, ptrdiff_t count) {
    constexpr uint32_t pair = 0x00FF00FF;
    const Bytes4* above = reinterpret_cast<const Bytes4*>(a);
    const Bytes4* below = reinterpret_cast<const Bytes4*>(b);
    Bytes4* to = reinterpret_cast<Bytes4*>(d);
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        const uint32_t p = above[2 * i];
        const uint32_t q = above[2 * i + 1];
        const uint32_t r = below[2 * i];
        const uint32_t s = below[2 * i + 1];
        const uint32_t low = (p & pair) + (q & pair) + (r & pair) + (s & pair) + 0x00020002;
        const uint32_t high = (p >> 8 & pair) + (q >> 8 & pair) + (r >> 8 & pair) + (s >> 8 & pair) + 0x00020002;
        to[i] = (low >> 2 & pair) | (high >> 2 & pair) << 8;
    }
}

// `count` pixels of two rows, one of which counts twice: two for every three.
template <ptrdiff_t N>
OWN_INLINE void thirds(const uint8_t* a, const uint8_t* b, bool firstTwice, uint8_t* d, ptrdiff_t count) {
    const uint8_t* twice = firstTwice ? a : b;
    const uint8_t* once = firstTwice ? b : a;
    uint16_t sums[kBlock + 2 * N];
    uint8_t even[kBlock];
    uint8_t odd[kBlock];
    constexpr ptrdiff_t most = kBlock / (3 * N) * 2;
    for (ptrdiff_t done = 0; done < count; done += most) {
        const ptrdiff_t n = count - done < most ? count - done : most;
        const ptrdiff_t values = (n / 2 * 3 + n % 2 * 2) * N;
        const uint8_t* s = twice + done / 2 * 3 * N;
        const uint8_t* t = once + done / 2 * 3 * N;
        OWN_EACH
        for (ptrdiff_t i = 0; i < values; i++) sums[i] = static_cast<uint16_t>(2 * s[i] + t[i]);
        uint8_t* to = d + N * done;
        if (N == 1) {
            OWN_EACH
            for (ptrdiff_t i = 0; i < n / 2; i++) {
                to[2 * i] = ninth(2 * sums[3 * i] + sums[3 * i + 1]);
                to[2 * i + 1] = ninth(sums[3 * i + 1] + 2 * sums[3 * i + 2]);
            }
            if (n % 2 != 0) to[n - 1] = ninth(2 * sums[values - 2] + sums[values - 1]);
            continue;
        }
        OWN_EACH
        for (ptrdiff_t i = 0; i < values - N; i++) {
            even[i] = ninth(2 * sums[i] + sums[i + N]);
            odd[i] = ninth(sums[i] + 2 * sums[i + N]);
        }
        pick<N>(even, 3 * N, to, 2 * N, (n + 1) / 2);
        pick<N>(odd + N, 3 * N, to + N, 2 * N, n / 2);
    }
}

// A row of results from two rows of the source, one of which counts twice where the rate is 3:2.
using RowKernel = void (*)(const uint8_t* a, const uint8_t* b, bool firstTwice, uint8_t* d, ptrdiff_t count);
using Row = const uint8_t*;

OWN_KERNEL void ownHalvesOne_8u(Row a, Row b, bool, uint8_t* d, ptrdiff_t count) { halve<1>(a, b, d, count); }
OWN_KERNEL void ownHalvesThree_8u(Row a, Row b, bool, uint8_t* d, ptrdiff_t count) { halve<3>(a, b, d, count); }
OWN_KERNEL void ownHalvesFour_8u(Row a, Row b, bool, uint8_t* d, ptrdiff_t count) { halve<4>(a, b, d, count); }
OWN_KERNEL void ownThirdsOne_8u(Row a, Row b, bool twice, uint8_t* d, ptrdiff_t count) {
    thirds<1>(a, b, twice, d, count);
}
OWN_KERNEL void ownThirdsThree_8u(Row a, Row b, bool twice, uint8_t* d, ptrdiff_t count) {
    thirds<3>(a, b, twice, d, count);
}
OWN_KERNEL void ownThirdsFour_8u(Row a, Row b, bool twice, uint8_t* d, ptrdiff_t count) {
    thirds<4>(a, b, twice, d, count);
}

RowKernel rowKernel(int32_t nValues, bool halves) {
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
    const RowKernel kernel = rowKernel(nValues, args.xRate == 2);
    const bool served = (args.xRate == 2 || args.xRate == 1.5) && args.xRate == args.yRate && isWhole(args.at.x) &&
                        isWhole(args.at.y) && src.pixelStep == nValues && dst.pixelStep == nValues && kernel != nullptr;
    // No box is moved back from the edge.
    if (!served || reached.x > args.limit.width || reached.y > args.limit.height) return false;
    const ptrdiff_t column = static_cast<ptrdiff_t>(args.at.x) * nValues;
    for (int32_t plane = 0; plane < (planes ? args.nChannels : 1); plane++) {
        double y = args.at.y;
        for (int32_t j = 0; j < args.size.height; j++) {
            const auto first = static_cast<int32_t>(y);
            kernel(src.row(plane, first) + column, src.row(plane, first + 1) + column, y == first, dst.row(plane, j),
                   args.size.width);
            y += args.yRate;
        }
    }
    reached = {static_cast<float>(reached.x), static_cast<float>(reached.y)};
    return true;
}

} // namespace tov
