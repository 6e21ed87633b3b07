// The blur: pixels, reports, tile requests, and what happens when a tile or a block can't be had.
#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>

#include "reference/blur.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

// A case's window: tiles are 8 and more wide and high, so it never exceeds one.
Box boxOf(const Case& c) {
    Rng rng(c.number);
    Box box{rng.between(1, 8), rng.between(1, 8), 0, 0};
    if (box.nCols == 1 && box.nRows == 1) box.nRows = 5;
    box.anchorX = rng.between(0, box.nCols - 1);
    box.anchorY = rng.between(0, box.nRows - 1);
    return box;
}

void blur(Scene& s, const Box& box) { tovBlur(s[0], s[1], box.nCols, box.nRows, box.anchorX, box.anchorY); }

Sweep blurSweep() {
    Sweep sweep;
    sweep.family.roles = 2;
    sweep.family.oneOrigin = true;
    sweep.family.overlaps = false;
    sweep.family.adjust = [](Case& c, Rng& rng) {
        if (rng.oneIn(10)) c.at(1).order = 1 - c.images[0].order;
        // A window that wraps reads tiles that were written long ago.
        if (c.images[1].sameAs != 0 || c.images[0].tileWidth == 0) return;
        for (int32_t& mode : c.images[0].borderMode) mode = (mode & 3) == TOV_BORDER_WRAP ? TOV_BORDER_REFLECT : mode;
    };
    sweep.cases = 6000;
    sweep.product = [](Scene& s) {
        blur(s, boxOf(s.of));
        s.server.log.clear(); // buffers read tiles in ways of their own
        if (std::fegetround() != FE_TONEAREST) s.faults.push_back("the rounding mode is not put back");
    };
    sweep.model = [](Scene& s) { blurImage(s, s.at(0), s.at(1), boxOf(s.of)); };
    sweep.mustMeet = {"in place", "between images", "masked", "tiles"};
    return sweep;
}

TEST(Blur, MatchesTheModel) { runSweep(blurSweep()); }

TEST(Blur, LargeWindowsOfLargeSamples) {
    for (uint32_t depth : {TOV_DEPTH_16U, TOV_DEPTH_16S, TOV_DEPTH_8S, TOV_DEPTH_8U}) {
        for (Fill fill : {Fill::ones, Fill::values}) { // sums beyond 2^29 and beyond 2^31
            for (int32_t side : {100, 190}) {
                Case c = alike(2, depth, 1, 9, 5);
                c.images[0].fill = fill;
                for (int32_t& mode : c.images[0].borderMode) mode = TOV_BORDER_REPLICATE;
                Scene scene(c), want(c);
                const Box box{side, side, side / 2, 3};
                scene.run([&](Scene& s) { blur(s, box); });
                blurImage(want, want.at(0), want.at(1), box);
                EXPECT_EQ(scene.differences(want), "") << side;
            }
        }
    }
}

// A window of few rows can hold more samples than one of many, and its sums leave 32 bits as well.
TEST(Blur, WideWindows) {
    for (uint32_t depth : {TOV_DEPTH_8U, TOV_DEPTH_8S}) {
        Case c = alike(2, depth, 1, 1, 1);
        for (int32_t& mode : c.images[0].borderMode) mode = TOV_BORDER_REPLICATE;
        Scene scene(c), want(c);
        for (Scene* s : {&scene, &want}) setSample(s->at(0), 0, 0, 0, depth == TOV_DEPTH_8S ? -128 : 255);
        const Box box{140000, 125, 70000, 3};
        scene.run([&](Scene& s) { blur(s, box); });
        blurImage(want, want.at(0), want.at(1), box);
        EXPECT_EQ(scene.differences(want), "");
    }
}

// Constants around an image become singles by rounding to nearest, whatever the sums are rounded by.
TEST(Blur, BordersThatSinglesCannotHold) {
    Case c = alike(2, TOV_DEPTH_32F, 1, 5, 3);
    c.images[0].fill = Fill::zeros;
    for (int32_t& value : c.images[0].borderConst) value = 16777219;
    Scene scene(c), want(c);
    const Box box{2, 1, 1, 0};
    scene.run([&](Scene& s) { blur(s, box); });
    blurImage(want, want.at(0), want.at(1), box);
    EXPECT_EQ(scene.differences(want), "");
}

