// Erosion: pixels, tile requests, reports, and what happens when a tile or a block can't be had.
#include <gtest/gtest.h>

#include "reference/erode.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

void erode(Scene& s) { tovErode(s[0], s[1], s.of.value); }

Sweep erodeSweep() {
    Sweep sweep;
    sweep.family.roles = 2;
    sweep.family.depths = {TOV_DEPTH_1U, TOV_DEPTH_8U, TOV_DEPTH_16U};
    sweep.family.oneOrigin = true;
    sweep.family.adjust = [](Case& c, Rng& rng) {
        c.at(1).order = c.images[0].order;
        c.value = rng.oneIn(3) ? rng.between(1, 14) : rng.between(1, 3);
        // Few values stay where minima are taken of many, so most of them are large.
        if (rng.oneIn(2)) c.images[0].fill = Fill::ones;
        for (int32_t& mode : c.images[0].borderMode) mode += rng.oneIn(8) ? 4 : 0; // its low two bits count
    };
    sweep.cases = 8000;
    sweep.product = [](Scene& s) {
        s.server.acceptsCopies = true;
        erode(s);
    };
    sweep.model = [](Scene& s) { erodeImage(s, s.at(0), s.at(1), s.of.value); };
    sweep.mustMeet = {"in place",   "between images", "masked",
                      "from tiles", "to tiles",       "a square wider than the region"};
    return sweep;
}

TEST(Erode, MatchesTheModel) { runSweep(erodeSweep()); }

// Rows of many words and squares of many steps, with few small values among large ones.
TEST(Erode, LargeSquares) {
    for (uint32_t depth : {TOV_DEPTH_1U, TOV_DEPTH_8U, TOV_DEPTH_16U}) {
        for (int32_t n : {1, 7, 25, 40}) {
            Case c = alike(2, depth, 1, 700, 30);
            c.value = n;
            Scene scene(c), want(c);
            for (Scene* s : {&scene, &want}) {
                const int32_t spread = depth == TOV_DEPTH_1U ? 1 : 9;
                for (int32_t i = 0; i < 700 * 30; ++i) setSample(s->at(0), i % 700, i / 700, 0, 65535 - i % spread);
                for (int32_t i = 5; i < 700; i += 97) setSample(s->at(0), i, i % 30, 0, 60000 + i - i % 2);
                tovSetBorderMode((*s)[0], TOV_BORDER_REPLICATE, TOV_SIDES_ALL, 0);
                for (auto& image : s->images) image->remember();
            }
            scene.run(erode);
            erodeImage(want, want.at(0), want.at(1), n);
            EXPECT_EQ(scene.differences(want), "") << n;
        }
    }
}

TEST(Erode, RefusesInOrder) {
    const auto report = [](TovStatus status, const char* context) {
        return Report{status, "tovErode", context, "ownMorph"};
    };
    struct Fault {
        void (*make)(Case& c);
        Report want;
    };
    const std::vector<Fault> faults = {
        {[](Case& c) { c.images[0].align = 3; }, report(-21, "Incorrect Image")},
        {[](Case& c) { c.images[1].align = 3; }, report(-21, "Incorrect Image")},
        {[](Case& c) { c.value = 0; }, report(-5, "Illegal number of of iterations")},
        {[](Case& c) { c.images[0].depth = TOV_DEPTH_16S; }, report(-5, "Illegal image depth")},
        {[](Case& c) { c.images[1].depth = TOV_DEPTH_8U; }, report(-5, "SRC and DST depth are different")},
        {[](Case& c) { c.images[1].order = 1; }, report(-5, "SRC and DST order are different")},
        {[](Case& c) { c.images[1].origin = 1; }, report(-5, "SRC and DST orign are different")},
        {[](Case& c) { c.images[1].nChannels = 4; }, report(-5, "SRC and DST number of channels are different")},
    };
    for (std::size_t i = 0; i < faults.size(); ++i) {
        for (std::size_t j = i; j < faults.size(); ++j) { // of two faults the earlier one is reported
            Case c = alike(2, TOV_DEPTH_16U, 3, 20, 9);
            c.value = 1;
            faults[j].make(c);
            faults[i].make(c);
            expectRefusal(c, erode, {faults[i].want});
        }
    }
    for (uint32_t depth : {TOV_DEPTH_8S, TOV_DEPTH_32S, TOV_DEPTH_32F}) {
        expectRefusal(alike(2, depth, 1, 4, 4), [](Scene& s) { tovErode(s[0], s[1], 1); },
                      {report(-5, "Illegal image depth")});
    }
    Case maskOfAlpha = alike(2, TOV_DEPTH_8U, 1, 4, 4);
    giveMask(maskOfAlpha, 1);
    maskOfAlpha.images[2].alpha = 1;
    maskOfAlpha.value = 1;
    expectRefusal(maskOfAlpha, erode, {Report{-5, "tovAnd", "(nChSrcB != nChDst)", "tovand"}});
}

