// Bordered buffers and gathered rectangles, value by value, plain and tiled.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "core/tiles.h"
#include "reference/samples.h"
#include "reference/walks.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

Case drawBuffered(uint64_t number) {
    Family family;
    family.adjust = [](Case& c, Rng&) {
        if (c.images[0].depth == TOV_DEPTH_32F) c.images[0].fill = Fill::bytes;
    };
    return drawCase(number, family);
}

// The raw bits that a constant gives at a depth.
uint32_t constantBits(int32_t value, uint32_t depth) {
    uint32_t bits = static_cast<uint32_t>(value);
    if (depth == TOV_DEPTH_32F) {
        const auto real = static_cast<float>(value);
        std::memcpy(&bits, &real, 4);
    }
    const int count = static_cast<int>(depth & 0x7FFFFFFF);
    return count == 32 ? bits : bits & ((1u << count) - 1);
}

// The coordinate that a mode other than the constant reads at c on an axis of the given length, found by walking.
int32_t extended(int32_t c, int32_t length, int32_t mode) {
    if (mode == TOV_BORDER_REPLICATE) return std::clamp(c, 0, length - 1);
    int32_t at = 0, step = 1;
    for (int32_t k = 0; k != c;) {
        const bool up = c > 0;
        k += up ? 1 : -1;
        if (mode == TOV_BORDER_WRAP) {
            at = up ? (at + 1 == length ? 0 : at + 1) : (at == 0 ? length - 1 : at - 1);
        } else {
            if (k == -1) { // the mirror stands between -1 and 0
                step = 1;
            } else if (at + step < 0 || at + step >= length) {
                step = -step;
            } else {
                at += step;
            }
        }
    }
    return at;
}

uint32_t borderedBits(const TestImage& image, int32_t x, int32_t y, int c) {
    const int32_t width = image.header.width, height = image.header.height;
    const int side = y < 0 ? TOV_SIDE_TOP : y >= height ? TOV_SIDE_BOTTOM : x < 0 ? TOV_SIDE_LEFT : TOV_SIDE_RIGHT;
    const int32_t mode = image.header.borderMode[side] & 3;
    if (x < 0 || y < 0 || x >= width || y >= height) {
        if (mode == TOV_BORDER_CONSTANT) return constantBits(image.header.borderConst[side], image.header.depth);
        x = extended(x, width, mode);
        y = extended(y, height, mode);
    }
    const Place place = placeOf(image, x, y, c);
    return readBits(place.address, place.bit, image.header.depth);
}

struct Window {
    int32_t x, y, width, height;
};

Window drawWindow(const TestImage& image, Rng& rng) {
    const int32_t w = image.header.width, h = image.header.height;
    const auto along = [&](int32_t length, int32_t& start, int32_t& count) {
        start = rng.oneIn(3) ? rng.between(0, length - 1) : rng.between(-3 * length - 2, 2 * length + 2);
        count = rng.between(1, rng.oneIn(2) ? length + 4 : 4 * length + 3);
        count = std::min(count, 150);
    };
    Window window{};
    along(w, window.x, window.width);
    along(std::min(h, 12), window.y, window.height);
    return window;
}

int32_t bufferStep(const ImageSpec& spec, int32_t width) {
    return (spec.packedRow(width) + spec.align - 1) / spec.align * spec.align;
}

uint32_t bufferBits(const TestImage& image, const uint8_t* buffer, int32_t step, const Window& window, int32_t i,
                    int32_t j, int c) {
    const bool planes = image.spec.order == TOV_DATA_ORDER_PLANE;
    const int32_t inRow = planes ? i : i * image.header.nChannels + c, bits = image.spec.bits();
    const int32_t row = planes ? c * window.height + j : j;
    return readBits(buffer + row * step + inRow * bits / 8, bits == 1 ? inRow % 8 : 0, image.header.depth);
}

