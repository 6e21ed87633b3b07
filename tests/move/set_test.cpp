// Filling: values limited by depth, pixels, tile requests and reports.
#include <gtest/gtest.h>

#include "reference/move.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

Sweep setSweep() {
    Sweep sweep;
    sweep.family.roles = 1;
    sweep.family.adjust = shiftImages;
    sweep.family.depths = {TOV_DEPTH_1U,  TOV_DEPTH_1U,  TOV_DEPTH_8U, TOV_DEPTH_8S,
                           TOV_DEPTH_16U, TOV_DEPTH_16S, TOV_DEPTH_32S};
    sweep.cases = 8000;
    sweep.product = [](Scene& s) {
        const MallocWatch watch;
        tovSet(s[0], s.of.value);
        if (watch.count() > 0) s.faults.push_back("memory was taken");
    };
    sweep.model = [](Scene& s) { setImage(s, s.at(0), s.of.value); };
    sweep.mustMeet = {"masked", "tiles"};
    return sweep;
}

TEST(Set, MatchesTheModel) { runSweep(setSweep()); }

Case oneImage(uint32_t depth) { return alike(1, depth, 1, 20, 9); }

Report setReport(TovStatus status, const char* context) { return {status, "tovSet", context, "tovsce"}; }

TEST(Set, LimitsTheValueByDepth) {
    struct Row {
        uint32_t depth;
        int32_t value, want;
    };
    for (const Row& row :
         {Row{TOV_DEPTH_8U, 300, 255}, Row{TOV_DEPTH_8U, -5, 0}, Row{TOV_DEPTH_8S, 300, 127},
          Row{TOV_DEPTH_8S, -300, -128}, Row{TOV_DEPTH_16S, 40000, 32767}, Row{TOV_DEPTH_16U, 40000, 40000},
          Row{TOV_DEPTH_16U, INT32_MAX, 65535}, Row{TOV_DEPTH_32S, INT32_MIN, INT32_MIN}, Row{TOV_DEPTH_1U, 7, 1},
          Row{TOV_DEPTH_1U, -1, 0}, Row{TOV_DEPTH_1U, 2, 1}}) {
        Scene scene(oneImage(row.depth));
        tovSet(scene[0], row.value);
        for (int32_t x = 0; x < 20; ++x) EXPECT_EQ(getSample(scene.at(0), x, 8, 0), row.want) << row.value;
    }
}

TEST(Set, Refuses) {
    const auto fill = [](Scene& s) { tovSet(s[0], 1); };
    Case c = oneImage(TOV_DEPTH_32F);
    expectRefusal(c, fill, {setReport(-17, "You should use tovSetFP for this image")});
    c.images[0].tileWidth = c.images[0].tileHeight = 8;
    expectRefusal(c, fill, {setReport(-17, "You should use tovSetFP for this image")});
    c.images[0].origin = 5;
    expectRefusal(c, fill, {setReport(-20, "Incorrect Image")});
    expectRefusal(c, [](Scene&) { tovSet(nullptr, 1); }, {setReport(-9, "Incorrect Image")});
}

// Filling itself doesn't look at an earlier failure; bits under a mask are set by inner operations, whose failure is
// told by the status alone.
TEST(Set, AfterAnEarlierFailure) {
    Case c = oneImage(TOV_DEPTH_1U);
    c.images.push_back(c.images[0]);
    for (bool masked : {false, true}) {
        for (int32_t value : {0, 1}) {
            c.images[0].mask = masked ? 1 : -1;
            Scene scene(c), want(c);
            scene.run([&](Scene& s) {
                tovSetErrStatus(-77);
                tovSet(s[0], value);
            });
            setImage(want, want.at(0), value);
            EXPECT_EQ(scene.differences(want), "");
            EXPECT_EQ(scene.reports, masked ? Reports{setReport(-1, "")} : Reports{});
            EXPECT_EQ(scene.status, -77);
        }
    }
}

TEST(Set, EachTileFailsInTurn) {
    failEachTile(setSweep(), 300, false, [](const Case& c, const TileEvent&) {
        const bool bands = c.images[0].depth == TOV_DEPTH_1U && c.images[0].mask >= 0;
        if (!bands) return Reports{setReport(-2, "Error get tile to write")};
        const bool sets = c.value > 0;
        return Reports{{-5, sets ? "tovOr" : "tovAnd", "(dstImage->tileInfo->tileData == ((void*)(0)))",
                        sets ? "tovor" : "tovand"},
                       setReport(-1, "")};
    });
}

} // namespace
} // namespace tovtest
