// Regions, addresses and merged masks against the plain rules of addressing.
#include <gtest/gtest.h>

#include <functional>

#include "core/image.h"
#include "core/ownrect.h"
#include "core/tiles.h"
#include "reference/samples.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

Family pair() {
    Family family;
    family.roles = 2;
    family.overlaps = false;
    return family;
}

TEST(RoiStart, FindsTheFirstValueAndTheClippedSize) {
    for (uint64_t number = 0; number < 3000; ++number) {
        const Scene scene(drawCase(number, pair()));
        const TestImage& image = scene.at(0);
        if (image.tiled()) continue;
        const Area region = regionOf(image);
        const int channel = image.header.roi && image.roi.coi ? image.roi.coi - 1 : 0;
        const tov::RoiStart start = tov::ownRoiStart(image.header, channel);
        const Place place = placeOf(image, region.x, region.y, channel);
        ASSERT_EQ(start.size.width, std::max(0, region.width)) << scene.of;
        ASSERT_EQ(start.size.height, std::max(0, region.height)) << scene.of;
        if (region.empty()) continue;
        ASSERT_EQ(start.address, place.address) << scene.of;
        ASSERT_EQ(start.bitOffset, region.x % 8) << scene.of;

        tov::PlainAddress plain{};
        ASSERT_TRUE(tov::ownPlainAddress(image.header, plain));
        const auto channels = channelsOf(image);
        ASSERT_EQ(plain.nChannels, static_cast<int32_t>(channels.size())) << scene.of;
        ASSERT_EQ(plain.rowStep, image.header.widthStep);
        ASSERT_EQ(plain.planeStep, int64_t{image.header.height} * image.header.widthStep);
        if (image.header.depth == TOV_DEPTH_1U) {
            ASSERT_EQ(plain.start, placeOf(image, 0, region.y, 0).address) << scene.of;
            ASSERT_EQ(plain.x, region.x);
        } else {
            ASSERT_EQ(plain.start, placeOf(image, region.x, region.y, channels[0]).address) << scene.of;
        }
        tov::BitLane<const uint8_t> bits{};
        ASSERT_EQ(tov::ownMaskBits(image.header, bits), image.header.depth == TOV_DEPTH_1U);
    }
}

TEST(RoiStart, RegionsFarBeyondTheImageAreEmpty) {
    Case c = alike(1, TOV_DEPTH_32S, 1, 4, 4);
    c.images[0].hasRoi = true;
    c.images[0].roi = {2, INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX};
    for (int32_t order : {TOV_DATA_ORDER_PIXEL, TOV_DATA_ORDER_PLANE}) {
        const Scene scene(c);
        scene[0]->dataOrder = order;
        scene[0]->nChannels = INT32_MAX;
        const tov::RoiStart start = tov::ownRoiStart(*scene[0], INT32_MAX - 1);
        EXPECT_EQ(start.size.width, 0);
        EXPECT_EQ(start.size.height, 0);
    }
}

TEST(PlainAddress, AnImageThatIsNothingButAlphaHasNone) {
    Case c = alike(1, TOV_DEPTH_8U, 1, 1, 1);
    c.images[0].alpha = 1;
    for (int32_t coi : {-1, 0, 1}) { // without a region; with one
        c.images[0].hasRoi = coi >= 0;
        c.images[0].roi = {coi, 0, 0, 1, 1};
        const Scene scene(c);
        tov::PlainAddress address{};
        EXPECT_EQ(tov::ownPlainAddress(*scene[0], address), coi >= 0);
        EXPECT_EQ(address.nChannels, coi == 1 ? 1 : 0);
    }
}

