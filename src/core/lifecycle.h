// What the makers of images share: sizes, regions, values limited to a depth, and temporary images with an owner.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/geometry.h"
#include "tov.h"

namespace tov {

// Bytes from row to row: `width` pixels, or values of one plane, rounded up to a multiple of `align`. What exceeds 2^31
// - 1 is given as a number above it.
int64_t ownRowBytes(int32_t dataOrder, uint32_t depth, int32_t align, int32_t nChannels, int32_t width);

// `bytes` rounded up to a multiple of `align`.
inline int64_t alignUp(int64_t bytes, int64_t align) { return (bytes + align - 1) / align * align; }

// widthStep and imageSize of a header; each 0 when it doesn't fit its field.
struct PixelBytes {
    int32_t widthStep;
    int32_t imageSize;
};
PixelBytes pixelBytes(const TovImage& image);

// `value` limited to the range of integers of a depth; 32-bit depths have no limit.
int32_t limitToDepth(int32_t value, uint32_t depth);

// The low bits of `value` at a depth, repeated through a 32-bit word.
uint32_t fillPattern(int32_t value, uint32_t depth);

// A region in an aligned block, or null.
TovROI* tovCreateROI(int32_t coi, int32_t xOffset, int32_t yOffset, int32_t width, int32_t height);
// A null roi is ignored.
void tovSetROI(TovROI* roi, int32_t coi, int32_t xOffset, int32_t yOffset, int32_t width, int32_t height);

void tovDeallocateHeader(TovImage* image);
// Frees the pixels that the library made and forgets imageData in any case.
void tovDeallocateImage(TovImage* image);

// Lowers width and height to what the image, and its region if it has one, holds.
void ownClipSize(const TovImage& image, int32_t& width, int32_t& height);

// Owns an image that lives for one call, without region, mask and tiles.
class TemporaryImage {
public:
    TemporaryImage() = default;
    explicit TemporaryImage(TovImage* image) : image_(image) {}
    TemporaryImage(TemporaryImage&& other) noexcept : image_(other.image_) { other.image_ = nullptr; }
    TemporaryImage& operator=(TemporaryImage&& other) noexcept {
        TovImage* mine = image_;
        image_ = other.image_;
        other.image_ = mine;
        return *this;
    }
    TemporaryImage(const TemporaryImage&) = delete;
    TemporaryImage& operator=(const TemporaryImage&) = delete;
    ~TemporaryImage() { tovDeallocate(image_, TOV_IMAGE_HEADER | TOV_IMAGE_DATA); }

    TovImage* get() const { return image_; }
    TovImage* operator->() const { return image_; }
    // False too for an image whose pixels could not be had.
    explicit operator bool() const { return image_ != nullptr && image_->imageData != nullptr; }

private:
    TovImage* image_ = nullptr;
};

// The header of a plain image of the same channels, order and names as `image`, of another depth and size and without
// region and mask, or null.
TovImage* makeHeaderLike(const TovImage& image, uint32_t depth, Size size);

// The header of a 1-bit image for one call, or null.
TovImage* makeBitHeader(int32_t dataOrder, int32_t origin, int32_t align, Size size);

// A header's private copy, whose region is its own: the caller's header is never touched.
struct ImageView {
    TovImage header{};
    TovROI roi{};

    ImageView() = default;
    explicit ImageView(const TovImage& image) { borrow(image); }
    ImageView(const ImageView&) = delete;
    ImageView& operator=(const ImageView&) = delete;

    // Copies a header; the private region has its coi, or 0, and its place and size (those of the image without one).
    void borrow(const TovImage& image);
    void place(int32_t x, int32_t y, Size size) { roi = {roi.coi, x, y, size.width, size.height}; }
};

} // namespace tov
