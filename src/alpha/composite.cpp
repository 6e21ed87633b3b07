// The walk of alpha composition: rows in blocks that stay in the cache, worked by the row kernels.
#include <cstring>
#include <initializer_list>

#include "alpha/access.h"
#include "alpha/composite_rows.h"
#include "alpha/kernels.h"
#include "alpha/operands.h"
#include "kernel/maskruns.h"
#include "kernel/walk.h"

namespace tov {

namespace {

constexpr int32_t kBlockSamples = 512;

// The lanes of a call: colours with one plane per channel, alphas.
template <class T>
struct Lanes {
    Lane<const T> A;
    Lane<const T> B;
    Lane<T> dst;
    Lane<const T> alphaA;
    Lane<const T> alphaB; // no first value: the complement of A's alpha
    Lane<T> target;       // no first value: none is written
};

template <class T>
Lane<T> alphaLane(const TovImage* image) {
    if (image == nullptr) return {};
    return channelLane<T>(*image, image->alphaChannel != 0 ? image->alphaChannel : 1);
}

template <class T>
Lanes<T> lanesOf(const CompositeArgs& args, bool chosen) {
    const auto first = [chosen](const TovImage& image) { return chosen ? coiOf(image) : 1; };
    return {channelLane<const T>(*args.srcImageA, first(*args.srcImageA)),
            channelLane<const T>(*args.srcImageB, first(*args.srcImageB)),
            channelLane<T>(*args.dstImage, first(*args.dstImage)),
            alphaLane<const T>(args.alphaSourceA),
            alphaLane<const T>(args.alphaSourceB),
            alphaLane<T>(args.alphaTarget)};
}

// A stretch of a row of one channel; samples that aren't neighbours are copied into a buffer.
template <class T>
const T* gather(const Lane<const T>& lane, ptrdiff_t plane, Point at, int32_t count, T* buffer) {
    const T* from = lane.row(plane, at.y) + at.x * lane.pixelStep;
    if (lane.pixelStep == 1) return from;
    for (int32_t i = 0; i < count; i++) buffer[i] = from[i * lane.pixelStep];
    return buffer;
}

template <class T>
T* placeOf(const Lane<T>& lane, ptrdiff_t plane, Point at, T* buffer) {
    return lane.pixelStep == 1 ? lane.row(plane, at.y) + at.x : buffer;
}

template <class T>
void scatter(const T* row, const Lane<T>& lane, ptrdiff_t plane, Point at, int32_t count) {
    if (lane.pixelStep == 1) return;
    T* to = lane.row(plane, at.y) + at.x * lane.pixelStep;
    for (int32_t i = 0; i < count; i++) to[i * lane.pixelStep] = row[i];
}

// Integer arithmetic on blocks of a row.
template <class T>
class IntegerBlocks {
public:
    IntegerBlocks(const CompositeArgs& args, const Lanes<T>& lanes, const CompositeRows<T>& rows)
        : lanes_(lanes),
          rows_(rows),
          type_(args.compositeType),
          combine_(rows.combine[args.compositeType]),
          premultiplied_(args.premulAlpha != 0) {}

    static constexpr int32_t kMostChannelPixels = kBlockSamples;
    static constexpr int32_t kMostPixels = kPixelBlock;

    void begin(Point at, int32_t count) {
        a_ = gather(lanes_.alphaA, 0, at, count, alphaBufferA_);
        if (lanes_.alphaB.first != nullptr) {
            b_ = gather(lanes_.alphaB, 0, at, count, alphaBufferB_);
        } else {
            rows_.complement(a_, alphaBufferB_, count);
            b_ = alphaBufferB_;
        }
    }

    void colour(int32_t channel, Point at, int32_t count) {
        const T* A = gather(lanes_.A, channel, at, count, bufferA_);
        const T* B = gather(lanes_.B, channel, at, count, bufferB_);
        T* out = placeOf(lanes_.dst, channel, at, bufferDst_);
        combine_(scaled(A, a_, bufferA_, count), a_, scaled(B, b_, bufferB_, count), b_, out, count);
        scatter(out, lanes_.dst, channel, at, count);
    }

