// The integer kernels of the blur: running sums down the columns and along the rows.
#include "blur/kernels.h"

#include <cmath>
#include <limits>

#include "blur/rows.h"
#include "core/memory.h"
#include "kernel/bitrows.h"

namespace tov {

namespace {

// A sum times the inverse of the area, truncated toward zero. Below 2^29 the product with 24 bits is exact in double
// precision, and truncating it needs no rounding mode; from there on it is made of whole numbers.
class Average {
public:
    Average(float inverse, bool small) : inverse_(inverse), small_(small) {
        int exponent = 0;
        mantissa_ = static_cast<int64_t>(std::ldexp(std::frexp(inverse, &exponent), 24));
        shift_ = 24 - exponent;
    }

    bool small() const { return small_; }
    OWN_INLINE int32_t ofSmall(int32_t sum) const { return static_cast<int32_t>(sum * inverse_); }

    // Sums this large come from areas of at least 2^13 samples, so the shift exceeds 32.
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
    bool small_;
};

// Sums of the columns take in one row and, unless it is null, give up another.
template <class T, class Sum>
OWN_INLINE void turnRow(Sum* columns, const T* in, const T* out, ptrdiff_t count) {
    if (out == nullptr) {
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) columns[i] += in[i];
        return;
    }
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) columns[i] += static_cast<Sum>(in[i]) - static_cast<Sum>(out[i]);
}

// The sums of all windows of a row. Side by side there are as many running sums as channels.
template <int32_t NSide, class Sum>
OWN_INLINE void slide(const Sum* columns, ptrdiff_t reach, ptrdiff_t nSide, Sum* windows, ptrdiff_t count) {
    const ptrdiff_t n = NSide != 0 ? NSide : nSide;
    constexpr ptrdiff_t most = NSide + (NSide == 0 ? 1 : 0);
    for (ptrdiff_t first = 0; first < n; first += most) {
        Sum sums[most] = {};
        for (ptrdiff_t i = first; i < reach; i += n) {
            for (ptrdiff_t c = 0; c < most; c++) sums[c] += columns[i + c];
        }
        for (ptrdiff_t i = first; i < count; i += n) {
            for (ptrdiff_t c = 0; c < most; c++) {
                windows[i + c] = sums[c];
                sums[c] += columns[i + c + reach] - columns[i + c];
            }
        }
    }
}

template <class Sum>
OWN_INLINE void slideAny(const Sum* columns, ptrdiff_t reach, ptrdiff_t nSide, Sum* windows, ptrdiff_t count) {
    switch (nSide) {
    case 1: return slide<1>(columns, reach, 1, windows, count);
    case 3: return slide<3>(columns, reach, 3, windows, count);
    case 4: return slide<4>(columns, reach, 4, windows, count);
    default: return slide<0>(columns, reach, nSide, windows, count);
    }
}

template <class T, class Sum>
OWN_INLINE void averageRow(const Average& average, const Sum* windows, T* results, ptrdiff_t count) {
    if (sizeof(Sum) == 4 && average.small()) {
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) {
            results[i] = static_cast<T>(average.ofSmall(static_cast<int32_t>(windows[i])));
        }
        return;
    }
    for (ptrdiff_t i = 0; i < count; i++) results[i] = static_cast<T>(average.ofAny(windows[i]));
}

template <class T, class Sum>
OWN_INLINE bool blurValues(const BlurArgs& args, bool small) {
    const BlurShape shape(args);
    const ptrdiff_t nColumns = shape.columns(args);
    const ptrdiff_t nOutputs = shape.outputs(args);
    const AlignedBlock<Sum> sums(static_cast<size_t>(nColumns + nOutputs));
    const AlignedBlock<T> results(static_cast<size_t>(nOutputs));
    if (!sums || !results) return false;
    Sum* columns = sums.get();
    Sum* windows = columns + nColumns;
    const Average average(args.inverse, small);
    const BlurOutput<T> output(args, shape);
    for (int32_t plane = 0; plane < shape.nPlanes; plane++) {
        const auto row = [&](ptrdiff_t y) { return reinterpret_cast<const T*>(shape.row(args, plane, y)); };
        for (ptrdiff_t i = 0; i < nColumns; i++) columns[i] = 0;
        for (int32_t y = 0; y < args.nRows; y++) turnRow<T>(columns, row(y), static_cast<const T*>(nullptr), nColumns);
        for (int32_t y = 0; y < args.size.height; y++) {
            slideAny(columns, shape.reach(args), shape.nSide, windows, nOutputs);
            averageRow(average, windows, results.get(), nOutputs);
            output.put(results.get(), plane, y);
            turnRow(columns, row(ptrdiff_t{y} + args.nRows), row(y), nColumns);
        }
    }
    return true;
}

