// The kernels of mirroring.
#include "mirror/kernels.h"

#include <cstring>

#include "core/image.h"
#include "core/memory.h"
#include "kernel/bitrows.h"
#include "kernel/walk.h"
#include "kernel/word.h"

namespace tov {

namespace {

// Pixels whose masks are looked at at once.
constexpr int32_t kMaskBlock = 512;

OWN_INLINE uint64_t reversedBits(uint64_t word) {
    word = (word >> 1 & UINT64_C(0x5555555555555555)) | (word & UINT64_C(0x5555555555555555)) << 1;
    word = (word >> 2 & UINT64_C(0x3333333333333333)) | (word & UINT64_C(0x3333333333333333)) << 2;
    word = (word >> 4 & UINT64_C(0x0F0F0F0F0F0F0F0F)) | (word & UINT64_C(0x0F0F0F0F0F0F0F0F)) << 4;
    word = (word >> 8 & UINT64_C(0x00FF00FF00FF00FF)) | (word & UINT64_C(0x00FF00FF00FF00FF)) << 8;
    word = (word >> 16 & UINT64_C(0x0000FFFF0000FFFF)) | (word & UINT64_C(0x0000FFFF0000FFFF)) << 16;
    return word >> 32 | word << 32;
}

// Which source pixel goes to a destination pixel.
struct Flip {
    OWN_INLINE explicit Flip(const MirrorArgs& args)
        : columns(args.flipAxis != 0), rows(args.flipAxis != 1), size(args.size) {}

    OWN_INLINE int32_t sourceRow(int32_t y) const { return rows ? size.height - 1 - y : y; }
    OWN_INLINE int32_t sourceColumn(int32_t x) const { return columns ? size.width - 1 - x : x; }

    // The bits of a row of the source that belong to `count` (1 to 64) destination pixels from x on.
    OWN_INLINE uint64_t bits(const MaskLane& lane, int32_t x, int32_t y, int32_t count) const {
        const uint8_t* row = lane.first + sourceRow(y) * lane.rowStep;
        if (!columns) return bitsAt(row, ptrdiff_t{lane.bitOffset} + x, count);
        const uint64_t word = bitsAt(row, ptrdiff_t{lane.bitOffset} + size.width - x - count, count);
        return reversedBits(word) << (64 - count);
    }

    bool columns;
    bool rows;
    Size size;
};

// The masks of a call, as the destination's pixels see them.
struct MirrorMasks {
    MirrorMasks() = default;
    explicit MirrorMasks(MirrorArgs& args) {
        if (args.src->maskROI != nullptr) src = roiMask(*args.src->maskROI, args.size);
        if (args.dst->maskROI != nullptr) dst = roiMask(*args.dst->maskROI, args.size);
    }
    bool any() const { return src.first != nullptr || dst.first != nullptr; }

    OWN_INLINE uint64_t bits(const Flip& flip, int32_t x, int32_t y, int32_t count) const {
        uint64_t word = ~(count == 64 ? 0 : ~uint64_t{0} >> count);
        if (src.first != nullptr) word &= flip.bits(src, x, y, count);
        if (dst.first != nullptr) {
            word &= bitsAt(dst.first + y * dst.rowStep, ptrdiff_t{dst.bitOffset} + x, count);
        }
        return word;
    }