    void alpha(Point at, int32_t count) {
        T* out = placeOf(lanes_.target, 0, at, bufferDst_);
        combine_(a_, a_, b_, b_, out, count);
        scatter(out, lanes_.target, 0, at, count);
    }

    // Pixels of three colours and alpha in all of A, B and the destination: the alpha is one sample more.
    void pixels(Point at, int32_t count) {
        const T* A = lanes_.A.row(0, at.y) + at.x * 4;
        const T* B = lanes_.B.row(0, at.y) + at.x * 4;
        rows_.combinePixels[premultiplied_ ? 1 : 0][type_](A, B, lanes_.dst.row(0, at.y) + at.x * 4, count);
    }

private:
    const T* scaled(const T* row, const T* weights, T* buffer, int32_t count) {
        if (premultiplied_) return row;
        rows_.scale(row, weights, buffer, count);
        return buffer;
    }

    const Lanes<T>& lanes_;
    const CompositeRows<T>& rows_;
    int32_t type_;
    void (*combine_)(const T*, const T*, const T*, const T*, T*, ptrdiff_t);
    bool premultiplied_;
    const T* a_ = nullptr;
    const T* b_ = nullptr;
    T alphaBufferA_[kBlockSamples];
    T alphaBufferB_[kBlockSamples];
    T bufferA_[kBlockSamples];
    T bufferB_[kBlockSamples];
    T bufferDst_[kBlockSamples];
};

// Arithmetic in double precision on blocks of a row.
template <class T>
class DivideBlocks {
public:
    DivideBlocks(const CompositeArgs& args, const Lanes<T>& lanes, const CompositeRows<T>& rows,
                 const DivideSamples<T>& samples)
        : lanes_(lanes),
          rows_(rows),
          samples_(samples),
          type_(args.compositeType),
          premultiplied_(args.premulAlpha != 0) {}

    static constexpr int32_t kMostChannelPixels = kBlockSamples / 2;
    static constexpr int32_t kMostPixels = sizeof(T) == 1 ? kNearestBlock : kBlockSamples / 8;

    void begin(Point at, int32_t count) {
        const T* a = gather(lanes_.alphaA, 0, at, count, alphaBuffer_);
        samples_.load(a, samples_.limits.scale, fa_, count);
        const T* b = alphaBuffer_;
        if (lanes_.alphaB.first != nullptr) {
            b = gather(lanes_.alphaB, 0, at, count, alphaBuffer_);
        } else {
            rows_.complement(a, alphaBuffer_, count);
        }
        samples_.load(b, samples_.limits.scale, fb_, count);
    }

    void colour(int32_t channel, Point at, int32_t count) {
        T* out = placeOf(lanes_.dst, channel, at, buffer_);
        load(gather(lanes_.A, channel, at, count, buffer_), fa_, A_, count);
        load(gather(lanes_.B, channel, at, count, buffer_), fb_, B_, count);
        kDivideRows.combine[type_](A_, fa_, B_, fb_, samples_.limits, C_, count);
        samples_.store(C_, out, count);
        scatter(out, lanes_.dst, channel, at, count);
    }

    void alpha(Point at, int32_t count) {
        T* out = placeOf(lanes_.target, 0, at, buffer_);
        kDivideRows.alpha[type_](fa_, fb_, samples_.limits, C_, count);
        samples_.store(C_, out, count);
        scatter(out, lanes_.target, 0, at, count);
    }

