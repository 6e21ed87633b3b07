// Zooming and resizing: pixels, tile requests, reports, and what happens when a tile or a block can't be had.
#include <gtest/gtest.h>

#include <algorithm>

#include "reference/zoom.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

Rates ratesOf(const Case& c) {
    Rng rng(c.number);
    const bool enlarge = rng.oneIn(2);
    const auto draw = [&](int32_t& dst, int32_t& src) {
        src = rng.oneIn(2) ? 1 : rng.between(1, 12);
        dst = rng.oneIn(3) ? src * rng.between(1, 5) : src + rng.between(0, 2 * src + 1);
        if (rng.oneIn(6)) { // positions lie a little below whole numbers
            src = 5000000;
            dst = src + rng.between(1, 5);
        }
        if (!enlarge && rng.oneIn(2)) std::swap(dst, src);
    };
    Rates rates{};
    draw(rates.xDst, rates.xSrc);
    draw(rates.yDst, rates.ySrc);
    rates.mode = rng.between(TOV_INTER_NN, TOV_INTER_CUBIC);
    return rates;
}

// Both operations run one core.
bool byResize(const Case& c, const Rates& r) { return r.xDst < r.xSrc || r.yDst < r.ySrc || c.number % 3 == 0; }
void zoom(Scene& s, const Rates& r) {
    const auto call = byResize(s.of, r) ? tovResize : tovZoom;
    call(s[0], s[1], r.xDst, r.xSrc, r.yDst, r.ySrc, r.mode);
}
const Report kBacktrace{-1, "tovResize", "", "tovresiz"};

// A report, and what tovResize adds to it.
Reports reportsOf(const Case& c, TovStatus status, const char* context) {
    Reports reports{{status, "tovZoom", context, "tovZoom"}};
    if (byResize(c, ratesOf(c))) reports.push_back(kBacktrace);
    return reports;
}

Sweep zoomSweep() {
    Sweep sweep;
    sweep.family.roles = 2;
    sweep.family.depths = {TOV_DEPTH_1U, TOV_DEPTH_8U, TOV_DEPTH_16U};
    sweep.family.overlaps = false;
    sweep.family.adjust = [](Case& c, Rng& rng) {
        ImageForm &src = c.images[0], &dst = c.images[1];
        if (!rng.oneIn(8)) dst.sameAs = -1;
        dst.order = rng.oneIn(20) ? 1 - src.order : src.order;
        if (rng.oneIn(20) && dst.alpha == 0 && dst.bits() > 1) dst.nChannels = std::max(dst.nChannels, src.nChannels);
        for (std::size_t i = 2; i < c.images.size(); ++i) {
            if (!rng.oneIn(20)) c.images[i].order = TOV_DATA_ORDER_PIXEL; // the only one that a source's mask may have
        }
        for (int32_t& mode : src.borderMode) mode = TOV_BORDER_CONSTANT; // nearest pixels are copied from beyond edges
        if (rng.oneIn(3)) src.fill = Fill::areas;                        // results come close to whole numbers
    };
    sweep.cases = 12000;
    sweep.product = [](Scene& s) { zoom(s, ratesOf(s.of)); };
    sweep.model = [](Scene& s) {
        zoomImage(s, s.at(0), s.at(1), ratesOf(s.of));
        if (!s.reports.empty() && byResize(s.of, ratesOf(s.of))) s.reports.push_back(kBacktrace);
    };
    sweep.mustMeet = {
        "mode 0",      "mode 1",          "mode 2", "from tiles, mode 0", "from tiles, mode 1", "from tiles, mode 2",
        "source mask", "destination mask"};
    return sweep;
}

TEST(Zoom, MatchesTheModel) { runSweep(zoomSweep()); }

// Rows of several blocks of values.
TEST(Zoom, WideImages) {
    Sweep sweep = zoomSweep();
    const auto adjust = sweep.family.adjust;
    sweep.family.adjust = [adjust](Case& c, Rng& rng) {
        adjust(c, rng);
        for (ImageForm& image : c.images) {
            image.width += 900;
            image.roi.width += rng.between(200, 900);
        }
    };
    sweep.cases = 200;
    sweep.mustMeet = {};
    runSweep(sweep);
}

