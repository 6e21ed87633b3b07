// The kernels of zooming between samples: rows are interpolated along x once, and blended for as many rows as lie
// between them.
#include "resample/zoom_between.h"
#include "resample/zoom_rows.h"

namespace tov {

namespace {

// Values that are worked at once along a row.
constexpr int32_t kBlock = 128;

// The samples that a row's pixels lie between, for each place around their positions side by side.
template <class T, class Mode>
class Taps {
public:
    OWN_INLINE Taps(const ZoomArgs& args, const Samples<T>& samples)
        : args_(args),
          samples_(samples),
          pairs_(pairsOf(args, samples)),
          most_(samples.nValues < kBlock ? kBlock / samples.nValues : 1),
          twice_((static_cast<size_t>(pairs_.count) + 2 * Mode::kSamples) * static_cast<size_t>(samples.nValues)),
          gathered_(static_cast<size_t>(kBlock + samples.nValues) * Mode::kSamples) {}
    bool complete() const { return twice_ && gathered_; }

    OWN_INLINE void begin(int32_t plane, int32_t y) {
        row_ = samples_.src.row(plane, y) + Mode::kFirst * samples_.src.pixelStep;
        if (pairs_.count == 0) return;
        takePairs(samples_.nValues * ptrdiff_t{sizeof(T)}, row_ + args_.columns[pairs_.first] * samples_.src.pixelStep,
                  twice_.get(), pairs_.count / 2 + Mode::kSamples - 1);
    }

    // Points taps[] at the samples of pixels from the i-th on, and tells of how many.
    OWN_INLINE int32_t take(int32_t i, const T** taps) {
        const int32_t beyond = i - pairs_.first;
        const ptrdiff_t nValues = samples_.nValues;
        if (beyond >= 0 && beyond < pairs_.count) {
            for (ptrdiff_t k = 0; k < Mode::kSamples; k++) taps[k] = twice_.get() + (beyond + 2 * k) * nValues;
            return pairs_.count - beyond;
        }
        const int32_t count = smaller(most_, (beyond < 0 ? pairs_.first : args_.size.width) - i);
        const ptrdiff_t step = samples_.src.pixelStep;
        for (ptrdiff_t k = 0; k < Mode::kSamples; k++) {
            T* gathered = gathered_.get() + k * most_ * nValues;
            if (sizeof(T) != 1 || step != 1) {
                gatherAny(samples_.nValues, row_ + k * step, step, args_.columns + i, count, gathered);
            }
            taps[k] = gathered;
        }
        if (sizeof(T) == 1 && step == 1) takeWords(args_.columns + i, count);
        return count;
    }

private:
    // Bytes that stand alone: one word holds all of a pixel.
    OWN_INLINE void takeWords(const int32_t* columns, int32_t count) {
        using Word = typename Mode::Word;
        Word words[kBlock];
        for (int32_t i = 0; i < count; i++) std::memcpy(words + i, row_ + columns[i], sizeof words[0]);
        for (int32_t k = 0; k < Mode::kSamples; k++) {
            T* d = gathered_.get() + ptrdiff_t{k} * most_;
            const int32_t shift = 8 * (kFirstIsLow ? k : Mode::kSamples - 1 - k);
            OWN_EACH
            for (int32_t i = 0; i < count; i++) d[i] = static_cast<T>(words[i] >> shift & UINT8_MAX);
        }
    }

    const ZoomArgs& args_;
    const Samples<T>& samples_;
    Pairs pairs_;
    int32_t most_; // pixels at once
    const T* row_ = nullptr;
    AlignedBlock<T> twice_;
    AlignedBlock<T> gathered_;
};

// The source's rows that the next results need, each interpolated along x once: row k stands in place k modulo their
// number. They are exact, or with Near the sums that come near those.
template <class T, class Mode, bool Near>
class RowBuffers {
public:
    OWN_INLINE RowBuffers(const ZoomArgs& args, const Samples<T>& samples, Taps<T, Mode>& taps)
        : args_(args),
          samples_(samples),
          taps_(taps),
          distance_(((samples.values() + 15) & -16) | 16),
          weights_(static_cast<size_t>(distance_) * kWeights),
          values_(static_cast<size_t>(distance_) * Mode::kSamples),
          flat_(Near ? static_cast<size_t>(distance_) * Mode::kSamples : 0) {}
    bool complete() const { return weights_ && values_ && flat_; }

