// The arithmetic kernels: formulas on values and on words of bits, over whole images, regions and masks.
#include "arith/kernels.h"

#include "kernel/bitrows.h"
#include "kernel/saturate.h"
#include "kernel/walk.h"
#include "kernel/word.h"

namespace tov {

namespace {

// The rectangle of a call in the terms of a walk: pixel order has its channels in one plane.
OWN_INLINE Span spanOf(const TovImage& image, Size size, int32_t nChProcess) {
    const bool planes = image.dataOrder == TOV_DATA_ORDER_PLANE;
    return {size.width, size.height, planes ? nChProcess : 1, planes ? 1 : nChProcess};
}

// Two equal whole images as one row of values, row ends included.
template <class T>
OWN_INLINE Lane<T> flatLane(const TovImage& image) {
    return {reinterpret_cast<T*>(image.imageData), 0, 0, 1};
}
template <class T>
OWN_INLINE Span flatSpan(const TovImage& image) {
    return {image.imageSize / static_cast<int32_t>(sizeof(T)), 1, 1, 1};
}

OWN_INLINE bool isFlat(const BinaryArgs& args) {
    return ownSameLayout(*args.srcA, *args.dst, args.hasAlpha) && ownSameLayout(*args.srcB, *args.dst, args.hasAlpha);
}

// dst = formula(sources...) on the images as flat runs of Ts.
template <class T, class Formula>
OWN_INLINE void flatRun(const BinaryArgs& args, Formula formula) {
    walkLanes<false>(flatSpan<T>(*args.dst), MaskLane{}, formula, flatLane<T>(*args.dst), flatLane<const T>(*args.srcA),
                     flatLane<const T>(*args.srcB));
}
template <class T, class Formula>
OWN_INLINE void flatRun(const UnaryArgs& args, Formula formula) {
    walkLanes<false>(flatSpan<T>(*args.dst), MaskLane{}, formula, flatLane<T>(*args.dst), flatLane<const T>(*args.src));
}

// dst = formula(sources...) on regions of values.
template <class T, bool Masked, class Formula>
OWN_INLINE void regionRun(const BinaryArgs& args, Formula formula) {
    Size size = kUnlimited;
    const auto a = roiLane<const T>(*args.srcA, args.coiOffsetA, size);
    const auto b = roiLane<const T>(*args.srcB, args.coiOffsetB, size);
    const auto dst = roiLane<T>(*args.dst, args.coiOffsetDst, size);
    const MaskLane mask = Masked ? roiMask(*args.mask, size) : MaskLane{};
    walkLanes<Masked>(spanOf(*args.srcA, size, args.nChProcess), mask, formula, dst, a, b);
}
template <class T, bool Masked, class Formula>
OWN_INLINE void regionRun(const UnaryArgs& args, Formula formula) {
    Size size = kUnlimited;
    const auto src = roiLane<const T>(*args.src, args.coiOffsetSrc, size);
    const auto dst = roiLane<T>(*args.dst, args.coiOffsetDst, size);
    const MaskLane mask = Masked ? roiMask(*args.mask, size) : MaskLane{};
    walkLanes<Masked>(spanOf(*args.src, size, args.nChProcess), mask, formula, dst, src);
}

// The kernel of one depth: values of type T, flat runs in values of type Flat.
template <class T, class Flat, bool Masked, class Formula>
OWN_INLINE void valueKernel(const BinaryArgs& args, Formula formula) {
    if constexpr (!Masked) {
        if (isFlat(args)) return flatRun<Flat>(args, formula);
    }
    regionRun<T, Masked>(args, formula);
}

// dst = formula(sources...) on regions of bits. Units are those in which overlapping images are worked.
template <int32_t UnitBits, class Formula>
OWN_INLINE void bitRegion(const BinaryArgs& args, Formula formula) {
    Size size = kUnlimited;
    const auto a = roiBits<const uint8_t>(*args.srcA, size);
    const auto b = roiBits<const uint8_t>(*args.srcB, size);
    const auto dst = roiBits<uint8_t>(*args.dst, size);
    const auto all = [formula](uint64_t, uint64_t x, uint64_t y) OWN_INLINE_LAMBDA { return formula(x, y); };
    walkBits<UnitBits>(size.width, size.height, all, dst, a, b);
}
template <int32_t UnitBits, class Formula>
OWN_INLINE void bitRegion(const UnaryArgs& args, Formula formula) {
    Size size = kUnlimited;
    const auto src = roiBits<const uint8_t>(*args.src, size);
    const auto dst = roiBits<uint8_t>(*args.dst, size);
    const auto all = [formula](uint64_t, uint64_t x) OWN_INLINE_LAMBDA { return formula(x); };
    walkBits<UnitBits>(size.width, size.height, all, dst, src);
}

// The same where the mask's bits are set; overlapping images are worked pixel by pixel.
template <class Formula>
OWN_INLINE void maskedBitRegion(const BinaryArgs& args, Formula formula) {
    Size size = kUnlimited;
    const auto a = roiBits<const uint8_t>(*args.srcA, size);
    const auto b = roiBits<const uint8_t>(*args.srcB, size);
    const auto dst = roiBits<uint8_t>(*args.dst, size);
    const auto mask = roiBits<const uint8_t>(*args.mask, size);
    const auto chosen = [formula](uint64_t old, uint64_t x, uint64_t y, uint64_t m)
                            OWN_INLINE_LAMBDA { return (old & ~m) | (formula(x, y) & m); };
    walkBits<1>(size.width, size.height, chosen, dst, a, b, mask);
}
template <class Formula>
OWN_INLINE void maskedBitRegion(const UnaryArgs& args, Formula formula) {
    Size size = kUnlimited;
    const auto src = roiBits<const uint8_t>(*args.src, size);
    const auto dst = roiBits<uint8_t>(*args.dst, size);
    const auto mask = roiBits<const uint8_t>(*args.mask, size);
    const auto chosen = [formula](uint64_t old, uint64_t x, uint64_t m)
                            OWN_INLINE_LAMBDA { return (old & ~m) | (formula(x) & m); };
    walkBits<1>(size.width, size.height, chosen, dst, src, mask);
}

// The 1-bit kernel: flat runs in 32-bit words.
template <bool Masked, class Formula>
OWN_INLINE void bitKernel(const BinaryArgs& args, Formula formula) {
    if constexpr (Masked) {
        maskedBitRegion(args, formula);
    } else if (isFlat(args)) {
        flatRun<Word>(args, formula);
    } else {
        bitRegion<8>(args, formula);
    }
}

struct AddSat {
    template <class T>
    OWN_INLINE T operator()(T a, T b) const {
        return addSat(a, b);
    }
};
struct SubSat {
    template <class T>
    OWN_INLINE T operator()(T a, T b) const {
        return subSat(a, b);
    }
};
struct Or {
    template <class T>
    OWN_INLINE T operator()(T a, T b) const {
        return static_cast<T>(a | b);
    }
};
struct And {
    template <class T>
    OWN_INLINE T operator()(T a, T b) const {
        return static_cast<T>(a & b);
    }
};
struct AndNot {
    template <class T>
    OWN_INLINE T operator()(T a, T b) const {
        return static_cast<T>(a & static_cast<T>(~b));
    }
};
// The value fills 64 bits, so that its low part serves every width.
struct XorValue {
    explicit XorValue(uint32_t word) : value(uint64_t{word} << 32 | word) {}
    template <class T>
    OWN_INLINE T operator()(T a) const {
        return static_cast<T>(a ^ static_cast<T>(value));
    }
    uint64_t value;
};

OWN_KERNEL void ownAddU8(const BinaryArgs& args) { valueKernel<uint8_t, uint8_t, false>(args, AddSat{}); }
OWN_KERNEL void ownAddU8Mask(const BinaryArgs& args) { valueKernel<uint8_t, uint8_t, true>(args, AddSat{}); }
OWN_KERNEL void ownAddS8(const BinaryArgs& args) { valueKernel<int8_t, int8_t, false>(args, AddSat{}); }
OWN_KERNEL void ownAddS8Mask(const BinaryArgs& args) { valueKernel<int8_t, int8_t, true>(args, AddSat{}); }
OWN_KERNEL void ownAddU16(const BinaryArgs& args) { valueKernel<uint16_t, uint16_t, false>(args, AddSat{}); }
OWN_KERNEL void ownAddU16Mask(const BinaryArgs& args) { valueKernel<uint16_t, uint16_t, true>(args, AddSat{}); }
OWN_KERNEL void ownAddS16(const BinaryArgs& args) { valueKernel<int16_t, int16_t, false>(args, AddSat{}); }
OWN_KERNEL void ownAddS16Mask(const BinaryArgs& args) { valueKernel<int16_t, int16_t, true>(args, AddSat{}); }
OWN_KERNEL void ownAddS32(const BinaryArgs& args) { valueKernel<int32_t, int32_t, false>(args, AddSat{}); }
OWN_KERNEL void ownAddS32Mask(const BinaryArgs& args) { valueKernel<int32_t, int32_t, true>(args, AddSat{}); }
OWN_KERNEL void ownAddF32(const BinaryArgs& args) { valueKernel<float, float, false>(args, AddSat{}); }
OWN_KERNEL void ownAddF32Mask(const BinaryArgs& args) { valueKernel<float, float, true>(args, AddSat{}); }

OWN_KERNEL void ownSubU1(const BinaryArgs& args) { bitKernel<false>(args, AndNot{}); }
OWN_KERNEL void ownSubU1Mask(const BinaryArgs& args) { bitKernel<true>(args, AndNot{}); }
OWN_KERNEL void ownSubU8(const BinaryArgs& args) { valueKernel<uint8_t, uint8_t, false>(args, SubSat{}); }
OWN_KERNEL void ownSubU8Mask(const BinaryArgs& args) { valueKernel<uint8_t, uint8_t, true>(args, SubSat{}); }
OWN_KERNEL void ownSubS8(const BinaryArgs& args) { valueKernel<int8_t, int8_t, false>(args, SubSat{}); }
OWN_KERNEL void ownSubS8Mask(const BinaryArgs& args) { valueKernel<int8_t, int8_t, true>(args, SubSat{}); }
OWN_KERNEL void ownSubU16(const BinaryArgs& args) { valueKernel<uint16_t, uint16_t, false>(args, SubSat{}); }
OWN_KERNEL void ownSubU16Mask(const BinaryArgs& args) { valueKernel<uint16_t, uint16_t, true>(args, SubSat{}); }
OWN_KERNEL void ownSubS16(const BinaryArgs& args) { valueKernel<int16_t, int16_t, false>(args, SubSat{}); }
OWN_KERNEL void ownSubS16Mask(const BinaryArgs& args) { valueKernel<int16_t, int16_t, true>(args, SubSat{}); }
OWN_KERNEL void ownSubS32(const BinaryArgs& args) { valueKernel<int32_t, int32_t, false>(args, SubSat{}); }
OWN_KERNEL void ownSubS32Mask(const BinaryArgs& args) { valueKernel<int32_t, int32_t, true>(args, SubSat{}); }
OWN_KERNEL void ownSubF32(const BinaryArgs& args) { valueKernel<float, float, false>(args, SubSat{}); }
OWN_KERNEL void ownSubF32Mask(const BinaryArgs& args) { valueKernel<float, float, true>(args, SubSat{}); }

// Flat runs of the bit operations go by 32-bit words at every width; what doesn't fill a word stays.
OWN_KERNEL void ownOrU1(const BinaryArgs& args) { bitKernel<false>(args, Or{}); }
OWN_KERNEL void ownOrU1Mask(const BinaryArgs& args) { bitKernel<true>(args, Or{}); }
OWN_KERNEL void ownOr8(const BinaryArgs& args) { valueKernel<uint8_t, Word, false>(args, Or{}); }
OWN_KERNEL void ownOr8Mask(const BinaryArgs& args) { valueKernel<uint8_t, Word, true>(args, Or{}); }
OWN_KERNEL void ownOr16(const BinaryArgs& args) { valueKernel<uint16_t, Word, false>(args, Or{}); }
OWN_KERNEL void ownOr16Mask(const BinaryArgs& args) { valueKernel<uint16_t, Word, true>(args, Or{}); }
OWN_KERNEL void ownOr32(const BinaryArgs& args) { valueKernel<uint32_t, Word, false>(args, Or{}); }
OWN_KERNEL void ownOr32Mask(const BinaryArgs& args) { valueKernel<uint32_t, Word, true>(args, Or{}); }

OWN_KERNEL void ownAndU1(const BinaryArgs& args) { bitKernel<false>(args, And{}); }
OWN_KERNEL void ownAndU1Mask(const BinaryArgs& args) { bitKernel<true>(args, And{}); }
OWN_KERNEL void ownAnd8(const BinaryArgs& args) { valueKernel<uint8_t, Word, false>(args, And{}); }
OWN_KERNEL void ownAnd8Mask(const BinaryArgs& args) { valueKernel<uint8_t, Word, true>(args, And{}); }
OWN_KERNEL void ownAnd16(const BinaryArgs& args) { valueKernel<uint16_t, Word, false>(args, And{}); }
OWN_KERNEL void ownAnd16Mask(const BinaryArgs& args) { valueKernel<uint16_t, Word, true>(args, And{}); }
OWN_KERNEL void ownAnd32(const BinaryArgs& args) { valueKernel<uint32_t, Word, false>(args, And{}); }
OWN_KERNEL void ownAnd32Mask(const BinaryArgs& args) { valueKernel<uint32_t, Word, true>(args, And{}); }

OWN_KERNEL void xorFlat(const UnaryArgs& args) { flatRun<Word>(args, XorValue(args.value)); }
OWN_KERNEL void ownXorSU1(const UnaryArgs& args) { bitRegion<16>(args, XorValue(args.value)); }
OWN_KERNEL void ownXorSU1Mask(const UnaryArgs& args) { maskedBitRegion(args, XorValue(args.value)); }
OWN_KERNEL void ownXorS8(const UnaryArgs& args) { regionRun<uint8_t, false>(args, XorValue(args.value)); }
OWN_KERNEL void ownXorS8Mask(const UnaryArgs& args) { regionRun<uint8_t, true>(args, XorValue(args.value)); }
OWN_KERNEL void ownXorS16(const UnaryArgs& args) { regionRun<uint16_t, false>(args, XorValue(args.value)); }
OWN_KERNEL void ownXorS16Mask(const UnaryArgs& args) { regionRun<uint16_t, true>(args, XorValue(args.value)); }
OWN_KERNEL void ownXorS32(const UnaryArgs& args) { regionRun<uint32_t, false>(args, XorValue(args.value)); }
OWN_KERNEL void ownXorS32Mask(const UnaryArgs& args) { regionRun<uint32_t, true>(args, XorValue(args.value)); }

} // namespace

const KernelPair<BinaryArgs> kAddKernels[kDepths] = {
    {nullptr, nullptr},         {ownAddU8, ownAddU8Mask},   {ownAddS8, ownAddS8Mask},   {ownAddU16, ownAddU16Mask},
    {ownAddS16, ownAddS16Mask}, {ownAddS32, ownAddS32Mask}, {ownAddF32, ownAddF32Mask},
};
const KernelPair<BinaryArgs> kSubKernels[kDepths] = {
    {ownSubU1, ownSubU1Mask},   {ownSubU8, ownSubU8Mask},   {ownSubS8, ownSubS8Mask},   {ownSubU16, ownSubU16Mask},
    {ownSubS16, ownSubS16Mask}, {ownSubS32, ownSubS32Mask}, {ownSubF32, ownSubF32Mask},
};
const KernelPair<BinaryArgs> kOrKernels[kDepths] = {
    {ownOrU1, ownOrU1Mask}, {ownOr8, ownOr8Mask},   {ownOr8, ownOr8Mask}, {ownOr16, ownOr16Mask},
    {ownOr16, ownOr16Mask}, {ownOr32, ownOr32Mask}, {nullptr, nullptr},
};
const KernelPair<BinaryArgs> kAndKernels[kDepths] = {
    {ownAndU1, ownAndU1Mask}, {ownAnd8, ownAnd8Mask},   {ownAnd8, ownAnd8Mask}, {ownAnd16, ownAnd16Mask},
    {ownAnd16, ownAnd16Mask}, {ownAnd32, ownAnd32Mask}, {nullptr, nullptr},
};
const KernelPair<UnaryArgs> kXorSKernels[kDepths] = {
    {ownXorSU1, ownXorSU1Mask}, {ownXorS8, ownXorS8Mask},   {ownXorS8, ownXorS8Mask}, {ownXorS16, ownXorS16Mask},
    {ownXorS16, ownXorS16Mask}, {ownXorS32, ownXorS32Mask}, {nullptr, nullptr},
};

void (*const ownXorFlat)(const UnaryArgs& args) = xorFlat;

} // namespace tov