// The last pixel is reached exactly, cubics overshoot and are limited, and two pixels make four.
TEST(Zoom, WorkedOutByHand) {
    Case c = alike(2, TOV_DEPTH_8U, 1, 10, 4);
    const auto zoomed = [&](std::vector<int> values, int32_t mode) {
        c.images[0].width = static_cast<int32_t>(values.size());
        Scene scene(c);
        const TestImage &src = scene.at(0), &dst = scene.at(1);
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < src.header.width; ++x) setSample(src, x, y, 0, values[static_cast<std::size_t>(x)]);
        }
        scene.run([mode](Scene& s) { tovZoom(s[0], s[1], 2, 1, 1, 1, mode); });
        std::vector<int> row;
        for (int x = 0; x < 2 * src.header.width; ++x) row.push_back(static_cast<int>(getSample(dst, x, 0, 0)));
        return row;
    };
    EXPECT_EQ(zoomed({10, 20, 40}, TOV_INTER_LINEAR), (std::vector<int>{10, 14, 18, 24, 32, 40}));
    EXPECT_EQ(zoomed({5, 7}, TOV_INTER_NN), (std::vector<int>{5, 5, 7, 7}));
    EXPECT_EQ(zoomed({0, 255, 255, 0}, TOV_INTER_CUBIC)[3], 255);
    EXPECT_EQ(zoomed({9, 9, 9, 9, 200}, TOV_INTER_CUBIC)[9], 200);
}

TEST(Zoom, RefusesInOrder) {
    struct Fault {
        void (*make)(Case& c, Rates& rates);
        const char* context;
    };
    const std::vector<Fault> faults = {
        {[](Case&, Rates& r) { r.mode = -1; },
         "interpolate != TOV_INTER_NN && interpolate != TOV_INTER_LINEAR && interpolate != TOV_INTER_CUBIC"},
        {[](Case& c, Rates&) { c.images[1].depth = TOV_DEPTH_16U; }, "srcImage->depth != dstImage->depth"},
        {[](Case& c, Rates&) { c.images[0].depth = TOV_DEPTH_8S; },
         "srcImage->depth != TOV_DEPTH_1U && srcImage->depth != TOV_DEPTH_8U && srcImage->depth != TOV_DEPTH_16U"},
        {[](Case& c, Rates&) { c.images[1].order = 1; }, "srcImage->dataOrder != dstImage->dataOrder"},
        {[](Case&, Rates& r) { r.xSrc = 0; }, "xDst <= 0 || xSrc <= 0"},
        {[](Case&, Rates& r) { r.ySrc = -1; }, "yDst <= 0 || ySrc <= 0"},
    };
    const auto report = [](const char* context) { return Report{-5, "tovZoom", context, "tovZoom"}; };
    Case all = alike(2, TOV_DEPTH_8U, 3, 20, 9);
    Rates worst{2, 1, 2, 1, TOV_INTER_CUBIC};
    Reports every;
    const auto refuse = [&](const Case& c, const Rates& r, Reports want) {
        expectRefusal(
            c, [r](Scene& s) { tovZoom(s[0], s[1], r.xDst, r.xSrc, r.yDst, r.ySrc, r.mode); }, want);
        want.push_back(kBacktrace);
        expectRefusal(
            c, [r](Scene& s) { tovResize(s[0], s[1], r.xDst, r.xSrc, r.yDst, r.ySrc, r.mode); }, want);
    };
    for (const Fault& fault : faults) {
        Case c = alike(2, TOV_DEPTH_8U, 3, 20, 9);
        Rates r{2, 1, 2, 1, TOV_INTER_CUBIC};
        fault.make(c, r);
        fault.make(all, worst);
        every.push_back(report(fault.context));
        if (c.images[0].depth == TOV_DEPTH_8S) c.images[1].depth = TOV_DEPTH_8S;
        refuse(c, r, {every.back()});
    }
    refuse(all, worst, every);
    const Case c = alike(2, TOV_DEPTH_8U, 3, 20, 9);
    expectRefusal(c, [](Scene& s) { tovZoom(s[0], nullptr, 1, 1, 1, 2, 7); }, {report("xDst < xSrc || yDst < ySrc")});
    expectRefusal(c, [](Scene& s) { tovZoom(s[0], nullptr, 1, 1, 1, 1, 7); },
                  {{-9, "tovZoom", "Incorrect Image", "tovZoom"}});
    expectRefusal(c, [](Scene& s) { tovZoom(s[0], s[0], 1, 1, 1, 1, 2); },
                  {report("This function isn`t in-plase function")});
    expectRefusal(c, [](Scene& s) { tovResize(s[0], s[1], 2, 1, 1, 1, TOV_INTER_SUPER); },
                  {{-5, "tovResize", "(interpolate == TOV_INTER_SUPER) && (xDst > xSrc || yDst > ySrc)", "tovresiz"}});
    expectRefusal(c, [](Scene& s) { tovResize(s[0], s[0], 1, 1, 1, 1, TOV_INTER_SUPER); },
                  {{-5, "tovDecimate", "srcImage == dstImage", "tovdecim"}, kBacktrace});
    expectRefusal(alike(2, TOV_DEPTH_8U, 3, 20, 9),
                  [](Scene& s) { // whatever the handler makes of the status
                      s[0]->depth = TOV_DEPTH_16U;
                      const ForgivingHandler handler;
                      zoom(s, {1, 1, 1, 1, TOV_INTER_NN});
                      s[0]->depth = TOV_DEPTH_8U;
                  },
                  {});
    Scene scene(c);
    const Scene untouched(c);
    scene.run([](Scene& s) { // an earlier failure ends the call in silence, but for a level above
        tovSetErrStatus(-3);
        tovZoom(s[0], s[1], 2, 1, 1, 1, TOV_INTER_NN);
        tovResize(s[0], s[1], 2, 1, 1, 1, TOV_INTER_NN);
    });
    EXPECT_EQ(scene.differences(untouched), "");
    EXPECT_EQ(scene.reports, Reports{kBacktrace});
}