    void pixels(Point at, int32_t count) {
        const T* A = lanes_.A.row(0, at.y) + at.x * 4;
        const T* B = lanes_.B.row(0, at.y) + at.x * 4;
        T* out = lanes_.dst.row(0, at.y) + at.x * 4;
        if constexpr (sizeof(T) == 1) {
            kNearestPixels_8u[premultiplied_ ? 1 : 0][type_](A, B, nearest_, count);
            std::memcpy(out, nearest_, static_cast<size_t>(count) * 4);
        } else {
            literalPixels(A, B, out, count);
        }
    }

private:
    // The alpha samples of the colours' rows come to nothing; the alpha itself is worked pixel by pixel.
    void literalPixels(const T* A, const T* B, T* out, int32_t count) {
        const int32_t nSamples = count * 4;
        rows_.spread(A, alphaBuffer_, count);
        samples_.load(alphaBuffer_, samples_.limits.scale, fa_, nSamples);
        rows_.spread(B, alphaBuffer_, count);
        samples_.load(alphaBuffer_, samples_.limits.scale, fb_, nSamples);
        load(A, fa_, A_, nSamples);
        load(B, fb_, B_, nSamples);
        kDivideRows.combine[type_](A_, fa_, B_, fb_, samples_.limits, C_, nSamples);
        kDivideRows.alpha[type_](fa_, fb_, samples_.limits, A_, nSamples);
        for (int32_t i = 3; i < nSamples; i += 4) C_[i] = A_[i];
        samples_.store(C_, out, nSamples);
    }

    void load(const T* row, const double* weights, double* to, int32_t count) {
        samples_.load(row, 1.0, to, count);
        if (!premultiplied_) kDivideRows.multiply(to, weights, count);
    }

    static constexpr int32_t kMost = kBlockSamples / 2;
    const Lanes<T>& lanes_;
    const CompositeRows<T>& rows_;
    const DivideSamples<T>& samples_;
    int32_t type_;
    bool premultiplied_;
    T alphaBuffer_[kMost];
    T buffer_[kMost];
    double fa_[kMost];
    double fb_[kMost];
    double A_[kMost];
    double B_[kMost];
    double C_[kMost];
    uint8_t nearest_[4 * kNearestBlock];
};

// The bytes of an image's region, all channels.
template <class T>
Footprint footprintOf(const TovImage& image, Size size) {
    const auto lane = channelLane<T>(image, 1);
    const bool planes = image.dataOrder == TOV_DATA_ORDER_PLANE;
    const ptrdiff_t rowBytes = ptrdiff_t{size.width} * (planes ? 1 : image.nChannels) * ptrdiff_t{sizeof(T)};
    return {lane.first, rowBytes, lane.rowStep, size.height, lane.planeStep, planes ? image.nChannels : 1};
}

// True when a pixel's results can't reach what is read for another pixel, or for another channel of the same one, so
// that blocks may be worked as a whole.
template <class T>
bool isFree(const CompositeArgs& args, Size size, int32_t nColours) {
    const TovImage& dst = *args.dstImage;
    const Footprint to = footprintOf<T>(dst, size);
    for (const TovImage* image : {args.srcImageA, args.srcImageB, args.alphaSourceA, args.alphaSourceB}) {
        if (image == nullptr) continue;
        const Footprint from = footprintOf<T>(*image, size);
        if (overlapsElsewhere(to, from)) return false;
        if (args.alphaTarget != nullptr && overlapsElsewhere(footprintOf<T>(*args.alphaTarget, size), from)) {
            return false;
        }
    }
    if (args.alphaTarget != nullptr && overlapsElsewhere(footprintOf<T>(*args.alphaTarget, size), to)) return false;
    // An alpha that is read from a channel which receives a colour is another one for the next channel.
    const int32_t first = coiOf(dst) != 0 ? coiOf(dst) : 1;
    for (const TovImage* image : {args.alphaSourceA, args.alphaSourceB}) {
        if (image == nullptr || footprintOf<T>(*image, size).first != to.first) continue;
        const int32_t channel = image->alphaChannel != 0 ? image->alphaChannel : 1;
        if (channel >= first && channel < first + nColours) return false;
    }
    return true;
}

// The rectangle: rows from the first one, in each row the runs of the mask.
template <class T, class Blocks>
class CompositeWalk {
public:
    CompositeWalk(const CompositeArgs& args, Blocks& blocks, Size size, int32_t nColours, const TovImage* mask)
        : blocks_(blocks),
          mask_(maskLane(mask)),
          size_(size),
          nColours_(nColours),
          writesAlpha_(args.alphaTarget != nullptr),
          free_(isFree<T>(args, size, nColours)),
          wholePixels_(free_ && arePixels(args)) {}

