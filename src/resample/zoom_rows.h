// Rows of a zoom as its kernels see them: the samples of both images, and pixels taken from a row's columns.
#pragma once

#include <cstring>

#include "core/memory.h"
#include "kernel/walk.h"
#include "resample/nearest.h"
#include "resample/zoom.h"

namespace tov {

// The samples of one call.
template <class T>
struct Samples {
    explicit Samples(const ZoomArgs& args)
        : planes(args.src->dataOrder == TOV_DATA_ORDER_PLANE),
          nPlanes(planes ? args.srcChannels.count : 1),
          nValues(planes ? 1 : args.srcChannels.count),
          size(args.size),
          mask(args.mask) {
        Size any = kUnlimited;
        src = roiLane<const T>(*args.src, args.srcChannels.offset, any);
        dst = roiLane<T>(*args.dst, args.dstChannels.offset, any);
    }

    ptrdiff_t values() const { return ptrdiff_t{size.width} * nValues; }
    // Whether results can be formed in the destination's own rows.
    bool direct() const { return mask.first == nullptr && dst.pixelStep == nValues; }

    // Stores a row of results where the mask lets it.
    OWN_INLINE void put(const T* results, int32_t plane, int32_t y) const {
        const uint8_t* bits = mask.first != nullptr ? mask.first + y * mask.rowStep : nullptr;
        copyPixels<T>({size.width, 1, 1, nValues}, {bits, 0, mask.bitOffset}, {dst.row(plane, y), 0, 0, dst.pixelStep},
                      {results, 0, 0, nValues});
    }

    bool planes;
    int32_t nPlanes;
    int32_t nValues;
    Size size;
    MaskLane mask;
    Lane<const T> src;
    Lane<T> dst;
};

// Forms each row of each plane by form(plane, y, row of results), in place or in a row of its own. False when that
// can't be had.
template <class T, class Form>
OWN_INLINE bool eachRow(const Samples<T>& samples, Form form) {
    const bool direct = samples.direct();
    const AlignedBlock<T> results(direct ? 0 : static_cast<size_t>(samples.values()));
    if (!results) return false;
    for (int32_t plane = 0; plane < samples.nPlanes; plane++) {
        for (int32_t y = 0; y < samples.size.height; y++) {
            T* row = direct ? samples.dst.row(plane, y) : results.get();
            form(plane, y, row);
            if (!direct) samples.put(row, plane, y);
        }
    }
    return true;
}

// Takes `count` pixels of N values from the columns of a row to neighbouring places.
template <int32_t N, class T>
OWN_INLINE void gather(const T* row, ptrdiff_t step, const int32_t* columns, ptrdiff_t count, T* d) {
    if (N == 1) {
        OWN_EACH
        for (ptrdiff_t i = 0; i < count; i++) d[i] = row[columns[i] * step];
        return;
    }
    for (ptrdiff_t i = 0; i < count; i++) std::memcpy(d + N * i, row + columns[i] * step, N * sizeof(T));
}

template <class T>
OWN_INLINE void gatherAny(int32_t nValues, const T* row, ptrdiff_t step, const int32_t* columns, ptrdiff_t count,
                          T* d) {
    switch (nValues) {
    case 1: return step == 1 ? gather<1>(row, 1, columns, count, d) : gather<1>(row, step, columns, count, d);
    case 3: return gather<3>(row, step, columns, count, d);
    case 4: return gather<4>(row, step, columns, count, d);
    default: break;
    }
    for (ptrdiff_t i = 0; i < count; i++) {
        for (int32_t c = 0; c < nValues; c++) *d++ = row[columns[i] * step + c];
    }
}

// The pairs in a call's columns, none where pixels have no loop for them: that takes pixels side by side, of no more
// than four bytes.
template <class T>
Pairs pairsOf(const ZoomArgs& args, const Samples<T>& samples) {
    const bool served = samples.src.pixelStep == samples.nValues && samples.nValues * sizeof(T) <= 4;
    return served ? pairsIn(args.columns, args.size.width) : Pairs{0, 0};
}
OWN_INLINE void takePairs(ptrdiff_t pixelBytes, const void* from, void* to, ptrdiff_t nPairs) {
    switch (pixelBytes) {
    case 1: return takeTwice<1>(from, to, nPairs);
    case 2: return takeTwice<2>(from, to, nPairs);
    case 3: return takeTwice<3>(from, to, nPairs);
    default: return takeTwice<4>(from, to, nPairs);
    }
}

} // namespace tov