TEST(SameLayout, AsksForWholeImagesOfOneShape) {
    const auto same = [](const std::function<void(ImageForm&, ImageForm&)>& change, bool hasAlpha = false) {
        Case c = alike(2, TOV_DEPTH_8U, 3, 9, 7);
        for (ImageForm& form : c.images) form.roi = {0, 0, 0, 9, 7};
        change(c.images[0], c.images[1]);
        const Scene scene(c);
        const bool result = tov::ownSameLayout(*scene[0], *scene[1], hasAlpha);
        EXPECT_EQ(tov::ownSameLayout(*scene[1], *scene[0], hasAlpha), result);
        return result;
    };
    EXPECT_TRUE(same([](ImageForm& a, ImageForm&) { a.origin = 1; }));
    EXPECT_FALSE(same([](ImageForm&, ImageForm&) {}, true));
    EXPECT_FALSE(same([](ImageForm& a, ImageForm&) { a.align = 8, a.slack = -1, a.width = 8; }));
    EXPECT_FALSE(same([](ImageForm& a, ImageForm& b) { a.align = 8, a.width = b.width = 8; })); // alignment alone
    EXPECT_FALSE(same([](ImageForm& a, ImageForm&) { a.slack = 4; }));                          // size alone
    EXPECT_FALSE(same([](ImageForm& a, ImageForm& b) { a.width = 10, a.slack = 0, b.width = 9; }));
    EXPECT_FALSE(same([](ImageForm& a, ImageForm& b) { a.height = 14, b.nChannels = 6; }));
    EXPECT_TRUE(
        same([](ImageForm& a, ImageForm& b) { a.hasRoi = b.hasRoi = true, a.roi.width = 100, b.roi.height = 8; }));
    for (const TovROI& roi : {TovROI{0, 0, 0, 8, 7}, TovROI{0, 0, 0, 9, 6}, TovROI{0, 1, 0, 50, 50},
                              TovROI{0, 0, 1, 50, 50}, TovROI{1, 0, 0, 9, 7}}) {
        EXPECT_FALSE(same([&](ImageForm& a, ImageForm&) { a.hasRoi = true, a.roi = roi; }));
    }
    TovImage tile{};
    tile.nChannels = 3;
    tile.dataOrder = TOV_DATA_ORDER_PLANE;
    tov::shapeAsPlain(tile, {32768, 21845}, 32768);
    EXPECT_TRUE(tov::ownSameLayout(tile, tile, false));
    tov::shapeAsPlain(tile, {32768, 32768}, 32768); // larger than imageSize can say
    EXPECT_FALSE(tov::ownSameLayout(tile, tile, false));
    EXPECT_TRUE(
        same([](ImageForm& a, ImageForm& b) { a.hasRoi = true, a.roi.coi = 1, a.nChannels = b.nChannels = 1; }));
}

TEST(CombineMasks, IsTheAndOfEachFromItsOwnRegion) {
    ReportLog log;
    int merged = 0;
    for (uint64_t number = 0; number < 3000; ++number) {
        Rng rng(number);
        Case c;
        c.number = number;
        c.images.resize(1);
        drawGeometry(c.images[0], rng);
        int index[3];
        for (int& mask : index) mask = rng.oneIn(4) ? 0 : rng.oneIn(4) && c.images.size() > 1 ? 1 : addMask(c, 0, rng);
        const Scene scene(c);
        TovImage* masks[3];
        std::vector<TestImage*> given;
        for (int k = 0; k < 3; ++k) {
            masks[k] = index[k] ? scene[index[k]] : nullptr;
            if (index[k]) given.push_back(&scene.at(index[k]));
        }
        const tov::CombinedMask result = tov::ownCombineMasks(masks[0], masks[1], masks[2]);
        if (given.size() < 2) {
            ASSERT_EQ(result.state, tov::OWN_MASK_NONE);
            ASSERT_EQ(result.mask, given.empty() ? nullptr : &given[0]->header);
            continue;
        }
        const Common common({}, given);
        ASSERT_EQ(result.state, common.empty() ? tov::OWN_MASK_EMPTY : tov::OWN_MASK_NEW) << c;
        if (common.empty()) {
            ASSERT_EQ(result.mask, nullptr);
            continue;
        }
        ++merged;
        const TovImage& mask = *result.mask;
        ASSERT_EQ(mask.width, common.width) << c;
        ASSERT_EQ(mask.height, common.height) << c;
        ASSERT_EQ(mask.origin, given[0]->header.origin) << c;
        ASSERT_EQ(mask.align, 8);
        ASSERT_EQ(mask.roi, nullptr);
        for (int32_t y = 0; y < mask.height; ++y) {
            for (int32_t x = 0; x < mask.width; ++x) {
                const uint32_t bit = readBits(mask.imageData + y * mask.widthStep + x / 8, x % 8, TOV_DEPTH_1U);
                ASSERT_EQ(bit != 0, common.allows(x, y)) << x << ", " << y << " of " << c;
            }
        }
        for (int failAt : {1, 2}) {
            const MallocWatch watch(failAt);
            const tov::CombinedMask none = tov::ownCombineMasks(masks[0], masks[1], masks[2]);
            ASSERT_EQ(none.state, tov::OWN_MASK_NO_MEMORY);
            ASSERT_EQ(none.mask, nullptr);
        }
    }
    EXPECT_GT(merged, 1000);
    EXPECT_TRUE(log.reports.empty());
    EXPECT_EQ(tovGetErrStatus(), 0);
}

