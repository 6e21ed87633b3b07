// What items work on: images over blocks that all of them share, masks, and a tile server.
#include "scene.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <vector>

namespace bench {

namespace {

constexpr int32_t kTile = 256;

constexpr size_t kPage = 4096;

// Three times the largest cache, and in any case room for two of the largest images.
size_t blockBytes() {
    size_t bytes = size_t{72} << 20;
    for (const auto& cache : benchmark::CPUInfo::Get().caches) {
        bytes = std::max(bytes, 3 * static_cast<size_t>(cache.size));
    }
    return bytes;
}

// Blocks begin at a cache line, each at another place in its page, as blocks of one program do.
class Blocks {
public:
    Blocks() : bytes_(blockBytes()), memory_(kBlocks * (bytes_ + 2 * kPage)) {
        // As the high byte of a float these give 2^-15 to 2^16.
        std::mt19937 random(1);
        const size_t some = size_t{1} << 20;
        std::generate_n(memory_.begin(), some, [&random] { return static_cast<uint8_t>(0x38 + random() % 16); });
        for (size_t i = some; i < memory_.size(); i++) memory_[i] = memory_[i - some];
    }
    size_t bytes() const { return bytes_; }
    uint8_t* at(size_t which) {
        uint8_t* memory = memory_.data();
        memory += (kPage - reinterpret_cast<uintptr_t>(memory) % kPage) % kPage;
        return memory + which * (bytes_ / kPage + 1) * kPage + which * 1088;
    }

private:
    size_t bytes_;
    std::vector<uint8_t> memory_;
};

Blocks& blocks() {
    static Blocks all;
    return all;
}

int32_t rounded(int32_t n, int32_t unit) { return (n + unit - 1) / unit * unit; }

// The tiles of an image lie one after the other in its block, which is the header's imageId.
void serveTile(TovImage* image, int32_t xIndex, int32_t yIndex, int32_t mode) {
    if (mode == TOV_TILE_RELEASE) return;
    const size_t tilesPerRow = static_cast<size_t>(rounded(image->width, kTile) / kTile);
    const size_t bits = (image->depth & ~TOV_DEPTH_SIGN) * static_cast<size_t>(image->nChannels);
    const size_t index = static_cast<size_t>(yIndex) * tilesPerRow + static_cast<size_t>(xIndex);
    image->tileInfo->tileData = static_cast<uint8_t*>(image->imageId) + index * kTile * kTile * bits / 8;
}

TovImage* makeMask(Size size, const std::function<bool(int32_t, int32_t)>& isSet) {
    TovImage* mask =
        tovCreateImageHeader(1, 0, TOV_DEPTH_1U, "GRAY", "G", TOV_DATA_ORDER_PIXEL, TOV_ORIGIN_TL, TOV_ALIGN_4BYTES,
                             size.width, size.height, nullptr, nullptr, nullptr, nullptr);
    tovAllocateImage(mask, 1, 0);
    for (int32_t y = 0; y < size.height; y++) {
        uint8_t* row = mask->imageData + ptrdiff_t{y} * mask->widthStep;
        for (int32_t x = 0; x < size.width; x++) {
            if (isSet(x, y)) row[x >> 3] = static_cast<uint8_t>(row[x >> 3] | 0x80 >> (x & 7));
        }
    }
    return mask;
}

using MasksBySize = std::map<std::pair<int32_t, int32_t>, TovImage*>;

// The mask of a size, made at the first call.
TovImage* keptMask(MasksBySize& masks, Size size, const std::function<bool(int32_t, int32_t)>& isSet) {
    TovImage*& mask = masks[{size.width, size.height}];
    if (mask == nullptr) mask = makeMask(size, isSet);
    return mask;
}

} // namespace

size_t turnsOf(Size size, size_t imageBytes) {
    return size == kInCache ? 1 : std::max<size_t>(blocks().bytes() / imageBytes, 1);
}

uint8_t* placeOf(Block which, size_t imageBytes, size_t turn) {
    if ((turn + 1) * imageBytes > blocks().bytes()) {
        std::fprintf(stderr, "tov_bench: an image of %zu bytes does not fit\n", imageBytes);
        std::exit(2);
    }
    return blocks().at(which) + turn * imageBytes;
}

size_t bytesOf(Size size, const Layout& layout) {
    const int32_t unit = layout.tiles ? kTile : 1;
    const Size whole = {rounded(size.width, unit), rounded(size.height, unit)};
    return static_cast<size_t>(pixels(whole)) * static_cast<size_t>(layout.nChannels * layout.depth.bits) / 8;
}

size_t bytesOf(Size size, const Layouts& layouts) {
    return std::max(bytesOf(size, layouts.src), bytesOf(size, layouts.dst));
}

Picture::Picture(Block which, Size size, const Layout& layout, size_t turn) {
    uint8_t* place = placeOf(which, bytesOf(size, layout), turn);
    tiles_ = {serveTile, nullptr, nullptr, kTile, kTile};
    image_ = tovCreateImageHeader(layout.nChannels, layout.alpha ? layout.nChannels : 0, layout.depth.depth, "RGB",
                                  "BGR", layout.planes ? TOV_DATA_ORDER_PLANE : TOV_DATA_ORDER_PIXEL, TOV_ORIGIN_TL,
                                  TOV_ALIGN_4BYTES, size.width, size.height, nullptr, nullptr, place,
                                  layout.tiles ? &tiles_ : nullptr);
    if (image_ == nullptr) {
        std::fprintf(stderr, "tov_bench: out of memory\n");
        std::exit(2);
    }
    if (!layout.tiles) image_->imageData = place;
}

Picture::~Picture() {
    image_->imageData = nullptr;
    tovDeallocate(image_, TOV_IMAGE_HEADER);
}

void Picture::region(int32_t x, int32_t y, Size size, int32_t coi) {
    roi_ = {coi, x, y, size.width, size.height};
    image_->roi = &roi_;
}

TovImage* discMask(Size size) {
    static MasksBySize masks;
    return keptMask(masks, size, [size](int32_t x, int32_t y) {
        const double dx = x + 0.5 - size.width / 2.0;
        const double dy = y + 0.5 - size.height / 2.0;
        const double radius = std::min(size.width, size.height) / 2.0;
        return dx * dx + dy * dy <= radius * radius;
    });
}

TovImage* randomMask(Size size) {
    static MasksBySize masks;
    std::mt19937 random(2);
    return keptMask(masks, size, [&random](int32_t, int32_t) { return (random() >> 31) != 0; });
}

} // namespace bench
