// What all blur kernels share: the planes and channels of a call, and the way of a row of results to the destination.
#pragma once

#include "blur/kernels.h"
#include "core/image.h"
#include "kernel/walk.h"

namespace tov {

// The samples of one call. Pixel order is worked with all channels of a pixel side by side, plane order plane by plane.
struct BlurShape {
    explicit BlurShape(const BlurArgs& args)
        : planes(args.work->image().dataOrder == TOV_DATA_ORDER_PLANE),
          nSide(planes ? 1 : args.work->image().nChannels),
          channels(channelsOf(args.work->image())),
          nPlanes(planes ? channels.count : 1) {}

    // The samples of a row of output, of a row of the work image, and from a window's first column to the one behind
    // it.
    ptrdiff_t outputs(const BlurArgs& args) const { return ptrdiff_t{args.size.width} * nSide; }
    ptrdiff_t columns(const BlurArgs& args) const { return (ptrdiff_t{args.size.width} + args.nCols) * nSide; }
    ptrdiff_t reach(const BlurArgs& args) const { return ptrdiff_t{args.nCols} * nSide; }

    const uint8_t* row(const BlurArgs& args, int32_t plane, ptrdiff_t y) const {
        return args.work->row(planes ? channels.offset + plane : 0, y);
    }

    bool planes;
    int32_t nSide;
    Channels channels;
    int32_t nPlanes;
};

// Where a row of results goes.
template <class T>
class BlurOutput {
public:
    BlurOutput(const BlurArgs& args, const BlurShape& shape) : shape_(shape) {
        size_ = args.size;
        dst_ = roiLane<T>(*args.dst, channelsOf(*args.dst).offset, size_);
        if (args.mask != nullptr) mask_ = roiMask(*args.mask, size_);
    }

    // Where a row of results may be made at once: null if a mask or a channel of the destination is to be left alone.
    T* direct(int32_t plane, int32_t y) const {
        const bool whole = dst_.pixelStep == shape_.nSide && (shape_.planes || shape_.channels.count == shape_.nSide);
        const bool apart = dst_.rowStep >= static_cast<ptrdiff_t>(sizeof(T)) * size_.width * shape_.nSide;
        return whole && apart && mask_.first == nullptr ? dst_.row(plane, y) : nullptr;
    }

    // Stores what the mask and the channels of the call let through.
    OWN_INLINE void put(const T* results, int32_t plane, int32_t y) const {
        if (results == direct(plane, y)) return;
        const int32_t nValues = shape_.planes ? 1 : shape_.channels.count;
        const Span span = {size_.width, 1, 1, nValues};
        const Lane<const T> from = {results + (shape_.planes ? 0 : shape_.channels.offset), 0, 0, shape_.nSide};
        const Lane<T> to = {dst_.row(plane, y), 0, 0, dst_.pixelStep};
        const uint8_t* bits = mask_.first != nullptr ? mask_.first + y * mask_.rowStep : nullptr;
        copyPixels(span, {bits, 0, mask_.bitOffset}, to, from);
    }

private:
    const BlurShape& shape_;
    Size size_{};
    Lane<T> dst_{};
    MaskLane mask_;
};

} // namespace tov