    MaskLane src;
    MaskLane dst;
};

OWN_INLINE void putWord(uint8_t* bytes, uint64_t word) {
    for (int32_t i = 0; i < 8; i++) bytes[i] = static_cast<uint8_t>(word >> (56 - 8 * i));
}

// The source's row that is moved next. It is asked for while a row is moved, in the order of the rows: from its first
// byte up, or with a step of -1 from its last byte down. The processor goes on by itself where addresses follow one
// another from row to row, and begins anew where they jump, as those of rows from below and of pixels from behind do.
struct NextRow {
    template <ptrdiff_t Bytes>
    OWN_INLINE void fetch(ptrdiff_t from) const {
        if (first != nullptr) prefetch<Bytes>(first + from * step, 64 * step);
    }
    const uint8_t* first = nullptr;
    int32_t step = 1;
};

// Cuts `count` items of a row into blocks and a rest, which isn't empty: part(first, count, is the rest).
template <ptrdiff_t Block, ptrdiff_t ItemBytes, class Part>
OWN_INLINE void inBlocks(ptrdiff_t count, const NextRow& next, Part part) {
    ptrdiff_t i = 0;
    for (; i + Block < count; i += Block) {
        next.fetch<Block * ItemBytes>(i * ItemBytes);
        part(i, Block, false);
    }
    next.fetch<Block * ItemBytes>(i * ItemBytes);
    part(i, count - i, true);
}

// Pixels of three values backwards: apart into planes, and together from their ends.
template <class T>
OWN_INLINE void reverseTriples(const T* s, T* d, ptrdiff_t count, const NextRow& next) {
    constexpr ptrdiff_t block = 64;
    T planes[3][block];
    inBlocks<block, 3 * sizeof(T)>(count, next, [&](ptrdiff_t i, ptrdiff_t n, bool) OWN_INLINE_LAMBDA {
        const T* from = s - 3 * (i + n - 1);
        T* to = d + 3 * i;
        OWN_EACH
        for (ptrdiff_t k = 0; k < n; k++) {
            planes[0][k] = from[3 * k];
            planes[1][k] = from[3 * k + 1];
            planes[2][k] = from[3 * k + 2];
        }
        OWN_EACH
        for (ptrdiff_t k = 0; k < n; k++) {
            to[3 * k] = planes[0][n - 1 - k];
            to[3 * k + 1] = planes[1][n - 1 - k];
            to[3 * k + 2] = planes[2][n - 1 - k];
        }
    });
}

// The same for bytes, five pixels at a time: of 16 bytes, which are shuffled at once, one belongs to the next pixel and
// is written again with that.
OWN_INLINE void reverseTriples(const uint8_t* s, uint8_t* d, ptrdiff_t count, const NextRow& next) {
    const uint8_t* end = s + 3;
    inBlocks<40, 3>(count, next, [&](ptrdiff_t first, ptrdiff_t n, bool isRest) OWN_INLINE_LAMBDA {
        ptrdiff_t i = first;
        for (; i + (isRest ? 6 : 5) <= first + n; i += 5) {
            uint8_t in[16];
            uint8_t out[16];
            std::memcpy(in, end - 3 * (i + 5) - 1, sizeof in);
            out[0] = in[13], out[1] = in[14], out[2] = in[15];
            out[3] = in[10], out[4] = in[11], out[5] = in[12];
            out[6] = in[7], out[7] = in[8], out[8] = in[9];
            out[9] = in[4], out[10] = in[5], out[11] = in[6];
            out[12] = in[1], out[13] = in[2], out[14] = in[3];
            out[15] = in[0];
            std::memcpy(d + 3 * i, out, sizeof out);
        }
        for (; i < first + n; i++) {
            for (ptrdiff_t c = 0; c < 3; c++) d[3 * i + c] = end[c - 3 * (i + 1)];
        }
    });
}

// Pixels of four bytes backwards, at any address.
OWN_INLINE void reverseWords(const uint8_t* s, uint8_t* d, ptrdiff_t count, const NextRow& next) {
    inBlocks<32, 4>(count, next, [&](ptrdiff_t i, ptrdiff_t n, bool) OWN_INLINE_LAMBDA {
        const Bytes4* from = reinterpret_cast<const Bytes4*>(s - 4 * (i + n - 1));
        Bytes4* to = reinterpret_cast<Bytes4*>(d + 4 * i);
        OWN_EACH
        for (ptrdiff_t k = 0; k < n; k++) to[k] = from[n - 1 - k];
    });
}

template <class T>
OWN_INLINE void reverseDense(const T* s, T* d, ptrdiff_t count, const NextRow& next) {
    inBlocks<128 / sizeof(T), sizeof(T)>(count, next, [&](ptrdiff_t i, ptrdiff_t n, bool) OWN_INLINE_LAMBDA {
        OWN_EACH
        for (ptrdiff_t k = i; k < i + n; k++) d[k] = s[-k];
    });
}

OWN_INLINE void copyBytes(const void* from, void* to, ptrdiff_t count, const NextRow& next) {
    const auto* s = static_cast<const uint8_t*>(from);
    auto* d = static_cast<uint8_t*>(to);
    inBlocks<128, 1>(count, next, [&](ptrdiff_t i, ptrdiff_t n, bool) OWN_INLINE_LAMBDA {
        std::memcpy(d + i, s + i, static_cast<size_t>(n));
    });
}

// One value after the other; s is the first destination pixel's source, sStep is negative where columns are reversed.
template <class T>
OWN_SHARED void moveInOrder(const T* s, ptrdiff_t sStep, T* d, ptrdiff_t dStep, ptrdiff_t count, int32_t nValues) {
    for (ptrdiff_t i = 0; i < count; i++) {
        for (int32_t c = 0; c < nValues; c++) d[i * dStep + c] = s[i * sStep + c];
    }
}

// How runs of pixels move from one lane to another: nValues neighbouring values in each pixel.
template <class T>
struct Mover {
    // `count` pixels; the source's go backwards with `reverse`. free says that source and destination don't meet.
    OWN_INLINE void move(const T* s, T* d, ptrdiff_t count, bool reverse, const NextRow& next = {}) const {
        const bool whole = free && sStep == nValues && dStep == nValues;
        if (!whole) {
            moveInOrder(s, reverse ? -sStep : sStep, d, dStep, count, nValues);
        } else if (!reverse) {
            copyBytes(s, d, count * nValues * ptrdiff_t{sizeof(T)}, next);
        } else if (nValues == 1) {
            reverseDense(s, d, count, next);
        } else if (nValues == 3) {
            reverseTriples(s, d, count, next);
        } else if (sizeof(T) == 1 && nValues == 4) {
            reverseWords(reinterpret_cast<const uint8_t*>(s), reinterpret_cast<uint8_t*>(d), count, next);
        } else {
            moveInOrder(s, -sStep, d, dStep, count, nValues);
        }
    }

