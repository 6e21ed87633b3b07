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

// Bytes of a row from which on it pays to ask for the next one.
constexpr ptrdiff_t kLongRow = 2048;

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

// Rows of neighbouring pixels that don't meet their source: the source of the first row's first pixel and that pixel,
// and the distances to the next rows in bytes.
struct Run {
    const uint8_t* s;
    ptrdiff_t sStep;
    uint8_t* d;
    ptrdiff_t dStep;
    ptrdiff_t count; // in each row, as a kernel counts
    ptrdiff_t nRows;
    // Where addresses jump from row to row, as they do where either columns or rows are reversed, the processor begins
    // anew with each row to fetch ahead. It goes on by itself when the next row of the image that jumps is asked for
    // while this one is moved, in the order of addresses in which the rows follow each other.
    bool jumps;
};

// Calls row(source, destination, the source's next row) for each row; the next row is null where it isn't asked for.
template <class Row>
OWN_INLINE void eachRow(const Run& run, Row row) {
    const uint8_t* s = run.s;
    uint8_t* d = run.d;
    for (ptrdiff_t left = run.nRows; left > 0; left--, s += run.sStep, d += run.dStep) {
        row(s, d, run.jumps && left > 1 ? s + run.sStep : nullptr);
    }
}

// `count` pixels of so many bytes backwards: s is the last one of the source.
template <ptrdiff_t Bytes>
OWN_INLINE void reverseRun(const uint8_t* s, uint8_t* d, ptrdiff_t count) {
    using Pixel = typename AnyBytes<Bytes>::Type;
    const Pixel* from = reinterpret_cast<const Pixel*>(s - Bytes * (count - 1));
    Pixel* to = reinterpret_cast<Pixel*>(d);
    OWN_EACH
    for (ptrdiff_t k = 0; k < count; k++) to[k] = from[count - 1 - k];
}

// Where the next row is asked for, 32 bytes are moved at a time. With more the loop would be unrolled, and the loads of
// one stream, standing in several places, were hardly foreseen.
template <ptrdiff_t Bytes>
OWN_INLINE void reversePixels(const Run& run) {
    constexpr ptrdiff_t block = 32 / Bytes;
    const ptrdiff_t count = run.count;
    eachRow(run, [&](const uint8_t* s, uint8_t* d, const uint8_t* next) OWN_INLINE_LAMBDA {
        ptrdiff_t i = 0;
        for (; next != nullptr && i + block <= count; i += block) {
            prefetch<64>(next + Bytes * (i + 1 - count));
            reverseRun<Bytes>(s - Bytes * i, d + Bytes * i, block);
        }
        reverseRun<Bytes>(s - Bytes * i, d + Bytes * i, count - i);
    });
}

// Pixels of three values of so many bytes backwards: apart into planes, block by block, and together from their ends.
template <ptrdiff_t Bytes>
OWN_INLINE void reverseTriples(const Run& run) {
    using Value = typename AnyBytes<Bytes>::Type;
    constexpr ptrdiff_t block = 256;
    Value planes[3][block];
    const ptrdiff_t count = run.count;
    eachRow(run, [&](const uint8_t* s, uint8_t* d, const uint8_t*) OWN_INLINE_LAMBDA {
        for (ptrdiff_t i = 0; i < count; i += block) {
            const ptrdiff_t n = count - i < block ? count - i : block;
            const Value* from = reinterpret_cast<const Value*>(s - 3 * Bytes * (i + n - 1));
            Value* to = reinterpret_cast<Value*>(d + 3 * Bytes * i);
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
        }
    });
}

// Five pixels of three bytes: of 16 bytes from the one before them on, which are shuffled at once, the last one belongs
// to the next pixel and is written again with that.
OWN_INLINE void reverseFive(const uint8_t* s, uint8_t* d) {
    uint8_t in[16];
    uint8_t out[16];
    std::memcpy(in, s, sizeof in);
    out[0] = in[13], out[1] = in[14], out[2] = in[15];
    out[3] = in[10], out[4] = in[11], out[5] = in[12];
    out[6] = in[7], out[7] = in[8], out[8] = in[9];
    out[9] = in[4], out[10] = in[5], out[11] = in[6];
    out[12] = in[1], out[13] = in[2], out[14] = in[3];
    out[15] = in[0];
    std::memcpy(d, out, sizeof out);
}

