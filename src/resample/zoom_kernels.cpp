// The kernels of zooming to the nearest pixel, and the choice of a kernel.
#include "kernel/bitrows.h"
#include "resample/zoom_rows.h"

namespace tov {

namespace {

// Pairs are taken anew for each row, which is quicker than to read back the row before, but for pixels of three bytes.
// Other rows are copied.
template <class T>
OWN_INLINE bool zoomNearest(const ZoomArgs& args) {
    const Samples<T> samples(args);
    const Pairs pairs = pairsOf(args, samples);
    const ptrdiff_t n = samples.nValues;
    const ptrdiff_t step = samples.src.pixelStep;
    const ptrdiff_t pixelBytes = n * ptrdiff_t{sizeof(T)};
    const bool copies = pairs.count < samples.size.width / 2 || pixelBytes == 3;
    const auto rowBytes = static_cast<size_t>(samples.values()) * sizeof(T);
    const T* made = nullptr;
    return eachRow(samples, [&](int32_t plane, int32_t y, T* d) OWN_INLINE_LAMBDA {
        const bool again = y > 0 && args.rows[y] == args.rows[y - 1];
        if (again && made == d) return;
        if (rowBytes >= kLongRow && y + 1 < samples.size.height) prefetchStart(samples.dst.row(plane, y + 1));
        if (again && copies) {
            std::memcpy(d, made, rowBytes);
        } else {
            const T* row = samples.src.row(plane, args.rows[y]);
            const auto take = [&](int32_t first, int32_t count) OWN_INLINE_LAMBDA {
                gatherAny(samples.nValues, row, step, args.columns + first, count, d + first * n);
            };
            take(0, pairs.first);
            takePairs(pixelBytes, row + args.columns[pairs.first] * step, d + pairs.first * n, pairs.count / 2);
            const int32_t done = pairs.first + pairs.count;
            take(done, samples.size.width - done);
        }
        made = d;
    });
}

OWN_KERNEL bool ownZoomNearest_8u(const ZoomArgs& args) { return zoomNearest<uint8_t>(args); }
OWN_KERNEL bool ownZoomNearest_16u(const ZoomArgs& args) { return zoomNearest<uint16_t>(args); }

OWN_KERNEL bool ownZoomNearest_1u(const ZoomArgs& args) {
    constexpr int32_t most = 32;
    Size any = kUnlimited;
    const auto src = roiBits<const uint8_t>(*args.src, any);
    const auto dst = roiBits<uint8_t>(*args.dst, any);
    for (int32_t y = 0; y < args.size.height; y++) {
        const uint8_t* s = src.first + args.rows[y] * src.rowStep;
        uint8_t* d = dst.first + y * dst.rowStep;
        for (int32_t x = 0, count = 0; x < args.size.width; x += count) {
            count = smaller(args.size.width - x, most);
            uint64_t bits = 0;
            for (int32_t i = 0; i < count; i++) {
                const ptrdiff_t bit = ptrdiff_t{args.columns[x + i]} + src.bitOffset;
                bits = bits << 1 | (s[bit >> 3] >> (7 - (bit & 7)) & 1);
            }
            bits <<= 64 - count;
            const ptrdiff_t to = ptrdiff_t{dst.bitOffset} + x;
            if (args.mask.first != nullptr) {
                const uint8_t* row = args.mask.first + y * args.mask.rowStep;
                const uint64_t chosen = bitsAt(row, ptrdiff_t{args.mask.bitOffset} + x, count);
                bits = (bits & chosen) | (bitsAt(d, to, count) & ~chosen);
            }
            putBits(d, to, count, bits);
        }
    }
    return true;
}

} // namespace

bool ownZoomRows(const ZoomArgs& args, int32_t mode) {
    if (args.src->depth == TOV_DEPTH_1U) return ownZoomNearest_1u(args);
    const bool bytes = args.src->depth == TOV_DEPTH_8U;
    if (mode != TOV_INTER_NN) return ownZoomBetween(args, mode);
    return bytes ? ownZoomNearest_8u(args) : ownZoomNearest_16u(args);
}

} // namespace tov
