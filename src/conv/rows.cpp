// The rows before and behind the sums of the convolution: reading, shifting, combining, rounding and storing.
#include <cmath>
#include <cstring>
#include <limits>

#include "conv/kernels.h"
#include "kernel/bitpack.h"
#include "kernel/bitrows.h"
#include "kernel/kernel.h"
#include "kernel/walk.h"

namespace tov {

namespace {

// ---------------------------------------------------------------------------------------------------------------------
// Reading

template <class T, class Sample>
OWN_INLINE void readValues(const uint8_t* row, ptrdiff_t stride, uint8_t* samples, ptrdiff_t count) {
    const T* from = reinterpret_cast<const T*>(row);
    auto* to = reinterpret_cast<Sample*>(samples);
    if (stride == 1) {
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) to[i] = static_cast<Sample>(int32_t{from[i]});
        return;
    }
    for (ptrdiff_t i = 0; i < count; i++) to[i] = static_cast<Sample>(int32_t{from[i * stride]});
}

OWN_KERNEL void ownRowToFloat_8u(const uint8_t* row, int32_t, ptrdiff_t stride, uint8_t* samples, ptrdiff_t count) {
    readValues<uint8_t, float>(row, stride, samples, count);
}
OWN_KERNEL void ownRowToFloat_8s(const uint8_t* row, int32_t, ptrdiff_t stride, uint8_t* samples, ptrdiff_t count) {
    readValues<int8_t, float>(row, stride, samples, count);
}
OWN_KERNEL void ownRowToFloat_16u(const uint8_t* row, int32_t, ptrdiff_t stride, uint8_t* samples, ptrdiff_t count) {
    readValues<uint16_t, float>(row, stride, samples, count);
}
OWN_KERNEL void ownRowToFloat_16s(const uint8_t* row, int32_t, ptrdiff_t stride, uint8_t* samples, ptrdiff_t count) {
    readValues<int16_t, float>(row, stride, samples, count);
}
OWN_KERNEL void ownRowToFloat_32s(const uint8_t* row, int32_t, ptrdiff_t stride, uint8_t* samples, ptrdiff_t count) {
    readValues<int32_t, float>(row, stride, samples, count);
}
OWN_KERNEL void ownRowToWords_8u(const uint8_t* row, int32_t, ptrdiff_t stride, uint8_t* samples, ptrdiff_t count) {
    readValues<uint8_t, uint16_t>(row, stride, samples, count);
}
OWN_KERNEL void ownRowToWords_8s(const uint8_t* row, int32_t, ptrdiff_t stride, uint8_t* samples, ptrdiff_t count) {
    readValues<int8_t, uint16_t>(row, stride, samples, count);
}

void ownRowBitsToFloat(const uint8_t* row, int32_t bit, ptrdiff_t, uint8_t* samples, ptrdiff_t count) {
    unpackBits(row, bit, reinterpret_cast<float*>(samples), count);
}
void ownRowBitsToWords(const uint8_t* row, int32_t bit, ptrdiff_t, uint8_t* samples, ptrdiff_t count) {
    unpackBits(row, bit, reinterpret_cast<uint16_t*>(samples), count);
}

// ---------------------------------------------------------------------------------------------------------------------
// Shifting and combining

// Sums of whole numbers are whole, rounded or not: single precision has no fractions from 2^23 on.
OWN_KERNEL void ownConvShiftSmall(float* row, int32_t nShiftR, ptrdiff_t count) {
    const int32_t shift = nShiftR & 31;
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        row[i] = static_cast<float>(static_cast<int32_t>(row[i]) >> shift);
    }
}

template <class Formula>
OWN_INLINE void combineRow(Formula formula, float* d, const float* s, ptrdiff_t count) {
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) d[i] = formula(d[i], s[i]);
}