TEST(RoiSize, WithAndWithoutClipping) {
    TovROI roi{};
    TovImage image{};
    image.width = 100;
    image.height = 40;
    const auto size = [&](TovROI region, bool clip) {
        roi = region;
        image.roi = &roi;
        tov::Size result{-1, -1};
        const bool usable = tov::ownRoiSize(image, result, clip);
        return usable ? std::pair(result.width, result.height) : std::pair(0, 0);
    };
    tov::Size whole{};
    EXPECT_TRUE(tov::ownRoiSize(image, whole, true) && whole.width == 100 && whole.height == 40);
    const std::pair nothing(0, 0);
    EXPECT_EQ(size({0, 90, 30, 50, 60}, true), std::pair(10, 10));
    EXPECT_EQ(size({0, 90, 30, 50, 60}, false), std::pair(50, 60));
    EXPECT_EQ(size({0, -3, -4, 50, 60}, true), std::pair(47, 40));
    EXPECT_EQ(size({0, 99, 39, 1, 1}, true), std::pair(1, 1));
    EXPECT_EQ(size({0, 100, 0, 1, 1}, true), nothing);
    EXPECT_EQ(size({0, 0, 40, 1, 1}, true), nothing);
    EXPECT_EQ(size({0, 100, 40, 3, 2}, false), std::pair(3, 2));
    EXPECT_EQ(size({0, 0, 0, 0, 5}, false), nothing);
    EXPECT_EQ(size({0, 0, 0, 5, -1}, true), nothing);
    EXPECT_EQ(size({0, 99, 39, INT32_MAX, INT32_MAX}, true), std::pair(1, 1));

    const auto clipped = [&](int32_t width, int32_t height) {
        tov::ownClipSize(image, width, height);
        return std::pair(width, height);
    };
    roi = {0, 90, 5, 20, 10};
    EXPECT_EQ(clipped(50, 50), std::pair(10, 10));
    EXPECT_EQ(clipped(3, -1), std::pair(3, -1)); // never raised
    image.roi = nullptr;
    EXPECT_EQ(clipped(101, 40), std::pair(100, 40));
    image.roi = &roi;

    tov::OwnRect rect{};
    roi = {0, 150, 10, 50, 50};
    tov::ownImageRect(image, rect);
    EXPECT_EQ(rect.x, 150);
    EXPECT_EQ(rect.y, 10);
    EXPECT_EQ(rect.width, -50);
    EXPECT_EQ(rect.height, 30);
}

TEST(TileSpan, CountsTheCellsThatARegionTouches) {
    for (uint64_t number = 0; number < 2000; ++number) {
        const Scene scene(drawCase(number, pair()));
        const TestImage& image = scene.at(0);
        const Area region = regionOf(image);
        if (region.empty()) continue;
        const int32_t w = image.tiled() ? image.tiles.width : 128, h = image.tiled() ? image.tiles.height : 128;
        const tov::TileSpan span = tov::ownTileSpan(image.header, {region.width, region.height});
        ASSERT_EQ(span.tileWidth, w);
        ASSERT_EQ(span.tileHeight, h);
        ASSERT_EQ(span.firstCol * w + span.xInTile, region.x);
        ASSERT_EQ(span.firstRow * h + span.yInTile, region.y);
        ASSERT_TRUE(span.xInTile < w && span.yInTile < h);
        ASSERT_EQ(span.nCols, (region.x + region.width - 1) / w - region.x / w + 1);
        ASSERT_EQ(span.nRows, (region.y + region.height - 1) / h - region.y / h + 1);
    }
}

} // namespace
} // namespace tovtest
