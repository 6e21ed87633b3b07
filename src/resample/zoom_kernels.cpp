// The kernels of zooming: rows are interpolated along x once, and blended for as many rows as lie between them.
#include <cmath>
#include <cstring>
#include <limits>

#include "core/memory.h"
#include "kernel/bitrows.h"
#include "kernel/walk.h"
#include "kernel/word.h"
#include "resample/nearest.h"
#include "resample/zoom.h"

namespace tov {

namespace {

// Values that are worked at once along a row.
constexpr int32_t kBlock = 256;

// The samples of one call.
template <class T>
struct Samples {
    explicit Samples(const ZoomArgs& args)
        : planes(args.src->dataOrder == TOV_DATA_ORDER_PLANE),
          nPlanes(planes ? args.srcChannels.count : 1),
          nValues(planes ? 1 : args.srcChannels.count),
          size(args.size),
          mask(args.mask) {
        Size any = kUnlimited;
        src = roiLane<const T>(*args.src, args.srcChannels.offset, any);
        dst = roiLane<T>(*args.dst, args.dstChannels.offset, any);
    }

    ptrdiff_t values() const { return ptrdiff_t{size.width} * nValues; }
    // Whether results can be formed in the destination's own rows.
    bool direct() const { return mask.first == nullptr && dst.pixelStep == nValues; }

    // Stores a row of results where the mask lets it.
    OWN_INLINE void put(const T* results, int32_t plane, int32_t y) const {
        const Span span = {size.width, 1, 1, nValues};
        const Lane<const T> from = {results, 0, 0, nValues};
        const Lane<T> to = {dst.row(plane, y), 0, 0, dst.pixelStep};
        const auto same = [](T value) OWN_INLINE_LAMBDA { return value; };
        if (mask.first != nullptr) {
            walkLanes<true>(span, {mask.first + y * mask.rowStep, 0, mask.bitOffset}, same, to, from);
        } else {
            walkLanes<false>(span, MaskLane{}, same, to, from);
        }
    }

    bool planes;
    int32_t nPlanes;
    int32_t nValues;
    Size size;
    MaskLane mask;
    Lane<const T> src;
    Lane<T> dst;
};

// Forms each row of each plane by form(plane, y, row of results), in place or in a row of its own. False when that
// can't be had.
template <class T, class Form>
OWN_INLINE bool eachRow(const Samples<T>& samples, Form form) {
    const bool direct = samples.direct();
    const AlignedBlock<T> results(direct ? 0 : static_cast<size_t>(samples.values()));
    if (!results) return false;
    for (int32_t plane = 0; plane < samples.nPlanes; plane++) {
        for (int32_t y = 0; y < samples.size.height; y++) {
            T* row = direct ? samples.dst.row(plane, y) : results.get();
            form(plane, y, row);
            if (!direct) samples.put(row, plane, y);
        }
    }
    return true;
}

// Takes `count` pixels of N values from the columns of a row to neighbouring places.
template <int32_t N, class T>
OWN_INLINE void gather(const T* row, ptrdiff_t step, const int32_t* columns, ptrdiff_t count, T* d) {
    if (N == 1) {
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) d[i] = row[columns[i] * step];
        return;
    }
    for (ptrdiff_t i = 0; i < count; i++) std::memcpy(d + N * i, row + columns[i] * step, N * sizeof(T));
}

template <class T>
OWN_INLINE void gatherAny(int32_t nValues, const T* row, ptrdiff_t step, const int32_t* columns, ptrdiff_t count,
                          T* d) {
    switch (nValues) {
    case 1: return step == 1 ? gather<1>(row, 1, columns, count, d) : gather<1>(row, step, columns, count, d);
    case 3: return gather<3>(row, step, columns, count, d);
    case 4: return gather<4>(row, step, columns, count, d);
    default: break;
    }
    for (ptrdiff_t i = 0; i < count; i++) {
        for (int32_t c = 0; c < nValues; c++) *d++ = row[columns[i] * step + c];
    }
}

// The same where each column stands twice after `before` others. False for pixels that have another form.
template <class T>
OWN_INLINE bool gatherPairs(int32_t nValues, const T* row, ptrdiff_t step, int32_t before, const int32_t* columns,
                            ptrdiff_t count, T* d) {
    if (before < 0 || step != nValues || (nValues != 1 && (nValues != 4 || sizeof(T) != 1))) return false;
    const T* first = row + columns[before] * step;
    T* to = d + ptrdiff_t{before} * nValues;
    const ptrdiff_t nPairs = (count - before) / 2;
    nValues == 1 ? takeTwice<sizeof(T)>(first, to, nPairs) : takeTwice<4>(first, to, nPairs);
    const ptrdiff_t done = before + 2 * nPairs;
    gatherAny(nValues, row, step, columns, before, d);
    gatherAny(nValues, row, step, columns + done, count - done, d + done * nValues);
    return true;
}

// Pairs are taken anew for each row, which is quicker than to read back the row before. Other rows are copied.
template <class T>
OWN_INLINE bool zoomNearest(const ZoomArgs& args) {
    const Samples<T> samples(args);
    const int32_t before = beforePairs(args.columns, samples.size.width);
    const auto rowBytes = static_cast<size_t>(samples.values()) * sizeof(T);
    const T* made = nullptr;
    return eachRow(samples, [&](int32_t plane, int32_t y, T* d) OWN_INLINE_LAMBDA {
        const T* row = samples.src.row(plane, args.rows[y]);
        const ptrdiff_t step = samples.src.pixelStep;
        const bool again = y > 0 && args.rows[y] == args.rows[y - 1];
        if (again && made == d) return;
        if (rowBytes >= kLongRow && y + 1 < samples.size.height) prefetchStart(samples.dst.row(plane, y + 1));
        if (!gatherPairs(samples.nValues, row, step, before, args.columns, samples.size.width, d)) {
            if (again) {
                std::memcpy(d, made, rowBytes);
            } else {
                gatherAny(samples.nValues, row, step, args.columns, samples.size.width, d);
            }
        }
        made = d;
    });
}

// The weights of the cubic through four samples, in Newton's form.
struct Newton {
    OWN_INLINE explicit Newton(float t)
        : s(static_cast<float>(t + 1.0)),
          b(static_cast<float>(0.5 * t * s)),
          c(static_cast<float>((t - 1.0) * b * 0.33333334F)) {}
    OWN_INLINE Newton(float atS, float atB, float atC) : s(atS), b(atB), c(atC) {}