    // Points rows[] at the buffers of the rows from `first` on.
    OWN_INLINE void fill(int32_t plane, int32_t first, const float** rows) {
        if (!begun_) begin();
        for (int32_t i = 0; i < Mode::kSamples; i++) {
            const int32_t y = first + i;
            const int32_t slot = y & (Mode::kSamples - 1);
            if (held_[slot].plane != plane || held_[slot].row != y) stretch(plane, y, slot * distance_);
            held_[slot] = {plane, y};
            rows[i] = values_.get() + slot * distance_;
        }
    }
    // The values of a row, filled with Near, whose samples are all the same.
    const uint8_t* flat(int32_t y) const { return flat_.get() + (y & (Mode::kSamples - 1)) * distance_; }

private:
    static constexpr int32_t kWeights = Near ? Mode::kNearWeights : Mode::kWeights;

    void begin() {
        begun_ = true;
        float* w = weights_.get();
        for (int32_t i = 0; i < args_.size.width; i++) {
            const float t = args_.columnFractions[i];
            for (int32_t c = 0; c < samples_.nValues; c++) {
                Near ? Mode::nearWeights(t, w++, distance_) : Mode::weights(t, w++, distance_);
            }
        }
    }

    OWN_INLINE void stretch(int32_t plane, int32_t y, ptrdiff_t place) {
        taps_.begin(plane, y);
        const T* taps[Mode::kSamples];
        for (int32_t i = 0, nPixels = 0; i < args_.size.width; i += nPixels) {
            nPixels = taps_.take(i, taps);
            const ptrdiff_t first = ptrdiff_t{i} * samples_.nValues;
            const ptrdiff_t count = ptrdiff_t{nPixels} * samples_.nValues;
            float* d = values_.get() + place + first;
            if constexpr (Near) {
                Mode::nearAcross(taps, weights_.get() + first, distance_, d, count);
                tellFlat(taps, flat_.get() + place + first, count);
            } else {
                Mode::across(taps, weights_.get() + first, distance_, d, count);
            }
        }
    }

    OWN_INLINE static void tellFlat(const T* const* taps, uint8_t* d, ptrdiff_t count) {
        const T* const first = taps[0];
        const T* const second = taps[1];
        const T* const third = taps[Mode::kSamples - 2];
        const T* const fourth = taps[Mode::kSamples - 1];
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) {
            d[i] = static_cast<uint8_t>((first[i] == second[i] ? 1 : 0) & (third[i] == fourth[i] ? 1 : 0) &
                                        (second[i] == third[i] || Mode::kSamples == 2 ? 1 : 0));
        }
    }

    struct Held {
        int32_t plane = -1;
        int32_t row = 0;
    };
    const ZoomArgs& args_;
    const Samples<T>& samples_;
    Taps<T, Mode>& taps_;
    bool begun_ = false;
    ptrdiff_t distance_; // from row to row; an odd multiple of 16, lest rows meet in the same places of the cache
    AlignedBlock<float> weights_;
    AlignedBlock<float> values_;
    AlignedBlock<uint8_t> flat_;
    Held held_[Mode::kSamples];
};

template <class Mode, class T>
OWN_INLINE void blendExactly(const float* const* rows, float t, T* d, ptrdiff_t count) {
    const typename Mode::Weights weights(t);
    const float* row[Mode::kSamples];
    for (int32_t k = 0; k < Mode::kSamples; k++) row[k] = rows[k];
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) d[i] = Mode::template exact<T>(row, weights, i);
}

template <class T, class Mode>
OWN_INLINE bool zoomExactly(const ZoomArgs& args) {
    const Samples<T> samples(args);
    Taps<T, Mode> taps(args, samples);
    RowBuffers<T, Mode, false> buffers(args, samples, taps);
    if (!taps.complete() || !buffers.complete()) return false;
    return eachRow(samples, [&](int32_t plane, int32_t y, T* d) OWN_INLINE_LAMBDA {
        const float* rows[Mode::kSamples];
        buffers.fill(plane, args.rows[y] + Mode::kFirst, rows);
        blendExactly<Mode>(rows, args.rowFractions[y], d, samples.values());
    });
}

