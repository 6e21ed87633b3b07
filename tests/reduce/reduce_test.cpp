// Bit reduction, jitter and dithering: pixels, tile requests, reports, and what happens when a step fails.
#include <gtest/gtest.h>

#include <cstdlib>

#include "reduce/reduce.h"
#include "reference/reduce.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

using tov::tovReduceBits;

// A call's options, drawn from the case's number.
struct Options {
    explicit Options(uint64_t number) {
        Rng rng(number * 31 + 7);
        jitter = rng.oneIn(3) ? rng.between(1, 8) : 0;
        dither = rng.oneIn(3) ? 1 : rng.pick({2, 4, 8, 16});
        levels = rng.pick({-3, 0, 1, 2, 4, 7, 8, 9, 16, 17});
    }
    int32_t jitter, dither, levels;
};

Sweep reduceSweep() {
    Sweep sweep;
    sweep.family.roles = 2;
    sweep.family.depths = {TOV_DEPTH_8U};
    sweep.family.overlaps = false;
    sweep.family.oneOrigin = true;
    sweep.family.adjust = [](Case& c, Rng& rng) {
        const Options options(c.number);
        ImageForm &src = c.images[0], &dst = c.images[1];
        dst.sameAs = -1;
        src.hasRoi = dst.hasRoi = false;
        src.mask = dst.mask = -1;
        const int pair = rng.between(0, 5);
        src.depth = pair < 3 ? TOV_DEPTH_32S : pair < 5 ? TOV_DEPTH_16U : TOV_DEPTH_8U;
        dst.depth = pair == 0 ? TOV_DEPTH_16U : pair == 1 || pair == 3 ? TOV_DEPTH_8U : TOV_DEPTH_1U;
        dst.width = src.width, dst.height = src.height, dst.order = src.order;
        if (dst.depth == TOV_DEPTH_1U) src.nChannels = 1, src.alpha = 0;
        dst.nChannels = src.nChannels, dst.alpha = 0;
        if (src.nChannels >= 3) src.channelSeq = dst.channelSeq = rng.oneIn(2) ? "RGBA" : "BGR";
        const bool grayToBits = dst.depth == TOV_DEPTH_1U && options.dither != 1;
        if (grayToBits && src.depth == TOV_DEPTH_32S) src.depth = TOV_DEPTH_16U; // 32S can't be dithered as it is
        if (rng.oneIn(2)) src.fill = Fill::bytes;
    };
    sweep.cases = 6000;
    const auto jitterOf = [](const Scene& s, const Options& options) {
        const bool incompatible = options.dither != 1 && s.of.images[1].depth == TOV_DEPTH_1U;
        return incompatible ? 0 : options.jitter;
    };
    sweep.product = [=](Scene& s) {
        const Options o(s.of.number);
        std::srand(static_cast<unsigned>(s.of.number));
        tovReduceBits(s[0], s[1], jitterOf(s, o), o.dither, o.levels);
    };
    sweep.model = [=](Scene& s) {
        const Options o(s.of.number);
        std::srand(static_cast<unsigned>(s.of.number));
        reduceImage(s, s.at(0), s.at(1), jitterOf(s, o), o.dither, o.levels);
    };
    sweep.mustMeet = {"to bits", "over tiles", "dithered", "reduced", "jittered"};
    return sweep;
}

TEST(Reduce, MatchesTheModel) { runSweep(reduceSweep()); }

// Worked out by hand: each error is what the pixel's own value lacks, and rows below take floored shares.
TEST(Reduce, FloydByHand) {
    Case c = alike(2, TOV_DEPTH_8U, 1, 4, 1);
    c.images[1].depth = TOV_DEPTH_1U;
    Scene scene(c);
    for (int32_t x = 0; x < 4; ++x) setSample(scene.at(0), x, 0, 0, 128);
    scene.run([](Scene& s) { tovReduceBits(s[0], s[1], 0, 2, 1); });
    // 128 -> 0, error 128; 128 + 56 = 184 -> 255, error -71; 128 - 32 = 96 -> 0, error 96; 128 + 42 = 170 -> 255
    EXPECT_EQ(*scene.at(1).store->blocks[0].data() >> 4, 0b0101);
}

Report reduceReport(TovStatus status, const char* context, const char* name = "tovReduceBits",
                    const char* file = "tovcolor") {
    return {status, name, context, file};
}