TEST(Erode, AnEarlierStatusDoesNotCount) {
    Case c = alike(2, TOV_DEPTH_8U, 1, 9, 4);
    giveMask(c, 0);
    c.value = 1;
    Scene scene(c), want(c);
    scene.run([](Scene& s) {
        tovSetErrStatus(TOV_STS_BAD_ARG);
        erode(s);
    });
    erodeImage(want, want.at(0), want.at(1), 1);
    EXPECT_EQ(scene.differences(want), "");
    EXPECT_EQ(scene.status, TOV_STS_OK);
}

// A mask in the destination's own memory selects by its bits as they are before the call.
TEST(Erode, AMaskOfTheDestinationsPixels) {
    Case c = alike(2, TOV_DEPTH_1U, 1, 100, 12);
    c.value = 1;
    giveMask(c, 1);
    c.images[1].hasRoi = true;
    c.images[1].roi = {0, 0, 2, 100, 10}; // its rows are masked by rows that are written before
    Case shared = c;
    shared.images[2].sharesWith = 1;
    Scene scene(shared), want(c);
    const auto rows = static_cast<std::size_t>(want.images[1]->header.imageSize);
    std::copy_n(want.images[1]->header.imageData, rows, want.images[2]->header.imageData);
    scene.run(erode);
    erodeImage(want, want.at(0), want.at(1), 1);
    for (int32_t i = 0; i < 1200; ++i) {
        ASSERT_EQ(getSample(scene.at(1), i % 100, i / 100, 0), getSample(want.at(1), i % 100, i / 100, 0)) << i;
    }
}

TEST(Erode, ATileThatCannotBeHadEndsTheCall) {
    const Sweep sweep = erodeSweep();
    for (uint64_t number = 0; number < 60 && !HasFailure(); ++number) {
        Case c = drawCase(number, sweep.family);
        c.value = std::min(c.value, 2);
        failEachTile(c, sweep, false, [](const TileEvent& failed) {
            const char* context = failed.mode == TOV_TILE_READ ? "Error get tile to read" : "Error get tile to write";
            return Reports{{-2, "tovErode", context, "ownMorph"}};
        });
    }
}

TEST(Erode, AnyBlockMayFail) {
    const auto expectNothing = [](const Scene& scene, int) {
        ASSERT_EQ(scene.differences(Scene(scene.of)), "");
        ASSERT_EQ(scene.status, TOV_STS_NO_MEMORY);
        ASSERT_TRUE(scene.reports.empty() && scene.server.log.empty());
    };
    failEachBlock(erodeSweep(), 300, 300, expectNothing);
    for (int32_t n : {1 << 30, INT32_MAX}) { // rows that no memory holds
        Case c = alike(2, TOV_DEPTH_1U, 1, 9, 4);
        c.value = n;
        Scene scene(c);
        scene.run(erode);
        expectNothing(scene, 1);
    }
}

} // namespace
} // namespace tovtest
