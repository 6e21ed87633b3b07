// Decimation: pixels, tile requests, reports, and what happens when a tile or a block can't be had.
#include <gtest/gtest.h>

#include <algorithm>

#include "reference/decimate.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

// Those whose areas have a form of their own: 2 or 3 for one less.
Rates evenRates(int32_t src) { return {src - 1, src, src - 1, src, TOV_INTER_SUPER}; }

Rates ratesOf(const Case& c) {
    Rng rng(c.number);
    if (rng.oneIn(6)) return evenRates(rng.between(2, 3));
    const auto draw = [&rng](int32_t& dst, int32_t& src) {
        dst = rng.oneIn(3) ? 1 : rng.between(1, 12);
        if (rng.oneIn(12)) dst = rng.pick({700, 100003, 9999991}); // boxes end a little beyond whole positions
        src = rng.oneIn(4) ? dst * rng.between(1, 4) : rng.oneIn(3) ? dst + 1 : dst + rng.between(0, 2 * dst + 3);
    };
    Rates rates{};
    draw(rates.xDst, rates.xSrc);
    if (rng.oneIn(5)) rates.xSrc = rates.xDst * rng.between(7, 20); // more than a tile holds
    draw(rates.yDst, rates.ySrc);
    rates.mode = rng.between(TOV_INTER_NN, TOV_INTER_SUPER);
    return rates;
}

void decimate(Scene& s, const Rates& r) { tovDecimate(s[0], s[1], r.xDst, r.xSrc, r.yDst, r.ySrc, r.mode); }

Sweep decimateSweep() {
    Sweep sweep;
    sweep.family.roles = 2;
    sweep.family.depths = {TOV_DEPTH_1U, TOV_DEPTH_8U, TOV_DEPTH_16U};
    sweep.family.oneOrigin = true;
    sweep.family.overlaps = false;
    sweep.family.adjust = [](Case& c, Rng& rng) {
        ImageForm &src = c.images[0], &dst = c.images[1];
        if (!rng.oneIn(8)) dst.sameAs = -1;
        dst.order = rng.oneIn(20) ? 1 - src.order : src.order;
        if (rng.oneIn(20)) dst.origin = 1 - src.origin;
        if (rng.oneIn(3)) src.height = rng.between(20, 60);
        if (rng.oneIn(3)) dst.nChannels = std::max(dst.alpha, dst.nChannels);
        for (int32_t& mode : src.borderMode) mode = TOV_BORDER_CONSTANT; // whole tiles are copied, edges included
    };
    sweep.cases = 12000;
    sweep.product = [](Scene& s) { decimate(s, ratesOf(s.of)); };
    sweep.model = [](Scene& s) { decimateImage(s, s.at(0), s.at(1), ratesOf(s.of)); };
    sweep.mustMeet = {"mode 0",        "mode 1",        "mode 2",        "mode 3",
                      "tiles, mode 0", "tiles, mode 1", "tiles, mode 2", "tiles, mode 3"};
    return sweep;
}

TEST(Decimate, MatchesTheModel) { runSweep(decimateSweep()); }

// A box of 10, 20, 30 and 41, and steps of 1.5 pixels.
TEST(Decimate, WorkedOutByHand) {
    Case c = alike(2, TOV_DEPTH_8U, 1, 8, 4);
    Scene scene(c);
    TovImage *src = scene[0], *dst = scene[1];
    for (int x = 0; x < 8; ++x) {
        for (int y = 0; y < 4; ++y)
            src->imageData[y * 8 + x] = static_cast<uint8_t>(10 + 10 * x + 20 * (y & 1) + (x == 1) * (y == 1));
    }
    scene.run([](Scene& s) { decimate(s, {1, 2, 1, 2, TOV_INTER_SUPER}); });
    EXPECT_EQ(dst->imageData[0], 25);
    scene.run([](Scene& s) { decimate(s, {2, 3, 1, 1, TOV_INTER_NN}); });
    for (int x = 0; x < 4; ++x) EXPECT_EQ(dst->imageData[x], 10 + 10 * (x * 3 / 2 + x % 2)) << x; // 0, 2, 3, 5
    scene.run([](Scene& s) { decimate(s, {1, 2, 1, 2, TOV_INTER_CUBIC}); });
    for (int x = 0; x < 4; ++x) EXPECT_EQ(dst->imageData[x], 10 + 20 * x);
}

// Wide images, of several blocks of columns, half of them at the rates whose areas have a form of their own.
TEST(Decimate, WideImages) {
    Sweep sweep = decimateSweep();
    const auto rates = [](const Case& c) {
        return c.number % 2 == 0 ? evenRates(c.number % 4 == 0 ? 2 : 3) : ratesOf(c);
    };
    sweep.product = [rates](Scene& s) { decimate(s, rates(s.of)); };
    sweep.model = [rates](Scene& s) { decimateImage(s, s.at(0), s.at(1), rates(s.of)); };
    const auto adjust = sweep.family.adjust;
    sweep.family.adjust = [adjust](Case& c, Rng& rng) {
        adjust(c, rng);
        c.images[1].sameAs = -1;
        for (int i : {0, 1}) {
            c.images[i].width = rng.between(500, 3000);
            c.images[i].height = rng.between(1, 9);
            c.images[i].roi.width += 3000;
        }
    };
    sweep.cases = 400;
    sweep.mustMeet = {};
    runSweep(sweep);
}

