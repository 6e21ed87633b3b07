// Bordered buffers and gathered rectangles, value by value, plain and tiled.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "core/tiles.h"
#include "reference/borders.h"
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

int32_t bufferStep(const ImageForm& form, int32_t width) {
    return (form.packedRow(width) + form.align - 1) / form.align * form.align;
}

uint32_t bufferBits(const TestImage& image, const uint8_t* buffer, int32_t step, const Window& window, int32_t i,
                    int32_t j, int c) {
    const bool planes = image.form.order == TOV_DATA_ORDER_PLANE;
    const int32_t inRow = planes ? i : i * image.header.nChannels + c, bits = image.form.bits();
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
        ASSERT_EQ(step, bufferStep(image.form, window.width)) << failing();
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
            const int32_t values = step * 8 / image.form.bits();
            for (int32_t k = 0; k < values; ++k) {
                const int32_t bit = k * image.form.bits();
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

// The gathers in their order: rows above, inside and below, in each the columns before, inside and behind.
TEST(BorderedBuffer, TileRequestsKnownByHand) {
    const auto requests = [](int32_t mode, const Window& window) {
        Case c = alike(1, TOV_DEPTH_8U, 1, 20, 20);
        c.images[0].tileWidth = c.images[0].tileHeight = 16;
        for (int32_t& side : c.images[0].borderMode) side = mode;
        Scene scene(c);
        int32_t step = 0;
        tov::ownFreeBuffer(tov::ownBorderedBuffer(scene[0], window.x, window.y, window.width, window.height, &step));
        std::string text;
        for (const TileEvent& event : scene.server.log) {
            text += event.mode == TOV_TILE_READ ? "r" : "x";
            text += std::to_string(event.x) + std::to_string(event.y) + " ";
        }
        return text;
    };
    const std::string inside = "r00 r10 x10 x00 r01 r11 x11 x01 ";
    const Window around{-2, -2, 24, 24};
    EXPECT_EQ(requests(TOV_BORDER_CONSTANT, around), inside);
    const std::string nearest =
        "r00 x00 r00 r10 x10 x00 r10 x10 " // above
        "r00 x00 r01 x01 " +
        inside +
        "r10 x10 r11 x11 "                  // inside
        "r01 x01 r01 r11 x11 x01 r11 x11 "; // below
    EXPECT_EQ(requests(TOV_BORDER_REPLICATE, around), nearest);
    EXPECT_EQ(requests(TOV_BORDER_REFLECT, around), nearest);
    EXPECT_EQ(requests(TOV_BORDER_WRAP, around),
              "r11 x11 r01 r11 x11 x01 r01 x01 "
              "r10 x10 r11 x11 " +
                  inside +
                  "r00 x00 r01 x01 "
                  "r10 x10 r00 r10 x10 x00 r00 x00 ");
    EXPECT_EQ(requests(TOV_BORDER_REFLECT, {-20, 0, 20, 20}), "r10 r00 x00 x10 r11 r01 x01 x11 "); // backwards
    EXPECT_EQ(requests(TOV_BORDER_REFLECT, {-21, 3, 2, 1}), "r10 x10 r10 x10 "); // one gather a period
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
    for (int32_t nChannels : {1 << 30, INT32_MAX}) { // pixels of more bytes than can be counted
        Scene scene(c);
        scene[0]->depth = TOV_DEPTH_32S;
        scene[0]->nChannels = nChannels;
        for (int32_t width : {0, 1, INT32_MAX}) {
            EXPECT_EQ(tov::ownBorderedBuffer(scene[0], 0, 0, width, 1, &step), nullptr);
        }
    }
}

// A tile server without a grid of its own: every tile of an image has the same 16 by 16 values, x + 16 * y.
struct OneTile {
    uint8_t values[256];
    std::string log;
    TovTileInfo tiles{serve, this, nullptr, 16, 16};
    TovROI roi{};
    TovImage image{};

    explicit OneTile(const TovROI& region) : roi(region) {
        for (int i = 0; i < 256; ++i) values[i] = static_cast<uint8_t>(i);
        image.nChannels = 1;
        image.depth = TOV_DEPTH_8U;
        image.align = 4;
        image.width = image.height = INT32_MAX;
        image.tileInfo = &tiles;
        image.roi = &roi;
    }
    OneTile(const OneTile&) = delete;
    OneTile& operator=(const OneTile&) = delete;

    // Columns and rows are told from the last tile of the image back.
    static void serve(TovImage* header, int32_t x, int32_t y, int32_t mode) {
        auto& self = *static_cast<OneTile*>(header->tileInfo->id);
        const int32_t last = INT32_MAX / 16;
        self.log += "rwx"[mode / 2] + std::to_string(last - x) + "," + std::to_string(last - y) + " ";
        self.tiles.tileData = mode == TOV_TILE_RELEASE ? nullptr : self.values;
    }
};

TEST(LargestCoordinates, WalksAndBuffersReachThem) {
    ReportLog log;
    const int32_t most = INT32_MAX;
    OneTile source({0, most - 3, most - 2, most, most}), dst({0, most - 17, most - 7, most, most});
    tovAdd(&source.image, &source.image, &dst.image); // 3 by 2 pixels, over two columns of tiles of the destination
    EXPECT_EQ(source.log, "r0,0 r0,0 x0,0 x0,0 ");
    EXPECT_EQ(dst.log, "w1,0 x1,0 w0,0 x0,0 ");
    const auto dstPixels = [&](int32_t x, int32_t y) { return int{dst.values[8 * 16 + y * 16 + (14 + x) % 16]}; };
    EXPECT_EQ(dstPixels(0, 0), std::min(255, 2 * (12 + 13 * 16)));
    source.log.clear();
    dst.log.clear();
    std::memset(dst.values, 0, sizeof dst.values);
    tovCopy(&source.image, &dst.image);
    EXPECT_EQ(source.log, "r0,0 x0,0 r0,0 x0,0 ");
    EXPECT_EQ(dst.log, "w1,0 x1,0 w0,0 x0,0 ");
    for (int32_t y = 0; y < 2; ++y) {
        for (int32_t x = 0; x < 3; ++x) EXPECT_EQ(dstPixels(x, y), 12 + x + (13 + y) * 16);
    }
    tovSet(&dst.image, 7);
    EXPECT_EQ(std::count(dst.values, dst.values + 256, 7), 16 * 7); // 17 columns, of which 14 comes twice
    EXPECT_TRUE(log.reports.empty());

    const auto columns = [&](int32_t mode, int32_t x, int32_t width) {
        for (int32_t& side : source.image.borderMode) side = mode;
        int32_t step = 0;
        uint8_t* buffer = tov::ownBorderedBuffer(&source.image, x, most - 1, width, 1, &step);
        std::vector<int> row(buffer, buffer + width);
        tov::ownFreeBuffer(buffer);
        for (int& value : row) value -= 14 * 16;
        return row;
    };
    EXPECT_EQ(columns(TOV_BORDER_REFLECT, most - 2, 5), (std::vector<int>{13, 14, 14, 13, 12}));
    EXPECT_EQ(columns(TOV_BORDER_REFLECT, INT32_MIN, 3), (std::vector<int>{14, 14, 13}));
    EXPECT_EQ(columns(TOV_BORDER_WRAP, most - 1, 3), (std::vector<int>{14, 0, 1}));
    EXPECT_EQ(columns(TOV_BORDER_WRAP, INT32_MIN, 3), (std::vector<int>{14, 0, 1}));
    EXPECT_EQ(columns(TOV_BORDER_REPLICATE, INT32_MIN, 2), (std::vector<int>{0, 0}));
    EXPECT_EQ(columns(TOV_BORDER_REPLICATE, most, 40), std::vector<int>(40, 14));
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
        const bool planes = image.form.order == TOV_DATA_ORDER_PLANE;
        const int32_t step = bufferStep(image.form, window.width), nPlanes = planes ? image.header.nChannels : 1;
        const Block block(static_cast<std::size_t>(step) * window.height * nPlanes, c.fence);
        const bool bitwise = image.header.depth == TOV_DEPTH_1U;
        const uint8_t before = bitwise ? 0 : 0x5C;
        std::memset(block.data(), before, block.size());
        const int32_t pixelBytes = bitwise ? 0 : image.form.bits() / 8 * (planes ? 1 : image.header.nChannels);
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
                    const int32_t row = (planes ? ch * window.height : 0) + to.y + j, bits = image.form.bits();
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
