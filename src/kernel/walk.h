// The lock-step walk: one formula over the same rectangle of any number of images, cut into runs of values.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "kernel/kernel.h"
#include "kernel/maskruns.h"
#include "kernel/overlap.h"
#include "kernel/word.h"

namespace tov {

// A place in a row of values, and the distance from pixel to pixel.
template <class T>
struct Stride {
    T* at;
    ptrdiff_t step;
};

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
    OWN_INLINE Stride<T> pixel(ptrdiff_t plane, ptrdiff_t y, ptrdiff_t x) const {
        return {row(plane, y) + x * pixelStep, pixelStep};
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

// to = formula(s...) for Block values.
template <ptrdiff_t Block, class Formula, class D, class... S>
OWN_INLINE void formBlock(Formula formula, D* to, const S*... s) {
    OWN_EACH_OF_BLOCK
    for (ptrdiff_t i = 0; i < Block; i++) setValueAt<D>(to, i, formula(valueAt(s, i)...));
}
template <ptrdiff_t Block, class D>
OWN_INLINE void storeBlock(D* d, const D (&values)[Block]) {
    OWN_EACH_OF_BLOCK
    for (ptrdiff_t i = 0; i < Block; i++) setValueAt(d, i, values[i]);
}

// Block to twice as many values, in two blocks. They overlap, and the destination may be a source as well, so both are
// worked out before one is stored: no value is left over for a slower loop.
template <ptrdiff_t Block, class Formula, class D, class... S>
OWN_INLINE void twoBlocks(Formula formula, ptrdiff_t count, D* d, const S*... s) {
    D first[Block];
    D last[Block];
    formBlock<Block>(formula, first, s...);
    formBlock<Block>(formula, last, s + (count - Block)...);
    storeBlock<Block>(d, first);
    storeBlock<Block>(d + (count - Block), last);
}

// At least Block values, in blocks that begin where the destination's address is a multiple of their size. What stands
// before and behind those is covered by blocks that overlap them, again worked out before what they overlap is stored.
// At the end that is the last one of the others: were those values needed at once, a long row from memory would wait
// for its far end.
template <ptrdiff_t Block, class Formula, class D, class... S>
OWN_INLINE void blockRun(Formula formula, ptrdiff_t count, D* d, const S*... s) {
    D first[Block];
    formBlock<Block>(formula, first, s...);
    const ptrdiff_t tail = count - Block;
    ptrdiff_t at = Block - (static_cast<ptrdiff_t>(reinterpret_cast<uintptr_t>(d) / sizeof(D)) & (Block - 1));
    for (; at <= tail - Block; at += Block) formBlock<Block>(formula, d + at, s + at...);
    if (at > tail) at = tail;
    D middle[Block];
    D last[Block];
    formBlock<Block>(formula, middle, s + at...);
    formBlock<Block>(formula, last, s + tail...);
    storeBlock<Block>(d, first);
    storeBlock<Block>(d + at, middle);
    storeBlock<Block>(d + tail, last);
}

// Fewer values than twice a block.
template <ptrdiff_t Block, class Formula, class D, class... S>
OWN_INLINE void fewValues(Formula formula, ptrdiff_t count, D* d, const S*... s) {
    if constexpr (Block >= 4) {
        if (count >= Block) return twoBlocks<Block>(formula, count, d, s...);
        fewValues<Block / 2>(formula, count, d, s...);
    } else {
        for (ptrdiff_t i = 0; i < count; i++) setValueAt<D>(d, i, formula(valueAt(s, i)...));
    }
}
template <ptrdiff_t Block, class Formula, class D, class... S>
OWN_SHARED void shortRun(Formula formula, ptrdiff_t count, D* d, const S*... s) {
    fewValues<Block>(formula, count, d, s...);
}

// d = formula(s...) for `count` neighbouring values in rows that are the same or disjoint.
template <class Formula, class D, class... S>
OWN_INLINE void denseRun(Formula formula, ptrdiff_t count, D* d, const S*... s) {
    constexpr ptrdiff_t kBlock = 32 / std::min({sizeof(D), sizeof(S)...});
    if (count >= kBlock) {
        blockRun<kBlock>(formula, count, d, s...);
    } else {
        shortRun<kBlock / 2>(formula, count, d, s...);
    }
}

template <int32_t NValues, class Formula, class D, class... S>
OWN_INLINE void stridedPixels(Formula formula, ptrdiff_t count, int32_t nValues, Stride<D> d, Stride<const S>... s) {
    const int32_t n = NValues != 0 ? NValues : nValues;
    for (ptrdiff_t i = 0; i < count; i++) {
        for (int32_t c = 0; c < n; c++) {
            setValueAt<D>(d.at, i * d.step + c, formula(valueAt(s.at, i * s.step + c)...));
        }
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

template <int32_t NValues, class Formula, class D, class... S>
OWN_INLINE void chosenPixels(Formula formula, uint64_t bits, int32_t nValues, Stride<D> d, Stride<const S>... s) {
    for (; bits != 0;) {
        const int32_t i = leadingZeros(bits);
        bits &= ~(uint64_t{1} << 63 >> i);
        stridedPixels<NValues>(formula, 1, nValues, Stride<D>{d.at + i * d.step, 0},
                               Stride<const S>{s.at + i * s.step, 0}...);
    }
}

// d = formula(s...) for those of 64 pixels whose bits are set, from the most significant one on.
template <class Formula, class D, class... S>
OWN_SHARED void chosenRun(Formula formula, uint64_t bits, int32_t nValues, Stride<D> d, Stride<const S>... s) {
    switch (nValues) {
    case 1: return chosenPixels<1>(formula, bits, 1, d, s...);
    case 3: return chosenPixels<3>(formula, bits, 3, d, s...);
    default: return chosenPixels<0>(formula, bits, nValues, d, s...);
    }
}

// A run from which on the next row is asked for ahead: the processor, which fetches whole rows ahead by itself, doesn't
// foresee where a run in it begins.
constexpr int32_t kLongRun = 512;

// The walk: planes (see Span), rows from the first one, pixels from left to right; where mask.first is set, only pixels
// whose bit is set. Samples that the walk passes over are neither read nor written. Rows may begin at any address. With
// sources that overlap the destination at another position, results follow that order value by value.
template <bool Masked, class Formula, class D, class... S>
OWN_INLINE void walkLanes(Span span, MaskLane mask, Formula formula, const Lane<D>& d, const Lane<const S>&... s) {
    if (span.width <= 0 || span.height <= 0) return;
    const bool dense = d.pixelStep == span.nValues && ((s.pixelStep == span.nValues) && ... && true) &&
                       !(overlapsElsewhere(footprintOf(d, span), footprintOf(s, span)) || ... || false);
    const auto run = [&](ptrdiff_t n, Stride<D> to, Stride<const S>... from) OWN_INLINE_LAMBDA {
        if (dense) {
            denseRun(formula, n * span.nValues, to.at, from.at...);
        } else {
            stridedRun(formula, n, span.nValues, to, from...);
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
                for (RaggedMaskRuns runs(bits, mask.bitOffset, span.width); runs.next();) {
                    const int32_t x = runs.start;
                    if (runs.bits != 0) {
                        chosenRun(formula, runs.bits, span.nValues, d.pixel(plane, y, x), s.pixel(plane, y, x)...);
                    } else {
                        if (runs.length >= kLongRun && y + 1 < span.height) {
                            (prefetchStart(s.row(plane, y + 1) + x * s.pixelStep), ...);
                            prefetchStart(d.row(plane, y + 1) + x * d.pixelStep);
                        }
                        run(runs.length, d.pixel(plane, y, x), s.pixel(plane, y, x)...);
                    }
                }
            } else {
                run(span.width, d.pixel(plane, y, 0), s.pixel(plane, y, 0)...);
            }
        }
    }
}

// Copies the pixels of a rectangle, those that a mask allows if there is one.
template <class T>
OWN_INLINE void copyPixels(const Span& span, const MaskLane& mask, const Lane<T>& d, const Lane<const T>& s) {
    const auto same = [](T value) OWN_INLINE_LAMBDA { return value; };
    if (mask.first != nullptr) {
        walkLanes<true>(span, mask, same, d, s);
    } else {
        walkLanes<false>(span, mask, same, d, s);
    }
}

} // namespace tov
