// The convolution pixel by pixel: every sum is formed anew from the coefficients as they were given.
#include "reference/conv.h"

#include <algorithm>
#include <cmath>

#include "reference/borders.h"

namespace tovtest {
namespace {

// The samples that a rectangle's pixels can need, taken before anything is written.
class Samples {
public:
    Samples(TestImage& image, const Area& at, int around, int c)
        : margin(around), width(at.width + 2 * around), values(width * std::size_t(at.height + 2 * around)) {
        int32_t given[4];
        std::copy(std::begin(image.header.borderConst), std::end(image.header.borderConst), given);
        for (int32_t& value : image.header.borderConst) {
            value = static_cast<int32_t>(saturate(value, image.header.depth));
        }
        uint8_t bytes[4];
        for (std::size_t i = 0; i < values.size(); ++i) {
            const int32_t x = at.x - margin + static_cast<int32_t>(i % width);
            const int32_t y = at.y - margin + static_cast<int32_t>(i / width);
            writeBits(bytes, 0, image.header.depth, borderedBits(image, x, y, c));
            values[i] = static_cast<float>(readValue(bytes, 0, image.header.depth));
        }
        std::copy(std::begin(given), std::end(given), image.header.borderConst);
    }
    float at(int32_t x, int32_t y) const { return values[std::size_t(y + margin) * width + std::size_t(x + margin)]; }

private:
    int margin;
    std::size_t width;
    std::vector<float> values;
};

struct Product {
    int32_t weight;
    float sample;
    double value() const { return double{static_cast<float>(weight)} * sample; }
};

// One kernel's sum at a pixel, stored in single precision whenever the kernel's form has it so.
float sumAt(const ConvForm& kernel, const Samples& samples, int32_t x, int32_t y, int32_t step, std::string& way) {
    const int32_t nCols = kernel.nCols, nRows = kernel.nRows;
    const auto product = [&](int32_t row, int32_t col) { // of the neighbourhood, from its top left
        const int32_t i = nCols - 1 - col, j = nRows - 1 - row;
        return Product{kernel.values[static_cast<std::size_t>(j * nCols + i)],
                       samples.at(x + kernel.anchorX - i, y + kernel.anchorY - j)};
    };
    const double n = nCols * nRows;
    const auto count = [&](auto is) {
        return static_cast<double>(std::count_if(kernel.values.begin(), kernel.values.end(), is)) * (1 / n);
    };
    const double z = count([](int32_t v) { return v == 0; });
    const double u = count([](int32_t v) { return v == 1 || v == -1; });
    const bool square = nCols == nRows && (nCols == 3 || nCols == 5) && (step == 1 || step == 3);
    double whole = 0;
    float sum = 0;
    for (int32_t j = 0; j < nRows; ++j) {
        for (int32_t i = 0; i < nCols; ++i) {
            const Product p = product(j, i);
            if (z <= 0.66 && square) {
                way = "one sum";
                whole += p.value();
                sum = static_cast<float>(whole);
            } else if (z > 0.66 || u > 0.25 || z > 0.1) {
                way = "tap by tap";
                if (p.weight == 1) {
                    sum += p.sample;
                } else if (p.weight == -1) {
                    sum -= p.sample;
                } else if (p.weight != 0) {
                    sum = static_cast<float>(sum + p.value());
                }
            } else if (j % 2 == 0) {
                way = "in pairs";
                sum = static_cast<float>(sum + p.value() + (j + 1 < nRows ? product(j + 1, i).value() : 0));
            }
        }
    }
    return sum;
}

float shifted(float value, int32_t nShiftR) {
    const double whole = std::nearbyint(value); // less its multiple of 2^32
    const double low = whole - std::floor(whole / 4294967296.0) * 4294967296.0;
    return static_cast<float>(static_cast<int32_t>(static_cast<uint32_t>(low)) >> (nShiftR & 31));
}

float combined(const std::vector<float>& results, const std::vector<ConvForm>& kernels, int32_t method) {
    if (results.size() == 1) {
        if (kernels[0].nShiftR != 0 || method < 1 || method > 2) return results[0];
        return method == TOV_COMBINE_SUMSQ ? results[0] * results[0] : std::fabs(results[0]);
    }
    const bool squares = method == TOV_COMBINE_SUMSQ || method == TOV_COMBINE_SUMSQROOT;
    float d = squares ? results[0] * results[0] : results[0];
    for (std::size_t k = 1; k < results.size(); ++k) {
        const float r = results[k];
        switch (method) {
        case TOV_COMBINE_SUM: d += r; break;
        case TOV_COMBINE_MAX: d = std::max(d, r); break;
        case TOV_COMBINE_MIN: d = std::min(d, r); break;
        default: d = static_cast<float>(d + double{r} * r);
        }
    }
    return method == TOV_COMBINE_SUMSQROOT ? std::sqrt(d) : d;
}

void refuse(Scene& scene, TovStatus status, const char* context) {
    scene.reports.push_back({status, "tovConvolve2D", context, "tovcnv2d"});
    scene.status = status;
}

// The destination's tiles, row by row.
void logTiles(Scene& scene, const TestImage& dst, const Area& to) {
    const int32_t w = dst.tiles.width, h = dst.tiles.height;
    for (int32_t row = to.y / h; row <= (to.y + to.height - 1) / h; ++row) {
        for (int32_t col = to.x / w; col <= (to.x + to.width - 1) / w; ++col) {
            scene.server.log.push_back({dst.index, col, row, TOV_TILE_WRITE});
            scene.server.log.push_back({dst.index, col, row, TOV_TILE_RELEASE});
        }
    }
}

// False where the images are refused, or where there is nothing to do.
bool takes(Scene& scene, const TestImage& src, const TestImage& dst, const Common& common) {
    const auto bad = [&](const char* context) {
        refuse(scene, TOV_STS_BAD_ARG, context);
        return false;
    };
    for (const TestImage* image : {&src, &dst}) {
        if (!regionOf(*image).empty()) continue;
        refuse(scene, TOV_STS_BAD_ROI_OFFSET, "Bad ROI offsets");
        return false;
    }
    if (src.form.order != dst.form.order) return bad("Uncompatible images");
    if (common.empty()) return false;
    const auto coi = [](const TestImage& image) { return image.header.roi ? image.roi.coi : 0; };
    if ((coi(src) == 0) != (coi(dst) == 0)) return bad("One of the COI is not defined");
    if (channelsOf(src).empty() || channelsOf(dst).empty()) return bad("No channel to operate");
    if (channelsOf(src).size() != channelsOf(dst).size()) return bad("Uncompatible images");
    return true;
}

} // namespace

void convolveImage(Scene& scene, TestImage& src, TestImage& dst, const std::vector<ConvForm>& kernels, int32_t method) {
    const Common common({&src, &dst}, masksOf({&src, &dst}));
    if (!takes(scene, src, dst, common)) return;
    const uint32_t depth = src.header.depth;
    const bool alone = src.form.order == TOV_DATA_ORDER_PLANE || (src.header.roi && src.roi.coi != 0);
    const int32_t step = alone ? 1 : src.header.nChannels;
    const Area from = regionOf(src), to = regionOf(dst);
    const Area at = {from.x, from.y, common.width, common.height};
    int32_t margin = 0;
    for (const ConvForm& kernel : kernels) margin = std::max({margin, kernel.nCols, kernel.nRows});
    std::vector<Samples> channels;
    for (int c : channelsOf(src)) channels.emplace_back(src, at, margin, c);
    if (dst.tiled()) logTiles(scene, dst, {to.x, to.y, common.width, common.height});
    ++scene.notes[&src == &dst ? "in place" : dst.tiled() ? "into tiles" : src.tiled() ? "from tiles" : "plain"];
    for (std::size_t k = 0; k < channels.size(); ++k) {
        for (int32_t y = 0; y < common.height; ++y) {
            for (int32_t x = 0; x < common.width; ++x) {
                if (!common.allows(x, y)) continue;
                std::vector<float> results;
                for (const ConvForm& kernel : kernels) {
                    std::string way;
                    float r = sumAt(kernel, channels[k], x, y, step, way);
                    ++scene.notes[std::fabs(r) < 16777216 ? "exact sums" : way];
                    if (kernel.nShiftR != 0) r = shifted(r, kernel.nShiftR);
                    results.push_back(r);
                }
                const float result = combined(results, kernels, method);
                setSample(dst, to.x + x, to.y + y, channelsOf(dst)[k], std::nearbyint(saturate(result, depth)));
            }
        }
    }
}

} // namespace tovtest
