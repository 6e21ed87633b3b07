// Single values, regions and masks.
#include "reference/samples.h"

#include <algorithm>
#include <cstring>

namespace tovtest {

Area regionOf(const TestImage& image) {
    if (!image.header.roi) return {0, 0, image.header.width, image.header.height};
    const TovROI& roi = image.roi;
    return {roi.xOffset, roi.yOffset, std::min(roi.width, image.header.width - roi.xOffset),
            std::min(roi.height, image.header.height - roi.yOffset)};
}

std::vector<int> channelsOf(const TestImage& image) {
    if (image.header.roi && image.roi.coi) return {image.roi.coi - 1};
    std::vector<int> channels;
    for (int c = 0; c < image.header.nChannels - (image.header.alphaChannel ? 1 : 0); ++c) channels.push_back(c);
    return channels;
}

uint32_t readBits(const uint8_t* address, int bit, uint32_t depth) {
    const int bits = static_cast<int>(depth & 0x7FFFFFFF);
    if (bits == 1) return static_cast<uint32_t>(*address >> (7 - bit)) & 1;
    uint8_t low8;
    uint16_t low16;
    uint32_t all;
    std::memcpy(&low8, address, 1);
    if (bits == 8) return low8;
    std::memcpy(&low16, address, 2);
    if (bits == 16) return low16;
    std::memcpy(&all, address, 4);
    return all;
}

void writeBits(uint8_t* address, int bit, uint32_t depth, uint32_t value) {
    const int bits = static_cast<int>(depth & 0x7FFFFFFF);
    if (bits == 1) {
        const int mask = 0x80 >> bit;
        *address = static_cast<uint8_t>((value & 1) ? *address | mask : *address & ~mask);
        return;
    }
    const auto low8 = static_cast<uint8_t>(value);
    const auto low16 = static_cast<uint16_t>(value);
    if (bits == 8) std::memcpy(address, &low8, 1);
    if (bits == 16) std::memcpy(address, &low16, 2);
    if (bits == 32) std::memcpy(address, &value, 4);
}

double readValue(const uint8_t* address, int bit, uint32_t depth) {
    const uint32_t value = readBits(address, bit, depth);
    float real;
    switch (depth) {
    case TOV_DEPTH_8S: return static_cast<int8_t>(value);
    case TOV_DEPTH_16S: return static_cast<int16_t>(value);
    case TOV_DEPTH_32S: return static_cast<int32_t>(value);
    case TOV_DEPTH_32F: std::memcpy(&real, &value, 4); return real;
    default: return value;
    }
}

void writeValue(uint8_t* address, int bit, uint32_t depth, double value) {
    uint32_t stored;
    if (depth == TOV_DEPTH_32F) {
        const auto real = static_cast<float>(value);
        std::memcpy(&stored, &real, 4);
    } else {
        stored = static_cast<uint32_t>(static_cast<int64_t>(value));
    }
    writeBits(address, bit, depth, stored);
}

double saturate(double value, uint32_t depth) {
    switch (depth) {
    case TOV_DEPTH_1U: return std::clamp(value, 0.0, 1.0);
    case TOV_DEPTH_8U: return std::clamp(value, 0.0, 255.0);
    case TOV_DEPTH_8S: return std::clamp(value, -128.0, 127.0);
    case TOV_DEPTH_16U: return std::clamp(value, 0.0, 65535.0);
    case TOV_DEPTH_16S: return std::clamp(value, -32768.0, 32767.0);
    case TOV_DEPTH_32S: return std::clamp(value, -2147483648.0, 2147483647.0);
    default: return value;
    }
}

Place placeOf(const TestImage& image, int32_t x, int32_t y, int c) {
    uint8_t* start = image.header.imageData;
    int32_t step = image.header.widthStep, height = image.header.height;
    if (image.tiled()) {
        start = image.tileAt(x / image.tiles.width, y / image.tiles.height);
        step = image.form.rowStep();
        height = image.tiles.height;
        x %= image.tiles.width;
        y %= image.tiles.height;
    }
    const int32_t bits = image.form.bits();
    const int32_t inRow = image.header.dataOrder == TOV_DATA_ORDER_PLANE ? x : x * image.header.nChannels + c;
    const int32_t plane = image.header.dataOrder == TOV_DATA_ORDER_PLANE ? c : 0;
    return {start + (plane * height + y) * step + inRow * bits / 8, bits == 1 ? inRow % 8 : 0};
}

double getSample(const TestImage& image, int32_t x, int32_t y, int c) {
    const Place place = placeOf(image, x, y, c);
    return readValue(place.address, place.bit, image.header.depth);
}

void setSample(const TestImage& image, int32_t x, int32_t y, int c, double value) {
    const Place place = placeOf(image, x, y, c);
    writeValue(place.address, place.bit, image.header.depth, value);
}

Common::Common(std::vector<TestImage*> images, std::vector<TestImage*> theMasks) : masks(std::move(theMasks)) {
    images.insert(images.end(), masks.begin(), masks.end());
    for (const TestImage* image : images) {
        const Area region = regionOf(*image);
        width = std::max(0, std::min(width, region.width));
        height = std::max(0, std::min(height, region.height));
    }
}

bool Common::allows(int32_t i, int32_t j) const {
    for (const TestImage* mask : masks) {
        const Area region = regionOf(*mask);
        if (getSample(*mask, region.x + i, region.y + j, 0) == 0) return false;
    }
    return true;
}

std::vector<TestImage*> masksOf(const std::vector<TestImage*>& images) {
    std::vector<TestImage*> masks;
    for (const TestImage* image : images) {
        if (image->mask && std::find(masks.begin(), masks.end(), image->mask) == masks.end()) {
            masks.push_back(image->mask);
        }
    }
    return masks;
}

} // namespace tovtest
