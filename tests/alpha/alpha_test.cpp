// Scaled products and composition: random calls, every pair of operands, failing tiles and blocks, earlier statuses.
#include <gtest/gtest.h>

#include "alpha/calls.h"
#include "alpha/scalemul.h"
#include "reference/alpha.h"

namespace tovtest {
namespace {

struct Named {
    const char* name;
    Sweep (*make)();
};
class AlphaTest : public testing::TestWithParam<Named> {};
void PrintTo(const Named& named, std::ostream* out) { *out << named.name; }

TEST_P(AlphaTest, MatchesTheModel) { runSweep(GetParam().make()); }

TEST_P(AlphaTest, EachTileFailsInTurn) {
    failEachTile(GetParam().make(), 250, false, [](const Case&, const TileEvent&) {
        return Reports{{-2, GetParam().name, "ERROR in Tiling callBack", "tovalpha"}};
    });
}

TEST_P(AlphaTest, AnyBlockMayFail) {
    const Sweep sweep = GetParam().make();
    int failures = 0;
    for (uint64_t number = 0; number < 400 && !HasFailure(); ++number) {
        const Case c = drawCase(number, sweep.family);
        Scene done(c);
        sweep.model(done);
        if (!done.reports.empty()) continue;
        const auto check = [&](const Scene& scene, int n) {
            ASSERT_FALSE(scene.reports.empty()) << c << "\nblock " << n;
            EXPECT_EQ(scene.reports.back(), (Report{-4, GetParam().name, "No working memory", "tovalpha"}))
                << c << "\nblock " << n;
            EXPECT_TRUE(scene.server.faults.empty() && scene.server.held() == 0) << c << "\nblock " << n;
            for (const auto& image : scene.images) EXPECT_TRUE(!image || image->changes().empty()) << c;
        };
        failures +=
            failEachBlock(c, sweep, check, [&](const Scene& scene) { EXPECT_EQ(scene.differences(done), "") << c; });
    }
    EXPECT_GT(failures, 100);
}

INSTANTIATE_TEST_SUITE_P(All, AlphaTest,
                         testing::Values(Named{"tovAlphaComposite", compositeSweep},
                                         Named{"tovMultiplyScale", productSweep},
                                         Named{"tovMultiplySScale", scalarSweep}),
                         [](const testing::TestParamInfo<Named>& named) { return std::string(named.param.name); });

TEST(ScaleMul, IsTheFloorOfTheQuotient) {
    for (uint32_t x = 0; x < 256; ++x) {
        for (uint32_t y = 0; y < 256; ++y) {
            ASSERT_EQ(tov::ownScaleMul(uint8_t(x), uint8_t(y)), x * y / 255) << x << ", " << y;
        }
    }
    for (uint32_t x = 0; x < 65536; ++x) { // each with a dense sample, and with its neighbours of whole quotients
        for (uint32_t y = x % 97; y < 65536; y += 97) {
            ASSERT_EQ(tov::ownScaleMul(uint16_t(x), uint16_t(y)), x * y / 65535) << x << ", " << y;
        }
        for (uint32_t q = 1; x > 0 && q <= 8; ++q) {
            const uint32_t y = (q * 65535 + x - 1) / x;
            for (uint32_t near = y - 1; near <= y + 1 && near < 65536; ++near) {
                ASSERT_EQ(tov::ownScaleMul(uint16_t(x), uint16_t(near)), x * near / 65535) << x << ", " << near;
            }
        }
    }
}

// A picture with every pair of 8-bit alphas, or 65536 pairs of 16-bit ones, under colours that a round draws.
class AllAlphas {
public:
    AllAlphas(uint32_t depth, int32_t order) : scene(makeCase(depth, order)) {}