// One result, formed exactly from the source's bytes.
template <class Mode>
OWN_SHARED uint8_t exactly(const ZoomArgs& args, const Samples<uint8_t>& samples, int32_t plane, int32_t y,
                           ptrdiff_t i) {
    const ptrdiff_t pixel = i / samples.nValues;
    const ptrdiff_t step = samples.src.pixelStep;
    const ptrdiff_t at = (args.columns[pixel] + Mode::kFirst) * step + i % samples.nValues;
    float weights[Mode::kWeights];
    Mode::weights(args.columnFractions[pixel], weights, 1);
    float values[Mode::kSamples];
    const float* rows[Mode::kSamples];
    for (int32_t k = 0; k < Mode::kSamples; k++) {
        const uint8_t* taps[Mode::kSamples];
        for (int32_t n = 0; n < Mode::kSamples; n++) {
            taps[n] = samples.src.row(plane, args.rows[y] + Mode::kFirst + k) + at + n * step;
        }
        Mode::across(taps, weights, 1, values + k, 1);
        rows[k] = values + k;
    }
    const typename Mode::Weights down(args.rowFractions[y]);
    return Mode::template exact<uint8_t>(rows, down, 0);
}

// A block of results of bytes from rows that are sums, weighted in units.
template <class Mode>
class Blend {
public:
    OWN_INLINE Blend(const float* const* rows, const uint8_t* const* flat, ptrdiff_t first, const float* weights,
                     int32_t lift)
        : lift_(lift) {
        for (int32_t k = 0; k < Mode::kSamples; k++) {
            rows_[k] = rows[k] + first;
            flat_[k] = flat[k] + first;
            weights_[k] = weights[k];
        }
    }

    // False if there may be doubts.
    OWN_INLINE bool round(uint8_t* d, ptrdiff_t count) const {
        int32_t least = INT32_MAX;
        for (ptrdiff_t i = 0; i < count; i++) {
            const int32_t units = at(i);
            const int32_t whole = units >> kUnitBits;
            const int32_t low = Mode::kLimited && whole < 0 ? 0 : whole;
            d[i] = static_cast<uint8_t>(Mode::kLimited && low > UINT8_MAX ? UINT8_MAX : low);
            least = (units & kFraction) < least ? units & kFraction : least;
        }
        return least >= doubtful();
    }

    // Where all samples are the same, the result is, too: there is no doubt.
    OWN_INLINE int32_t findDoubts(uint8_t* doubts, ptrdiff_t count) const {
        constexpr int32_t last = Mode::kSamples - 1;
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) {
            const int32_t near = (at(i) & kFraction) < doubtful() ? 1 : 0;
            const int32_t alike = (rows_[0][i] == rows_[1][i] ? 1 : 0) & (rows_[1][i] == rows_[last - 1][i] ? 1 : 0) &
                                  (rows_[last - 1][i] == rows_[last][i] ? 1 : 0);
            const int32_t flat = flat_[0][i] & flat_[1][i] & flat_[last - 1][i] & flat_[last][i];
            doubts[i] = static_cast<uint8_t>(near & ~(alike & flat));
        }
        int32_t nDoubts = 0;
        for (ptrdiff_t i = 0; i < count; i++) nDoubts += doubts[i];
        return nDoubts;
    }

private:
    static constexpr int32_t kFraction = (1 << kUnitBits) - 1;

    OWN_INLINE int32_t doubtful() const { return 2 * (lift_ - 1); }
    OWN_INLINE int32_t at(ptrdiff_t i) const {
        const auto product = [this](int32_t k, ptrdiff_t n) OWN_INLINE_LAMBDA { return weights_[k] * rows_[k][n]; };
        return static_cast<int32_t>(sumOf<Mode::kSamples>(product, i)) + lift_;
    }

    const float* rows_[Mode::kSamples];
    const uint8_t* flat_[Mode::kSamples];
    float weights_[Mode::kSamples];
    int32_t lift_;
};

// Zooms bytes by sums that come near the exact results, and forms again what these leave in doubt.
template <class Mode>
class NearZoom {
public:
    OWN_INLINE explicit NearZoom(const ZoomArgs& args)
        : args_(args),
          samples_(args),
          taps_(args, samples_),
          near_(args, samples_, taps_),
          exact_(args, samples_, taps_) {
        for (int32_t i = 0; i < args.size.width; i++) {
            const float t = args.columnFractions[i];
            served_ = served_ && Mode::serves(t);
            short_ = short_ && served_ && isShort<Mode>(t);
        }
    }
    bool complete() const { return taps_.complete() && near_.complete() && exact_.complete(); }
    const Samples<uint8_t>& samples() const { return samples_; }

