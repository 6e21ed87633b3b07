// The integer kernels of the blur: running sums down the columns and along the rows.
#include "blur/kernels.h"

#include <cmath>
#include <limits>
#include <type_traits>

#include "blur/rows.h"
#include "core/memory.h"
#include "kernel/bitpack.h"
#include "kernel/bitrows.h"
#include "kernel/saturate.h"

namespace tov {

namespace {

// A sum times the inverse of the area, truncated toward zero. Three forms give the same: from singles, from doubles,
// from whole numbers.
class Average {
public:
    // `most` is the largest magnitude of a sum.
    Average(float inverse, int64_t area, int64_t most) : inverse_(inverse), small_(most < INT64_C(1) << 29) {
        int exponent = 0;
        mantissa_ = static_cast<int64_t>(std::ldexp(std::frexp(inverse, &exponent), 24));
        shift_ = 24 - exponent;
        single_ = most + area <= INT64_C(1) << 21;
        bias_ = static_cast<double>(inverse) * static_cast<double>(area) < 1 ? -0.5F : 0.5F;
    }

    bool single() const { return single_; }
    bool small() const { return small_; }

    // The inverse is 1 / area up to a factor of 1 +- 2^-23, so for sums of less than 2^21 the average is the quotient
    // by the area, or, where the inverse is the smaller one, that of the sum less 1. With 0.5 more no quotient lies
    // nearer to a whole number than 0.5 / area, and rounding, in whatever mode, moves it by less.
    template <bool Signed>
    OWN_INLINE int32_t ofSingle(int32_t sum) const {
        const auto inverse = static_cast<float>(inverse_); // as it was given
        if constexpr (!Signed) return static_cast<int32_t>((static_cast<float>(sum) + bias_) * inverse);
        const int32_t sign = signMask(sum);
        const auto average = static_cast<int32_t>((static_cast<float>((sum ^ sign) - sign) + bias_) * inverse);
        return (average ^ sign) - sign;
    }

    // Below 2^29 the product with 24 bits is exact in double precision.
    OWN_INLINE int32_t ofSmall(int32_t sum) const { return static_cast<int32_t>(sum * inverse_); }

    // Sums of 2^29 and more come from areas of at least 2^13 samples, so the shift exceeds 32.
    int32_t ofAny(int64_t sum) const {
        const int64_t magnitude = sum < 0 ? -sum : sum;
        if (magnitude < INT64_C(1) << 29) return ofSmall(static_cast<int32_t>(sum));
        const int64_t high = (magnitude >> 32) * mantissa_;
        const int64_t low = (magnitude & INT64_C(0xFFFFFFFF)) * mantissa_;
        const auto average = static_cast<int32_t>((high + (low >> 32)) >> (shift_ - 32));
        return sum < 0 ? -average : average;
    }

private:
    double inverse_;
    int64_t mantissa_ = 0;
    int32_t shift_ = 0;
    float bias_;
    bool single_;
    bool small_;
};

// The averages of sums. The first argument is a copy, which no byte that is stored can be thought to change.
template <class T, class Sum>
OWN_INLINE void averageValues(Average average, const Sum* sums, T* results, ptrdiff_t count) {
    if (sizeof(Sum) == 4 && average.single()) {
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) {
            results[i] = static_cast<T>(average.ofSingle<std::is_signed_v<T>>(static_cast<int32_t>(sums[i])));
        }
        return;
    }
    if (sizeof(Sum) == 4 && average.small()) {
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) {
            results[i] = static_cast<T>(average.ofSmall(static_cast<int32_t>(sums[i])));
        }
        return;
    }
    for (ptrdiff_t i = 0; i < count; i++) results[i] = static_cast<T>(average.ofAny(sums[i]));
}

// Sums of the columns take in one row.
template <class Column, class T>
OWN_INLINE void addRow(Column* columns, const T* in, ptrdiff_t count) {
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) columns[i] = static_cast<Column>(columns[i] + in[i]);
}

