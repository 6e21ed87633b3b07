// Pixels, tile requests and memory use of addition, subtraction and the bit operations.
#include "arith/calls.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

const std::vector<uint32_t> kIntegerDepths = {TOV_DEPTH_1U,  TOV_DEPTH_1U,  TOV_DEPTH_8U, TOV_DEPTH_8S,
                                              TOV_DEPTH_16U, TOV_DEPTH_16S, TOV_DEPTH_32S};

// Runs a call, which may take memory only to merge two masks or more.
template <typename Call>
void frugally(Scene& scene, int roles, Call&& call) {
    int masks = 0;
    for (int i = 0; i < roles; ++i) masks += scene[i]->maskROI != nullptr;
    const MallocWatch watch;
    call();
    if (masks < 2 && watch.count() > 0) scene.faults.push_back("memory was taken without a mask to merge");
}

Sweep sweepOf(const ArithCall& call) {
    Sweep sweep;
    sweep.family.roles = 3;
    sweep.family.adjust = shiftImages;
    if (!call.floats) sweep.family.depths = kIntegerDepths;
    sweep.cases = 6000;
    sweep.product = [&call](Scene& s) { frugally(s, 3, [&] { call.run(s[0], s[1], s[2]); }); };
    sweep.model = [&call](Scene& s) { combine(s, {&s.at(0), &s.at(1)}, s.at(2), call.model); };
    sweep.mustMeet = {"flat", "flat tiles", "masked", "masked tiles", "overlap"};
    return sweep;
}

TEST_P(ArithTest, MatchesTheModel) { runSweep(sweepOf(GetParam())); }

TEST(XorS, MatchesTheModel) {
    Sweep sweep;
    sweep.family.roles = 2;
    sweep.family.adjust = shiftImages;
    sweep.family.depths = kIntegerDepths;
    sweep.cases = 6000;
    sweep.product = [](Scene& s) { frugally(s, 2, [&] { tov::tovXorS(s[0], s[1], s.of.value); }); };
    sweep.model = [](Scene& s) { combine(s, {&s.at(0)}, s.at(1), exclusiveOr, s.of.value); };
    sweep.mustMeet = {"flat", "masked", "masked tiles", "overlap"};
    runSweep(sweep);
}

// All pairs at 8 bits, and the pairs at the limits of the wider depths, as sums and differences known by hand.
TEST(Arithmetic, EveryPairOf8BitValues) {
    for (uint32_t depth : {TOV_DEPTH_8U, TOV_DEPTH_8S}) {
        const Case c = alike(3, depth, 1, 256, 256);
        for (bool subtract : {false, true}) {
            Scene scene(c);
            for (int y = 0; y < 256; ++y) {
                for (int x = 0; x < 256; ++x) {
                    scene[0]->imageData[y * 256 + x] = static_cast<uint8_t>(x);
                    scene[1]->imageData[y * 256 + x] = static_cast<uint8_t>(y);
                }
            }
            (subtract ? tovSubtract : tovAdd)(scene[0], scene[1], scene[2]);
            for (int y = 0; y < 256; ++y) {
                for (int x = 0; x < 256; ++x) {
                    const bool isSigned = depth == TOV_DEPTH_8S;
                    const int a = isSigned ? static_cast<int8_t>(x) : x, b = isSigned ? static_cast<int8_t>(y) : y;
                    const int exact = subtract ? a - b : a + b, low = isSigned ? -128 : 0, high = low + 255;
                    const int want = exact < low ? low : exact > high ? high : exact;
                    ASSERT_EQ(scene[2]->imageData[y * 256 + x], static_cast<uint8_t>(want)) << a << ", " << b;
                }
            }
        }
    }
}

Case tiledCase(int32_t width, int32_t height, std::initializer_list<std::pair<int32_t, int32_t>> tiles) {
    Case c = alike(3, TOV_DEPTH_8U, 1, width, height);
    int role = 0;
    for (const auto& [tileWidth, tileHeight] : tiles) {
        c.images[role].tileWidth = tileWidth;
        c.images[role++].tileHeight = tileHeight;
    }
    return c;
}

// The requests as text: image, r(ead), w(rite) or x (release), column, row.
std::string requests(const Scene& scene) {
    std::string text;
    for (const TileEvent& event : scene.server.log) {
        text += "ABD"[event.image];
        text += event.mode == TOV_TILE_READ ? 'r' : event.mode == TOV_TILE_WRITE ? 'w' : 'x';
        text += std::to_string(event.x) + std::to_string(event.y) + " ";
    }
    return text;
}

TEST_P(ArithTest, TileRequestsKnownByHand) {
    const auto run = [&](const Case& c) {
        Scene scene(c);
        scene.run([&](Scene& s) { GetParam().run(s[0], s[1], s[2]); });
        EXPECT_TRUE(scene.reports.empty() && scene.server.faults.empty());
        return requests(scene);
    };
    EXPECT_EQ(run(tiledCase(20, 20, {{16, 16}, {0, 0}, {16, 16}})),
              "Ar00 Dw00 Ax00 Ar10 Dx00 Dw10 Ax10 Dx10 Ar01 Dw01 Ax01 Ar11 Dx01 Dw11 Ax11 Dx11 ");
    EXPECT_EQ(run(tiledCase(16, 32, {{16, 16}, {0, 0}, {8, 32}})),
              "Ar00 Dw00 Dx00 Dw10 Ax00 Dx10 Ar01 Dw00 Dx00 Dw10 Ax01 Dx10 ");
    EXPECT_EQ(run(tiledCase(16, 16, {{8, 16}, {16, 8}, {16, 16}})),
              "Ar00 Br00 Dw00 Ax00 Ar10 Ax10 Bx00 Dx00 Ar00 Br01 Dw00 Ax00 Ar10 Ax10 Bx01 Dx00 ");
    Case c = tiledCase(24, 8, {{8, 8}, {8, 8}, {8, 8}});
    c.images[2].sameAs = 0; // the destination's one view serves as source
    EXPECT_EQ(run(c), "Br00 Aw00 Bx00 Br10 Ax00 Aw10 Bx10 Br20 Ax10 Aw20 Bx20 Ax20 ");
    c.images[0].hasRoi = c.images[1].hasRoi = true;
    c.images[0].roi = {0, 9, 1, 5, 50};
    c.images[1].roi = {0, 16, 0, 8, 8};
    EXPECT_EQ(run(c), "Br20 Aw10 Bx20 Ax10 ");
    c.images[1].roi = {0, 24, 0, 8, 8}; // beyond the image: nothing to do, nothing asked
    EXPECT_EQ(run(c), "");
}

INSTANTIATE_TEST_SUITE_P(All, ArithTest, testing::ValuesIn(arithCalls), arithName);

} // namespace
} // namespace tovtest