    void check(const Formula& formula, int rounds) {
        Rng rng(static_cast<uint64_t>(formula.type) + 1);
        for (int round = 0; round < rounds; ++round) {
            for (int32_t p = 0; p < 65536; ++p) drawPixel(p, formula.max, rng);
            tovAlphaComposite(scene[0], scene[1], scene[2], formula.type, nullptr, nullptr, nullptr,
                              formula.premultiplied, formula.divides);
            for (int32_t p = 0; p < 65536; ++p) {
                const uint32_t a = at(0, p, 3), b = at(1, p, 3);
                for (int c = 0; c < 3; ++c) {
                    ASSERT_EQ(at(2, p, c), formula.colour(at(0, p, c), a, at(1, p, c), b))
                        << formula.type << " premultiplied " << formula.premultiplied << ": " << at(0, p, c) << " ("
                        << a << "), " << at(1, p, c) << " (" << b << ")";
                }
                ASSERT_EQ(at(2, p, 3), formula.alpha(a, b)) << formula.type << ": " << a << ", " << b;
            }
        }
    }

private:
    static Case makeCase(uint32_t depth, int32_t order) {
        Case c = alike(3, depth, 4, 256, 256);
        for (ImageForm& form : c.images) {
            form.alpha = 4;
            form.order = order;
        }
        return c;
    }
    void drawPixel(int32_t p, uint32_t max, Rng& rng) {
        const auto edge = [&] { return rng.pick<uint32_t>({0, 1, 2, max / 2, max / 2 + 1, max - 1, max}); };
        const auto any = [&] { return rng.oneIn(4) ? edge() : static_cast<uint32_t>(rng.next()) & max; };
        const auto x = static_cast<uint32_t>(p % 256), y = static_cast<uint32_t>(p / 256);
        for (int image = 0; image < 2; ++image) {
            for (int c = 0; c < 3; ++c) put(image, p, c, any());
            put(image, p, 3, max > 255 ? any() : image ? y : x);
        }
    }
    uint32_t at(int image, int32_t p, int c) const {
        return static_cast<uint32_t>(getSample(scene.at(image), p % 256, p / 256, c));
    }
    void put(int image, int32_t p, int c, uint32_t value) { setSample(scene.at(image), p % 256, p / 256, c, value); }

    Scene scene;
};

TEST(Composite, EveryPairOfAlphas) {
    for (uint32_t depth : {TOV_DEPTH_8U, TOV_DEPTH_16U}) {
        for (int32_t order : {TOV_DATA_ORDER_PIXEL, TOV_DATA_ORDER_PLANE}) {
            AllAlphas pictures(depth, order);
            for (int32_t kind = 0; kind < 24 && !HasFailure(); ++kind) {
                pictures.check({kind % 6, (kind / 6 & 1) != 0, kind >= 12, depth == TOV_DEPTH_8U ? 255U : 65535U}, 1);
            }
        }
    }
}

// Three colours at a time under every pair of alphas, and their complements as B's.
void checkEveryColour(int32_t type, bool premultiplied, bool divides) {
    const Formula formula{type, premultiplied, divides, 255};
    Case c = alike(3, TOV_DEPTH_8U, 4, 256, 256);
    for (ImageForm& form : c.images) form.alpha = 4;
    Scene scene(c);
    uint8_t *A = scene[0]->imageData, *B = scene[1]->imageData, *dst = scene[2]->imageData;
    const bool hasOneColour = type == TOV_COMPOSITE_IN || type == TOV_COMPOSITE_OUT;
    for (uint32_t colour = 0; colour < 256; colour += hasOneColour ? 3 : 15) {
        for (uint32_t p = 0; p < 4 * 65536; ++p) {
            const uint32_t here = colour + p % 4;
            A[p] = static_cast<uint8_t>(p % 4 == 3 ? p >> 2 : here);
            B[p] = static_cast<uint8_t>(p % 4 == 3 ? p >> 10 : 255 - here);
        }
        tovAlphaComposite(scene[0], scene[1], scene[2], type, nullptr, nullptr, nullptr, premultiplied, divides);
        for (uint32_t p = 0; p < 4 * 65536; ++p) {
            const uint32_t a = A[p | 3], b = B[p | 3];
            ASSERT_EQ(dst[p], p % 4 == 3 ? formula.alpha(a, b) : formula.colour(A[p], a, B[p], b))
                << type << ": " << +A[p] << " (" << a << "), " << +B[p] << " (" << b << ")";
        }
    }
}

// In and Out read one colour only, so this is all that they can be given; the others get a sample.
TEST(Composite, EveryColourUnderEveryPairOfAlphas) {
    for (int32_t kind = 0; kind < 24 && !HasFailure(); ++kind) checkEveryColour(kind % 6, kind / 6 & 1, kind >= 12);
}

// The few results worked out by hand.
TEST(Composite, KnownByHand) {
    const auto over = Formula{TOV_COMPOSITE_OVER, false, false, 255};
    EXPECT_EQ(over.colour(200, 128, 200, 127), 150U);
    EXPECT_EQ(over.alpha(128, 127), 192U);
    EXPECT_EQ((Formula{TOV_COMPOSITE_PLUS, true, false, 65535}).colour(40000, 0, 40000, 0), 65535U);
    EXPECT_EQ((Formula{TOV_COMPOSITE_PLUS, true, true, 65535}).colour(40000, 65535, 40000, 65535), 40000U);
    EXPECT_EQ((Formula{TOV_COMPOSITE_IN, true, true, 255}).colour(100, 0, 7, 255), 100U);
    EXPECT_EQ((Formula{TOV_COMPOSITE_OVER, false, true, 255}).colour(77, 255, 3, 255), 77U);
}

} // namespace
} // namespace tovtest
