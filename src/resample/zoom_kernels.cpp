// The kernels of zooming: rows are interpolated along x once, and blended for as many rows as lie between them.
#include <limits>

#include "core/memory.h"
#include "kernel/bitrows.h"
#include "kernel/walk.h"
#include "resample/zoom.h"

namespace tov {

namespace {

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

template <class T>
OWN_INLINE bool zoomNearest(const ZoomArgs& args) {
    const Samples<T> samples(args);
    return eachRow(samples, [&](int32_t plane, int32_t y, T* d) OWN_INLINE_LAMBDA {
        const T* s = samples.src.row(plane, args.rows[y]);
        for (int32_t i = 0; i < samples.size.width; i++) {
            const T* pixel = s + args.columns[i] * samples.src.pixelStep;
            for (int32_t c = 0; c < samples.nValues; c++) *d++ = pixel[c];
        }
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

// How rows are made and blended: from two samples on each axis, or from four.
struct Linear {
    static constexpr int32_t kSamples = 2;
    static constexpr int32_t kFirst = 0; // the first of them, from the index on
    static constexpr int32_t kWeights = 1;

    OWN_INLINE static void weights(float t, float* w, ptrdiff_t) { *w = t; }
    template <class T>
    OWN_INLINE static float across(const T* s, ptrdiff_t step, const float* w, ptrdiff_t) {
        return static_cast<float>(s[0] + double{*w} * (s[step] - s[0]));
    }
    template <class T>
    OWN_INLINE static void blend(const float* const* rows, float t, T* d, ptrdiff_t count) {
        const float* a = rows[0];
        const float* b = rows[1];
        const double second = t;
        const double first = 1 - second;
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) d[i] = static_cast<T>(ownRound(a[i] * first + b[i] * second));
    }
};
struct Cubic {
    static constexpr int32_t kSamples = 4;
    static constexpr int32_t kFirst = -1;
    static constexpr int32_t kWeights = 3;

    OWN_INLINE static void weights(float t, float* w, ptrdiff_t distance) {
        const Newton newton(t);
        w[0] = newton.s;
        w[distance] = newton.b;
        w[2 * distance] = newton.c;
    }
    template <class T>
    OWN_INLINE static float across(const T* s, ptrdiff_t step, const float* w, ptrdiff_t distance) {
        const Newton newton(w[0], w[distance], w[2 * distance]);
        return static_cast<float>(newton.at(s[0], s[step], s[2 * step], s[3 * step]));
    }
    template <class T>
    OWN_INLINE static void blend(const float* const* rows, float t, T* d, ptrdiff_t count) {
        const Newton newton(t);
        const float* v0 = rows[0];
        const float* v1 = rows[1];
        const float* v2 = rows[2];
        const float* v3 = rows[3];
        constexpr int32_t most = std::numeric_limits<T>::max();
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) {
            const int32_t value = ownRound(newton.at(v0[i], v1[i], v2[i], v3[i]));
            const int32_t low = value > 0 ? value : 0;
            d[i] = static_cast<T>(low < most ? low : most);
        }
    }
};

// The source's rows that the next results need, each interpolated along x once: row k stands in place k modulo their
// number.
template <class T, class Mode>
class RowBuffers {
public:
    OWN_INLINE RowBuffers(const ZoomArgs& args, const Samples<T>& samples)
        : args_(args),
          samples_(samples),
          weights_(static_cast<size_t>(args.size.width) * Mode::kWeights),
          values_(static_cast<size_t>(samples.values()) * Mode::kSamples) {
        if (!complete()) return;
        for (int32_t i = 0; i < args.size.width; i++) {
            Mode::weights(args.columnFractions[i], weights_.get() + i, args.size.width);
        }
    }
    bool complete() const { return weights_ && values_; }

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
        for (int32_t i = 0; i < args_.size.width; i++) {
            const T* s = row + args_.columns[i] * step;
            const float* w = weights_.get() + i;
            for (int32_t c = 0; c < samples_.nValues; c++) *d++ = Mode::across(s + c, step, w, args_.size.width);
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
        Mode::blend(rows, args.rowFractions[y], d, samples.values());
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
        for (int32_t x = 0; x < args.size.width; x += most) {
            const int32_t count = smaller(args.size.width - x, most);
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