TEST(BorderedBuffer, ExtendsTheImageByItsBorderSettings) {
    for (uint64_t number = 0; number < 3000; ++number) {
        const Case c = drawBuffered(number);
        Rng rng(number + 99);
        Scene scene(c);
        const Scene untouched(c);
        const TestImage& image = scene.at(0);
        const Window window = drawWindow(image, rng);
        const auto failing = [&] {
            return testing::AssertionFailure() << c << "\nwindow " << window.width << "x" << window.height << " at ("
                                               << window.x << ", " << window.y << ")";
        };
        uint8_t* buffer = nullptr;
        int32_t step = -1;
        scene.run([&](Scene& s) {
            buffer = tov::ownBorderedBuffer(s[0], window.x, window.y, window.width, window.height, &step);
        });
        ASSERT_EQ(scene.differences(untouched), "") << failing();
        ASSERT_NE(buffer, nullptr) << failing();
        ASSERT_EQ(reinterpret_cast<uintptr_t>(buffer) % 32, 0u);
        ASSERT_EQ(step, bufferStep(image.spec, window.width)) << failing();
        for (int ch = 0; ch < image.header.nChannels; ++ch) {
            for (int32_t j = 0; j < window.height; ++j) {
                for (int32_t i = 0; i < window.width; ++i) {
                    ASSERT_EQ(bufferBits(image, buffer, step, window, i, j, ch),
                              borderedBits(image, window.x + i, window.y + j, ch))
                        << i << ", " << j << ", channel " << ch << failing();
                }
            }
        }
        for (int32_t j = 0; j < window.height; ++j) { // rows of a constant are set to their end
            const int32_t y = window.y + j;
            if (y >= 0 && y < image.header.height) continue;
            const int side = y < 0 ? TOV_SIDE_TOP : TOV_SIDE_BOTTOM;
            if (image.header.borderMode[side] != TOV_BORDER_CONSTANT) continue;
            const uint32_t want = constantBits(image.header.borderConst[side], image.header.depth);
            const int32_t values = step * 8 / image.spec.bits();
            for (int32_t k = 0; k < values; ++k) {
                const int32_t bit = k * image.spec.bits();
                ASSERT_EQ(readBits(buffer + j * step + bit / 8, bit % 8, image.header.depth), want) << failing();
            }
        }
        const bool inside = window.x >= 0 && window.y >= 0 && window.x + window.width <= image.header.width &&
                            window.y + window.height <= image.header.height;
        if (inside && image.tiled()) {
            Scene expected(c);
            logGather(expected, expected.at(0), window.x, window.y, window.width, window.height);
            ASSERT_EQ(list(scene.server.log), list(expected.server.log)) << failing();
        }
        tov::ownFreeBuffer(buffer);
    }
    tov::ownFreeBuffer(nullptr);
}

TEST(BorderedBuffer, FailsWithoutALeakOrAHeldTile) {
    for (uint64_t number = 0; number < 200; ++number) {
        const Case c = drawBuffered(number);
        Rng rng(number + 99);
        const Scene untouched(c);
        const Window window = drawWindow(untouched.at(0), rng);
        for (int kind = 0; kind < 2; ++kind) {
            for (int n = 1;; ++n) {
                Scene scene(c);
                if (kind == 0) scene.server.failAt = n;
                uint8_t* buffer = nullptr;
                int32_t step = 0, blocks = 0;
                scene.run([&](Scene& s) {
                    const MallocWatch watch(kind == 1 ? n : 0);
                    buffer = tov::ownBorderedBuffer(s[0], window.x, window.y, window.width, window.height, &step);
                    blocks = watch.count();
                });
                tov::ownFreeBuffer(buffer);
                ASSERT_EQ(scene.differences(untouched), "") << c;
                ASSERT_TRUE(scene.reports.empty());
                const bool failed = n <= (kind == 0 ? scene.server.requests() : blocks);
                ASSERT_EQ(buffer == nullptr, failed) << c;
                if (!failed) break;
            }
        }
    }
}

TEST(BorderedBuffer, KnownRows) {
    const Case c = alike(1, TOV_DEPTH_8U, 1, 3, 1);
    const auto columns = [&](int32_t mode, int32_t x, int32_t width) {
        Scene scene(c);
        TovImage* image = scene[0];
        for (uint8_t k = 0; k < 3; ++k) image->imageData[k] = k;
        for (int32_t& side : image->borderMode) side = mode + 4; // the low two bits count
        int32_t step = 0;
        uint8_t* buffer = tov::ownBorderedBuffer(image, x, 0, width, 1, &step);
        std::vector<int> row(buffer, buffer + width);
        tov::ownFreeBuffer(buffer);
        return row;
    };
    EXPECT_EQ(columns(TOV_BORDER_REFLECT, -4, 10), (std::vector<int>{2, 2, 1, 0, 0, 1, 2, 2, 1, 0}));
    EXPECT_EQ(columns(TOV_BORDER_REFLECT, 3, 8), (std::vector<int>{2, 1, 0, 0, 1, 2, 2, 1}));
    EXPECT_EQ(columns(TOV_BORDER_WRAP, -1, 5), (std::vector<int>{2, 0, 1, 2, 0}));
    EXPECT_EQ(columns(TOV_BORDER_WRAP, -8, 3), (std::vector<int>{1, 2, 0}));
    EXPECT_EQ(columns(TOV_BORDER_REPLICATE, -2, 7), (std::vector<int>{0, 0, 0, 1, 2, 2, 2}));
}

