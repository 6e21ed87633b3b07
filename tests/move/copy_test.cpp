// Copying: pixels, tile requests, reports and what happens when a step fails.
#include <gtest/gtest.h>

#include "reference/move.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

Sweep copySweep() {
    Sweep sweep;
    sweep.family.roles = 2;
    sweep.family.oneOrigin = true;
    sweep.family.adjust = [](Case& c, Rng& rng) {
        ImageForm &src = c.images[0], &dst = c.at(1);
        if (src.nChannels == 1 && dst.nChannels == 1 && rng.oneIn(3)) dst.order = 1 - src.order; // no matter
        for (ImageForm& form : c.images) {
            if (form.depth == TOV_DEPTH_32F) form.fill = Fill::bytes; // bits are moved, whatever they mean
        }
        shiftImages(c, rng);
    };
    sweep.cases = 10000;
    sweep.product = [](Scene& s) {
        const TovImage *src = s[0], *dst = s[1];
        const bool merges = src->maskROI && dst->maskROI && src->maskROI != dst->maskROI;
        const bool composes = src->depth == TOV_DEPTH_1U && (src->maskROI || dst->maskROI);
        const MallocWatch watch;
        tovCopy(s[0], s[1]);
        if (watch.count() > 0 && !merges && !composes && !(src->tileInfo && dst->tileInfo)) {
            s.faults.push_back("memory was taken without need");
        }
    };
    sweep.model = [](Scene& s) { copyImage(s, s.at(0), s.at(1)); };
    sweep.mustMeet = {"runs", "pixels", "tiles", "masked", "composed", "overlap"};
    return sweep;
}

TEST(Copy, MatchesTheModel) { runSweep(copySweep()); }

Case twoImages(int32_t nChannels = 3, uint32_t depth = TOV_DEPTH_8U) { return alike(2, depth, nChannels, 20, 9); }

void copyBoth(Scene& s) { tovCopy(s[0], s[1]); }

Report copyReport(TovStatus status, const char* context) { return {status, "tovCopy", context, "tovsce"}; }

TEST(Copy, ReportsWhatDoesNotMatch) {
    const Report depth = copyReport(-5, "srcImage->depth != dstImage->depth");
    const Report origin = copyReport(-5, "srcImage->origin != dstImage->origin");
    const Report order = copyReport(-5, "srcImage->dataOrder != dstImage->dataOrder");
    const Report channels = copyReport(-5,
                                       "Number of processed channels of srcImage != Number of processed channels "
                                       "of dstImage");
    for (int bits = 1; bits < 8; ++bits) { // all that differ are reported, one after the other
        Case c = twoImages();
        Reports want;
        if (bits & 1) c.images[1].depth = TOV_DEPTH_8S, want.push_back(depth);
        if (bits & 2) c.images[1].origin = 1, want.push_back(origin);
        if (bits & 4) c.images[1].order = 1, want.push_back(order);
        expectRefusal(c, copyBoth, want);
    }
    const auto differing = [&](auto&& change, const Report& want) {
        Case c = twoImages();
        change(c.images[0], c.images[1]);
        expectRefusal(c, copyBoth, {want});
        c.images[1].tileWidth = c.images[1].tileHeight = 16; // one report all the same
        Scene tiled(c);
        tiled.run(copyBoth);
        EXPECT_EQ(tiled.reports, Reports{want});
        EXPECT_EQ(tiled.differences(Scene(c)), "");
    };
    differing([](ImageForm&, ImageForm& b) { b.nChannels = 4; }, channels);
    differing([](ImageForm& a, ImageForm&) { a.alpha = 3; }, channels);
    differing([](ImageForm& a, ImageForm&) { a.hasRoi = true, a.roi = {1, 0, 0, 9, 9}; }, channels);
    differing([](ImageForm& a, ImageForm&) { a.alpha = 2; }, copyReport(-18, "Incorrect Image"));
    differing([](ImageForm& a, ImageForm& b) { b.align = 3, a.alpha = 2; }, copyReport(-18, "Incorrect Image"));
    differing([](ImageForm&, ImageForm& b) { b.align = 3, b.origin = 1; }, copyReport(-21, "Incorrect Image"));
    expectRefusal(twoImages(), [](Scene& s) { tovCopy(nullptr, s[1]); }, {copyReport(-9, "Incorrect Image")});
    expectRefusal(twoImages(), [](Scene& s) { tovCopy(s[0], nullptr); }, {copyReport(-9, "Incorrect Image")});
}

TEST(Copy, DoesNothingWithAnEarlierFailure) {
    for (TovStatus earlier : {-77, 3}) {
        Scene scene(twoImages()), want(twoImages());
        scene.run([&](Scene& s) {
            tovSetErrStatus(earlier);
            tovCopy(s[0], s[1]);
        });
        if (earlier > 0) copyImage(want, want.at(0), want.at(1));
        EXPECT_EQ(scene.differences(want), "");
        EXPECT_EQ(scene.status, earlier);
        EXPECT_TRUE(scene.reports.empty());
    }
}

