// Contrast curves: pixels, tile requests, the checks of images and curves, and what happens when a step fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

#include "reference/hist.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

// A curve for each of up to five channels, drawn from a number: all kinds of keys, equal neighbours among them.
class Curves {
public:
    Curves(uint64_t number, int32_t histSize) {
        Rng rng(number);
        for (Curve& curve : curves) {
            const int32_t num = rng.between(2, 6);
            for (int32_t i = 0; i < num; ++i) {
                const int32_t key = rng.pick({0, 1, 127, 128, 255, 256, histSize - 1, histSize,
                                              rng.between(0, histSize), rng.between(0, histSize)});
                curve.key.push_back(key);
                curve.value.push_back(rng.pick({0, histSize - 1, histSize, -1, INT32_MAX, rng.between(0, histSize)}));
                curve.factor.push_back(rng.pick({0, 1, -1, 2, 255, INT32_MAX, rng.between(-histSize, histSize)}));
            }
            std::sort(curve.key.begin(), curve.key.end());
            curve.lut = {num, curve.key.data(), curve.value.data(), curve.factor.data(), rng.between(0, 2)};
            if (curve.lut.interpolate == 0) curve.lut.factor = nullptr; // isn't read then
            luts.push_back(&curve.lut);
        }
    }
    explicit Curves(const Case& c) : Curves(c.number, 1 << c.images[0].bits()) {}

    struct Curve {
        std::vector<int32_t> key, value, factor;
        TovLUT lut;
    };
    Curve curves[5];
    std::vector<TovLUT*> luts;
};

Sweep stretchSweep() {
    Sweep sweep;
    sweep.family.roles = 2;
    sweep.family.depths = {TOV_DEPTH_8U, TOV_DEPTH_8U, TOV_DEPTH_16U};
    sweep.family.oneOrigin = true;
    sweep.family.adjust = [](Case& c, Rng&) {
        for (ImageForm& form : c.images) form.fill = form.depth == TOV_DEPTH_8U ? Fill::bytes : form.fill;
    };
    sweep.cases = 6000;
    sweep.product = [](Scene& s) { tovContrastStretch(s[0], s[1], Curves(s.of).luts.data()); };
    sweep.model = [](Scene& s) { stretchImage(s, s.at(0), s.at(1), Curves(s.of).luts.data()); };
    sweep.mustMeet = {"planes", "pixels", "masked", "tiles", "wraps", "overlap"};
    return sweep;
}

TEST(Contrast, MatchesTheModel) { runSweep(stretchSweep()); }

Report stretchReport(TovStatus status, const char* context) {
    return {status, "tovContrastStretch", context, "tovhist"};
}

TEST(Contrast, ReportsAllThatDiffers) {
    const Report wants[] = {
        stretchReport(-5, "srcImage->depth != dstImage->depth"),
        stretchReport(-5, "srcImage->origin != dstImage->origin"),
        stretchReport(-5, "srcImage->dataOrder != dstImage->dataOrder"),
        stretchReport(-5, "srcImage->depth != TOV_DEPTH_8U && srcImage->depth != TOV_DEPTH_16U"),
        stretchReport(-5, "lut==0"),
    };
    const Curves curves(0, 256);
    for (int bits = 1; bits < 32; ++bits) {
        Case c = alike(2, bits & 8 ? TOV_DEPTH_16S : TOV_DEPTH_8U, 3, 12, 5);
        if (bits & 1) c.images[1].depth = TOV_DEPTH_8S;
        if (bits & 2) c.images[1].origin = 1;
        if (bits & 4) c.images[1].order = 1;
        Reports want;
        for (int i = 0; i < 5; ++i) {
            if (bits >> i & 1) want.push_back(wants[i]);
        }
        TovLUT* const* lut = bits & 16 ? nullptr : curves.luts.data();
        const auto call = [lut](Scene& s) { tovContrastStretch(s[0], s[1], lut); };
        expectRefusal(c, call, want);
        const auto forgiven = [&](Scene& s) { // a handler that clears the status doesn't let the call go on
            const ForgivingHandler handler;
            call(s);
        };
        expectRefusal(c, forgiven, {});
    }
    Case c = alike(2, TOV_DEPTH_8U, 3, 12, 5);
    const auto call = [&](Scene& s) { tovContrastStretch(s[0], s[1], curves.luts.data()); };
    c.images[0].align = 3, c.images[1].align = 5;
    expectRefusal(c, call, {stretchReport(-21, "Incorrect Image")});
    c.images[0].align = 4;
    expectRefusal(c, call, {stretchReport(-21, "Incorrect Image")});
    c.images[1].align = 4, c.images[1].nChannels = 4;
    expectRefusal(c, call,
                  {stretchReport(-5,
                                 "Number of processed channels of srcImage != Number of processed "
                                 "channels of dstImage")});
    c = alike(2, TOV_DEPTH_8U, 1, 12, 5); // nothing but alpha
    c.images[0].alpha = 1;
    expectRefusal(c, [](Scene& s) { tovContrastStretch(s[0], s[1], Curves(0, 256).luts.data()); }, {});
}