TEST(BorderedBuffer, RefusesABrokenHeader) {
    const Case c = alike(1, TOV_DEPTH_8U, 1, 3, 1);
    int32_t step = 0;
    EXPECT_EQ(tov::ownBorderedBuffer(nullptr, 0, 0, 1, 1, &step), nullptr);
    for (int field = 0; field < 3; ++field) {
        Scene scene(c);
        if (field == 0) scene[0]->dataOrder = 2;
        if (field == 1) scene[0]->depth = 9;
        if (field == 2) scene[0]->align = 0;
        EXPECT_EQ(tov::ownBorderedBuffer(scene[0], 0, 0, 1, 1, &step), nullptr);
    }
}

// Corners in either direction: forwards a copy, backwards a mirrored one, across tiles too.
TEST(GatherRect, WalksInBothDirections) {
    for (uint64_t number = 0; number < 3000; ++number) {
        const Case c = drawBuffered(number);
        Rng rng(number + 5);
        Scene scene(c);
        const Scene untouched(c);
        const TestImage& image = scene.at(0);
        const auto coordinate = [&](int32_t length) { return rng.between(0, length - 1); };
        const tov::Corners from{coordinate(image.header.width), coordinate(image.header.height),
                                coordinate(image.header.width), coordinate(image.header.height)};
        const int32_t dx = from.x2 < from.x1 ? -1 : 1, dy = from.y2 < from.y1 ? -1 : 1;
        const int32_t width = (from.x2 - from.x1) * dx + 1, height = (from.y2 - from.y1) * dy + 1;
        const tov::Point to{rng.between(0, 9), rng.between(0, 2)};
        const Window window{0, 0, to.x + width, to.y + height};
        const bool planes = image.spec.order == TOV_DATA_ORDER_PLANE;
        const int32_t step = bufferStep(image.spec, window.width), nPlanes = planes ? image.header.nChannels : 1;
        const Block block(static_cast<std::size_t>(step) * window.height * nPlanes, c.fence);
        const bool bitwise = image.header.depth == TOV_DEPTH_1U;
        const uint8_t before = bitwise ? 0 : 0x5C;
        std::memset(block.data(), before, block.size());
        const int32_t pixelBytes = bitwise ? 0 : image.spec.bits() / 8 * (planes ? 1 : image.header.nChannels);
        int32_t result = -1;
        scene.run([&](Scene& s) {
            result =
                tov::ownGatherRect(s[0], from, {block.data(), step, step * window.height}, to, pixelBytes, nPlanes);
        });
        ASSERT_EQ(result, 0);
        ASSERT_EQ(scene.differences(untouched), "") << c;
        ASSERT_TRUE(block.guardIntact()) << c;
        std::vector<uint8_t> want(block.size(), before);
        for (int ch = 0; ch < image.header.nChannels; ++ch) {
            for (int32_t j = 0; j < height; ++j) {
                for (int32_t i = 0; i < width; ++i) {
                    const Place place = placeOf(image, from.x1 + i * dx, from.y1 + j * dy, ch);
                    const int32_t inRow = planes ? to.x + i : (to.x + i) * image.header.nChannels + ch;
                    const int32_t row = (planes ? ch * window.height : 0) + to.y + j, bits = image.spec.bits();
                    writeBits(want.data() + row * step + inRow * bits / 8, bits == 1 ? inRow % 8 : 0,
                              image.header.depth, readBits(place.address, place.bit, image.header.depth));
                }
            }
        }
        ASSERT_EQ(std::memcmp(want.data(), block.data(), block.size()), 0) << c;
    }
}

} // namespace
} // namespace tovtest