OWN_KERNEL void ownConvAdd(float* d, const float* s, ptrdiff_t count) {
    combineRow([](float a, float b) OWN_INLINE_LAMBDA { return a + b; }, d, s, count);
}
OWN_KERNEL void ownConvSquare(float* d, const float* s, ptrdiff_t count) {
    combineRow([](float, float b) OWN_INLINE_LAMBDA { return b * b; }, d, s, count);
}
OWN_KERNEL void ownConvAddSquare(float* d, const float* s, ptrdiff_t count) {
    const auto sum = [](float a, float b) OWN_INLINE_LAMBDA {
        const double square = static_cast<double>(b) * b;
        return static_cast<float>(a + square);
    };
    combineRow(sum, d, s, count);
}
OWN_KERNEL void ownConvAddExactSquare(float* d, const float* s, ptrdiff_t count) {
    combineRow([](float a, float b) OWN_INLINE_LAMBDA { return a + b * b; }, d, s, count);
}
OWN_KERNEL void ownConvMagnitude(float* d, const float* s, ptrdiff_t count) {
    combineRow([](float, float b) OWN_INLINE_LAMBDA { return std::fabs(b); }, d, s, count);
}
OWN_KERNEL void ownConvLargest(float* d, const float* s, ptrdiff_t count) {
    combineRow([](float a, float b) OWN_INLINE_LAMBDA { return b >= a ? b : a; }, d, s, count);
}
OWN_KERNEL void ownConvSmallest(float* d, const float* s, ptrdiff_t count) {
    combineRow([](float a, float b) OWN_INLINE_LAMBDA { return b <= a ? b : a; }, d, s, count);
}
OWN_KERNEL void ownConvRoot(float* d, const float* s, ptrdiff_t count) {
    combineRow([](float, float b) OWN_INLINE_LAMBDA { return std::sqrt(b); }, d, s, count);
}

// ---------------------------------------------------------------------------------------------------------------------
// Writing

// Limited first, a value is so small that its sum with 1.5 * 2^23 has no room for a fraction, and the integer stands in
// the low bits of that number. In one loop compilers make branches of the limits rather than smallest and largest.
template <class T>
OWN_INLINE void writeLimited(const float* row, uint8_t* out, ptrdiff_t count, float low, float high) {
    const float fractionless = 12582912.0F;
    float sums[kConvStretch];
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        const float value = row[i] > low ? row[i] : low;
        sums[i] = (value < high ? value : high) + fractionless;
    }
    T* to = reinterpret_cast<T*>(out);
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        uint32_t bits = 0;
        std::memcpy(&bits, sums + i, sizeof bits);
        to[i] = static_cast<T>(bits);
    }
}

template <class T>
OWN_INLINE void writeValues(const float* row, uint8_t* out, ptrdiff_t count) {
    writeLimited<T>(row, out, count, std::numeric_limits<T>::min(), std::numeric_limits<T>::max());
}

OWN_KERNEL void ownRowFloatToBytes01(const float* row, uint8_t* out, ptrdiff_t count) {
    writeLimited<uint8_t>(row, out, count, 0, 1);
}
OWN_KERNEL void ownRowFromFloat_8u(const float* row, uint8_t* out, ptrdiff_t count) {
    writeValues<uint8_t>(row, out, count);
}
OWN_KERNEL void ownRowFromFloat_8s(const float* row, uint8_t* out, ptrdiff_t count) {
    writeValues<int8_t>(row, out, count);
}
OWN_KERNEL void ownRowFromFloat_16u(const float* row, uint8_t* out, ptrdiff_t count) {
    writeValues<uint16_t>(row, out, count);
}
OWN_KERNEL void ownRowFromFloat_16s(const float* row, uint8_t* out, ptrdiff_t count) {
    writeValues<int16_t>(row, out, count);
}
// The nearest integer, ties to even: from 2^23 on all numbers are integers, and below that adding and taking it away
// leaves no room for a fraction.
OWN_INLINE float nearestEven(float value) {
    const float fractionless = 8388608.0F;
    const float magnitude = std::fabs(value);
    const float rounded = (magnitude + fractionless) - fractionless;
    return std::copysign(magnitude < fractionless ? rounded : magnitude, value);
}