Report report(TovStatus status, const char* context) { return {status, "tovDecimate", context, "tovdecim"}; }

TEST(Decimate, RefusesInOrder) {
    struct Fault {
        void (*make)(Case& c, Rates& rates);
        const char* context;
    };
    const std::vector<Fault> faults = {
        {[](Case& c, Rates&) { c.images[1].depth = TOV_DEPTH_16U; }, "srcImage->depth != dstImage->depth"},
        {[](Case& c, Rates&) { c.images[0].depth = TOV_DEPTH_8S; },
         "srcImage->depth != TOV_DEPTH_1U && srcImage->depth != TOV_DEPTH_8U && srcImage->depth != TOV_DEPTH_16U"},
        {[](Case& c, Rates&) { c.images[1].origin = 1; }, "srcImage->origin != dstImage->origin"},
        {[](Case& c, Rates&) { c.images[1].order = 1; }, "srcImage->dataOrder != dstImage->dataOrder"},
        {[](Case& c, Rates&) { c.images[0].roi.coi = 1; }, "srcImage->roi->coi > 0 && dstImage->roi == ((void *)0)"},
        {[](Case&, Rates& r) { r.mode = 4; },
         "interpolate != TOV_INTER_NN, TOV_INTER_LINEAR, TOV_INTER_CUBIC or TOV_INTER_SUPER"},
        {[](Case&, Rates& r) { r.xDst = -1; }, "xDst <= 0"},
        {[](Case&, Rates& r) { r.xSrc = -5; }, "xSrc <= 0"},
        {[](Case&, Rates& r) { r.yDst = -1; }, "yDst <= 0"},
        {[](Case&, Rates& r) { r.ySrc = 0; }, "ySrc <= 0"},
        {[](Case&, Rates& r) { r.xSrc = -7; }, "xDst > xSrc"},
        {[](Case&, Rates& r) { r.ySrc = -7; }, "yDst > ySrc"},
    };
    for (std::size_t i = 0; i < faults.size(); ++i) {
        for (std::size_t j = i; j < faults.size(); ++j) { // both are reported, whatever else they make wrong
            Case c = alike(2, TOV_DEPTH_8U, 3, 20, 9);
            c.images[0].hasRoi = true;
            c.images[0].roi = {0, 0, 0, 20, 9};
            Rates rates{1, 2, 1, 2, TOV_INTER_SUPER};
            faults[i].make(c, rates);
            faults[j].make(c, rates);
            Scene scene(c);
            const Scene untouched(c);
            scene.run([&](Scene& s) { decimate(s, rates); });
            EXPECT_EQ(scene.differences(untouched), "");
            const auto find = [&](const Fault& fault) {
                return std::find(scene.reports.begin(), scene.reports.end(), report(-5, fault.context));
            };
            EXPECT_LE(find(faults[i]), find(faults[j])) << i << " " << j;
            EXPECT_NE(find(faults[j]), scene.reports.end()) << i << " " << j;
        }
    }
    Case c = alike(2, TOV_DEPTH_8U, 1, 20, 9);
    expectRefusal(c,
                  [](Scene& s) {
                      decimate(s, {0, 2, 1, 2, 9});
                  },
                  {report(-5, faults[5].context), report(-5, faults[6].context)});
    expectRefusal(c, [](Scene& s) { tovDecimate(s[0], nullptr, 1, 1, 1, 1, 7); }, {report(-9, "Incorrect Image")});
    expectRefusal(alike(2, TOV_DEPTH_8U, 3, 20, 9),
                  [](Scene& s) { // whatever the handler makes of the status
                      s[0]->depth = TOV_DEPTH_16U;
                      const ForgivingHandler handler;
                      decimate(s, {1, 1, 1, 1, TOV_INTER_NN});
                      s[0]->depth = TOV_DEPTH_8U;
                  },
                  {});
    Scene scene(c);
    const Scene untouched(c);
    scene.run([](Scene& s) { // an earlier failure ends the call in silence
        tovSetErrStatus(-3);
        decimate(s, {1, 2, 1, 2, TOV_INTER_NN});
    });
    EXPECT_EQ(scene.differences(untouched), "");
    EXPECT_TRUE(scene.reports.empty());
}

TEST(Decimate, ATileThatCannotBeHadEndsTheCall) {
    const auto reportsOf = [](const Case&, const TileEvent& failed) {
        return Reports{report(-3, failed.mode == TOV_TILE_READ ? "srcImage->tileInfo->callBack crash"
                                                               : "dstImage->tileInfo->callBack crash")};
    };
    failEachTile(decimateSweep(), 400, false, reportsOf, true);
}

TEST(Decimate, AnyBlockMayFail) {
    failEachBlock(decimateSweep(), 600, 50, [](const Scene& scene, int) {
        ASSERT_EQ(scene.reports, Reports{report(-3, "srcImage->tileInfo->callBack crash")});
    });
}

} // namespace
} // namespace tovtest