// A mask whose region begins as far beyond it as can be.
TEST(Zoom, LeavesAllWithoutAMaskedPixel) {
    for (int role : {0, 1}) {
        Case c = alike(2, TOV_DEPTH_8U, 1, 20, 9);
        ImageForm& mask = c.images[giveMask(c, role)];
        mask.hasRoi = true;
        mask.roi = {0, INT32_MAX, INT32_MAX, 5, 5};
        mask.width = mask.height = 1;
        expectRefusal(c, [](Scene& s) { tovZoom(s[0], s[1], 2, 1, 1, 1, TOV_INTER_CUBIC); }, {});
    }
}

// A source's mask in plane order can't be scaled: it stays cleared where the handler lets the call go on, which is told
// of once.
TEST(Zoom, GoesOnAfterAFailedMask) {
    Case c = alike(2, TOV_DEPTH_8U, 1, 20, 9);
    c.images[giveMask(c, 0)].order = TOV_DATA_ORDER_PLANE;
    Scene scene(c);
    const Scene untouched(c);
    scene.run([](Scene& s) { tovZoom(s[0], s[1], 2, 1, 1, 1, TOV_INTER_LINEAR); }, 0);
    EXPECT_EQ(scene.differences(untouched), "");
    EXPECT_EQ(scene.reports, (Reports{{-5, "tovZoom", "srcImage->dataOrder != dstImage->dataOrder", "tovZoom"},
                                      kBacktrace,
                                      {-1, "tovZoom", "", "tovZoom"}}));
}

TEST(Zoom, ATileThatCannotBeHadEndsTheCall) {
    failEachTile(zoomSweep(), 500, false, [](const Case& c, const TileEvent& failed) {
        return reportsOf(c, -2, failed.mode == TOV_TILE_READ ? "Error get tile to read" : "Error get tile to write");
    });
}

TEST(Zoom, AnyBlockMayFail) {
    failEachBlock(zoomSweep(), 400, 500, [](const Scene& scene, int) {
        ASSERT_FALSE(scene.reports.empty());
        const Report& first = scene.reports[0];
        if (first.status == TOV_STS_BAD_ARG) return; // refused in any case
        ASSERT_TRUE(first.context == "Out of memory" || first.context == "Error get tile to read") << first;
        ASSERT_EQ(scene.server.held(), 0u);
        ASSERT_EQ(scene.status, first.status);
    });
}

} // namespace
} // namespace tovtest