// Sums at the multiples of the area, and one beside them: there the average is the area's quotient or one less.
TEST(Blur, AveragesWhereTheyStep) {
    for (uint32_t depth : {TOV_DEPTH_8U, TOV_DEPTH_8S, TOV_DEPTH_16U}) {
        const int32_t low = depth == TOV_DEPTH_8S ? -128 : 0;
        for (int32_t area = 2; area < 20000; area += area < 300 ? 1 : area < 8000 ? 701 : 97) {
            for (int32_t beside : {-1, 1}) {
                Case c = alike(2, depth, 1, 256, 2);
                for (int32_t& mode : c.images[0].borderMode) mode = TOV_BORDER_REPLICATE;
                Scene scene(c);
                for (int32_t i = 0; i < 256; ++i) {
                    setSample(scene.at(0), i, 0, 0, low + i);
                    setSample(scene.at(0), i, 1, 0, saturate(low + i + beside, depth));
                }
                scene.run([&](Scene& s) { blur(s, {1, area, 0, area - 1}); });
                for (int32_t i = 0; i < 512; ++i) {
                    const double one = low + i % 256, other = getSample(scene.at(0), i % 256, i / 256, 0);
                    const double want = std::trunc((one * (area - 1) + other) * static_cast<float>(1.0 / area));
                    ASSERT_EQ(getSample(scene.at(1), i % 256, i / 256, 0), want) << area << " of " << one;
                }
            }
        }
    }
}

TEST(Blur, RefusesInOrder) {
    const auto report = [](TovStatus status, const char* context) {
        return Report{status, "tovBlur", context, "tovBlur"};
    };
    struct Fault {
        void (*make)(Case& c, Box& box);
        Report want;
    };
    const std::vector<Fault> faults = {
        {[](Case& c, Box&) { c.images[0].align = 3; }, report(-21, "Incorrect Image")},
        {[](Case& c, Box&) { c.images[1].align = 3; }, report(-21, "Incorrect Image")},
        {[](Case& c, Box&) { c.images[1].depth = TOV_DEPTH_8S; }, report(-5, "(srcImage->depth!=dstImage->depth)")},
        {[](Case& c, Box&) { c.images[1].order = 1; }, report(-5, "(srcImage->dataOrder!=dstImage->dataOrder)")},
        {[](Case&, Box& box) { box.nRows = -1; }, report(-5, "(nRows<0||nCols<0)")},
        {[](Case&, Box& box) { box.nCols = -1; }, report(-5, "(nRows<0||nCols<0)")},
        {[](Case&, Box& box) { box.anchorX = -1; }, report(-5, "(anchorX<0||anchorY<0)")},
        {[](Case&, Box& box) { box.anchorY = -1; }, report(-5, "(anchorX<0||anchorY<0)")},
        {[](Case&, Box& box) { box.nCols = box.anchorX = 0; }, report(-5, "(anchorX>=nCols||anchorY>=nRows)")},
        {[](Case&, Box& box) { box.anchorY = 7; }, report(-5, "(anchorX>=nCols||anchorY>=nRows)")},
        {[](Case& c, Box&) { c.images[0].nChannels = c.images[0].alpha = 1; },
         report(-18, "bad alpha channel's number")},
        {[](Case& c, Box&) { c.images[1].nChannels = 4; }, report(-15, "bad channel's number")},
        {[](Case& c, Box&) {
             giveMask(c, 1);
             c.images.back().alpha = 1;
         },
         report(-18, "bad alpha channel's number")},
    };
    for (std::size_t i = 0; i < faults.size(); ++i) {
        for (std::size_t j = i; j < faults.size(); ++j) { // of two faults the earlier one is reported
            Case c = alike(2, TOV_DEPTH_16U, 3, 20, 9);
            Box box{3, 3, 1, 1};
            faults[j].make(c, box);
            faults[i].make(c, box);
            expectRefusal(c, [box](Scene& s) { blur(s, box); }, {faults[i].want});
        }
    }
    Case alphaAlone = alike(2, TOV_DEPTH_8U, 1, 4, 4);
    alphaAlone.images[1].alpha = 1;
    expectRefusal(alphaAlone, [](Scene& s) { blur(s, {3, 1, 0, 0}); }, {report(-18, "bad alpha channel's number")});
}