// Each running sum along a row needs the one before it. So several rows of output are worked side by side: what belongs
// to one column, or to one pixel, stands in neighbouring places, and running sums fill vectors of kStep places.
// Channels of a pixel stand side by side already: of four and more, two rows are enough.
constexpr ptrdiff_t kStep = 8;
constexpr ptrdiff_t kManyRows = 8;
constexpr ptrdiff_t kFewRows = 2;
static_assert(kManyRows <= BlurSource::kAhead + 1, "so many rows are there at once");

// The sums of each column in the next kRows rows of output, side by side, from those of the first. In the step from one
// row to the next they take in a row and give up another.
template <ptrdiff_t kRows, class Column, class T>
OWN_INLINE void turnRows(Column* columns, Column* aside, const T* const (&in)[kRows], const T* const (&out)[kRows],
                         ptrdiff_t count) {
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        Column sum = columns[i];
        for (ptrdiff_t r = 0; r < kRows; r++) {
            aside[kRows * i + r] = sum;
            sum = static_cast<Column>(sum + (in[r][i] - out[r][i]));
        }
        columns[i] = sum;
    }
}

// The next `count` window sums behind the first `step`, which stand side by side as columns do. A step is kStep places
// or more. Columns can hold their own differences.
template <class Column, class Sum>
OWN_INLINE void slide(const Column* aside, ptrdiff_t reach, ptrdiff_t step, Sum* windows, ptrdiff_t count) {
    OWN_EACH_8
    for (ptrdiff_t i = 0; i < count; i++) {
        windows[i + step] = windows[i] + static_cast<Column>(aside[i + reach] - aside[i]);
    }
}

// Results that stand side by side go to their rows.
template <ptrdiff_t kRows, class T>
OWN_INLINE void partRows(const T* aside, T* const (&rows)[kRows], ptrdiff_t first, ptrdiff_t count) {
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        for (ptrdiff_t r = 0; r < kRows; r++) rows[r][first + i] = aside[kRows * i + r];
    }
}

// The work area of integer blurs.
template <class T, class Column, class Sum, ptrdiff_t kRows>
struct BlurSums {
    static constexpr ptrdiff_t kPixels = 64; // worked at a time

    BlurSums(ptrdiff_t nColumns, ptrdiff_t nOutputs, ptrdiff_t nSide)
        : nColumns_(nColumns),
          nOutputs_(nOutputs),
          nSide_(nSide),
          columns_(static_cast<size_t>(nColumns)),
          aside_(static_cast<size_t>(nColumns * kRows)),
          windows_(static_cast<size_t>((kPixels + 1) * nSide * kRows)),
          averages_(static_cast<size_t>(kPixels * nSide * kRows)) {}

    explicit operator bool() const { return columns_ && aside_ && windows_ && averages_; }

    // Sets the sums of the columns to those of the first windows' rows.
    template <class Row>
    OWN_INLINE void start(const Row& row, int32_t nRows) {
        for (ptrdiff_t i = 0; i < nColumns_; i++) columns_.get()[i] = 0;
        for (int32_t y = 0; y < nRows; y++) addRow(columns_.get(), row(y), nColumns_);
    }

    // The next kRows rows of results; the rows that enter and leave windows on the way to the next ones are given.
    OWN_INLINE void blur(const Average& average, const T* const (&in)[kRows], const T* const (&out)[kRows],
                         ptrdiff_t reach, T* const (&rows)[kRows]) {
        turnRows<kRows>(columns_.get(), aside_.get(), in, out, nColumns_);
        if (nSide_ * kRows == kStep) { // a step that the compiler knows lets it keep running sums in registers
            slideRows(average, reach * kRows, kStep, rows);
        } else {
            slideRows(average, reach * kRows, nSide_ * kRows, rows);
        }
    }

private:
    // `reach` is the distance from a column to that behind its window, `step` that to the next column of its channel.
    OWN_INLINE void slideRows(const Average& average, ptrdiff_t reach, ptrdiff_t step, T* const (&rows)[kRows]) {
        const Column* aside = aside_.get();
        Sum* windows = windows_.get();
        for (ptrdiff_t i = 0; i < step; i++) windows[i] = 0;
        for (ptrdiff_t first = 0; first < reach; first += step) {
            OWN_EACH
            for (ptrdiff_t i = 0; i < step; i++) windows[i] += static_cast<Sum>(aside[first + i]);
        }
        const ptrdiff_t block = kPixels * nSide_;
        for (ptrdiff_t done = 0, n = 0; done < nOutputs_; done += n) {
            n = nOutputs_ - done < block ? nOutputs_ - done : block;
            slide(aside + done * kRows, reach, step, windows, n * kRows);
            averageValues(average, windows, averages_.get(), n * kRows);
            partRows<kRows>(averages_.get(), rows, done, n);
            for (ptrdiff_t i = 0; i < step; i++) windows[i] = windows[n * kRows + i];
        }
    }