    ptrdiff_t sStep;
    ptrdiff_t dStep;
    int32_t nValues;
    bool free;
};

// Moves the runs that the masks leave of one row.
template <class T>
OWN_INLINE void moveMaskedRow(const Mover<T>& mover, const Flip& flip, const MirrorMasks& masks, int32_t y, const T* s,
                              T* d) {
    uint8_t block[kMaskBlock / 8];
    for (int32_t x = 0, length = 0; x < flip.size.width; x += length) {
        length = smaller(flip.size.width - x, kMaskBlock);
        for (int32_t i = 0; i < length; i += 64) {
            putWord(block + i / 8, masks.bits(flip, x + i, y, smaller(length - i, 64)));
        }
        for (MaskRuns runs(block, 0, length); runs.next();) {
            const int32_t start = x + runs.start;
            mover.move(s + flip.sourceColumn(start) * mover.sStep, d + start * mover.dStep, runs.length, flip.columns);
        }
    }
}

template <class T>
OWN_INLINE void mirrorRows(const MirrorMasks& masks, const Flip& flip, const Span& span, const Lane<const T>& src,
                           const Lane<T>& dst) {
    const bool free = !overlapsElsewhere(footprintOf(dst, span), footprintOf(src, span)) && src.first != dst.first;
    const Mover<T> mover = {src.pixelStep, dst.pixelStep, span.nValues, free};
    const ptrdiff_t rowBytes = span.width * src.pixelStep * ptrdiff_t{sizeof(T)};
    for (int32_t plane = 0; plane < span.nPlanes; plane++) {
        for (int32_t y = 0; y < span.height; y++) {
            const T* s = src.row(plane, flip.sourceRow(y));
            T* d = dst.row(plane, y);
            if (masks.any()) {
                moveMaskedRow(mover, flip, masks, y, s, d);
            } else {
                const auto* next =
                    reinterpret_cast<const uint8_t*>(src.row(plane, flip.sourceRow(y + 1 < span.height ? y + 1 : y)));
                const NextRow nextRow = {flip.rows ? next + rowBytes - 1 : next, flip.rows ? -1 : 1};
                mover.move(s + flip.sourceColumn(0) * mover.sStep, d, span.width, flip.columns, nextRow);
            }
        }
    }
}

// Rows change places through a temporary one; that of the middle of an odd height with itself.
template <class T>
OWN_INLINE bool mirrorInPlace(const Flip& flip, const Span& span, const Lane<T>& lane) {
    const ptrdiff_t nValues = span.nValues;
    const AlignedBlock<T> temporary(static_cast<size_t>(span.width * nValues));
    if (!temporary) return false;
    const Mover<T> out = {lane.pixelStep, nValues, span.nValues, true};
    const Mover<T> across = {lane.pixelStep, lane.pixelStep, span.nValues, true};
    const Mover<T> back = {nValues, lane.pixelStep, span.nValues, true};
    const int32_t nRows = flip.rows ? (span.height + 1) / 2 : span.height;
    for (int32_t plane = 0; plane < span.nPlanes; plane++) {
        for (int32_t i = 0; i < nRows; i++) {
            T* row = lane.row(plane, i);
            T* other = lane.row(plane, flip.sourceRow(i));
            const ptrdiff_t first = flip.sourceColumn(0) * lane.pixelStep;
            out.move(row + first, temporary.get(), span.width, flip.columns);
            if (other != row) across.move(other + first, row, span.width, flip.columns);
            back.move(temporary.get(), other, span.width, false);
        }
    }
    return true;
}

template <class T>
OWN_INLINE bool mirrorValues(MirrorArgs args, bool planes) {
    const MirrorMasks masks(args);
    const int32_t nPlanes = planes ? args.nChannels : 1;
    Size size = args.size;
    const auto offset = [](int32_t coi) { return coi > 0 ? coi - 1 : 0; };
    const auto src = roiLane<const T>(*args.src, offset(args.coiSrc), size);
    const auto dst = roiLane<T>(*args.dst, offset(args.coiDst), size);
    const Span span = {args.size.width, args.size.height, nPlanes, planes ? 1 : args.nChannels};
    if (args.size.empty()) return true;
    if (args.src == args.dst) return mirrorInPlace(Flip(args), span, dst);
    mirrorRows(masks, Flip(args), span, src, dst);
    return true;
}

OWN_KERNEL bool ownMirrorPixels8(const MirrorArgs& args) { return mirrorValues<uint8_t>(args, false); }
OWN_KERNEL bool ownMirrorPixels16(const MirrorArgs& args) { return mirrorValues<uint16_t>(args, false); }
OWN_KERNEL bool ownMirrorPixels32(const MirrorArgs& args) { return mirrorValues<uint32_t>(args, false); }
OWN_KERNEL bool ownMirrorPlanes8(const MirrorArgs& args) { return mirrorValues<uint8_t>(args, true); }
OWN_KERNEL bool ownMirrorPlanes16(const MirrorArgs& args) { return mirrorValues<uint16_t>(args, true); }
OWN_KERNEL bool ownMirrorPlanes32(const MirrorArgs& args) { return mirrorValues<uint32_t>(args, true); }

// A row of mirrored bits under the masks, from bit 0 of `row` on.
OWN_INLINE void mirrorBitRow(const Flip& flip, const MaskLane& src, const MirrorMasks& masks, int32_t x, int32_t y,
                             int32_t count, uint8_t* row) {
    for (int32_t i = 0, n = 0; i < count; i += n) {
        n = smaller(count - i, 64);
        putWord(row + i / 8, flip.bits(src, x + i, y, n) & masks.bits(flip, x + i, y, n));
    }
}

OWN_INLINE void putBitRow(const uint8_t* row, int32_t count, const BitLane<uint8_t>& to, int32_t x, int32_t y) {
    const auto copied = [](uint64_t, uint64_t bits) OWN_INLINE_LAMBDA { return bits; };
    const int32_t bit = to.bitOffset + x;
    bitRow(copied, count, to.first + y * to.rowStep + (bit >> 3), bit & 7, BitPlace{row, 0});
}

OWN_INLINE bool mirrorBitsInPlace(const Flip& flip, const MaskLane& src, const BitLane<uint8_t>& dst) {
    const auto rowBytes = static_cast<size_t>(flip.size.width / 64 + 1) * 8;
    const AlignedBlock<uint8_t> block(2 * rowBytes);
    if (!block) return false;
    uint8_t* row = block.get();
    uint8_t* other = row + rowBytes;
    const MirrorMasks none{};
    const int32_t nRows = flip.rows ? (flip.size.height + 1) / 2 : flip.size.height;
    for (int32_t y = 0; y < nRows; y++) {
        mirrorBitRow(flip, src, none, 0, y, flip.size.width, row);
        mirrorBitRow(flip, src, none, 0, flip.sourceRow(y), flip.size.width, other);
        putBitRow(row, flip.size.width, dst, 0, y);
        putBitRow(other, flip.size.width, dst, 0, flip.sourceRow(y));
    }
    return true;
}

OWN_KERNEL bool ownMirrorBits(const MirrorArgs& call) {
    MirrorArgs args = call;
    const MirrorMasks masks(args);
    if (args.size.empty()) return true;
    const Flip flip(args);
    Size size = args.size;
    const MaskLane src = roiMask(*args.src, size);
    const auto dst = roiBits<uint8_t>(*args.dst, size);
    if (args.src == args.dst) return mirrorBitsInPlace(flip, src, dst);
    // Rows that meet elsewhere are worked bit by bit.
    const BitLane<const uint8_t> from = {src.first, src.rowStep, src.bitOffset};
    const bool apart = !overlapsElsewhere(footprintOf(dst, args.size.width, args.size.height),
                                          footprintOf(from, args.size.width, args.size.height)) &&
                       src.first != dst.first;
    const int32_t most = apart ? kMaskBlock : 1;
    uint8_t block[kMaskBlock / 8];
    for (int32_t y = 0; y < args.size.height; y++) {
        for (int32_t x = 0, count = 0; x < args.size.width; x += count) {
            count = smaller(args.size.width - x, most);
            mirrorBitRow(flip, src, masks, x, y, count, block);
            putBitRow(block, count, dst, x, y);
        }
    }
    return true;
}

} // namespace

bool ownMirrorDispatch(const MirrorArgs& args) {
    const bool planes = args.src->dataOrder == TOV_DATA_ORDER_PLANE;
    switch (depthBits(args.src->depth)) {
    case 1: return ownMirrorBits(args);
    case 8: return planes ? ownMirrorPlanes8(args) : ownMirrorPixels8(args);
    case 16: return planes ? ownMirrorPlanes16(args) : ownMirrorPixels16(args);
    default: return planes ? ownMirrorPlanes32(args) : ownMirrorPixels32(args);
    }
}

} // namespace tov