    void run() {
        for (int32_t y = 0; y < size_.height; y++) {
            if (wholePixels_) {
                eachBlock(y, Blocks::kMostPixels, [&](Point at, int32_t count) { blocks_.pixels(at, count); });
            } else if (free_) {
                eachBlock(y, Blocks::kMostChannelPixels, [&](Point at, int32_t count) {
                    blocks_.begin(at, count);
                    for (int32_t k = 0; k < nColours_; k++) blocks_.colour(k, at, count);
                    if (writesAlpha_) blocks_.alpha(at, count);
                });
            } else {
                inOrder(y);
            }
        }
    }

private:
    // Images that overlap at another position are worked sample by sample, channel after channel.
    void inOrder(int32_t y) {
        for (int32_t k = 0; k <= nColours_; k++) {
            if (k == nColours_ && !writesAlpha_) break;
            eachBlock(y, 1, [&](Point at, int32_t count) {
                blocks_.begin(at, count);
                if (k < nColours_) {
                    blocks_.colour(k, at, count);
                } else {
                    blocks_.alpha(at, count);
                }
            });
        }
    }

    template <class Visit>
    void eachBlock(int32_t y, int32_t most, Visit visit) const {
        const auto cut = [&](int32_t start, int32_t length) {
            for (int32_t done = 0; done < length; done += most) {
                visit(Point{start + done, y}, smaller(length - done, most));
            }
        };
        if (mask_.first == nullptr) return cut(0, size_.width);
        const uint8_t* bits = mask_.first + y * mask_.rowStep;
        for (MaskRuns runs(bits, mask_.bitOffset, size_.width); runs.next();) cut(runs.start, runs.length);
    }

    static bool arePixels(const CompositeArgs& args) {
        const auto isPixels = [](const TovImage& image) {
            return image.dataOrder == TOV_DATA_ORDER_PIXEL && image.nChannels == 4 && image.alphaChannel == 4 &&
                   coiOf(image) == 0;
        };
        return isPixels(*args.srcImageA) && isPixels(*args.srcImageB) && isPixels(*args.dstImage) &&
               args.alphaSourceA == args.srcImageA && args.alphaSourceB == args.srcImageB &&
               args.alphaTarget == args.dstImage;
    }

    Blocks& blocks_;
    MaskLane mask_;
    Size size_;
    int32_t nColours_;
    bool writesAlpha_;
    bool free_;
    bool wholePixels_;
};

template <class T>
void composite(const CompositeArgs& args, Size size, const TovImage* mask, const CompositeRows<T>& rows,
               const DivideSamples<T>& samples) {
    const bool chosen = coiOf(*args.dstImage) != 0;
    const int32_t nColours = chosen ? 1 : colourCount(*args.dstImage);
    const Lanes<T> lanes = lanesOf<T>(args, chosen);
    if (args.divideMode != 0) {
        DivideBlocks<T> blocks(args, lanes, rows, samples);
        CompositeWalk<T, DivideBlocks<T>>(args, blocks, size, nColours, mask).run();
    } else {
        IntegerBlocks<T> blocks(args, lanes, rows);
        CompositeWalk<T, IntegerBlocks<T>>(args, blocks, size, nColours, mask).run();
    }
}

} // namespace

void ownAlphaComposite(const CompositeArgs& args, Size size, const TovImage* mask) {
    if (args.dstImage->depth == TOV_DEPTH_8U) {
        composite(args, size, mask, kCompositeRows_8u, kDivideSamples_8u);
    } else {
        composite(args, size, mask, kCompositeRows_16u, kDivideSamples_16u);
    }
}

} // namespace tov