    ptrdiff_t nColumns_;
    ptrdiff_t nOutputs_;
    ptrdiff_t nSide_;
    AlignedBlock<Column> columns_;
    AlignedBlock<Column> aside_;
    AlignedBlock<Sum> windows_;
    AlignedBlock<T> averages_;
};

template <class T, class Column, class Sum, ptrdiff_t kRows>
OWN_INLINE bool blurGroups(const BlurArgs& args, const Average& average) {
    const BlurShape shape(args);
    const ptrdiff_t nOutputs = shape.outputs(args);
    BlurSums<T, Column, Sum, kRows> sums(shape.columns(args), nOutputs, shape.nSide);
    const AlignedBlock<T> results(static_cast<size_t>(nOutputs * kRows));
    if (!sums || !results) return false;
    const BlurOutput<T> output(args, shape);
    for (int32_t plane = 0; plane < shape.nPlanes; plane++) {
        const auto row = [&](ptrdiff_t y) { return reinterpret_cast<const T*>(shape.row(args, plane, y)); };
        sums.start(row, args.nRows);
        for (int32_t y = 0; y < args.size.height; y += kRows) {
            const int32_t n = smaller(int32_t{kRows}, args.size.height - y);
            const T* in[kRows];
            const T* out[kRows];
            T* rows[kRows];
            for (ptrdiff_t r = 0; r < kRows; r++) { // rows that there are not change nothing and are left out
                in[r] = row(r < n ? y + r + args.nRows : y);
                out[r] = row(r < n ? y + r : y);
                T* direct = r < n ? output.direct(plane, static_cast<int32_t>(y + r)) : nullptr;
                rows[r] = direct != nullptr ? direct : results.get() + r * nOutputs;
            }
            sums.blur(average, in, out, shape.reach(args), rows);
            for (ptrdiff_t r = 0; r < n; r++) output.put(rows[r], plane, static_cast<int32_t>(y + r));
        }
    }
    return true;
}

template <class T, class Column, class Sum>
OWN_INLINE bool blurValues(const BlurArgs& args, const Average& average) {
    const bool many = BlurShape(args).nSide * kFewRows < kStep;
    return many ? blurGroups<T, Column, Sum, kManyRows>(args, average)
                : blurGroups<T, Column, Sum, kFewRows>(args, average);
}

// Columns of 16 bits serve windows that are not too high; of 32 bits, all whose sums differ by less than 2^31.
OWN_KERNEL bool ownBlurLow_8u(const BlurArgs& args, const Average& average) {
    return blurValues<uint8_t, int16_t, int32_t>(args, average);
}
OWN_KERNEL bool ownBlurLow_8s(const BlurArgs& args, const Average& average) {
    return blurValues<int8_t, int16_t, int32_t>(args, average);
}
OWN_KERNEL bool ownBlurSums_8u(const BlurArgs& args, const Average& average) {
    return blurValues<uint8_t, int32_t, int32_t>(args, average);
}
OWN_KERNEL bool ownBlurSums_8s(const BlurArgs& args, const Average& average) {
    return blurValues<int8_t, int32_t, int32_t>(args, average);
}
OWN_KERNEL bool ownBlurSums_16u(const BlurArgs& args, const Average& average) {
    return blurValues<uint16_t, int32_t, int32_t>(args, average);
}
OWN_KERNEL bool ownBlurSums_16s(const BlurArgs& args, const Average& average) {
    return blurValues<int16_t, int32_t, int32_t>(args, average);
}

using SumsKernel = bool (*)(const BlurArgs& args, const Average& average);