TEST(Reduce, RefusesInOrder) {
    struct Fault {
        void (*make)(Case& c, Options& o);
        Report want;
    };
    const char* form =
        "(src->nChannels != dst->nChannels)||(src->dataOrder != dst->dataOrder)||(src->origin != "
        "dst->origin)";
    const std::vector<Fault> faults = {
        {[](Case&, Options& o) { o.jitter = 9; }, reduceReport(-5, "(jitterType<0)||( jitterType >= 9)")},
        {[](Case& c, Options&) { c.images[0].align = 3; }, reduceReport(-21, "Incorrect Image")},
        {[](Case& c, Options&) { c.images[1].align = 3; }, reduceReport(-21, "Incorrect Image")},
        {[](Case& c, Options&) {
             c.images[1].hasRoi = true, c.images[1].roi = {0, 0, 0, 4, 4};
         },
         reduceReport(-5, "src & dst roi must be NULL", "tovReduceBits", "owncolor")},
        {[](Case& c, Options&) {
             c.images[0].hasRoi = true, c.images[0].roi = {0, 0, 0, 4, 4};
         },
         reduceReport(-5, "src & dst roi must be NULL", "tovReduceBits", "owncolor")},

        {[](Case& c, Options&) { c.images[1].order = 1; }, reduceReport(-5, form, "tovReduceBits", "owncolor")},
        {[](Case& c, Options&) { c.images[1].origin = 1; }, reduceReport(-5, form, "tovReduceBits", "owncolor")},
        {[](Case& c, Options& o) { c.images[1].depth = TOV_DEPTH_1U, o.jitter = 1, o.dither = 2; },
         reduceReport(-5, "Jittering is incompatible with dithering operation for 1U destination image")},
        {[](Case& c, Options& o) { c.images[0].channelSeq = "YUV", o.dither = 16; },
         reduceReport(-5, "colorModel, (channelSeq)  must be RGB,(RGB,BGR) or GRAY,(G) when dithering mode is set on")},
    };
    for (std::size_t i = 0; i < faults.size(); ++i) {
        for (std::size_t j = i; j < faults.size(); ++j) { // of two faults the earlier one is reported
            Case c = alike(2, TOV_DEPTH_16U, 1, 20, 9);
            Options o(0);
            o.jitter = 0, o.dither = 1;
            faults[j].make(c, o);
            faults[i].make(c, o);
            expectRefusal(c, [&](Scene& s) { tovReduceBits(s[0], s[1], o.jitter, o.dither, 4); }, {faults[i].want});
        }
    }
    Case c = alike(2, TOV_DEPTH_16U, 1, 20, 9);
    expectRefusal(c, [](Scene& s) { tovReduceBits(s[0], s[1], -1, 1, 4); }, {faults[0].want});
}

// Pairs of depths that aren't served, with and without jitter, and dithering of depths and by filters that aren't.
TEST(Reduce, ReportsWhatIsNotServed) {
    const auto calling = [](uint32_t from, uint32_t to, int32_t jitter, int32_t dither) {
        Case c = alike(2, from, 1, 20, 9);
        c.images[1].depth = to;
        return std::make_pair(c, [=](Scene& s) { tovReduceBits(s[0], s[1], jitter, dither, 4); });
    };
    const auto expect = [&](uint32_t from, uint32_t to, int32_t jitter, int32_t dither, const Reports& want) {
        const auto [c, call] = calling(from, to, jitter, dither);
        expectRefusal(c, call, want);
    };
    const auto report = [](const char* name, const char* context) {
        return reduceReport(-5, context, name, "ownreduc");
    };
    struct Row {
        uint32_t from, to;
        const char *plain, *jittered;
    };
    const Row rows[] = {
        {TOV_DEPTH_32S, TOV_DEPTH_32S, "Error output depth. 32S to 16U,8U,1U conversion is valid now",
         "Error output depth for 32S input. Conversion to 16U,8U,1U is valid now"},
        {TOV_DEPTH_16U, TOV_DEPTH_16U, "Error output depth. 16U to 8U,1U conversion is valid now",
         "Error output depth for 16U input. Conversion to 8U,1U is valid now"},
        {TOV_DEPTH_8U, TOV_DEPTH_8U, "Error output depth. 8U to 1U conversion is valid now",
         "Error output depth. 8U to 1U conversion is valid now"},
        {TOV_DEPTH_16S, TOV_DEPTH_8U, "Error input depth. 32S,16U,8U input is valid now",
         "Error output depth for 8U input. Conversion to 1U is valid now"},
    };
    for (const Row& row : rows) {
        expect(row.from, row.to, 0, 1, {report("ownReduceBits", row.plain)});
        expect(row.from, row.to, 3, 1, {report("ownjitter_rect", row.jittered)});
    }
    const char* gray =
        "Error output depth for gray image dithering. Valid depths are :32S=>16U,8U; 16U => 8U,1U; 8U "
        "=> 1U";
    const char* color = "Error output depth for color dithering. 16U,8U is valid now";
    const Report input = report("ownMapToBit", "Error input depth. 32S,16U,8U input is valid now");
    expect(TOV_DEPTH_16S, TOV_DEPTH_1U, 0, 16, {report("own_dither_rect", gray), input});
    expect(TOV_DEPTH_16S, TOV_DEPTH_1U, 0, 2, {report("own_dither_rect", color), input});
    const Report plain = report("ownReduceBits", rows[3].plain);
    expect(TOV_DEPTH_16S, TOV_DEPTH_8S, 0, 3, {plain, report("own_dither_rect", "Erroneous dither option")});
    expect(TOV_DEPTH_16S, TOV_DEPTH_8S, 0, 8, {plain, report("own_dither_rect", color)});

    Case few = calling(TOV_DEPTH_16U, TOV_DEPTH_8U, 0, 2).first; // colours by name, one channel by number
    for (ImageForm& form : few.images) form.channelSeq = "RGB";
    for (const int32_t dither : {2, 4, 16}) {
        Scene scene(few);
        scene.run([=](Scene& s) { tovReduceBits(s[0], s[1], 0, dither, 4); });
        EXPECT_EQ(scene.reports, Reports{report("own_dither_rect", "image->nChannels < 3")});
    }

    Case c = calling(TOV_DEPTH_16S, TOV_DEPTH_8S, 0, 2).first; // over one tile: a line is a call
    c.images[0].width = c.images[1].width = c.images[1].tileWidth = c.images[1].tileHeight = 8;
    c.images[0].height = c.images[1].height = 1;
    const std::size_t lines = 8;
    for (const bool isColor : {false, true}) {
        for (const int32_t dither : {2, 4}) {
            for (ImageForm& form : c.images) form.channelSeq = isColor ? "RGB" : "G", form.nChannels = isColor ? 3 : 1;
            const bool grayFloyd = !isColor && dither == 2;
            Scene scene(c);
            scene.run([=](Scene& s) { tovReduceBits(s[0], s[1], 0, dither, 4); });
            Reports want = {plain};
            for (std::size_t line = 0; line < lines; ++line) {
                want.push_back(report("own_dither_tiled_errprop",
                                      grayFloyd ? "Error depth for gray image dithering. Valid depths are "
                                                  ":32S=>16U,8U; 16U => 8U,1U; 8U => 1U"
                                                : color));
                want.push_back(
                    report("own_dither_tiled_errprop", grayFloyd ? "Erroneous dither option" : "errDitherOption"));
            }
            EXPECT_EQ(scene.reports, want);
        }
    }
}

