// Scaled products and composition by exact division, one sample at a time.
#include "reference/alpha.h"

#include <algorithm>
#include <cstring>

namespace tovtest {
namespace {

constexpr TovStatus kNoMemory = -4, kBadSize = -10;

float fromBits(uint32_t bits) {
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// What is read and written in a call: images in the order of their registration, the last ones for reading.
struct Staged {
    std::vector<TestImage*> registered; // nulls have no part
    std::size_t writes;                 // the number of leading ones that are written
    std::vector<TestImage*> viewed;     // in the order of their views
};

// Each rectangle ends at the tile edges of the first tiled image. All tiles under it are asked for image by image, and
// released when the rectangle is done.
void logStage(Scene& scene, const Staged& staged, int32_t width, int32_t height) {
    const auto& list = staged.registered;
    const auto tiled = [](TestImage* image) { return image && image->tiled(); };
    const auto driving = std::find_if(list.begin(), list.end(), tiled);
    if (driving == list.end()) return;
    ++scene.notes["tiled"];
    const Area at = regionOf(**driving);
    const int32_t w = (*driving)->tiles.width, h = (*driving)->tiles.height;
    const auto visit = [&](const std::vector<TestImage*>& images, bool release, const Area& rect) {
        for (std::size_t i = 0; i < images.size(); ++i) {
            if (!tiled(images[i]) || std::count(images.begin(), images.begin() + i, images[i])) continue;
            const auto first = static_cast<std::size_t>(std::find(list.begin(), list.end(), images[i]) - list.begin());
            const int32_t mode = release ? TOV_TILE_RELEASE : first < staged.writes ? TOV_TILE_WRITE : TOV_TILE_READ;
            const Area region = regionOf(*images[i]);
            const TovTileInfo& tiles = images[i]->tiles;
            const int32_t left = region.x + rect.x, top = region.y + rect.y;
            const int32_t firstCol = left / tiles.width, lastCol = (left + rect.width - 1) / tiles.width;
            const int32_t firstRow = top / tiles.height, lastRow = (top + rect.height - 1) / tiles.height;
            if (firstCol != lastCol || firstRow != lastRow) ++scene.notes["gathered"];
            for (int32_t row = firstRow; row <= lastRow; ++row) {
                for (int32_t col = firstCol; col <= lastCol; ++col) {
                    scene.server.log.push_back({images[i]->index, col, row, mode});
                }
            }
        }
    };
    for (int32_t y = 0, down; y < height; y += down) {
        down = std::min(height - y, h - (at.y + y) % h);
        for (int32_t x = 0, right; x < width; x += right) {
            right = std::min(width - x, w - (at.x + x) % w);
            visit(staged.viewed, false, {x, y, right, down});
            visit(list, true, {x, y, right, down});
        }
    }
}

// The masks of the images, each image's once for each of its roles. False where there is nothing to do.
bool mergeMasks(Scene& scene, const char* funcName, const std::vector<TestImage*>& images, const Common& common) {
    const auto masks = std::count_if(images.begin(), images.end(), [](TestImage* i) { return i && i->mask; });
    if (masks > 1) ++scene.notes["merged"];
    if (masks == 1) ++scene.notes["masked"];
    if (common.empty() && masks > 1) { // there is no image without pixels
        scene.reports = {{kBadSize, "tovCreateImageHeader", "Incorrect data-ins", "tovalloc"},
                         {kNoMemory, funcName, "No working memory", "tovalpha"}};
        scene.status = kNoMemory;
    }
    return !common.empty();
}

std::vector<TestImage*> present(std::vector<TestImage*> images) {
    images.erase(std::remove(images.begin(), images.end(), nullptr), images.end());
    return images;
}

uint32_t largest(const TestImage& image) { return image.header.depth == TOV_DEPTH_8U ? 255 : 65535; }
int32_t coiOf(const TestImage& image) { return image.header.roi ? image.roi.coi : 0; }
int firstChannel(const TestImage& image) { return coiOf(image) ? coiOf(image) - 1 : 0; }
int alphaOf(const TestImage& image) { return image.header.alphaChannel ? image.header.alphaChannel - 1 : 0; }

uint32_t sampleAt(const TestImage& image, int32_t i, int32_t j, int c) {
    const Area region = regionOf(image);
    return static_cast<uint32_t>(getSample(image, region.x + i, region.y + j, c));
}

void putSample(const TestImage& image, int32_t i, int32_t j, int c, uint32_t value) {
    const Area region = regionOf(image);
    setSample(image, region.x + i, region.y + j, c, value);
}

struct Fractions {
    double a, b, eps;
};

Fractions fractionsOf(uint32_t a, uint32_t b, uint32_t max) {
    const bool bytes = max == 255;
    const double scale = bytes ? double{fromBits(0x3B808081)} : 1.5259021896696422e-05;
    return {a * scale, b * scale, bytes ? double{fromBits(0x37010183)} : 1.1641887462193043e-10};
}

double alphaFraction(int32_t type, double fa, double fb) {
    switch (type) {
    case TOV_COMPOSITE_OVER: return (1 - fa) * fb + fa;
    case TOV_COMPOSITE_IN: return fb * fa;
    case TOV_COMPOSITE_OUT: return (1 - fb) * fa;
    case TOV_COMPOSITE_ATOP: return fb;
    case TOV_COMPOSITE_XOR: return (1 - fb) * fa + (1 - fa) * fb;
    default: return fb + fa;
    }
}

// By the low bits of a single-precision number beyond 2^23.
uint32_t rounded(double value, uint32_t max) {
    const auto single = static_cast<float>(value + 8388608.0);
    uint32_t bits;
    std::memcpy(&bits, &single, sizeof bits);
    return std::min(bits & 0x7FFFFF, max);
}

} // namespace

uint32_t Formula::colour(uint32_t A, uint32_t a, uint32_t B, uint32_t b) const {
    if (divides) {
        const Fractions f = fractionsOf(a, b, max);
        const double A1 = premultiplied ? A : A * f.a, B1 = premultiplied ? B : B * f.b;
        double C = 0;
        switch (type) {
        case TOV_COMPOSITE_OVER: C = A1 + B1 * (1 - f.a); break;
        case TOV_COMPOSITE_IN: C = A1 * f.b; break;
        case TOV_COMPOSITE_OUT: C = A1 * (1 - f.b); break;
        case TOV_COMPOSITE_ATOP: C = A1 * f.b + B1 * (1 - f.a); break;
        case TOV_COMPOSITE_XOR: C = A1 * (1 - f.b) + B1 * (1 - f.a); break;
        default: C = A1 + B1;
        }
        const double r = alphaFraction(type, f.a, f.b);
        if (r > f.eps) C = std::min(C / r, double(max));
        return rounded(C, max);
    }
    const auto M = [this](uint32_t x, uint32_t y) { return x * y / max; };
    const uint32_t A1 = premultiplied ? A : M(A, a), B1 = premultiplied ? B : M(B, b);
    switch (type) {
    case TOV_COMPOSITE_OVER: return std::min(A1 + B1 - M(a, B1), max);
    case TOV_COMPOSITE_IN: return M(A1, b);
    case TOV_COMPOSITE_OUT: return A1 - M(b, A1);
    case TOV_COMPOSITE_ATOP: return std::min(M(A1, b) + B1 - M(a, B1), max);
    case TOV_COMPOSITE_XOR: return std::min(A1 - M(b, A1) + B1 - M(a, B1), max);
    default: return std::min(A1 + B1, max);
    }
}

uint32_t Formula::alpha(uint32_t a, uint32_t b) const {
    if (divides) {
        const Fractions f = fractionsOf(a, b, max);
        return rounded(max * alphaFraction(type, f.a, f.b), max);
    }
    const uint32_t product = a * b / max;
    switch (type) {
    case TOV_COMPOSITE_OVER: return std::min(a + b - product, max);
    case TOV_COMPOSITE_IN: return product;
    case TOV_COMPOSITE_OUT: return a - product;
    case TOV_COMPOSITE_ATOP: return b;
    case TOV_COMPOSITE_XOR: return std::min(a + b - 2 * product, max);
    default: return std::min(a + b, max);
    }
}

void composeImages(Scene& scene, const Composition& call) {
    TestImage *A = call.A, *B = call.B, *dst = call.dst;
    const std::vector<TestImage*> lenders = {dst, A, B, call.alphaDst, call.alphaA, call.alphaB};
    const Common common(present(lenders), masksOf(present(lenders)));
    if (!mergeMasks(scene, "tovAlphaComposite", lenders, common)) return;

    const TestImage* sourceA = call.alphaA ? call.alphaA : A;
    const TestImage* sourceB = call.alphaB ? call.alphaB : !call.alphaA && B->header.alphaChannel ? B : nullptr;
    const TestImage* target = call.alphaDst ? call.alphaDst : dst->header.alphaChannel ? dst : nullptr;
    const auto open = [](const TestImage* image) { return const_cast<TestImage*>(image); };
    const Staged staged = {{dst, open(target), A, B, open(sourceA), open(sourceB)},
                           2,
                           {dst, A, B, open(target), open(sourceA), open(sourceB)}};
    logStage(scene, staged, common.width, common.height);
    if (!sourceB) ++scene.notes["complement"];
    if (dst == A || dst == B) ++scene.notes["in place"];
    if (call.divides) ++scene.notes["divides"];

    const Formula formula{call.type, call.premultiplied, call.divides, largest(*dst)};
    const auto alphaB = [&](int32_t i, int32_t j, uint32_t a) {
        return sourceB ? sampleAt(*sourceB, i, j, alphaOf(*sourceB)) : formula.max - a;
    };
    const int32_t nch = coiOf(*dst) ? 1 : dst->header.nChannels;
    for (int32_t j = 0; j < common.height; ++j) {
        for (int32_t k = 0; k < nch; ++k) {
            for (int32_t i = 0; i < common.width && k != dst->header.alphaChannel - 1; ++i) {
                if (!common.allows(i, j)) continue;
                const uint32_t a = sampleAt(*sourceA, i, j, alphaOf(*sourceA));
                putSample(*dst, i, j, firstChannel(*dst) + k,
                          formula.colour(sampleAt(*A, i, j, firstChannel(*A) + k), a,
                                         sampleAt(*B, i, j, firstChannel(*B) + k), alphaB(i, j, a)));
            }
        }
        for (int32_t i = 0; i < common.width && target; ++i) {
            if (!common.allows(i, j)) continue;
            const uint32_t a = sampleAt(*sourceA, i, j, alphaOf(*sourceA));
            putSample(*target, i, j, alphaOf(*target), formula.alpha(a, alphaB(i, j, a)));
        }
    }
}

void multiplyImages(Scene& scene, const char* funcName, const std::vector<TestImage*>& sources, TestImage& dst,
                    int32_t value) {
    std::vector<TestImage*> images = {&dst};
    images.insert(images.end(), sources.begin(), sources.end());
    const Common common(images, masksOf(images));
    if (!mergeMasks(scene, funcName, images, common)) return;
    logStage(scene, {images, 1, images}, common.width, common.height);

    int32_t nch = dst.header.nChannels - (dst.header.alphaChannel ? 1 : 0);
    bool alike = !common.masked(), full = true;
    for (const TestImage* image : images) {
        if (coiOf(*image)) nch = 1;
        alike = alike && image->header.dataOrder == dst.header.dataOrder;
    }
    for (const TestImage* image : images) full = full && image->header.nChannels == nch;
    const auto sample = [&](int32_t i, int32_t j, int32_t k) {
        if (!common.allows(i, j)) return;
        const uint32_t max = largest(dst), factor = static_cast<uint32_t>(std::clamp(value, 0, int32_t(max)));
        const auto at = [&](const TestImage& image) { return sampleAt(image, i, j, firstChannel(image) + k); };
        putSample(dst, i, j, firstChannel(dst) + k,
                  at(*sources[0]) * (sources.size() > 1 ? at(*sources[1]) : factor) / max);
    };
    const bool pixels = alike && full && dst.header.dataOrder == TOV_DATA_ORDER_PIXEL;
    const bool planes = alike && dst.header.nChannels == nch && dst.header.dataOrder == TOV_DATA_ORDER_PLANE;
    ++scene.notes[pixels ? "runs" : planes ? "planes" : "samples"];
    for (int32_t plane = 0; plane < (planes ? nch : 1); ++plane) {
        for (int32_t j = 0; j < common.height; ++j) {
            for (int32_t k = 0; k < (planes || pixels ? 1 : nch); ++k) {
                for (int32_t i = 0; i < common.width; ++i) {
                    for (int32_t c = 0; c < (pixels ? nch : 1); ++c) sample(i, j, planes ? plane : k + c);
                }
            }
        }
    }
}

} // namespace tovtest
