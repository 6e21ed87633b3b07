// Depth conversion: pixels, tile requests, checks, and what happens when a tile can't be had.
#include <gtest/gtest.h>

#include "reference/convert.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

const std::vector<uint32_t> kDepths = {TOV_DEPTH_8U, TOV_DEPTH_8S, TOV_DEPTH_16U, TOV_DEPTH_16S, TOV_DEPTH_32S};

Sweep convertSweep() {
    Sweep sweep;
    sweep.family.roles = 2;
    sweep.family.depths = {TOV_DEPTH_8U};
    sweep.family.adjust = [](Case& c, Rng& rng) {
        ImageForm &src = c.images[0], &dst = c.images[1];
        if (dst.sameAs >= 0) return;
        if (src.sharesWith >= 0 || dst.sharesWith >= 0) { // values go row by row, channel by channel
            const ImageForm own = dst;
            dst = src;
            dst.origin = own.origin, dst.sharesWith = own.sharesWith, dst.shift = own.shift, dst.mask = own.mask;
            return;
        }
        const auto depth = [&] { return kDepths[static_cast<std::size_t>(rng.between(0, 4))]; };
        src.depth = depth(), dst.depth = depth();
        dst.width = src.width, dst.height = src.height, dst.origin = rng.between(0, 1), dst.order = rng.between(0, 1);
        if (rng.oneIn(3)) dst.depth = TOV_DEPTH_1U;
        if (rng.oneIn(6)) src.depth = dst.depth = TOV_DEPTH_1U;
        if (src.depth == TOV_DEPTH_1U) src.nChannels = 1, src.alpha = 0, src.roi.coi = 0;
        dst.nChannels = dst.depth == TOV_DEPTH_1U ? 1 : src.nChannels;
        dst.alpha = 0, dst.roi.coi = 0; // a region doesn't matter, except for the channel that becomes bits
        if (dst.depth == TOV_DEPTH_1U && src.nChannels > 1) {
            if (!src.hasRoi) src.hasRoi = true, src.roi = {0, 1, 1, 1, 1};
            src.roi.coi = rng.between(1, src.nChannels);
        }
    };
    sweep.cases = 12000;
    sweep.product = [](Scene& s) { tovConvert(s[0], s[1]); };
    sweep.model = [](Scene& s) { convertImage(s, s.at(0), s.at(1)); };
    sweep.mustMeet = {"tiles", "plain", "bit copy", "to bits", "flipped", "straight", "overlap"};
    return sweep;
}

TEST(Convert, MatchesTheModel) { runSweep(convertSweep()); }

Report convertReport(TovStatus status, const char* context) {
    return {status, "tovConvert", context, "..\\_SRC\\tovcvrt"};
}

TEST(Convert, RefusesInOrder) {
    struct Fault {
        void (*make)(ImageForm& src, ImageForm& dst);
        Report want;
    };
    const std::vector<Fault> faults = {
        {[](ImageForm& src, ImageForm&) { src.align = 3; }, convertReport(-21, "Incorrect Image")},
        {[](ImageForm&, ImageForm& dst) { dst.align = 5; }, convertReport(-21, "Incorrect Image")},
        {[](ImageForm& src, ImageForm&) { src.depth = TOV_DEPTH_32F; }, convertReport(-5, "(srcImage->depth == 32)")},
        {[](ImageForm&, ImageForm& dst) { dst.depth = TOV_DEPTH_32F; }, convertReport(-5, "(dstImage->depth == 32)")},
        {[](ImageForm&, ImageForm& dst) { dst.height = 8; },
         convertReport(-5, "(srcImage->height != dstImage->height)")},
        {[](ImageForm&, ImageForm& dst) { dst.width = 13; }, convertReport(-5, "(srcImage->width != dstImage->width)")},
        {[](ImageForm&, ImageForm& dst) { dst.nChannels = 4; },
         convertReport(-5, "srcImage->nChannels != dstImage->nChannels")},
    };
    const auto convert = [](Scene& s) { tovConvert(s[0], s[1]); };
    for (std::size_t i = 0; i < faults.size(); ++i) {
        for (std::size_t j = i; j < faults.size(); ++j) { // of two faults the earlier one is reported
            Case c = alike(2, TOV_DEPTH_16U, 3, 20, 9);
            faults[j].make(c.images[0], c.images[1]);
            faults[i].make(c.images[0], c.images[1]);
            expectRefusal(c, convert, {faults[i].want});
        }
    }
    Case c = alike(2, TOV_DEPTH_16U, 3, 20, 9);
    c.images[1].depth = TOV_DEPTH_1U, c.images[1].nChannels = 1;
    expectRefusal(c, convert, {convertReport(-5, "(srcImage->roi == 0)")});
    c.images[0].hasRoi = true, c.images[0].roi = {0, 0, 0, 20, 9};
    expectRefusal(c, convert, {convertReport(-5, "(srcImage->roi->coi == 0)")});
    c.images[0].depth = TOV_DEPTH_1U, c.images[0].nChannels = 1, c.images[1].depth = TOV_DEPTH_8U;
    expectRefusal(c, convert, {convertReport(-5, "((srcImage->depth == 1) && (srcImage->depth != dstImage->depth))")});
    c.images[1].depth = TOV_DEPTH_32F; // the same image is no fault even then
    expectRefusal(c, [](Scene& s) { tovConvert(s[1], s[1]); }, {});
}

TEST(Convert, EachTileFailsInTurn) {
    const Sweep sweep = convertSweep();
    for (uint64_t number = 0; number < 300 && !HasFailure(); ++number) {
        const Case c = drawCase(number, sweep.family);
        if (c.images[1].sameAs >= 0) continue;
        failEachTile(c, sweep, false, [](const TileEvent& failed) {
            const bool source = failed.mode == TOV_TILE_READ;
            return Reports{convertReport(
                -5, source ? "(srcImage->tileInfo->tileData == NULL)" : "(dstImage->tileInfo->tileData == NULL)")};
        });
    }
}

// A status left by an earlier call is looked at when a tile has been asked for; that tile isn't released.
TEST(Convert, AnEarlierFailureEndsTheWalk) {
    const TileEvent read{0, 0, 0, TOV_TILE_READ}, write{1, 0, 0, TOV_TILE_WRITE}, release{1, 0, 0, TOV_TILE_RELEASE};
    const std::vector<TileEvent> wants[] = {
        {}, {read}, {write, release, {1, 1, 0, TOV_TILE_WRITE}}, {write, read, release}};
    for (int tiled = 0; tiled < 4; ++tiled) {
        Case c = alike(2, TOV_DEPTH_8U, 1, 20, 9);
        for (int i = 0; i < 2; ++i) {
            if (tiled >> i & 1) c.images[i].tileWidth = c.images[i].tileHeight = 8;
        }
        Scene scene(c);
        scene.run([](Scene& s) {
            tovSetErrStatus(-77);
            tovConvert(s[0], s[1]);
        });
        EXPECT_TRUE(scene.reports.empty());
        EXPECT_EQ(scene.status, -77);
        EXPECT_EQ(scene.server.log, wants[tiled]);
        if (tiled == 0) {
            EXPECT_EQ(getSample(scene.at(1), 5, 3, 0), getSample(scene.at(0), 5, 3, 0));
        }
    }
}

} // namespace
} // namespace tovtest