// Any block may fail: a report, nothing outside the images is touched, headers come back, no tile stays held.
TEST(Reduce, AnyBlockMayFail) {
    std::map<std::string, int> failed;
    failEachBlock(reduceSweep(), 500, 1, [&](const Scene& scene, int) {
        ASSERT_EQ(scene.server.held(), 0u);
        ASSERT_FALSE(scene.reports.empty());
        ++failed[scene.reports.back().funcName + ": " + scene.reports.back().context];
        for (const auto& image : scene.images) ASSERT_TRUE(image->changes().empty());
    });
    for (const char* kernel :
         {"owncbDither_Gray_Floyd_PX", "ownwbDither_Gray_Floyd_PX", "owncbDither_Floyd_PX", "ownwbDither_Floyd_PX",
          "owncbDither_Gray_S_J_PX", "ownwbDither_Gray_S_J_PX", "owncbDither_S_J_PX", "ownwbDither_S_J_PX"}) {
        EXPECT_GT(failed[std::string(kernel) + ": no memory for errr array"], 0) << kernel;
    }
    EXPECT_GT(failed["tovReduceBits: no memory for error propagation dithering errors array"], 0);
    EXPECT_GT(failed["tovReduceBits: Out of memory"], 0);
}

// A handler that clears the status doesn't let a call go on without pixels.
TEST(Reduce, ForgivingHandlers) {
    const Sweep plain = reduceSweep();
    Sweep forgiving = plain;
    forgiving.product = [&](Scene& s) {
        const ForgivingHandler handler;
        plain.product(s);
    };
    failEachBlock(forgiving, 300, 300, [](const Scene& scene, int) { ASSERT_EQ(scene.server.held(), 0u); });
}

// A tile of the destination that fails ends its row in silence, one of the source the call with a report.
TEST(Reduce, EachTileFailsInTurn) {
    const Sweep sweep = reduceSweep();
    int walks = 0;
    for (uint64_t number = 0; number < 400; ++number) {
        const Case c = drawCase(number, sweep.family);
        for (int n = 1, requests = n; n <= requests && n < 40; ++n) {
            Scene scene(c);
            scene.server.failAt = n;
            scene.run(sweep.product);
            requests = scene.server.requests();
            int seen = 0;
            bool reading = false;
            for (const TileEvent& event : scene.server.log) {
                if (event.mode != TOV_TILE_RELEASE && ++seen == n) reading = event.mode == TOV_TILE_READ;
            }
            ASSERT_EQ(scene.reports.empty(), !reading) << c << "\nrequest " << n;
            ASSERT_EQ(scene.server.held(), 0u) << c;
            ASSERT_TRUE(scene.server.faults.empty()) << c;
            ++walks;
        }
    }
    EXPECT_GT(walks, 100);
}

} // namespace
} // namespace tovtest
