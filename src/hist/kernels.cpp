// The kernels of mapping: one read of a table for each value, in the order that tells the result where memory overlaps.
#include "hist/kernels.h"

#include <cstring>

#include "kernel/walk.h"
#include "kernel/word.h"

namespace tov {

namespace {

// The tables of a call from one channel on.
template <class T>
struct Tables {
    Tables(const void* tables, int32_t channel)
        : first(static_cast<const T*>(tables) + (ptrdiff_t{channel} << 8 * sizeof(T))) {}
    OWN_INLINE const T* of(int32_t channel) const { return first + (ptrdiff_t{channel} << 8 * sizeof(T)); }
    const T* first;
};

// Rows of values of N channels that repeat. Bytes are fetched a word at a time, which spares most of the reads.
template <int32_t N, class T>
OWN_INLINE void mapRow(const Tables<T>& tables, ptrdiff_t count, T* d, const T* s) {
    ptrdiff_t i = 0;
    if constexpr (sizeof(T) == 1) {
        constexpr ptrdiff_t kBlock = ptrdiff_t{8} * N;
        for (; i + kBlock <= count; i += kBlock) {
            for (int32_t w = 0; w < N; w++) {
                uint64_t word = 0;
                std::memcpy(&word, s + i + 8 * w, sizeof word);
                for (int32_t k = 0; k < 8; k++) {
                    const int32_t place = 8 * w + k;
                    d[i + place] = tables.of(place % N)[byteInMemory(word, k)];
                }
            }
        }
    }
    for (; i < count; i += N) {
        for (int32_t c = 0; c < N; c++) d[i + c] = tables.of(c)[s[i + c]];
    }
}

// Where memory overlaps, bytes go from the end of each row to its start and words the other way.
template <class T>
OWN_INLINE void mapPlanes(const MapArgs& args) {
    const auto src = laneOf<const T>(args.src, 1);
    const auto dst = laneOf<T>(args.dst, 1);
    const Span span = {args.size.width, args.size.height, args.src.nChannels, 1};
    const bool backwards = sizeof(T) == 1 && overlapsElsewhere(footprintOf(dst, span), footprintOf(src, span));
    for (int32_t plane = 0; plane < args.src.nChannels; plane++) {
        const Tables<T> table = {args.tables, plane};
        for (int32_t y = 0; y < args.size.height; y++) {
            const T* s = src.row(plane, y);
            T* d = dst.row(plane, y);
            if (!backwards) {
                mapRow<1>(table, args.size.width, d, s);
            } else {
                for (ptrdiff_t x = args.size.width - 1; x >= 0; x--) d[x] = table.of(0)[s[x]];
            }
        }
    }
}

// `count` pixels, each in all channels.
template <class T>
OWN_INLINE void mapRun(const Tables<T>& tables, int32_t count, int32_t n, Stride<T> d, Stride<const T> s,
                       ptrdiff_t dstValueStep, ptrdiff_t srcValueStep) {
    for (ptrdiff_t i = 0; i < count; i++) {
        for (int32_t c = 0; c < n; c++) {
            d.at[i * d.step + c * dstValueStep] = tables.of(c)[s.at[i * s.step + c * srcValueStep]];
        }
    }
}

// Whether all channels of both images take part, in memory that is the same or disjoint.
template <class T>
bool isWhole(const MapArgs& args, const Lane<T>& dst, const Lane<const T>& src) {
    const int32_t n = args.src.nChannels;
    const Span span = {args.size.width, args.size.height, 1, n};
    return src.pixelStep == n && dst.pixelStep == n &&
           !overlapsElsewhere(footprintOf(dst, span), footprintOf(src, span));
}

template <class T>
OWN_INLINE void mapPixels(const MapArgs& args) {
    const auto src = laneOf<const T>(args.src, args.srcPixelStep);
    const auto dst = laneOf<T>(args.dst, args.dstPixelStep);
    const Tables<T> tables = {args.tables, 0};
    const int32_t n = args.src.nChannels;
    const bool whole = isWhole(args, dst, src);
    for (int32_t y = 0; y < args.size.height; y++) {
        const ptrdiff_t values = ptrdiff_t{args.size.width} * n;
        if (whole && n == 3) {
            mapRow<3>(tables, values, dst.row(0, y), src.row(0, y));
        } else if (whole && n == 4) {
            mapRow<4>(tables, values, dst.row(0, y), src.row(0, y));
        } else {
            mapRun(tables, args.size.width, n, dst.pixel(0, y, 0), src.pixel(0, y, 0), 1, 1);
        }
    }
}

template <class T, bool Planes>
OWN_INLINE void mapMasked(const MapArgs& args) {
    const auto src = laneOf<const T>(args.src, Planes ? 1 : args.srcPixelStep);
    const auto dst = laneOf<T>(args.dst, Planes ? 1 : args.dstPixelStep);
    const ptrdiff_t srcValueStep = Planes ? src.planeStep / ptrdiff_t{sizeof(T)} : 1;
    const ptrdiff_t dstValueStep = Planes ? dst.planeStep / ptrdiff_t{sizeof(T)} : 1;
    const Tables<T> tables = {args.tables, 0};
    const int32_t n = args.src.nChannels;
    const bool gray = n == 1 && isWhole(args, dst, src);
    for (int32_t y = 0; y < args.size.height; y++) {
        const uint8_t* bits = args.mask.first + y * args.mask.rowStep;
        for (MaskRuns runs(bits, args.mask.bitOffset, args.size.width); runs.next();) {
            const auto to = dst.pixel(0, y, runs.start);
            const auto from = src.pixel(0, y, runs.start);
            if (gray) {
                mapRow<1>(tables, runs.length, to.at, from.at);
            } else {
                mapRun(tables, runs.length, n, to, from, dstValueStep, srcValueStep);
            }
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