    // Differences are rounded to single precision where they multiply.
    OWN_INLINE double at(double v0, double v1, double v2, double v3) const {
        const double d1 = v1 - v0;
        const double d2 = v2 - v1 - d1;
        const double d3 = v3 - 2 * v2 + v1 - d2;
        return v0 + double{s} * static_cast<float>(d1) + double{b} * static_cast<float>(d2) +
               double{c} * static_cast<float>(d3);
    }

    float s;
    float b;
    float c;
};

// The samples of a block of pixels, one after the other for each place around the position, and those of bytes that
// stand alone, which one word holds.
template <class T>
struct GatheredTaps {
    template <int32_t K>
    OWN_INLINE int32_t at(ptrdiff_t i) const {
        return taps[K][i];
    }
    const T* taps[4];
};
template <class W>
struct WordTaps {
    template <int32_t K>
    OWN_INLINE int32_t at(ptrdiff_t i) const {
        constexpr int32_t place = kFirstIsLow ? K : static_cast<int32_t>(sizeof(W)) - 1 - K;
        return static_cast<int32_t>(words[i] >> (8 * place) & UINT8_MAX);
    }
    const W* words;
};

// A result in single precision, and how far the rows differ that it is made of.
struct Nearly {
    float value;
    float rise;
};

// How rows are made and blended: from two samples on each axis, or from four.
struct Linear {
    using Weights = float;
    using Word = uint16_t;
    static constexpr int32_t kSamples = 2;
    static constexpr int32_t kFirst = 0; // the first of them, from the index on
    static constexpr int32_t kWeights = 1;

    OWN_INLINE static void weights(float t, float* w, ptrdiff_t) { *w = t; }
    template <class Taps>
    OWN_INLINE static void across(const Taps& taps, const float* w, ptrdiff_t, float* d, ptrdiff_t count) {
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) {
            const int32_t a = taps.template at<0>(i);
            d[i] = static_cast<float>(a + double{w[i]} * (taps.template at<1>(i) - a));
        }
    }
    template <class T>
    OWN_INLINE static T exact(const float* const* rows, float t, ptrdiff_t i) {
        return static_cast<T>(ownRound(rows[0][i] * (1 - double{t}) + rows[1][i] * double{t}));
    }