// The two masks are merged first, so a block that can't be had is found there.
TEST(Copy, MergingMasksWithoutMemory) {
    const auto failing = [](int n) {
        return [n](Scene& s) {
            const MallocWatch watch(n);
            tovCopy(s[0], s[1]);
        };
    };
    const Report noHeader{-5, "tovAllocateImage", "( image == ((void *)0) )", "tovalloc"};
    Case c = twoImages();
    giveMask(c, 0);
    giveMask(c, 1);
    expectRefusal(c, failing(1), {noHeader, copyReport(-1, "")});
    expectRefusal(c, failing(2), {{-12, "tovAnd", "Incorrect Image", "tovand"}, copyReport(-1, "")});
    Case bits = twoImages(1, TOV_DEPTH_1U); // the temporary of the composition
    giveMask(bits, 1);
    expectRefusal(bits, failing(1), {noHeader});
    expectRefusal(bits, failing(2), // each step finds that it has no pixels
                  {copyReport(-12, "Incorrect Image"),
                   {-112, "tovSet", "Incorrect Image", "tovsce"},
                   {-12, "tovAnd", "Incorrect Image", "tovand"},
                   {-112, "tovOr", "Incorrect Image", "tovor"},
                   copyReport(-1, "")});
}

// Whatever block fails, under whatever answer of the handler: a report or a full result, nothing outside is touched,
// headers and masks come back, and nothing leaks.
TEST(Copy, AnyBlockMayFail) {
    const Sweep sweep = copySweep();
    int failures = 0;
    for (uint64_t number = 0; number < 400; ++number) {
        const Case c = drawCase(number, sweep.family);
        const bool composed = c.images[0].depth == TOV_DEPTH_1U;
        const Scene before(c);
        Scene done(c);
        copyImage(done, done.at(0), done.at(1));
        for (int n = 1, blocks = n; n <= blocks + 1; ++n) { // a call that stops has taken n
            for (TovStatus answer : {1, 0}) {
                Scene scene(c);
                scene.run(
                    [&](Scene& s) {
                        const MallocWatch watch(n);
                        tovCopy(s[0], s[1]);
                        blocks = watch.count();
                    },
                    answer);
                if (blocks < n) {
                    ASSERT_EQ(scene.differences(done), "") << c;
                    continue;
                }
                ++failures;
                ASSERT_FALSE(scene.reports.empty()) << c << "\nblock " << n;
                ASSERT_EQ(scene.server.held(), 0u) << c;
                ASSERT_TRUE(scene.server.faults.empty()) << c;
                for (const auto& image : scene.images) {
                    ASSERT_TRUE(!image || image->changes().empty()) << c << "\nblock " << n;
                }
                const bool tiled = c.images[0].tileWidth > 0 || c.at(1).tileWidth > 0;
                if (answer == 1 && !tiled && (!composed || n <= 2)) {
                    ASSERT_EQ(scene.differences(before), "") << c << "\nblock " << n;
                }
            }
        }
    }
    EXPECT_GT(failures, 100);
}

TEST(Copy, EachTileFailsInTurn) {
    const Sweep sweep = copySweep();
    for (uint64_t number = 0; number < 250 && !HasFailure(); ++number) {
        const Case c = drawCase(number, sweep.family);
        if (c.images[0].depth == TOV_DEPTH_1U && (c.images[0].mask >= 0 || c.at(1).mask >= 0)) continue;
        failEachTile(c, sweep, false, [&](const TileEvent& failed) {
            if (failed.mode == TOV_TILE_WRITE) return Reports{copyReport(-2, "Error get tile to write")};
            if (c.at(1).tileWidth == 0) return Reports{copyReport(-2, "Error get tile to read")};
            return Reports{copyReport(-1, "")};
        });
    }
}

// A 1-bit copy under a mask is made of other operations, and each of them reports its own tile.
TEST(Copy, ComposedBitsReportEachLevel) {
    Case c = twoImages(1, TOV_DEPTH_1U);
    for (ImageForm& form : c.images) form.tileWidth = 24, form.tileHeight = 16;
    giveMask(c, 1);
    const Report tile{-5, "tovAnd", "(dstImage->tileInfo->tileData == ((void*)(0)))", "tovand"};
    const std::vector<Reports> wants = {
        {tile, {-1, "tovSet", "", "tovsce"}, copyReport(-1, "")},
        {{-5, "tovAnd", "(srcImageA->tileInfo->tileData == ((void*)(0)))", "tovand"}, copyReport(-1, "")},
        {{-5, "tovOr", "(dstImage->tileInfo->tileData == ((void*)(0)))", "tovor"}, copyReport(-1, "")}};
    for (std::size_t n = 0; n < wants.size(); ++n) {
        Scene scene(c);
        scene.server.failAt = static_cast<int>(n) + 1;
        scene.run(copyBoth);
        EXPECT_EQ(scene.reports, wants[n]) << n;
        EXPECT_EQ(scene.status, -5);
        EXPECT_EQ(scene.server.held(), 0u);
        for (const auto& image : scene.images) EXPECT_EQ(image->changes(), "");
    }
}

} // namespace
} // namespace tovtest
