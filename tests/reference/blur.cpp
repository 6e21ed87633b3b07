// The blur by windows: integers are summed anew for each pixel, 32-bit samples run as their rounding wants it.
#include "reference/blur.h"

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <cstring>

#include "reference/borders.h"

namespace tovtest {
namespace {

double sampleAt(const TestImage& image, int32_t x, int32_t y, int c) {
    const uint32_t depth = image.header.depth, bits = borderedBits(image, x, y, c);
    if (depth == TOV_DEPTH_1U) return bits;
    uint8_t bytes[4];
    writeBits(bytes, 0, depth, bits);
    return readValue(bytes, 0, depth);
}

// The samples of a block with its margins, taken before anything is written.
struct Samples {
    Samples(const TestImage& image, const Area& at, const Box& box, int c)
        : width(at.width + box.nCols), values(static_cast<std::size_t>(width) * (at.height + box.nRows)) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            values[i] = sampleAt(image, at.x - box.anchorX + static_cast<int32_t>(i % width),
                                 at.y - box.anchorY + static_cast<int32_t>(i / width), c);
        }
    }
    double at(int32_t x, int32_t y) const { return values[static_cast<std::size_t>(y) * width + x]; }
    int32_t width;
    std::vector<double> values;
};

std::vector<double> summedAnew(const Samples& samples, const Area& at, const Box& box, uint32_t depth, float inverse) {
    std::vector<double> results;
    for (int32_t y = 0; y < at.height; ++y) {
        for (int32_t x = 0; x < at.width; ++x) {
            double sum = 0;
            for (int32_t j = 0; j < box.nRows; ++j) {
                for (int32_t i = 0; i < box.nCols; ++i) sum += samples.at(x + i, y + j);
            }
            const double average = sum * inverse; // exact: a sum of 29 bits and a factor of 24
            results.push_back(depth == TOV_DEPTH_1U ? average >= 0.5 : std::trunc(average));
        }
    }
    return results;
}

std::vector<double> running(const Samples& samples, const Area& at, const Box& box, bool isFloat, float inverse) {
    std::fesetround(FE_TOWARDZERO);
    std::vector<float> columns(static_cast<std::size_t>(at.width + box.nCols), 0.0F);
    std::vector<double> results;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        for (int32_t j = 0; j < box.nRows; ++j) {
            columns[i] = static_cast<float>(columns[i] + samples.at(static_cast<int32_t>(i), j));
        }
    }
    for (int32_t y = 0; y < at.height; ++y) {
        double sum = 0;
        for (int32_t i = 0; i < box.nCols; ++i) sum += columns[i];
        for (int32_t x = 0; x < at.width; ++x) {
            const double average = sum * inverse;
            results.push_back(isFloat ? static_cast<float>(average)
                                      : std::trunc(std::clamp(average, -2147483648.0, 2147483647.0)));
            const double difference = static_cast<double>(columns[x + box.nCols]) - columns[x];
            sum += difference;
        }
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const double in = samples.at(static_cast<int32_t>(i), y + box.nRows),
                         out = samples.at(static_cast<int32_t>(i), y);
            const double difference = isFloat ? static_cast<float>(in) - static_cast<float>(out) : in - out;
            columns[i] = static_cast<float>(columns[i] + difference);
        }
    }
    std::fesetround(FE_TONEAREST);
    return results;
}

// The rectangle in the parts that are worked by themselves, as distances from its first pixel.
std::vector<Area> blocksOf(const TestImage& grid, int32_t width, int32_t height) {
    if (!grid.tiled()) return {{0, 0, width, height}};
    const Area at = regionOf(grid);
    std::vector<Area> blocks;
    const int32_t w = grid.tiles.width, h = grid.tiles.height;
    for (int32_t x = 0, bw; x < width; x += bw) {
        bw = std::min(width - x, w - (at.x + x) % w);
        for (int32_t y = 0, bh; y < height; y += bh) {
            bh = std::min(height - y, h - (at.y + y) % h);
            blocks.push_back({x, y, bw, bh});
        }
    }
    return blocks;
}

void report(Scene& scene, TovStatus status, const char* context) {
    scene.reports.push_back({status, "tovBlur", context, "tovBlur"});
    scene.status = status;
}

} // namespace

void blurImage(Scene& scene, TestImage& src, TestImage& dst, const Box& box) {
    const auto srcChannels = channelsOf(src), dstChannels = channelsOf(dst);
    if (dst.form.nChannels > 1 && src.form.order != dst.form.order) {
        return report(scene, TOV_STS_BAD_ARG, "(srcImage->dataOrder!=dstImage->dataOrder)");
    }
    if (srcChannels.empty() || dstChannels.empty()) {
        return report(scene, TOV_STS_BAD_ALPHA_CHANNEL, "bad alpha channel's number");
    }
    if (srcChannels.size() != dstChannels.size()) {
        return report(scene, TOV_STS_BAD_CHANNELS, "bad channel's number");
    }
    const Common common({&src, &dst}, masksOf({&src, &dst}));
    if (common.empty()) {
        if (!common.masked()) return;
        scene.reports.push_back({-10, "tovCreateImageHeader", "Incorrect data-ins", "tovalloc"});
        return report(scene, TOV_STS_NO_MEMORY, "Allocation failure");
    }
    if (src.mask && !dst.mask && src.mask->form.origin != src.form.origin) { // its copy has the origin of the image
        scene.reports.push_back({-5, "tovCopy", "srcImage->origin != dstImage->origin", "tovsce"});
        scene.status = -5;
        return;
    }
    const Area from = regionOf(src), to = regionOf(dst);
    const uint32_t depth = src.header.depth;
    const auto inverse = static_cast<float>(1.0 / (box.nCols * box.nRows));
    ++scene.notes[&src == &dst ? "in place" : "between images"];
    if (common.masked()) ++scene.notes["masked"];
    struct Result {
        int32_t x, y;
        int c;
        double value;
    };
    std::vector<Result> all; // in place, old pixels are read by all windows
    const TestImage& grid = dst.tiled() || !src.tiled() ? dst : src;
    for (const Area& block : blocksOf(grid, common.width, common.height)) {
        if (grid.tiled()) ++scene.notes["tiles"];
        for (std::size_t k = 0; k < srcChannels.size(); ++k) {
            const Area at = {from.x + block.x, from.y + block.y, block.width, block.height};
            const Samples samples(src, at, box, srcChannels[k]);
            const bool runs = depth == TOV_DEPTH_32S || depth == TOV_DEPTH_32F;
            const auto results = runs ? running(samples, at, box, depth == TOV_DEPTH_32F, inverse)
                                      : summedAnew(samples, at, box, depth, inverse);
            for (std::size_t i = 0; i < results.size(); ++i) {
                const int32_t x = block.x + static_cast<int32_t>(i) % block.width;
                const int32_t y = block.y + static_cast<int32_t>(i) / block.width;
                if (common.allows(x, y)) all.push_back({to.x + x, to.y + y, dstChannels[k], results[i]});
            }
        }
    }
    for (const Result& result : all) setSample(dst, result.x, result.y, result.c, result.value);
}

} // namespace tovtest