    // What rounding leaves below 0 isn't limited but takes its low bits, as in the exact form.
    static constexpr bool kLimited = false;
    // Rows of bytes are below 256.01, so that difference, product and sum are each off by less than 2^-24 * 256.1, and
    // the result by less than 0.00005.
    static constexpr float kMargin = 0.00007F;
    static bool servesNearly(float) { return true; }
    OWN_INLINE static Nearly nearly(const float* const* rows, float t, ptrdiff_t i) {
        const float a = rows[0][i];
        const float difference = rows[1][i] - a;
        return {a + t * difference, std::fabs(difference)};
    }
};
struct Cubic {
    using Weights = Newton;
    using Word = uint32_t;
    static constexpr int32_t kSamples = 4;
    static constexpr int32_t kFirst = -1;
    static constexpr int32_t kWeights = 3;

    OWN_INLINE static void weights(float t, float* w, ptrdiff_t distance) {
        const Newton newton(t);
        w[0] = newton.s;
        w[distance] = newton.b;
        w[2 * distance] = newton.c;
    }
    // Differences of samples are whole numbers, of which single precision loses nothing.
    template <class Taps>
    OWN_INLINE static void across(const Taps& taps, const float* w, ptrdiff_t distance, float* d, ptrdiff_t count) {
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) {
            const int32_t v0 = taps.template at<0>(i);
            const int32_t v1 = taps.template at<1>(i);
            const int32_t v2 = taps.template at<2>(i);
            const int32_t d1 = v1 - v0;
            const int32_t d2 = v2 - v1 - d1;
            const int32_t d3 = taps.template at<3>(i) - 2 * v2 + v1 - d2;
            const double line = v0 + double{w[i]} * d1;
            d[i] = static_cast<float>(line + double{w[i + distance]} * d2 + double{w[i + 2 * distance]} * d3);
        }
    }
    template <class T>
    OWN_INLINE static T exact(const float* const* rows, const Newton& newton, ptrdiff_t i) {
        constexpr int32_t most = std::numeric_limits<T>::max();
        const int32_t value = ownRound(newton.at(rows[0][i], rows[1][i], rows[2][i], rows[3][i]));
        const int32_t low = value > 0 ? value : 0;
        return static_cast<T>(low < most ? low : most);
    }

    static constexpr bool kLimited = true;
    // With u = 2^-24: rows of bytes stay within 417, so that first, second and third differences are off from those of
    // the exact form, which rounds them as well, by less than 1668 u, 5004 u and 13344 u. Between the middle rows their
    // weights are at most 2, 1 and 0.065, which makes 9210 u; the products add 3560 u and the sums 9810 u, in all
    // 0.00135.
    static constexpr float kMargin = 0.0014F;
    static bool servesNearly(float t) { return t > -0.00002F && t <= 1; }
    OWN_INLINE static Nearly nearly(const float* const* rows, const Newton& newton, ptrdiff_t i) {
        const float first = rows[1][i] - rows[0][i];
        const float middle = rows[2][i] - rows[1][i];
        const float last = rows[3][i] - rows[2][i];
        const float second = middle - first;
        const float third = (last - middle) - second;
        return {rows[0][i] + newton.s * first + newton.b * second + newton.c * third,
                std::fabs(first) + std::fabs(second) + std::fabs(third)};
    }
};

// Bytes in single precision: results that are further than a margin from a whole number are rounded down as the exact
// form does it, which turns to the next number 0.00001 below it, and where all rows have the same whole number it is
// the result. The others are doubts, to be formed exactly, and so is what lies below 0 where results aren't limited.
// Returns how many there are.
template <class Mode, class Weights>
OWN_INLINE int32_t blendNearly(const float* const* rows, const Weights& weights, uint8_t* d, uint8_t* doubts,
                               ptrdiff_t count) {
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        const Nearly nearly = Mode::nearly(rows, weights, i);
        const float value = nearly.value;
        const auto whole = static_cast<int32_t>(value);
        const float behind = value - static_cast<float>(whole);
        const float rest = Mode::kLimited ? std::fabs(behind) : behind;
        const int32_t near = (rest < Mode::kMargin ? 1 : 0) | (rest > 1 - Mode::kMargin ? 1 : 0);
        const int32_t differs = nearly.rise + std::fabs(behind) != 0 ? 1 : 0;
        const int32_t low = whole > 0 ? whole : 0;
        d[i] = static_cast<uint8_t>(low < UINT8_MAX ? low : UINT8_MAX);
        doubts[i] = static_cast<uint8_t>(near & differs);
    }
    int32_t nDoubts = 0;
    for (ptrdiff_t i = 0; i < count; i++) nDoubts += doubts[i];
    return nDoubts;
}