    OWN_INLINE void row(int32_t plane, int32_t y, uint8_t* d) {
        const float t = args_.rowFractions[y];
        const ptrdiff_t values = samples_.values();
        if (!served_ || !Mode::serves(t)) return formExactly(plane, y, 0, values, d);
        const int32_t first = args_.rows[y] + Mode::kFirst;
        const float* rows[Mode::kSamples];
        near_.fill(plane, first, rows);
        const uint8_t* flat[Mode::kSamples];
        for (int32_t k = 0; k < Mode::kSamples; k++) flat[k] = near_.flat(first + k);
        float weights[Mode::kSamples];
        Mode::sumWeights(t, weights, 1);
        for (float& weight : weights) weight *= 1 << kUnitBits;
        const int32_t lift = short_ && isShort<Mode>(t) ? 0 : Mode::lift(t);
        for (ptrdiff_t i = 0; i < values; i += kBlock) {
            const ptrdiff_t count = values - i < kBlock ? values - i : kBlock;
            const Blend<Mode> blend(rows, flat, i, weights, lift);
            if (blend.round(d + i, count)) continue;
            uint8_t doubts[kBlock] = {};
            const int32_t nDoubts = blend.findDoubts(doubts, count);
            if (nDoubts > kFew) return formExactly(plane, y, i, values - i, d + i);
            if (nDoubts != 0) settle(plane, y, i, doubts, d + i);
        }
    }

private:
    static constexpr int32_t kFew = kBlock / 32; // doubts that cost less than exact rows

    OWN_INLINE void formExactly(int32_t plane, int32_t y, ptrdiff_t i, ptrdiff_t count, uint8_t* d) {
        const float* rows[Mode::kSamples];
        exact_.fill(plane, args_.rows[y] + Mode::kFirst, rows);
        for (const float*& row : rows) row += i;
        blendExactly<Mode>(rows, args_.rowFractions[y], d, count);
    }

    OWN_INLINE void settle(int32_t plane, int32_t y, ptrdiff_t first, const uint8_t* doubts, uint8_t* d) const {
        for (ptrdiff_t k = 0; k < kBlock; k += 8) {
            uint64_t eight = 0;
            std::memcpy(&eight, doubts + k, sizeof eight);
            if (eight == 0) continue;
            for (ptrdiff_t i = k; i < k + 8; i++) {
                if (doubts[i] != 0) d[i] = exactly<Mode>(args_, samples_, plane, y, first + i);
            }
        }
    }

    const ZoomArgs& args_;
    const Samples<uint8_t> samples_;
    Taps<uint8_t, Mode> taps_;
    RowBuffers<uint8_t, Mode, true> near_;
    RowBuffers<uint8_t, Mode, false> exact_; // filled where they are needed
    bool served_ = true;
    bool short_ = true; // whether the weights of all columns are
};

template <class Mode>
OWN_INLINE bool zoomBytes(const ZoomArgs& args) {
    NearZoom<Mode> zoom(args);
    if (!zoom.complete()) return false;
    return eachRow(zoom.samples(),
                   [&](int32_t plane, int32_t y, uint8_t* d) OWN_INLINE_LAMBDA { zoom.row(plane, y, d); });
}

OWN_WIDE_KERNEL bool ownZoomLinear_8u(const ZoomArgs& args) { return zoomBytes<Linear>(args); }
OWN_WIDE_KERNEL bool ownZoomLinear_16u(const ZoomArgs& args) { return zoomExactly<uint16_t, Linear>(args); }
OWN_WIDE_KERNEL bool ownZoomCubic_8u(const ZoomArgs& args) { return zoomBytes<Cubic>(args); }
OWN_WIDE_KERNEL bool ownZoomCubic_16u(const ZoomArgs& args) { return zoomExactly<uint16_t, Cubic>(args); }

} // namespace

bool ownZoomBetween(const ZoomArgs& args, int32_t mode) {
    const bool bytes = args.src->depth == TOV_DEPTH_8U;
    if (mode == TOV_INTER_LINEAR) return bytes ? ownZoomLinear_8u(args) : ownZoomLinear_16u(args);
    return bytes ? ownZoomCubic_8u(args) : ownZoomCubic_16u(args);
}

} // namespace tov