OWN_INLINE void reverseByteTriples(const Run& run) {
    const ptrdiff_t count = run.count;
    eachRow(run, [&](const uint8_t* s, uint8_t* d, const uint8_t* next) OWN_INLINE_LAMBDA {
        const uint8_t* end = s + 3;
        ptrdiff_t i = 0;
        for (; i + 20 < count; i += 20) {
            if (next != nullptr) prefetch<64>(next + 3 * (i + 1 - count));
            for (ptrdiff_t k = i; k < i + 20; k += 5) reverseFive(end - 3 * (k + 5) - 1, d + 3 * k);
        }
        for (; i + 5 < count; i += 5) reverseFive(end - 3 * (i + 5) - 1, d + 3 * i);
        for (; i < count; i++) {
            for (ptrdiff_t c = 0; c < 3; c++) d[3 * i + c] = end[c - 3 * (i + 1)];
        }
    });
}

// Rows that change places go from the last one up: the source is read in the order of its addresses, and it is the
// destination that jumps. Blocks of 64 bytes were slower by a tenth.
OWN_INLINE void copyBytes(const Run& run) {
    constexpr ptrdiff_t block = 32;
    const ptrdiff_t count = run.count;
    const ptrdiff_t last = run.nRows - 1;
    const Run up = {
        run.s + last * run.sStep, -run.sStep, run.d + last * run.dStep, -run.dStep, count, run.nRows, run.jumps};
    eachRow(up, [&](const uint8_t* s, uint8_t* d, const uint8_t* next) OWN_INLINE_LAMBDA {
        ptrdiff_t i = 0;
        for (; next != nullptr && i + block <= count; i += block) {
            prefetch<64>(d + up.dStep + count - 1 - i);
            std::memcpy(d + i, s + i, block);
        }
        std::memcpy(d + i, s + i, static_cast<size_t>(count - i));
    });
}

OWN_KERNEL void ownReverse1(const Run& run) { reversePixels<1>(run); }
OWN_KERNEL void ownReverse2(const Run& run) { reversePixels<2>(run); }
OWN_KERNEL void ownReverse3(const Run& run) { reverseByteTriples(run); }
OWN_KERNEL void ownReverse4(const Run& run) { reversePixels<4>(run); }
OWN_KERNEL void ownReverse6(const Run& run) { reverseTriples<2>(run); }
OWN_KERNEL void ownReverse12(const Run& run) { reverseTriples<4>(run); }
OWN_KERNEL void ownCopyBytes(const Run& run) { copyBytes(run); }

// The kernel that reverses pixels of so many bytes, null if there is none.
using RunKernel = void (*)(const Run& run);
RunKernel reverseKernel(size_t pixelBytes) {
    switch (pixelBytes) {
    case 1: return ownReverse1;
    case 2: return ownReverse2;
    case 3: return ownReverse3;
    case 4: return ownReverse4;
    case 6: return ownReverse6;
    case 12: return ownReverse12;
    default: return nullptr;
    }
}

// How pixels move from one lane to another: nValues neighbouring values in each.
template <class T>
class Mover {
public:
    // The source's pixels go backwards with `reverse`. free says that source and destination don't meet.
    Mover(ptrdiff_t sStep, ptrdiff_t dStep, int32_t nValues, bool reverse, bool free)
        : sStep_(reverse ? -sStep : sStep), dStep_(dStep), nValues_(nValues) {
        const size_t pixelBytes = static_cast<size_t>(nValues) * sizeof(T);
        if (free && sStep == nValues && dStep == nValues) kernel_ = reverse ? reverseKernel(pixelBytes) : ownCopyBytes;
        if (!reverse) perPixel_ = static_cast<ptrdiff_t>(pixelBytes);
    }

    // Rows of pixels, sRow and dRow bytes apart, from a destination's pixel and its source on; see Run for `jumps`.
    void moveRows(const T* s, ptrdiff_t sRow, T* d, ptrdiff_t dRow, Size size, bool jumps) const {
        const auto* from = reinterpret_cast<const uint8_t*>(s);
        auto* to = reinterpret_cast<uint8_t*>(d);
        if (kernel_ != nullptr) return kernel_({from, sRow, to, dRow, size.width * perPixel_, size.height, jumps});
        for (int32_t y = 0; y < size.height; y++, from += sRow, to += dRow) {
            stridedRun(same, size.width, nValues_, Stride<T>{reinterpret_cast<T*>(to), dStep_},
                       Stride<const T>{reinterpret_cast<const T*>(from), sStep_});
        }
    }
    // One row.
    void move(const T* s, T* d, int32_t count) const { moveRows(s, 0, d, 0, {count, 1}, false); }
    // Those of 64 pixels whose bits are set.
    void moveChosen(const T* s, T* d, uint64_t bits) const {
        chosenRun(same, bits, nValues_, Stride<T>{d, dStep_}, Stride<const T>{s, sStep_});
    }

private:
    static constexpr auto same = [](T value) OWN_INLINE_LAMBDA { return value; };

