// The lock-step walk: one formula over the same rectangle of any number of images, cut into runs of values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "kernel/kernel.h"
#include "kernel/maskruns.h"
#include "kernel/overlap.h"

namespace tov {

// One image as a walk sees it: its first value, the distances from row to row and plane to plane in bytes, and from
// pixel to pixel in values.
template <class T>
struct Lane {
    T* first;
    ptrdiff_t rowStep;
    ptrdiff_t planeStep;
    ptrdiff_t pixelStep;

    OWN_INLINE T* row(ptrdiff_t plane, ptrdiff_t y) const {
        using Byte = std::conditional_t<std::is_const_v<T>, const uint8_t, uint8_t>;
        return reinterpret_cast<T*>(reinterpret_cast<Byte*>(first) + plane * planeStep + y * rowStep);
    }
};

// What a walk covers: a rectangle in nPlanes planes, of nValues neighbouring values in each pixel of a plane. Planes
// are walked one after the other, or with planesInRows row by row, each row in all planes.
struct Span {
    int32_t width;
    int32_t height;
    int32_t nPlanes;
    int32_t nValues;
    bool planesInRows = false;
};

template <class T>
OWN_INLINE Footprint footprintOf(const Lane<T>& lane, const Span& span) {
    const ptrdiff_t values = ptrdiff_t{span.width - 1} * lane.pixelStep + span.nValues;
    return {lane.first, values * ptrdiff_t{sizeof(T)}, lane.rowStep, span.height, lane.planeStep, span.nPlanes};
}

// d = formula(s...) for `count` neighbouring values in rows that are the same or disjoint.
template <class Formula, class D, class... S>
OWN_INLINE void denseRun(Formula formula, ptrdiff_t count, D* d, const S*... s) {
    OWN_EACH
    for (ptrdiff_t i = 0; i < count; i++) d[i] = formula(s[i]...);
}

// One lane's place in a strided run.
template <class T>
struct Stride {
    T* at;
    ptrdiff_t step;
};

template <int32_t NValues, class Formula, class D, class... S>
OWN_INLINE void stridedPixels(Formula formula, ptrdiff_t count, int32_t nValues, Stride<D> d, Stride<const S>... s) {
    const int32_t n = NValues != 0 ? NValues : nValues;
    for (ptrdiff_t i = 0; i < count; i++) {
        for (int32_t c = 0; c < n; c++) d.at[i * d.step + c] = formula(s.at[i * s.step + c]...);
    }
}

// d = formula(s...) for `count` pixels of nValues neighbouring values, each lane with a pixel step of its own: value by
// value, so that rows may overlap in any way.
template <class Formula, class D, class... S>
OWN_SHARED void stridedRun(Formula formula, ptrdiff_t count, int32_t nValues, Stride<D> d, Stride<const S>... s) {
    switch (nValues) {
    case 1: return stridedPixels<1>(formula, count, 1, d, s...);
    case 3: return stridedPixels<3>(formula, count, 3, d, s...);
    default: return stridedPixels<0>(formula, count, nValues, d, s...);
    }
}

// The walk: planes (see Span), rows from the first one, pixels from left to right; where mask.first is set, only pixels
// whose bit is set. Samples that the walk passes over are neither read nor written. With sources that overlap the
// destination at another position, results follow that order value by value.
template <bool Masked, class Formula, class D, class... S>
OWN_INLINE void walkLanes(const Span& span, const MaskLane& mask, Formula formula, const Lane<D>& d,
                          const Lane<const S>&... s) {
    if (span.width <= 0 || span.height <= 0) return;
    const bool dense = d.pixelStep == span.nValues && ((s.pixelStep == span.nValues) && ... && true) &&
                       !(overlapsElsewhere(footprintOf(d, span), footprintOf(s, span)) || ... || false);
    const auto run = [&](ptrdiff_t plane, ptrdiff_t y, ptrdiff_t x, ptrdiff_t n) OWN_INLINE_LAMBDA {
        if (dense) {
            const ptrdiff_t k = span.nValues;
            denseRun(formula, n * k, d.row(plane, y) + x * k, s.row(plane, y) + x * k...);
        } else {
            stridedRun(formula, n, span.nValues, Stride<D>{d.row(plane, y) + x * d.pixelStep, d.pixelStep},
                       Stride<const S>{s.row(plane, y) + x * s.pixelStep, s.pixelStep}...);
        }
    };
    const int32_t outer = span.planesInRows ? span.height : span.nPlanes;
    const int32_t inner = span.planesInRows ? span.nPlanes : span.height;
    for (int32_t i = 0; i < outer; i++) {
        for (int32_t j = 0; j < inner; j++) {
            const int32_t plane = span.planesInRows ? j : i;
            const int32_t y = span.planesInRows ? i : j;
            if constexpr (Masked) {
                const uint8_t* bits = mask.first + y * mask.rowStep;
                for (MaskRuns runs(bits, mask.bitOffset, span.width); runs.next();) {
                    run(plane, y, runs.start, runs.length);
                }
            } else {
                run(plane, y, 0, span.width);
            }
        }
    }
}

} // namespace tov