OWN_KERNEL void ownRowFromFloat_32s(const float* row, uint8_t* out, ptrdiff_t count) {
    auto* to = reinterpret_cast<int32_t*>(out);
    const float beyond = 2147483648.0F;
    const float most = 2147483520.0F; // the last number before it
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        float value = row[i] < -beyond ? -beyond : row[i];
        value = value > most ? most : value;
        const auto rounded = static_cast<int32_t>(nearestEven(value));
        to[i] = row[i] >= beyond ? INT32_MAX : rounded;
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Storing

template <class T>
OWN_INLINE void storeValues(const ConvStore& to, const uint8_t* results) {
    const Lane<T> d = {reinterpret_cast<T*>(to.row), 0, 0, to.pixelStep};
    const Lane<const T> s = {reinterpret_cast<const T*>(results), 0, 0, to.nSide};
    copyPixels({to.width, 1, 1, to.nValues}, {to.mask, 0, to.maskBit}, d, s);
}

OWN_KERNEL void ownConvStore8(const ConvStore& to, uint8_t* results) { storeValues<uint8_t>(to, results); }
OWN_KERNEL void ownConvStore16(const ConvStore& to, uint8_t* results) { storeValues<uint16_t>(to, results); }
OWN_KERNEL void ownConvStore32(const ConvStore& to, uint8_t* results) { storeValues<uint32_t>(to, results); }

OWN_KERNEL void ownRowBytesToBits(const ConvStore& to, uint8_t* results) {
    packBits([](uint8_t bit) OWN_INLINE_LAMBDA { return bit != 0; }, to.width, results, 1, results);
    const MaskLane mask = {to.mask, 0, to.maskBit};
    copyBits(to.width, 1, mask, BitLane<uint8_t>{to.row, 0, to.bit}, BitLane<const uint8_t>{results, 0, 0});
}

} // namespace

void ownConvShift(float* row, int32_t nShiftR, ptrdiff_t count) {
    const int32_t shift = nShiftR & 31;
    for (ptrdiff_t i = 0; i < count; i++) {
        // From 2^55 on all numbers are multiples of 2^32.
        const bool low = std::fabs(row[i]) < 36028797018963968.0F;
        const int64_t whole = low ? static_cast<int64_t>(row[i]) : 0;
        row[i] = static_cast<float>(static_cast<int32_t>(static_cast<uint32_t>(whole)) >> shift);
    }
}

const ConvShiftRow kConvShiftSmall = ownConvShiftSmall;
const ConvCombiners kConvCombiners = {ownConvAdd,       ownConvSquare,  ownConvAddSquare, ownConvAddExactSquare,
                                      ownConvMagnitude, ownConvLargest, ownConvSmallest,  ownConvRoot};

const ConvReadRow kConvReadRows[kDepths - 1][kConvArithmetics] = {
    {ownRowBitsToFloat, ownRowBitsToFloat, ownRowBitsToWords}, {ownRowToFloat_8u, ownRowToFloat_8u, ownRowToWords_8u},
    {ownRowToFloat_8s, ownRowToFloat_8s, ownRowToWords_8s},    {ownRowToFloat_16u, ownRowToFloat_16u, nullptr},
    {ownRowToFloat_16s, ownRowToFloat_16s, nullptr},           {ownRowToFloat_32s, ownRowToFloat_32s, nullptr}};
const ConvWriteRow kConvWriteRows[kDepths - 1] = {ownRowFloatToBytes01, ownRowFromFloat_8u,  ownRowFromFloat_8s,
                                                  ownRowFromFloat_16u,  ownRowFromFloat_16s, ownRowFromFloat_32s};
const ConvStoreRow kConvStoreRows[kDepths - 1] = {ownRowBytesToBits, ownConvStore8,  ownConvStore8,
                                                  ownConvStore16,    ownConvStore16, ownConvStore32};

} // namespace tov