// The largest window sum: below 2^31 32-bit sums do, below 2^29 averages are exact products.
template <class T>
int64_t largestSum(const BlurArgs& args) {
    const int64_t largest = std::numeric_limits<T>::max() + (std::numeric_limits<T>::is_signed ? 1 : 0);
    return largest * args.nCols * args.nRows;
}

OWN_KERNEL bool ownBlurSums_8u(const BlurArgs& args, bool small) { return blurValues<uint8_t, int32_t>(args, small); }
OWN_KERNEL bool ownBlurSums_8s(const BlurArgs& args, bool small) { return blurValues<int8_t, int32_t>(args, small); }
OWN_KERNEL bool ownBlurSums_16u(const BlurArgs& args, bool small) { return blurValues<uint16_t, int32_t>(args, small); }
OWN_KERNEL bool ownBlurSums_16s(const BlurArgs& args, bool small) { return blurValues<int16_t, int32_t>(args, small); }

template <class T>
bool blurAnySize(const BlurArgs& args, bool (*kernel)(const BlurArgs& args, bool small)) {
    const int64_t most = largestSum<T>(args);
    return most <= INT32_MAX ? kernel(args, most < INT64_C(1) << 29) : blurValues<T, int64_t>(args, false);
}

bool ownBlur_8u(const BlurArgs& args) { return blurAnySize<uint8_t>(args, ownBlurSums_8u); }
bool ownBlur_8s(const BlurArgs& args) { return blurAnySize<int8_t>(args, ownBlurSums_8s); }
bool ownBlur_16u(const BlurArgs& args) { return blurAnySize<uint16_t>(args, ownBlurSums_16u); }
bool ownBlur_16s(const BlurArgs& args) { return blurAnySize<int16_t>(args, ownBlurSums_16s); }

// The bits of a row, one in each byte.
void unpackBits(const uint8_t* row, uint8_t* bytes, ptrdiff_t count) {
    for (ptrdiff_t i = 0; i < count; i++) bytes[i] = row[i >> 3] >> (7 - (i & 7)) & 1;
}

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
        unpackBits(row(y), in, nColumns);
        turnRow<uint8_t>(columns.get(), in, static_cast<const uint8_t*>(nullptr), nColumns);
    }
    Size size = args.size;
    const auto dst = roiBits<uint8_t>(*args.dst, size);
    const BitLane<const uint8_t> results = {bits.get(), 0, 0};
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
        if (args.mask == nullptr) {
            walkBits<8>(
                args.size.width, 1, [](uint64_t, uint64_t b) OWN_INLINE_LAMBDA { return b; }, to, results);
        } else {
            const BitLane<const uint8_t> mask = {args.mask->imageData + ptrdiff_t{y} * args.mask->widthStep, 0, 0};
            const auto chosen = [](uint64_t old, uint64_t b, uint64_t m)
                                    OWN_INLINE_LAMBDA { return (old & ~m) | (b & m); };
            walkBits<8>(args.size.width, 1, chosen, to, results, mask);
        }
        unpackBits(row(ptrdiff_t{y} + args.nRows), in, nColumns);
        unpackBits(row(y), out, nColumns);
        turnRow(columns.get(), in, out, nColumns);
    }
    return true;
}

using BlurKernel = bool (*)(const BlurArgs& args);
constexpr BlurKernel kKernels[kDepths] = {ownBlur_1u,  ownBlur_8u,  ownBlur_8s, ownBlur_16u,
                                          ownBlur_16s, ownBlur_32s, ownBlur_32f};

} // namespace

bool ownBlurRows(const BlurArgs& args) { return kKernels[depthIndex(args.dst->depth)](args); }

} // namespace tov
