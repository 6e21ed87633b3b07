// The support must be able to fail: fences that fire, a server that complains, a sweep that finds one wrong bit.
#include <gtest/gtest.h>

#include <cstdlib>

#include "reference/samples.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

Case oneImage(int32_t tileSize) {
    Case c = alike(1, TOV_DEPTH_8U, 1, 20, 20);
    c.images[0].tileWidth = c.images[0].tileHeight = tileSize;
    return c;
}

void touch(volatile uint8_t* address) { *address = static_cast<uint8_t>(*address + 1); }

TEST(BlockDeathTest, FencesFire) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (std::size_t size : {1u, 7u, 4096u, 5000u}) {
        const Block ends(size, Fence::end), begins(size, Fence::begin);
        touch(ends.data() + size - 1);
        touch(begins.data());
        EXPECT_DEATH(touch(ends.data() + size), "");
        EXPECT_DEATH(touch(begins.data() - 1), "");
    }
}

TEST(Block, GuardTellsOverwriting) {
    const Block ends(100, Fence::end), begins(100, Fence::begin);
    EXPECT_TRUE(ends.guardIntact() && begins.guardIntact());
    touch(ends.data() - 1);
    touch(begins.data() + 100);
    EXPECT_FALSE(ends.guardIntact());
    EXPECT_FALSE(begins.guardIntact());
}

TEST(TileServerDeathTest, TilesCanBeReachedOnlyWhileHeld) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Scene scene(oneImage(8));
    TovImage* image = scene[0];
    scene.server.setStrict(scene, true);
    const auto ask = [&](int32_t mode) {
        image->tileInfo->callBack(image, 1, 2, mode);
        return image->tileInfo->tileData;
    };
    uint8_t* tile = ask(TOV_TILE_READ);
    EXPECT_EQ(tile, scene.at(0).tileAt(1, 2));
    EXPECT_DEATH(touch(tile), "");
    touch(ask(TOV_TILE_WRITE));
    ask(TOV_TILE_RELEASE);
    ask(TOV_TILE_RELEASE);
    EXPECT_DEATH(touch(tile), "");
    scene.server.setStrict(scene, false);
    EXPECT_EQ(scene.server.held(), 0u);
}

TEST(TileServer, FindsBreachesOfTheProtocol) {
    Scene scene(oneImage(16));
    TovImage* image = scene[0];
    scene.server.failAt = 2;
    const auto ask = [&](int32_t x, int32_t y, int32_t mode) { image->tileInfo->callBack(image, x, y, mode); };
    ask(0, 0, TOV_TILE_READ);
    ask(1, 0, TOV_TILE_READ);
    EXPECT_EQ(image->tileInfo->tileData, nullptr);
    EXPECT_TRUE(scene.server.faults.empty());
    ask(1, 0, TOV_TILE_RELEASE); // gave null, so is not held
    ask(2, 0, TOV_TILE_READ);
    ask(0, -1, TOV_TILE_WRITE);
    ask(0, 0, 3);
    EXPECT_EQ(scene.server.faults.size(), 4u);
    EXPECT_EQ(scene.server.held(), 1u);
}

TEST(MallocWatch, CountsAndFails) {
    MallocWatch watch(2);
    void* (*volatile take)(std::size_t) = std::malloc; // that no compiler leaves out
    void *first = take(8), *second = take(8), *third = take(8);
    EXPECT_TRUE(first && !second && third);
    EXPECT_EQ(watch.count(), 3);
    std::free(first);
    std::free(third);
}

// A model set against itself agrees on all cases; with one bit, one record or one request changed it does not.
TEST(Sweep, FindsOneDifference) {
    Sweep sweep;
    sweep.family.roles = 3;
    sweep.model = [](Scene&) {};
    for (uint64_t number = 0; number < 300; ++number) {
        const Case c = drawCase(number, sweep.family);
        sweep.product = [](Scene&) {};
        ASSERT_EQ(compareCase(c, sweep), "") << c;
        sweep.product = [&](Scene& scene) {
            TestImage& image = scene.at(2);
            scene.server.setStrict(scene, false);
            const int32_t x = image.header.width - 1, y = image.header.height - 1, last = image.header.nChannels - 1;
            const Place place = placeOf(image, x, y, last);
            writeBits(place.address, place.bit, image.header.depth,
                      readBits(place.address, place.bit, image.header.depth) ^ 1);
        };
        ASSERT_NE(compareCase(c, sweep), "") << c;
        sweep.product = [](Scene& scene) { scene.at(2).roi.coi += 1; };
        ASSERT_NE(compareCase(c, sweep), "") << c;
        sweep.product = [](Scene&) { tovSetErrStatus(-5); };
        ASSERT_NE(compareCase(c, sweep), "") << c;
    }
}

} // namespace
} // namespace tovtest