// A row of results from the rows around it.
template <class Mode, class T>
OWN_INLINE void blend(const float* const* rows, float t, T* d, ptrdiff_t count) {
    const typename Mode::Weights weights(t);
    uint8_t doubts[kBlock] = {};
    for (ptrdiff_t i = 0; i < count; i += kBlock) {
        const ptrdiff_t n = count - i < kBlock ? count - i : kBlock;
        const float* block[Mode::kSamples];
        for (int32_t k = 0; k < Mode::kSamples; k++) block[k] = rows[k] + i;
        int32_t nDoubts = kBlock;
        if constexpr (sizeof(T) == 1) {
            if (Mode::servesNearly(t)) nDoubts = blendNearly<Mode>(block, weights, d + i, doubts, n);
        }
        if (nDoubts > kBlock / 16) {
            OWN_EACH
            for (ptrdiff_t k = 0; k < n; k++) d[i + k] = Mode::template exact<T>(block, weights, k);
            continue;
        }
        for (ptrdiff_t k = 0; nDoubts > 0; k += 8) {
            uint64_t eight = 0;
            std::memcpy(&eight, doubts + k, sizeof eight);
            if (eight == 0) continue;
            for (ptrdiff_t e = k; e < k + 8 && e < n; e++) {
                if (doubts[e] == 0) continue;
                d[i + e] = Mode::template exact<T>(block, weights, e);
                nDoubts--;
            }
        }
    }
}

// The source's rows that the next results need, each interpolated along x once: row k stands in place k modulo their
// number.
template <class T, class Mode>
class RowBuffers {
public:
    OWN_INLINE RowBuffers(const ZoomArgs& args, const Samples<T>& samples)
        : args_(args),
          samples_(samples),
          weights_(static_cast<size_t>(samples.values()) * Mode::kWeights),
          values_(static_cast<size_t>(samples.values()) * Mode::kSamples),
          taps_(static_cast<size_t>(kBlock + samples.nValues) * Mode::kSamples) {
        if (!complete()) return;
        float* w = weights_.get();
        for (int32_t i = 0; i < args.size.width; i++) {
            for (int32_t c = 0; c < samples.nValues; c++) Mode::weights(args.columnFractions[i], w++, samples.values());
        }
    }
    bool complete() const { return weights_ && values_ && taps_; }

    // Points rows[] at the buffers of the rows from `first` on.
    OWN_INLINE void fill(int32_t plane, int32_t first, const float** rows) {
        for (int32_t i = 0; i < Mode::kSamples; i++) {
            const int32_t y = first + i;
            const int32_t slot = y & (Mode::kSamples - 1);
            float* row = values_.get() + slot * samples_.values();
            if (held_[slot].plane != plane || held_[slot].row != y) stretch(plane, y, row);
            held_[slot] = {plane, y};
            rows[i] = row;
        }
    }

private:
    OWN_INLINE void stretch(int32_t plane, int32_t y, float* d) const {
        const ptrdiff_t step = samples_.src.pixelStep;
        const T* row = samples_.src.row(plane, y) + Mode::kFirst * step;
        if (sizeof(T) == 1 && step == 1) return stretchBytes(reinterpret_cast<const uint8_t*>(row), d);
        const int32_t nValues = samples_.nValues;
        const int32_t most = nValues < kBlock ? kBlock / nValues : 1; // pixels at once
        GatheredTaps<T> taps{};
        for (int32_t i = 0, count = 0; i < args_.size.width; i += count) {
            count = smaller(args_.size.width - i, most);
            for (int32_t k = 0; k < Mode::kSamples; k++) {
                T* samples = taps_.get() + ptrdiff_t{k} * most * nValues;
                gatherAny(nValues, row + k * step, step, args_.columns + i, count, samples);
                taps.taps[k] = samples;
            }
            const ptrdiff_t first = ptrdiff_t{i} * nValues;
            Mode::across(taps, weights_.get() + first, samples_.values(), d + first, ptrdiff_t{count} * nValues);
        }
    }