TEST(Contrast, RefusesCurvesInOrder) {
    struct Fault {
        void (*make)(TovLUT& lut);
        const char* context;
    };
    const Fault faults[] = {
        {[](TovLUT& lut) { lut.key = nullptr; }, "lut[k]->key==0"},
        {[](TovLUT& lut) { lut.value = nullptr; }, "lut[k]->value==0"},
        {[](TovLUT& lut) { lut.num = 1; }, "lut[k]->num < 2"},
        {[](TovLUT& lut) { lut.key[0] = -1; }, "lut[k]->key[0] < 0"},
        {[](TovLUT& lut) { lut.key[lut.num - 1] = 257; }, "lut[k]->key[lut[k]->num-1] > histSize"},
        {[](TovLUT& lut) { lut.key[lut.num - 2] = lut.key[lut.num - 1] + 1; }, "lut[k]->key[i] > lut[k]->key[i+1]"},
    };
    for (int channel = 0; channel < 3; ++channel) {
        for (std::size_t n = 0; n < std::size(faults) * std::size(faults); ++n) {
            const Fault &fault = faults[n % std::size(faults)], &later = faults[n / std::size(faults)];
            if (&later < &fault) continue; // of two faults the earlier one is reported
            Curves curves(4, 256);
            later.make(curves.curves[channel].lut);
            fault.make(curves.curves[channel].lut);
            const auto call = [&](Scene& s) { tovContrastStretch(s[0], s[1], curves.luts.data()); };
            Case c = alike(2, TOV_DEPTH_8U, 3, 12, 5);
            expectRefusal(c, call, {stretchReport(-5, fault.context)});
            curves.luts[channel] = nullptr;
            expectRefusal(c, call, {stretchReport(-5, "lut[k]==0")});
            c.images[0].hasRoi = c.images[1].hasRoi = true; // the curve of another channel doesn't matter
            c.images[0].roi = c.images[1].roi = {(channel + 1) % 3 + 1, 0, 0, 12, 5};
            Scene scene(c);
            scene.run(call);
            EXPECT_TRUE(scene.reports.empty());
        }
    }
}

TEST(Contrast, DoesNothingWithAnEarlierFailure) {
    const Case c = alike(2, TOV_DEPTH_8U, 3, 12, 5);
    Scene scene(c);
    scene.run([](Scene& s) {
        tovSetErrStatus(-77);
        tovContrastStretch(s[0], s[1], Curves(s.of).luts.data());
    });
    EXPECT_EQ(scene.differences(Scene(c)), "");
    EXPECT_EQ(scene.status, -77);
    EXPECT_TRUE(scene.reports.empty());
}

TEST(Contrast, EachTileFailsInTurn) {
    failEachTile(stretchSweep(), 250, false, [](const Case& c, const TileEvent& failed) {
        const bool direct = failed.mode == TOV_TILE_WRITE || c.at(1).tileWidth == 0;
        Report tile{-2, "tovMap", "Error get tile to write", "tovhist"};
        if (failed.mode == TOV_TILE_READ) tile.context = "Error get tile to read";
        if (!direct) tile = {-1, "tovMap", "", "tovhist"}; // the buffer that the tiles fill
        return direct ? Reports{tile, stretchReport(-1, "")} : Reports{tile};
    });
}

TEST(Contrast, AnyBlockMayFail) {
    failEachBlock(stretchSweep(), 300, 300, [](const Scene& scene, int n) {
        ASSERT_EQ(scene.server.held(), 0u);
        ASSERT_FALSE(scene.reports.empty());
        if (n > 1) return;
        ASSERT_EQ(scene.reports, Reports{stretchReport(-4, "")});
        ASSERT_EQ(scene.differences(Scene(scene.of)), "");
    });
}

} // namespace
} // namespace tovtest
