// Minima of values and of bits over rows and along them.
#include "morph/kernels.h"

#include "kernel/bitrows.h"
#include "kernel/walk.h"
#include "tov.h"

namespace tov {

namespace {

template <class T>
struct Least {
    OWN_INLINE T operator()(T a, T b) const { return a < b ? a : b; }
};
struct Both {
    OWN_INLINE uint8_t operator()(uint8_t a, uint8_t b) const { return a & b; }
};

// Minima over windows of any width in steps that double what a minimum covers, up to the last one, whose two parts
// overlap. Each step is one pass(to, from, distance, n): to[i] = the lesser of from[i] and from[i + distance], i < n.
template <class Pass>
OWN_INLINE void erodeRow(uint8_t* line, uint8_t* spare, int64_t side, uint8_t* out, ptrdiff_t count, Pass pass) {
    int64_t covered = 1;
    for (; 2 * covered < side; covered *= 2) {
        pass(spare, line, static_cast<ptrdiff_t>(covered), static_cast<ptrdiff_t>(count + side - 2 * covered));
        uint8_t* used = line;
        line = spare;
        spare = used;
    }
    pass(out, line, static_cast<ptrdiff_t>(side - covered), count);
}

template <class T>
OWN_INLINE void erodeValues(uint8_t* line, uint8_t* spare, int64_t side, uint8_t* out, ptrdiff_t count) {
    const auto pass = [](uint8_t* to, const uint8_t* from, ptrdiff_t distance, ptrdiff_t n) OWN_INLINE_LAMBDA {
        T* d = reinterpret_cast<T*>(to);
        const T* s = reinterpret_cast<const T*>(from);
        OWN_EACH
        for (ptrdiff_t i = 0; i < n; i++) d[i] = Least<T>()(s[i], s[i + distance]);
    };
    erodeRow(line, spare, side, out, count, pass);
}

OWN_INLINE void erodeBits(uint8_t* line, uint8_t* spare, int64_t side, uint8_t* out, ptrdiff_t count) {
    const auto both = [](uint64_t, uint64_t a, uint64_t b) OWN_INLINE_LAMBDA { return a & b; };
    const auto pass = [both](uint8_t* to, const uint8_t* from, ptrdiff_t distance, ptrdiff_t n) OWN_INLINE_LAMBDA {
        bitWords(both, to, (n + 63) >> 6, BitPlace{from, 0}, BitPlace{from, distance});
    };
    erodeRow(line, spare, side, out, count, pass);
}

template <class T, class Lesser>
OWN_INLINE void lowerRow(Lesser lesser, uint8_t* row, const uint8_t* other, ptrdiff_t count) {
    T* d = reinterpret_cast<T*>(row);
    const T* s = reinterpret_cast<const T*>(other);
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) d[i] = lesser(d[i], s[i]);
}

template <class T, class Lesser>
OWN_INLINE void lowerRows(Lesser lesser, uint8_t* running, const uint8_t* row, const uint8_t* earlier, uint8_t* out,
                          ptrdiff_t count) {
    T* least = reinterpret_cast<T*>(running);
    T* d = reinterpret_cast<T*>(out);
    const T* s = reinterpret_cast<const T*>(row);
    const T* before = reinterpret_cast<const T*>(earlier);
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) {
        least[i] = lesser(least[i], s[i]);
        d[i] = lesser(least[i], before[i]);
    }
}

template <class T>
OWN_INLINE void selectValues(const RowValues& to, const uint8_t* minima, const MaskLane& mask, int32_t count) {
    const Lane<T> lane = {reinterpret_cast<T*>(to.row) + to.first, 0, 0, to.step};
    copyPixels({count, 1, 1, 1}, mask, lane, Lane<const T>{reinterpret_cast<const T*>(minima), 0, 0, 1});
}

ptrdiff_t bytesOf(ptrdiff_t nBits) { return (nBits + 7) >> 3; }

OWN_KERNEL void ownErodeRow1U(uint8_t* line, uint8_t* spare, int64_t side, uint8_t* out, ptrdiff_t count) {
    erodeBits(line, spare, side, out, count);
}
OWN_KERNEL void ownErodeRow8U(uint8_t* line, uint8_t* spare, int64_t side, uint8_t* out, ptrdiff_t count) {
    erodeValues<uint8_t>(line, spare, side, out, count);
}
OWN_KERNEL void ownErodeRow16U(uint8_t* line, uint8_t* spare, int64_t side, uint8_t* out, ptrdiff_t count) {
    erodeValues<uint16_t>(line, spare, side, out, count);
}

OWN_KERNEL void ownLowerRow_1u(uint8_t* row, const uint8_t* other, ptrdiff_t count) {
    lowerRow<uint8_t>(Both(), row, other, bytesOf(count));
}
OWN_KERNEL void ownLowerRow_8u(uint8_t* row, const uint8_t* other, ptrdiff_t count) {
    lowerRow<uint8_t>(Least<uint8_t>(), row, other, count);
}
OWN_KERNEL void ownLowerRow_16u(uint8_t* row, const uint8_t* other, ptrdiff_t count) {
    lowerRow<uint16_t>(Least<uint16_t>(), row, other, count);
}

OWN_KERNEL void ownLowerRows_1u(uint8_t* running, const uint8_t* row, const uint8_t* earlier, uint8_t* out,
                                ptrdiff_t count) {
    lowerRows<uint8_t>(Both(), running, row, earlier, out, bytesOf(count));
}
OWN_KERNEL void ownLowerRows_8u(uint8_t* running, const uint8_t* row, const uint8_t* earlier, uint8_t* out,
                                ptrdiff_t count) {
    lowerRows<uint8_t>(Least<uint8_t>(), running, row, earlier, out, count);
}
OWN_KERNEL void ownLowerRows_16u(uint8_t* running, const uint8_t* row, const uint8_t* earlier, uint8_t* out,
                                 ptrdiff_t count) {
    lowerRows<uint16_t>(Least<uint16_t>(), running, row, earlier, out, count);
}

OWN_KERNEL void ownMorphSelect_1u(const RowValues& to, const uint8_t* minima, const MaskLane& mask, int32_t count) {
    const BitLane<uint8_t> lane = {to.row + (to.first >> 3), 0, static_cast<int32_t>(to.first & 7)};
    copyBits(count, 1, mask, lane, {minima, 0, 0});
}
OWN_KERNEL void ownMorphSelect_8u(const RowValues& to, const uint8_t* minima, const MaskLane& mask, int32_t count) {
    selectValues<uint8_t>(to, minima, mask, count);
}
OWN_KERNEL void ownMorphSelect_16u(const RowValues& to, const uint8_t* minima, const MaskLane& mask, int32_t count) {
    selectValues<uint16_t>(to, minima, mask, count);
}

constexpr MorphKernels kBits = {ownErodeRow1U, ownLowerRow_1u, ownLowerRows_1u, ownMorphSelect_1u};
constexpr MorphKernels kBytes = {ownErodeRow8U, ownLowerRow_8u, ownLowerRows_8u, ownMorphSelect_8u};
constexpr MorphKernels kWords = {ownErodeRow16U, ownLowerRow_16u, ownLowerRows_16u, ownMorphSelect_16u};

} // namespace

const MorphKernels& morphKernels(uint32_t depth) {
    return depth == TOV_DEPTH_1U ? kBits : depth == TOV_DEPTH_8U ? kBytes : kWords;
}

} // namespace tov
