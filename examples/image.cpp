// An owner for TovImage headers and their pixels, and the few ways in which the gallery makes images.
#include "image.h"

#include <cstddef>
#include <new>
#include <string>
#include <utility>

namespace {

Image bits(const TovImage& form) {
    return Image(tovCreateImageHeader(1, 0, TOV_DEPTH_1U, "GRAY", "G", form.dataOrder, form.origin, TOV_ALIGN_4BYTES,
                                      form.width, form.height, nullptr, nullptr, nullptr, nullptr));
}

Image same(const TovImage& form, TovTileInfo* tiles, void* id) {
    const std::string model(form.colorModel, sizeof form.colorModel); // the fields need not end with a zero
    const std::string sequence(form.channelSeq, sizeof form.channelSeq);
    return Image(tovCreateImageHeader(form.nChannels, form.alphaChannel, form.depth, model.c_str(), sequence.c_str(),
                                      form.dataOrder, form.origin, TOV_ALIGN_4BYTES, form.width, form.height, nullptr,
                                      nullptr, id, tiles));
}

Image checked(Image image) {
    if (image.get() == nullptr) throw std::bad_alloc();
    return image;
}

Image withPixels(Image header, int32_t fillValue) {
    Image image = checked(std::move(header));
    tovAllocateImage(image.get(), 1, fillValue);
    if (image->imageData == nullptr) throw std::bad_alloc();
    return image;
}

} // namespace

Image& Image::operator=(Image&& other) noexcept {
    std::swap(image_, other.image_);
    return *this;
}

Image makeLike(const Image& other, int32_t fillValue) {
    return withPixels(same(*other.get(), nullptr, nullptr), fillValue);
}

Image makeSized(const Image& other, int32_t width, int32_t height) {
    TovImage form = *other.get();
    form.width = width;
    form.height = height;
    return withPixels(same(form, nullptr, nullptr), 0);
}

Image makeTiledLike(const Image& other, TovTileInfo* tiles, void* id) { return checked(same(*other.get(), tiles, id)); }

Image makeMask(const Image& other, const std::function<bool(int32_t x, int32_t y)>& isSet) {
    Image mask = withPixels(bits(*other.get()), 0);
    for (int32_t y = 0; y < mask->height; y++) {
        uint8_t* row = rowFromTop(*mask.get(), y);
        for (int32_t x = 0; x < mask->width; x++) {
            if (isSet(x, y)) row[x >> 3] = static_cast<uint8_t>(row[x >> 3] | 0x80 >> (x & 7));
        }
    }
    return mask;
}

Image makeDisc(const Image& other, double x, double y, double radius) {
    return makeMask(other, [=](int32_t px, int32_t py) {
        const double dx = px + 0.5 - x;
        const double dy = py + 0.5 - y;
        return dx * dx + dy * dy <= radius * radius;
    });
}

uint8_t* rowFromTop(const TovImage& image, int32_t y, int32_t plane) {
    const ptrdiff_t stored = image.origin == TOV_ORIGIN_BL ? image.height - 1 - y : y;
    return image.imageData + (ptrdiff_t{plane} * image.height + stored) * image.widthStep;
}

void readRow(const TovImage& image, int32_t y, std::vector<uint8_t>& row) {
    row.resize(static_cast<size_t>(image.width) * 3);
    const bool planes = image.dataOrder == TOV_DATA_ORDER_PLANE;
    const int32_t step = planes ? 1 : image.nChannels;
    for (int32_t c = 0; c < 3; c++) {
        const int32_t channel = image.nChannels < 3 ? 0 : c; // a gray value is its own blue, green and red
        const uint8_t* from = rowFromTop(image, y, planes ? channel : 0) + (planes ? 0 : channel);
        for (int32_t x = 0; x < image.width; x++) {
            const bool isBit = image.depth == TOV_DEPTH_1U;
            const int32_t value = isBit ? (from[x >> 3] >> (7 - (x & 7)) & 1) * 255 : from[ptrdiff_t{x} * step];
            row[static_cast<size_t>(x) * 3 + static_cast<size_t>(c)] = static_cast<uint8_t>(value);
        }
    }
}
