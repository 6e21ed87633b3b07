// The kernels of copying and filling.
#include "move/kernels.h"

#include <cstring>

#include "kernel/bitrows.h"
#include "kernel/walk.h"

namespace tov {

namespace {

struct Same {
    template <class T>
    OWN_INLINE T operator()(T value) const {
        return value;
    }
};

template <class T>
struct Constant {
    explicit Constant(uint32_t word) : value(static_cast<T>(word)) {}
    OWN_INLINE T operator()() const { return value; }
    T value;
};

// Bytes forwards: single ones up to a multiple of 4 of the target, words, and what is left. That is the order in which
// a row is copied over itself at another position.
void ownCopyBytes(const uint8_t* source, uint8_t* target, ptrdiff_t count) {
    if (count >= 4) {
        for (; (reinterpret_cast<uintptr_t>(target) & 3) != 0; count--) *target++ = *source++;
    }
    for (; count >= 4; count -= 4, source += 4, target += 4) {
        uint32_t word = 0;
        std::memcpy(&word, source, sizeof word);
        std::memcpy(target, &word, sizeof word);
    }
    for (; count > 0; count--) *target++ = *source++;
}

// Rows of bytes in planes.
OWN_KERNEL void ownCopyRows(const CopyArgs& args) {
    const ptrdiff_t rowBytes = args.rowBytes;
    const auto src = laneOf<const uint8_t>(args.src, 1);
    const auto dst = laneOf<uint8_t>(args.dst, 1);
    const Footprint from = {src.first, rowBytes, src.rowStep, args.size.height, src.planeStep, args.nChProcess};
    const Footprint to = {dst.first, rowBytes, dst.rowStep, args.size.height, dst.planeStep, args.nChProcess};
    const bool overlaps = overlapsElsewhere(to, from);
    if (!overlaps && src.first == dst.first) return;
    // Rows without a gap between them are one row.
    const bool gapless = !overlaps && src.rowStep == rowBytes && dst.rowStep == rowBytes;
    for (int32_t plane = 0; plane < args.nChProcess; plane++) {
        if (gapless) {
            std::memcpy(dst.row(plane, 0), src.row(plane, 0), static_cast<size_t>(rowBytes * args.size.height));
            continue;
        }
        for (int32_t y = 0; y < args.size.height; y++) {
            if (overlaps) {
                ownCopyBytes(src.row(plane, y), dst.row(plane, y), rowBytes);
            } else {
                denseRun(Same{}, rowBytes, dst.row(plane, y), src.row(plane, y));
            }
        }
    }
}

void ownCopyBits(const CopyArgs& args) {
    const BitLane<const uint8_t> src = {args.src.start + (args.src.x >> 3), args.src.rowStep, args.src.x & 7};
    const BitLane<uint8_t> dst = {args.dst.start + (args.dst.x >> 3), args.dst.rowStep, args.dst.x & 7};
    const auto copied = [](uint64_t, uint64_t bits) OWN_INLINE_LAMBDA { return bits; };
    walkBits<8>(args.size.width, args.size.height, copied, dst, src);
}

template <class T, bool Masked>
OWN_INLINE void copyPixels(const CopyArgs& args) {
    const Span span = {args.size.width, args.size.height, 1, args.nChProcess};
    walkLanes<Masked>(span, args.mask, Same{}, laneOf<T>(args.dst, args.dstPixelStep),
                      laneOf<const T>(args.src, args.srcPixelStep));
}

// Planes outermost, but over images that overlap at another position pixel by pixel, each in all of its planes.
template <class T>
OWN_INLINE void copyMaskedPlanes(const CopyArgs& args) {
    const Span span = {args.size.width, args.size.height, args.nChProcess, 1};
    const auto src = laneOf<const T>(args.src, 1);
    const auto dst = laneOf<T>(args.dst, 1);
    if (!overlapsElsewhere(footprintOf(dst, span), footprintOf(src, span))) {
        return walkLanes<true>(span, args.mask, Same{}, dst, src);
    }
    for (int32_t y = 0; y < span.height; y++) {
        const uint8_t* bits = args.mask.first + y * args.mask.rowStep;
        for (int32_t x = 0; x < span.width; x++) {
            if (bitsAt(bits, ptrdiff_t{args.mask.bitOffset} + x, 1) == 0) continue;
            for (int32_t plane = 0; plane < span.nPlanes; plane++) {
                setValueAt(dst.row(plane, y), x, valueAt(src.row(plane, y), x));
            }
        }
    }
}

template <class T>
OWN_INLINE void setRows(const SetArgs& args) {
    const auto dst = laneOf<T>(args.dst, 1);
    const bool gapless = dst.rowStep == args.rowValues * ptrdiff_t{sizeof(T)};
    const int32_t nRows = gapless ? 1 : args.size.height;
    const ptrdiff_t count = gapless ? args.rowValues * args.size.height : args.rowValues;
    for (int32_t plane = 0; plane < args.nChProcess; plane++) {
        for (int32_t y = 0; y < nRows; y++) denseRun(Constant<T>(args.value), count, dst.row(plane, y));
    }
}

void ownSetBits(const SetArgs& args) {
    const BitLane<uint8_t> dst = {args.dst.start + (args.dst.x >> 3), args.dst.rowStep, args.dst.x & 7};
    const uint64_t bits = (args.value & 1) != 0 ? ~uint64_t{0} : 0;
    const auto set = [bits](uint64_t) OWN_INLINE_LAMBDA { return bits; };
    walkBits<8>(args.size.width, args.size.height, set, dst);
}

template <class T, bool Masked>
OWN_INLINE void setPixels(const SetArgs& args) {
    const Span span = {args.size.width, args.size.height, 1, args.nChProcess};
    walkLanes<Masked>(span, args.mask, Constant<T>(args.value), laneOf<T>(args.dst, args.pixelStep));
}

template <class T>
OWN_INLINE void setMaskedPlanes(const SetArgs& args) {
    const Span span = {args.size.width, args.size.height, args.nChProcess, 1};
    walkLanes<true>(span, args.mask, Constant<T>(args.value), laneOf<T>(args.dst, 1));
}

OWN_KERNEL void ownCopyPixels8(const CopyArgs& args) { copyPixels<uint8_t, false>(args); }
OWN_KERNEL void ownCopyPixels16(const CopyArgs& args) { copyPixels<uint16_t, false>(args); }
OWN_KERNEL void ownCopyPixels32(const CopyArgs& args) { copyPixels<uint32_t, false>(args); }
OWN_KERNEL void ownCopyMasked8(const CopyArgs& args) { copyPixels<uint8_t, true>(args); }
OWN_KERNEL void ownCopyMasked16(const CopyArgs& args) { copyPixels<uint16_t, true>(args); }
OWN_KERNEL void ownCopyMasked32(const CopyArgs& args) { copyPixels<uint32_t, true>(args); }
OWN_KERNEL void ownCopyMaskedPlanes8(const CopyArgs& args) { copyMaskedPlanes<uint8_t>(args); }
OWN_KERNEL void ownCopyMaskedPlanes16(const CopyArgs& args) { copyMaskedPlanes<uint16_t>(args); }
OWN_KERNEL void ownCopyMaskedPlanes32(const CopyArgs& args) { copyMaskedPlanes<uint32_t>(args); }

OWN_KERNEL void ownSetRows8(const SetArgs& args) { setRows<uint8_t>(args); }
OWN_KERNEL void ownSetRows16(const SetArgs& args) { setRows<uint16_t>(args); }
OWN_KERNEL void ownSetRows32(const SetArgs& args) { setRows<uint32_t>(args); }
OWN_KERNEL void ownSetPixels8(const SetArgs& args) { setPixels<uint8_t, false>(args); }
OWN_KERNEL void ownSetPixels16(const SetArgs& args) { setPixels<uint16_t, false>(args); }
OWN_KERNEL void ownSetPixels32(const SetArgs& args) { setPixels<uint32_t, false>(args); }
OWN_KERNEL void ownSetMasked8(const SetArgs& args) { setPixels<uint8_t, true>(args); }
OWN_KERNEL void ownSetMasked16(const SetArgs& args) { setPixels<uint16_t, true>(args); }
OWN_KERNEL void ownSetMasked32(const SetArgs& args) { setPixels<uint32_t, true>(args); }
OWN_KERNEL void ownSetMaskedPlanes8(const SetArgs& args) { setMaskedPlanes<uint8_t>(args); }
OWN_KERNEL void ownSetMaskedPlanes16(const SetArgs& args) { setMaskedPlanes<uint16_t>(args); }
OWN_KERNEL void ownSetMaskedPlanes32(const SetArgs& args) { setMaskedPlanes<uint32_t>(args); }

// Columns: 1, 8, 16, 32 bits a value.
const MoveKernel<CopyArgs> kCopyKernels[kWalks][4] = {
    {ownCopyBits, ownCopyRows, ownCopyRows, ownCopyRows},
    {nullptr, ownCopyPixels8, ownCopyPixels16, ownCopyPixels32},
    {nullptr, ownCopyMasked8, ownCopyMasked16, ownCopyMasked32},
    {nullptr, ownCopyMaskedPlanes8, ownCopyMaskedPlanes16, ownCopyMaskedPlanes32},
};
const MoveKernel<SetArgs> kSetKernels[kWalks][4] = {
    {ownSetBits, ownSetRows8, ownSetRows16, ownSetRows32},
    {nullptr, ownSetPixels8, ownSetPixels16, ownSetPixels32},
    {nullptr, ownSetMasked8, ownSetMasked16, ownSetMasked32},
    {nullptr, ownSetMaskedPlanes8, ownSetMaskedPlanes16, ownSetMaskedPlanes32},
};

int32_t columnOf(int32_t bits) { return bits == 1 ? 0 : bits == 8 ? 1 : bits == 16 ? 2 : 3; }

} // namespace

MoveKernel<CopyArgs> copyKernel(Walk walk, int32_t bits) {
    return kCopyKernels[bits == 1 ? kWalkRows : walk][columnOf(bits)];
}

MoveKernel<SetArgs> setKernel(Walk walk, int32_t bits) {
    return kSetKernels[bits == 1 ? kWalkRows : walk][columnOf(bits)];
}

} // namespace tov
