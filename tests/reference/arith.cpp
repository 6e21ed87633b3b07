// One loop for all two-operand operations.
#include "reference/arith.h"

#include <algorithm>

#include "reference/walks.h"

namespace tovtest {
namespace {

int64_t asBits(double value) { return static_cast<int64_t>(value); }

double addValue(double a, double b, uint32_t depth) { return saturate(a + b, depth); }
double subValue(double a, double b, uint32_t depth) { return saturate(a - b, depth); }
double orValue(double a, double b, uint32_t) { return static_cast<double>(asBits(a) | asBits(b)); }
double andValue(double a, double b, uint32_t) { return static_cast<double>(asBits(a) & asBits(b)); }
double andNotValue(double a, double b, uint32_t) { return static_cast<double>(asBits(a) & ~asBits(b)); }
double xorValue(double a, double b, uint32_t) { return static_cast<double>(asBits(a) ^ asBits(b)); }

// The part of an image that lies in memory as one small image: a tile, or all of a plain image.
struct Unit {
    int32_t x, y, width, height; // from the region's first pixel
    uint8_t* data;
    int32_t size, align;
    bool sameShape(const Unit& o) const {
        return x == o.x && y == o.y && width == o.width && height == o.height && size == o.size && align == o.align;
    }
};

Unit unitAt(const TestImage& image, int32_t i, int32_t j) {
    const Area region = regionOf(image);
    if (!image.tiled()) {
        return {-region.x,
                -region.y,
                image.header.width,
                image.header.height,
                image.header.imageData,
                image.header.imageSize,
                image.header.align};
    }
    const int32_t w = image.tiles.width, h = image.tiles.height;
    const int32_t col = (region.x + i) / w, row = (region.y + j) / h;
    return {col * w - region.x,    row * h - region.y, w, h, image.tileAt(col, row),
            image.form.dataSize(), image.header.align};
}

// The images can be walked as vectors of whole units, row ends included.
bool flat(const std::vector<TestImage*>& images, const Unit& unit, const Common& common) {
    if (common.masked() || unit.x < 0 || unit.y < 0 || unit.x + unit.width > common.width ||
        unit.y + unit.height > common.height) {
        return false;
    }
    for (const TestImage* image : images) {
        if (image->header.alphaChannel != 0) return false;
        if (image->header.roi && image->roi.coi != 0 && image->header.nChannels != 1) return false;
        if (!unitAt(*image, unit.x, unit.y).sameShape(unit)) return false;
    }
    return true;
}

} // namespace

const Operation addition{addValue, false}, subtraction{subValue, false}, logicalOr{orValue, true},
    logicalAnd{andValue, true}, exclusiveOr{xorValue, true, false};

Operation atDepth(const Operation& operation, uint32_t depth) {
    if (depth != TOV_DEPTH_1U) return operation;
    if (operation.value == addValue) return logicalOr;
    if (operation.value == subValue) return {andNotValue, true};
    return operation;
}

void combine(Scene& scene, const std::vector<TestImage*>& sources, TestImage& dst, const Operation& given,
             double constant) {
    const Operation op = atDepth(given, dst.header.depth);
    std::vector<TestImage*> images = sources;
    images.push_back(&dst);
    const Common common(images, masksOf(images));
    if (common.empty()) return;
    const bool tiled = std::any_of(images.begin(), images.end(), [](TestImage* i) { return i->tiled(); });
    std::vector<TestImage*> apart;
    for (TestImage* source : sources) {
        if (source != &dst) apart.push_back(source);
    }
    if (tiled) logBands(scene, apart, dst, common.width, common.height);
    if (common.masked()) ++scene.notes[tiled ? "masked tiles" : "masked"];

    const auto flatRun = [&](const Unit& unit) {
        const uint32_t depth = op.inWords ? TOV_DEPTH_32S : dst.header.depth;
        const int32_t bytes = static_cast<int32_t>(depth & 0x7FFFFFFF) / 8;
        const uint8_t* a = unitAt(*sources.front(), unit.x, unit.y).data;
        const uint8_t* b = unitAt(*sources.back(), unit.x, unit.y).data;
        uint8_t* d = unit.data;
        for (int32_t k = 0; k + bytes <= unit.size; k += bytes) {
            const double second = sources.size() > 1 ? readValue(b + k, 0, depth) : constant;
            writeValue(d + k, 0, depth, op.value(readValue(a + k, 0, depth), second, depth));
        }
        ++scene.notes[tiled ? "flat tiles" : "flat"];
    };
    // A constant reaches across a word as often as its width fits.
    const double wordConstant = [&] {
        const auto low = static_cast<uint32_t>(asBits(constant));
        const int bits = dst.form.bits();
        const uint32_t word = bits == 1    ? (low & 1) * 0xFFFFFFFFu
                              : bits == 8  ? (low & 0xFF) * 0x01010101u
                              : bits == 16 ? (low & 0xFFFF) * 0x10001u
                                           : low;
        return static_cast<double>(static_cast<int32_t>(word));
    }();

    std::vector<std::vector<int>> channels;
    std::vector<Area> regions;
    for (const TestImage* image : images) {
        channels.push_back(channelsOf(*image));
        regions.push_back(regionOf(*image));
    }
    const auto sample = [&](int32_t i, int32_t j, std::size_t c) {
        if (!common.allows(i, j)) return;
        const auto value = [&](std::size_t k) {
            return getSample(*images[k], regions[k].x + i, regions[k].y + j, channels[k][c]);
        };
        const double second = sources.size() > 1 ? value(1) : constant;
        const double result = op.value(value(0), second, dst.header.depth);
        setSample(dst, regions.back().x + i, regions.back().y + j, channels.back()[c], result);
    };
    const auto walkUnit = [&](const Unit& unit) {
        const int32_t left = std::max(0, unit.x), right = std::min(common.width, unit.x + unit.width);
        const int32_t top = std::max(0, unit.y), bottom = std::min(common.height, unit.y + unit.height);
        const std::size_t count = channels.back().size();
        const bool planes = sources.front()->header.dataOrder == TOV_DATA_ORDER_PLANE;
        for (std::size_t plane = 0; plane < (planes ? count : 1); ++plane) {
            for (int32_t j = top; j < bottom; ++j) {
                for (int32_t i = left; i < right; ++i) {
                    for (std::size_t c = planes ? plane : 0; c < (planes ? plane + 1 : count); ++c) sample(i, j, c);
                }
            }
        }
    };
    for (int32_t j = 0; j < common.height;) {
        Unit unit{};
        for (int32_t i = 0; i < common.width; i = unit.x + unit.width) {
            unit = unitAt(dst, i, j);
            if ((op.flatInTiles || !tiled) && flat(images, unit, common)) {
                if (sources.size() == 1) constant = wordConstant;
                flatRun(unit);
            } else {
                walkUnit(unit);
            }
        }
        j = unit.y + unit.height;
    }
}

} // namespace tovtest
