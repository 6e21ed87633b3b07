// A rectangle of a zoom: what the images and their masks leave of it, and the tables of its positions.
#include "arith/arith.h"
#include "core/lifecycle.h"
#include "core/memory.h"
#include "core/ownrect.h"
#include "resample/zoom.h"

namespace tov {

namespace {

constexpr const Reporter& report = kZoomReport;

bool noMemory() {
    report(TOV_STS_NO_MEMORY, "Out of memory");
    return false;
}

// True when inner steps have left no failure, or the handler lets the call go on with one.
bool goesOn() { return tovGetErrStatus() >= 0 || report.backtrace() == 0; }

// The source's mask as the destination's pixels see it. It starts cleared: what the scaled mask doesn't reach is not
// processed. False when the call ends.
bool scaleMask(const ZoomCall& call, TovImage* mask, TovImage* dstMask, Size size, TemporaryImage& scaled) {
    scaled = TemporaryImage(makeBitHeader(TOV_DATA_ORDER_PIXEL, mask->origin, TOV_ALIGN_4BYTES, size));
    if (scaled.get() != nullptr) tovAllocateImage(scaled.get(), 1, 0);
    if (!goesOn()) return false;
    if (!scaled) return noMemory();
    const auto sourceLength = [](double rate, int32_t length) {
        const int32_t covered = ownRoundAny(rate * length);
        return covered < 1 ? ownRoundAny(length / rate) : covered;
    };
    tovResize(mask, scaled.get(), size.width, sourceLength(call.x.rate, size.width), size.height,
              sourceLength(call.y.rate, size.height), TOV_INTER_NN);
    if (!goesOn()) return false;
    if (dstMask == nullptr) return true;
    tovAnd(scaled.get(), dstMask, scaled.get());
    return goesOn();
}

// One axis of the source as tables are made for it.
struct TableAxis {
    int32_t offset; // the region's first sample
    int32_t length; // of the image
    int32_t last;   // that may be read, from the region's first sample on
};

// The positions of an axis. Every sample that they lead to lies inside the image.
class Table {
public:
    // False for want of memory.
    bool make(const TableAxis& axis, int32_t mode, double start, double step, int32_t count) {
        indices_ = AlignedBlock<int32_t>(static_cast<size_t>(count));
        if (mode != TOV_INTER_NN) fractions_ = AlignedBlock<float>(static_cast<size_t>(count));
        if (!indices_ || (mode != TOV_INTER_NN && !fractions_)) return false;
        double position = mode == TOV_INTER_NN ? start + 0.5 : start;
        for (int32_t i = 0; i < count; i++) {
            put(axis, mode, static_cast<size_t>(i), position);
            position += step;
        }
        return true;
    }
    const int32_t* indices() const { return indices_.get(); }
    const float* fractions() const { return fractions_.get(); }

private:
    void put(const TableAxis& axis, int32_t mode, size_t i, double position) {
        int32_t index = ownRoundAny(position);
        double fraction = position - index;
        int32_t below = 0; // samples that are read in front of the index, and behind it
        int32_t behind = 0;
        if (mode == TOV_INTER_LINEAR) {
            behind = 1;
            if (index == axis.last) {
                index--;
                fraction = 1;
            }
            // The first sample is the only one: it counts alone.
            if (index + axis.offset < 0) fraction = 0;
        } else if (mode == TOV_INTER_CUBIC) {
            below = 1;
            behind = 2;
            const int32_t column = index + axis.offset;
            if (column == axis.length - 1) {
                index -= 2;
                fraction = 2;
            } else {
                index += column == 0 ? 1 : column == axis.length - 2 ? -1 : 0;
                fraction = position - index;
            }
        }
        const int32_t lowest = below - axis.offset;
        const int32_t highest = axis.length - 1 - behind - axis.offset;
        const int32_t held = smaller(index, highest);
        indices_[i] = held < lowest ? lowest : held;
        if (mode != TOV_INTER_NN) fractions_[i] = static_cast<float>(fraction);
    }

    AlignedBlock<int32_t> indices_;
    AlignedBlock<float> fractions_;
};

} // namespace

ZoomSide::ZoomSide(const TovImage& image) : channels(channelsOf(image)) {
    OwnRect rect;
    ownImageRect(image, rect);
    at = {rect.x, rect.y};
    size = {rect.width, rect.height};
    last = {image.width - rect.x - 1, image.height - rect.y - 1};
    if (image.maskROI == nullptr) return;
    ownImageRect(*image.maskROI, rect);
    const Size masked = smaller(size, {rect.width, rect.height});
    // An offset of the mask's region may be so large that the difference has no room.
    if (!masked.empty()) last = {last.x - (size.width - masked.width), last.y - (size.height - masked.height)};
    size = masked;
}

Size fitted(const ZoomCall& call, const ZoomSide& src, const ZoomSide& dst) {
    const auto along = [](int32_t length, int32_t source, double rate) {
        const int32_t most = ownRoundAny(source / rate);
        return smaller(length, most < 1 ? 1 : most);
    };
    return {along(dst.size.width, src.size.width, call.x.rate), along(dst.size.height, src.size.height, call.y.rate)};
}

bool ownZoomRect(const ZoomCall& call, TovImage& srcImage, TovImage& dstImage, double x0, double y0, bool fit) {
    const ZoomSide src(srcImage);
    const ZoomSide dst(dstImage);
    const Size size = fit ? fitted(call, src, dst) : dst.size;
    const bool nothing = src.size.empty() || size.empty();
    TovImage* mask = dstImage.maskROI;
    TemporaryImage scaled;
    if (srcImage.maskROI != nullptr && !nothing) {
        if (!scaleMask(call, srcImage.maskROI, mask, size, scaled)) return false;
        mask = scaled.get();
    }
    if (src.channels.count != dst.channels.count) {
        report(TOV_STS_TILE_FAILURE, "Processed channels of srcImage != Processed channels of dstImage");
        return false;
    }
    if (nothing) return true;

    Table columns;
    Table rows;
    if (!columns.make({src.at.x, srcImage.width, src.last.x}, call.mode, x0, call.x.step, size.width) ||
        !rows.make({src.at.y, srcImage.height, src.last.y}, call.mode, y0, call.y.step, size.height)) {
        return noMemory();
    }
    Size any = kUnlimited;
    const ZoomArgs args = {&srcImage,
                           &dstImage,
                           size,
                           mask != nullptr ? roiMask(*mask, any) : MaskLane{},
                           src.channels,
                           dst.channels,
                           columns.indices(),
                           rows.indices(),
                           columns.fractions(),
                           rows.fractions()};
    return ownZoomRows(args, call.mode) || noMemory();
}

} // namespace tov