// A single cell copies, whatever the depth, and has the reports of copying.
TEST(Blur, OfOneSampleIsACopy) {
    Case c = alike(2, TOV_DEPTH_32F, 2, 7, 5);
    Scene scene(c), want(c);
    scene.run([](Scene& s) { blur(s, {1, 1, 0, 0}); });
    want.run([](Scene& s) { tovCopy(s[0], s[1]); });
    EXPECT_EQ(scene.differences(want), "");
}

TEST(Blur, InPlaceEachTileIsReadAndWrittenOnce) {
    Case c = alike(2, TOV_DEPTH_8U, 1, 40, 16);
    c.images[0].tileWidth = c.images[0].tileHeight = 8;
    c.images[1].sameAs = 0;
    Scene scene(c);
    scene.run([](Scene& s) { blur(s, {3, 3, 1, 1}); });
    std::vector<TileEvent> writes, want;
    for (const TileEvent& event : scene.server.log) {
        if (event.mode == TOV_TILE_WRITE) writes.push_back(event);
    }
    // Four results wait; at the end they are written in the order of their places.
    for (int32_t tile : {0, 1, 2, 3, 4, 5, 8, 9, 6, 7}) want.push_back({0, tile / 2, tile % 2, TOV_TILE_WRITE});
    EXPECT_EQ(writes, want);
    EXPECT_EQ(scene.server.held(), 0u);
}

// It ends the case of one mask, whose copy it is mistaken for a failure of, and not that of two.
TEST(Blur, AnEarlierStatusCountsWithOneMask) {
    for (bool both : {false, true}) {
        Case c = alike(2, TOV_DEPTH_8U, 1, 9, 4);
        giveMask(c, 0);
        if (both) giveMask(c, 1);
        Scene scene(c), want(c);
        scene.run([](Scene& s) {
            tovSetErrStatus(TOV_STS_BAD_ARG);
            blur(s, {3, 3, 1, 1});
        });
        if (both) blurImage(want, want.at(0), want.at(1), {3, 3, 1, 1});
        EXPECT_EQ(scene.differences(want), "");
        EXPECT_TRUE(scene.reports.empty());
        EXPECT_EQ(scene.status, TOV_STS_BAD_ARG);
    }
}

TEST(Blur, ATileThatCannotBeHadEndsTheCall) {
    const Sweep sweep = blurSweep();
    int failures[3] = {};
    for (uint64_t number = 0; number < 300 && !HasFailure(); ++number) {
        const Case c = drawCase(number, sweep.family);
        for (int n = 1, requests = n; n <= requests + 1; ++n) {
            Scene scene(c);
            scene.server.failAt = n;
            scene.run([&](Scene& s) { blur(s, boxOf(c)); });
            requests = scene.server.requests();
            if (requests < n) break;
            const std::vector<TileEvent>& log = scene.server.log;
            std::size_t at = 0; // of the n-th request in the log
            for (int seen = 0; at < log.size(); ++at) {
                if (log[at].mode != TOV_TILE_RELEASE && ++seen == n) break;
            }
            const bool write = log[at].mode == TOV_TILE_WRITE;
            const bool ofRing = !write && !scene.reports.empty() && scene.reports[0].status == -2; // else of a buffer
            const char* context = write    ? "Error get tile to write"
                                  : ofRing ? "Error get tile to read"
                                           : "Allocation failure";
            ++failures[write ? 0 : ofRing ? 1 : 2];
            EXPECT_EQ(scene.reports, (Reports{{write || ofRing ? -2 : -4, "tovBlur", context, "tovBlur"}})) << c;
            for (++at; at < log.size(); ++at) EXPECT_NE(log[at].mode, TOV_TILE_WRITE) << c << list(log);
            EXPECT_EQ(scene.server.held(), 0u) << c;
            EXPECT_TRUE(scene.server.faults.empty()) << c << scene.server.faults.front();
        }
    }
    for (int count : failures) EXPECT_GT(count, 20);
}

TEST(Blur, AnyBlockMayFail) {
    failEachBlock(blurSweep(), 300, 100, [](const Scene& scene, int) {
        ASSERT_FALSE(scene.reports.empty());
        ASSERT_EQ(scene.server.held(), 0u);
        ASSERT_LT(scene.status, 0);
    });
}

} // namespace
} // namespace tovtest
