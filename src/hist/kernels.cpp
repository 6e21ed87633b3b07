// The kernels of mapping: one read of a table for each value, in the order that tells the result where memory overlaps.
#include "hist/kernels.h"

#include "kernel/walk.h"

namespace tov {

namespace {

// The tables of a call, one for each channel.
template <class T>
struct Tables {
    explicit Tables(const void* tables) : first(static_cast<const T*>(tables)) {}
    OWN_INLINE const T* of(int32_t channel) const { return first + (ptrdiff_t{channel} << 8 * sizeof(T)); }
    const T* first;
};

template <class T>
OWN_INLINE Lane<T> laneOf(const PlainAddress& address, int32_t pixelStep) {
    return {reinterpret_cast<T*>(address.start), address.rowStep, address.planeStep, pixelStep};
}

// Bytes go from the end of each row to its start, words the other way.
template <class T>
OWN_INLINE void mapPlanes(const MapArgs& args) {
    const auto src = laneOf<const T>(args.src, 1);
    const auto dst = laneOf<T>(args.dst, 1);
    for (int32_t plane = 0; plane < args.src.nChannels; plane++) {
        const T* table = Tables<T>(args.tables).of(plane);
        for (int32_t y = 0; y < args.size.height; y++) {
            const T* s = src.row(plane, y);
            T* d = dst.row(plane, y);
            for (int32_t i = 0; i < args.size.width; i++) {
                const int32_t x = sizeof(T) == 1 ? args.size.width - 1 - i : i;
                d[x] = table[s[x]];
            }
        }
    }
}

// `count` pixels, each in all channels. NValues stands for three neighbouring channels of pixels that have no others.
template <int32_t NValues, class T>
OWN_INLINE void mapRun(const Tables<T>& tables, int32_t count, int32_t nValues, Stride<T> d, Stride<const T> s,
                       ptrdiff_t dstValueStep, ptrdiff_t srcValueStep) {
    const int32_t n = NValues != 0 ? NValues : nValues;
    const ptrdiff_t dstStep = NValues != 0 ? NValues : d.step;
    const ptrdiff_t srcStep = NValues != 0 ? NValues : s.step;
    for (ptrdiff_t i = 0; i < count; i++) {
        for (int32_t c = 0; c < n; c++) {
            d.at[i * dstStep + c * dstValueStep] = tables.of(c)[s.at[i * srcStep + c * srcValueStep]];
        }
    }
}

template <class T>
OWN_INLINE void mapPixels(const MapArgs& args) {
    const auto src = laneOf<const T>(args.src, args.srcPixelStep);
    const auto dst = laneOf<T>(args.dst, args.dstPixelStep);
    const Tables<T> tables(args.tables);
    const int32_t n = args.src.nChannels;
    const bool three = n == 3 && args.srcPixelStep == 3 && args.dstPixelStep == 3;
    for (int32_t y = 0; y < args.size.height; y++) {
        if (three) {
            mapRun<3>(tables, args.size.width, 3, dst.pixel(0, y, 0), src.pixel(0, y, 0), 1, 1);
        } else {
            mapRun<0>(tables, args.size.width, n, dst.pixel(0, y, 0), src.pixel(0, y, 0), 1, 1);
        }
    }
}

template <class T, bool Planes>
OWN_INLINE void mapMasked(const MapArgs& args) {
    const auto src = laneOf<const T>(args.src, Planes ? 1 : args.srcPixelStep);
    const auto dst = laneOf<T>(args.dst, Planes ? 1 : args.dstPixelStep);
    const ptrdiff_t srcValueStep = Planes ? src.planeStep / ptrdiff_t{sizeof(T)} : 1;
    const ptrdiff_t dstValueStep = Planes ? dst.planeStep / ptrdiff_t{sizeof(T)} : 1;
    const Tables<T> tables(args.tables);
    for (int32_t y = 0; y < args.size.height; y++) {
        const uint8_t* bits = args.mask.first + y * args.mask.rowStep;
        for (MaskRuns runs(bits, args.mask.bitOffset, args.size.width); runs.next();) {
            mapRun<0>(tables, runs.length, args.src.nChannels, dst.pixel(0, y, runs.start), src.pixel(0, y, runs.start),
                      dstValueStep, srcValueStep);
        }
    }
}

void ownMapPlanes8(const MapArgs& args) { mapPlanes<uint8_t>(args); }
void ownMapPlanes16(const MapArgs& args) { mapPlanes<uint16_t>(args); }
void ownMapPixels8(const MapArgs& args) { mapPixels<uint8_t>(args); }
void ownMapPixels16(const MapArgs& args) { mapPixels<uint16_t>(args); }
void ownMapMaskedPlanes8(const MapArgs& args) { mapMasked<uint8_t, true>(args); }
void ownMapMaskedPlanes16(const MapArgs& args) { mapMasked<uint16_t, true>(args); }
void ownMapMasked8(const MapArgs& args) { mapMasked<uint8_t, false>(args); }
void ownMapMasked16(const MapArgs& args) { mapMasked<uint16_t, false>(args); }

constexpr MapKernel kKernels[2][4] = {
    {ownMapPixels8, ownMapMasked8, ownMapPlanes8, ownMapMaskedPlanes8},
    {ownMapPixels16, ownMapMasked16, ownMapPlanes16, ownMapMaskedPlanes16},
};

} // namespace

MapKernel mapKernel(int32_t bits, bool planes, bool masked) {
    return kKernels[bits == 8 ? 0 : 1][(planes ? 2 : 0) + (masked ? 1 : 0)];
}

} // namespace tov
