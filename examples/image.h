// An owner for TovImage headers and their pixels, and the few ways in which the gallery makes images.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "tov.h"

// Owns a header and the pixels that the library allocated for it; a region, a mask and tiles stay the caller's.
class Image {
public:
    explicit Image(TovImage* image = nullptr) : image_(image) {}
    Image(Image&& other) noexcept : image_(other.image_) { other.image_ = nullptr; }
    Image& operator=(Image&& other) noexcept;
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
    ~Image() { tovDeallocate(image_, TOV_IMAGE_HEADER | TOV_IMAGE_DATA); }

    TovImage* get() const { return image_; }
    TovImage* operator->() const { return image_; }

private:
    TovImage* image_;
};

// An image of the same form and size as another one, filled with a value. Throws std::bad_alloc, as all makers here do.
Image makeLike(const Image& other, int32_t fillValue = 0);

// An image of the same form and another size, filled with 0.
Image makeSized(const Image& other, int32_t width, int32_t height);

// A header of that form without pixels, for tiles that the application serves.
Image makeTiledLike(const Image& other, TovTileInfo* tiles, void* id);

// A 1-bit image of the same size, rows from the same side, with a bit set where isSet(x, y) says so; y counts from the
// top.
Image makeMask(const Image& other, const std::function<bool(int32_t x, int32_t y)>& isSet);

// Such a mask in the form of a disc; center and radius in pixels.
Image makeDisc(const Image& other, double x, double y, double radius);

// The picture's row y, counted from the top, of plane `plane`.
uint8_t* rowFromTop(const TovImage& image, int32_t y, int32_t plane = 0);

// A row of a 1-bit or 8-bit image as three bytes a pixel, blue, green, red; alpha is left out.
void readRow(const TovImage& image, int32_t y, std::vector<uint8_t>& row);