template <class T>
bool blurAnySize(const BlurArgs& args, SumsKernel low, SumsKernel sums) {
    using Limits = std::numeric_limits<T>;
    const int64_t area = int64_t{args.nCols} * args.nRows;
    const int64_t largest = int64_t{Limits::max()} + (Limits::is_signed ? 1 : 0);
    const int64_t spread = int64_t{Limits::max()} - Limits::min(); // differences of sums must fit too
    const Average average(args.inverse, area, largest * area);
    if (spread * area > INT32_MAX) return blurValues<T, int64_t, int64_t>(args, average);
    return low != nullptr && spread * args.nRows <= INT16_MAX ? low(args, average) : sums(args, average);
}

bool ownBlur_8u(const BlurArgs& args) { return blurAnySize<uint8_t>(args, ownBlurLow_8u, ownBlurSums_8u); }
bool ownBlur_8s(const BlurArgs& args) { return blurAnySize<int8_t>(args, ownBlurLow_8s, ownBlurSums_8s); }
bool ownBlur_16u(const BlurArgs& args) { return blurAnySize<uint16_t>(args, nullptr, ownBlurSums_16u); }
bool ownBlur_16s(const BlurArgs& args) { return blurAnySize<int16_t>(args, nullptr, ownBlurSums_16s); }

// Bits are counted; half of a window and more sets one.
bool ownBlur_1u(const BlurArgs& args) {
    const ptrdiff_t nColumns = ptrdiff_t{args.size.width} + args.nCols;
    const AlignedBlock<int64_t> columns(static_cast<size_t>(nColumns));
    const AlignedBlock<uint8_t> bytes(2 * static_cast<size_t>(nColumns));
    const AlignedBlock<uint8_t> bits(static_cast<size_t>(args.size.width) / 8 + 1);
    if (!columns || !bytes || !bits) return false;
    uint8_t* in = bytes.get();
    uint8_t* out = in + nColumns;
    const auto row = [&](ptrdiff_t y) { return args.work->row(0, y); };
    for (ptrdiff_t i = 0; i < nColumns; i++) columns[static_cast<size_t>(i)] = 0;
    for (int32_t y = 0; y < args.nRows; y++) {
        unpackBits(row(y), 0, in, nColumns);
        addRow(columns.get(), in, nColumns);
    }
    Size size = args.size;
    const auto dst = roiBits<uint8_t>(*args.dst, size);
    const BitLane<const uint8_t> results = {bits.get(), 0, 0};
    MaskLane mask;
    if (args.mask != nullptr) mask = roiMask(*args.mask, size);
    for (int32_t y = 0; y < args.size.height; y++) {
        int64_t sum = 0;
        for (int32_t i = 0; i < args.nCols; i++) sum += columns[static_cast<size_t>(i)];
        for (int32_t x = 0; x < args.size.width; x++) {
            if ((x & 7) == 0) bits[static_cast<size_t>(x >> 3)] = 0;
            if (static_cast<double>(sum) * args.inverse >= 0.5) {
                bits[static_cast<size_t>(x >> 3)] |= static_cast<uint8_t>(0x80 >> (x & 7));
            }
            sum += columns[static_cast<size_t>(x) + static_cast<size_t>(args.nCols)] - columns[static_cast<size_t>(x)];
        }
        const BitLane<uint8_t> to = {dst.first + y * dst.rowStep, 0, dst.bitOffset};
        const uint8_t* allowed = mask.first != nullptr ? mask.first + y * mask.rowStep : nullptr;
        copyBits(args.size.width, 1, {allowed, 0, mask.bitOffset}, to, results);
        unpackBits(row(ptrdiff_t{y} + args.nRows), 0, in, nColumns);
        unpackBits(row(y), 0, out, nColumns);
        for (ptrdiff_t i = 0; i < nColumns; i++) columns.get()[i] += in[i] - out[i];
    }
    return true;
}

using BlurKernel = bool (*)(const BlurArgs& args);
constexpr BlurKernel kKernels[kDepths] = {ownBlur_1u,  ownBlur_8u,  ownBlur_8s, ownBlur_16u,
                                          ownBlur_16s, ownBlur_32s, ownBlur_32f};

} // namespace

bool ownBlurRows(const BlurArgs& args) { return kKernels[depthIndex(args.dst->depth)](args); }

} // namespace tov