    ptrdiff_t sStep_; // from the source of a destination's pixel to that of the next one
    ptrdiff_t dStep_;
    int32_t nValues_;
    RunKernel kernel_ = nullptr;
    ptrdiff_t perPixel_ = 1; // what the kernel counts
};

// Moves the pixels that the masks leave of one row.
template <class T>
void moveMaskedRow(const Mover<T>& mover, const Flip& flip, const MirrorMasks& masks, int32_t y, Stride<const T> s,
                   Stride<T> d) {
    uint8_t block[kMaskBlock / 8];
    for (int32_t x = 0, length = 0; x < flip.size.width; x += length) {
        length = smaller(flip.size.width - x, kMaskBlock);
        for (int32_t i = 0; i < length; i += 64) {
            putWord(block + i / 8, masks.bits(flip, x + i, y, smaller(length - i, 64)));
        }
        for (RaggedMaskRuns runs(block, 0, length); runs.next();) {
            const int32_t start = x + runs.start;
            const T* from = s.at + flip.sourceColumn(start) * s.step;
            T* to = d.at + start * d.step;
            runs.bits != 0 ? mover.moveChosen(from, to, runs.bits) : mover.move(from, to, runs.length);
        }
    }
}

template <class T>
void mirrorRows(const MirrorMasks& masks, const Flip& flip, const Span& span, const Lane<const T>& src,
                const Lane<T>& dst) {
    const bool free = !overlapsElsewhere(footprintOf(dst, span), footprintOf(src, span)) && src.first != dst.first;
    const Mover<T> mover(src.pixelStep, dst.pixelStep, span.nValues, flip.columns, free);
    const ptrdiff_t rowBytes = span.width * src.pixelStep * ptrdiff_t{sizeof(T)};
    const bool jumps = flip.columns != flip.rows && rowBytes >= kLongRow;
    for (int32_t plane = 0; plane < span.nPlanes; plane++) {
        if (!masks.any()) {
            const T* s = src.pixel(plane, flip.sourceRow(0), flip.sourceColumn(0)).at;
            const ptrdiff_t sRow = flip.rows ? -src.rowStep : src.rowStep;
            mover.moveRows(s, sRow, dst.row(plane, 0), dst.rowStep, flip.size, jumps);
            continue;
        }
        for (int32_t y = 0; y < span.height; y++) {
            moveMaskedRow(mover, flip, masks, y, src.pixel(plane, flip.sourceRow(y), 0), dst.pixel(plane, y, 0));
        }
    }
}

// Rows change places through a temporary one; that of the middle of an odd height with itself.
template <class T>
bool mirrorInPlace(const Flip& flip, const Span& span, const Lane<T>& lane) {
    const ptrdiff_t nValues = span.nValues;
    const AlignedBlock<T> temporary(static_cast<size_t>(span.width * nValues));
    if (!temporary) return false;
    const Mover<T> out(lane.pixelStep, nValues, span.nValues, flip.columns, true);
    const Mover<T> across(lane.pixelStep, lane.pixelStep, span.nValues, flip.columns, true);
    const Mover<T> back(nValues, lane.pixelStep, span.nValues, false, true);
    const int32_t nRows = flip.rows ? (span.height + 1) / 2 : span.height;
    for (int32_t plane = 0; plane < span.nPlanes; plane++) {
        for (int32_t i = 0; i < nRows; i++) {
            T* row = lane.row(plane, i);
            T* other = lane.row(plane, flip.sourceRow(i));
            const ptrdiff_t first = flip.sourceColumn(0) * lane.pixelStep;
            out.move(row + first, temporary.get(), span.width);
            if (other != row) across.move(other + first, row, span.width);
            back.move(temporary.get(), other, span.width);
        }
    }
    return true;
}

template <class T>
bool mirrorValues(MirrorArgs args, bool planes) {
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

bool ownMirrorPixels8(const MirrorArgs& args) { return mirrorValues<uint8_t>(args, false); }
bool ownMirrorPixels16(const MirrorArgs& args) { return mirrorValues<uint16_t>(args, false); }
bool ownMirrorPixels32(const MirrorArgs& args) { return mirrorValues<uint32_t>(args, false); }
bool ownMirrorPlanes8(const MirrorArgs& args) { return mirrorValues<uint8_t>(args, true); }
bool ownMirrorPlanes16(const MirrorArgs& args) { return mirrorValues<uint16_t>(args, true); }
bool ownMirrorPlanes32(const MirrorArgs& args) { return mirrorValues<uint32_t>(args, true); }

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
