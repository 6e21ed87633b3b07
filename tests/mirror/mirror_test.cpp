// Mirroring: pixels, tile requests, reports, and what happens when a tile or a temporary can't be had.
#include <gtest/gtest.h>

#include "reference/mirror.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

Sweep mirrorSweep() {
    Sweep sweep;
    sweep.family.roles = 2;
    sweep.family.depths = {TOV_DEPTH_1U, TOV_DEPTH_8U, TOV_DEPTH_8S, TOV_DEPTH_16U, TOV_DEPTH_16S, TOV_DEPTH_32S};
    sweep.family.overlaps = false;
    sweep.family.adjust = [](Case& c, Rng& rng) {
        ImageForm &src = c.images[0], &dst = c.at(1);
        c.value = rng.between(-1, 1);
        if (rng.oneIn(8)) dst.order = 1 - src.order;
        if (c.images[1].sameAs == 0 && !rng.oneIn(8)) src.mask = -1;
    };
    sweep.cases = 8000;
    sweep.product = [](Scene& s) { tovMirror(s[0], s[1], s.of.value); };
    sweep.model = [](Scene& s) { mirrorImage(s, s.at(0), s.at(1), s.of.value); };
    sweep.mustMeet = {"in place", "between images", "into tiles", "from tiles", "moves", "stays"};
    return sweep;
}

TEST(Mirror, MatchesTheModel) { runSweep(mirrorSweep()); }

// Rows of several blocks of pixels and of mask bits.
TEST(Mirror, WideImages) {
    Sweep sweep = mirrorSweep();
    const auto adjust = sweep.family.adjust;
    sweep.family.adjust = [adjust](Case& c, Rng& rng) {
        adjust(c, rng);
        for (ImageForm& image : c.images) {
            image.width += 2200;
            image.roi.width += rng.between(400, 2200);
        }
    };
    sweep.cases = 300;
    sweep.mustMeet = {};
    runSweep(sweep);
}

// Makes bits of both images, of which one is nothing but alpha.
void alphaBits(Case& c, int role) {
    for (ImageForm& image : c.images) {
        image.depth = TOV_DEPTH_1U;
        image.nChannels = 1;
    }
    c.images[role].alpha = 1;
}

TEST(Mirror, RefusesInOrder) {
    const auto report = [](TovStatus status, const char* context) {
        return Report{status, "tovMirror", context, "tovmirr"};
    };
    struct Fault {
        void (*make)(Case& c, int32_t& axis);
        Report want;
    };
    const std::vector<Fault> faults = {
        {[](Case& c, int32_t&) { c.images[0].align = 3; }, report(-21, "Incorrect Image")},
        {[](Case& c, int32_t&) { c.images[1].align = 5; }, report(-21, "Incorrect Image")},
        {[](Case& c, int32_t&) { c.images[0].depth = TOV_DEPTH_32F; },
         report(-5, "(srcImage->depth==32||dstImage->depth==32)")},
        {[](Case& c, int32_t&) { c.images[1].depth = TOV_DEPTH_16S; },
         report(-5, "(srcImage->depth!=dstImage->depth)")},
        {[](Case&, int32_t& axis) { axis = 2; }, report(-5, "((flipAxis>1)||(flipAxis<-1))")},
        {[](Case& c, int32_t&) { alphaBits(c, 0); }, report(-5, "(srcImage->depth==1 && srcImage->alphaChannel!=0)")},
        {[](Case& c, int32_t&) { alphaBits(c, 1); }, report(-5, "(dstImage->depth==1 && dstImage->alphaChannel!=0)")},
        {[](Case& c, int32_t&) { c.images[1].nChannels = 4; }, report(-5, "(nChannelsSrc != nChannelsDst)")},
        {[](Case& c, int32_t&) { c.images[1].order = 1; }, report(-5, "(srcImage->dataOrder!=dstImage->dataOrder)")},
    };
    for (std::size_t i = 0; i < faults.size(); ++i) {
        for (std::size_t j = i; j < faults.size(); ++j) { // of two faults the earlier one is reported
            Case c = alike(2, TOV_DEPTH_16U, 3, 20, 9);
            int32_t axis = 1;
            faults[j].make(c, axis);
            faults[i].make(c, axis);
            expectRefusal(c, [axis](Scene& s) { tovMirror(s[0], s[1], axis); }, {faults[i].want});
        }
    }
    expectRefusal(alike(2, TOV_DEPTH_8U, 1, 4, 4), [](Scene& s) { tovMirror(s[0], s[1], -2); },
                  {report(-5, "((flipAxis>1)||(flipAxis<-1))")});
}

TEST(Mirror, ATileThatCannotBeHadEndsTheCall) {
    failEachTile(mirrorSweep(), 300, false, [](const Case&, const TileEvent& failed) {
        if (failed.mode == TOV_TILE_READ) return Reports{}; // the temporary can't be had
        return Reports{{-2, "tovMirror", "Error get tile to write", "tovmirr"}};
    });
}

TEST(Mirror, AnyBlockMayFail) {
    failEachBlock(mirrorSweep(), 400, 50, [](const Scene& scene, int) {
        ASSERT_EQ(scene.status, TOV_STS_NO_MEMORY);
        ASSERT_EQ(scene.server.held(), 0u);
        ASSERT_TRUE(scene.reports.empty());
    });
}

} // namespace
} // namespace tovtest