    OWN_INLINE void stretchBytes(const uint8_t* row, float* d) const {
        typename Mode::Word words[kBlock];
        for (int32_t i = 0, count = 0; i < args_.size.width; i += count) {
            count = smaller(args_.size.width - i, kBlock);
            const int32_t* columns = args_.columns + i;
            for (int32_t k = 0; k < count; k++) std::memcpy(words + k, row + columns[k], sizeof words[0]);
            Mode::across(WordTaps<typename Mode::Word>{words}, weights_.get() + i, samples_.values(), d + i, count);
        }
    }

    struct Held {
        int32_t plane = -1;
        int32_t row = 0;
    };
    const ZoomArgs& args_;
    const Samples<T>& samples_;
    AlignedBlock<float> weights_;
    AlignedBlock<float> values_;
    AlignedBlock<T> taps_; // the samples of a block of pixels
    Held held_[Mode::kSamples];
};

template <class T, class Mode>
OWN_INLINE bool zoomBetween(const ZoomArgs& args) {
    const Samples<T> samples(args);
    RowBuffers<T, Mode> buffers(args, samples);
    if (!buffers.complete()) return false;
    return eachRow(samples, [&](int32_t plane, int32_t y, T* d) OWN_INLINE_LAMBDA {
        const float* rows[Mode::kSamples];
        buffers.fill(plane, args.rows[y] + Mode::kFirst, rows);
        blend<Mode>(rows, args.rowFractions[y], d, samples.values());
    });
}

OWN_KERNEL bool ownZoomNearest_8u(const ZoomArgs& args) { return zoomNearest<uint8_t>(args); }
OWN_KERNEL bool ownZoomNearest_16u(const ZoomArgs& args) { return zoomNearest<uint16_t>(args); }
OWN_KERNEL bool ownZoomLinear_8u(const ZoomArgs& args) { return zoomBetween<uint8_t, Linear>(args); }
OWN_KERNEL bool ownZoomLinear_16u(const ZoomArgs& args) { return zoomBetween<uint16_t, Linear>(args); }
OWN_KERNEL bool ownZoomCubic_8u(const ZoomArgs& args) { return zoomBetween<uint8_t, Cubic>(args); }
OWN_KERNEL bool ownZoomCubic_16u(const ZoomArgs& args) { return zoomBetween<uint16_t, Cubic>(args); }

OWN_KERNEL bool ownZoomNearest_1u(const ZoomArgs& args) {
    constexpr int32_t most = 32;
    Size any = kUnlimited;
    const auto src = roiBits<const uint8_t>(*args.src, any);
    const auto dst = roiBits<uint8_t>(*args.dst, any);
    for (int32_t y = 0; y < args.size.height; y++) {
        const uint8_t* s = src.first + args.rows[y] * src.rowStep;
        uint8_t* d = dst.first + y * dst.rowStep;
        for (int32_t x = 0, count = 0; x < args.size.width; x += count) {
            count = smaller(args.size.width - x, most);
            uint64_t bits = 0;
            for (int32_t i = 0; i < count; i++) {
                const ptrdiff_t bit = ptrdiff_t{args.columns[x + i]} + src.bitOffset;
                bits = bits << 1 | (s[bit >> 3] >> (7 - (bit & 7)) & 1);
            }
            bits <<= 64 - count;
            const ptrdiff_t to = ptrdiff_t{dst.bitOffset} + x;
            if (args.mask.first != nullptr) {
                const uint8_t* row = args.mask.first + y * args.mask.rowStep;
                const uint64_t chosen = bitsAt(row, ptrdiff_t{args.mask.bitOffset} + x, count);
                bits = (bits & chosen) | (bitsAt(d, to, count) & ~chosen);
            }
            putBits(d, to, count, bits);
        }
    }
    return true;
}

} // namespace

bool ownZoomRows(const ZoomArgs& args, int32_t mode) {
    if (args.src->depth == TOV_DEPTH_1U) return ownZoomNearest_1u(args);
    const bool bytes = args.src->depth == TOV_DEPTH_8U;
    switch (mode) {
    case TOV_INTER_LINEAR: return bytes ? ownZoomLinear_8u(args) : ownZoomLinear_16u(args);
    case TOV_INTER_CUBIC: return bytes ? ownZoomCubic_8u(args) : ownZoomCubic_16u(args);
    default: return bytes ? ownZoomNearest_8u(args) : ownZoomNearest_16u(args);
    }
}

} // namespace tov
