// The colour twist: random calls, ranges, checks, failing tiles and blocks, earlier statuses.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>

#include "reference/twist.h"
#include "support/sweep.h"
#include "twist/kernels.h"

namespace tovtest {
namespace {

// Weights around what a scale makes of a few, and at all limits.
TovColorTwist drawTwist(Rng& rng) {
    TovColorTwist twist{};
    twist.scalingValue = rng.oneIn(3) ? rng.pick({0, 1, 30, 31}) : rng.between(0, 31);
    const int32_t kind = rng.between(0, 3);
    const int64_t one = int64_t{1} << twist.scalingValue;
    for (int32_t& weight : twist.data) {
        if (kind == 0) weight = static_cast<int32_t>(rng.next());
        if (kind == 1) weight = rng.pick({0, 1, -1, 2, INT32_MIN, INT32_MAX, INT32_MIN + 1});
        if (kind >= 2) weight = static_cast<int32_t>(one * rng.between(-64, 64) / 64 / rng.between(1, 3)); // sums fit
    }
    for (int r = 0; r < 3 && kind >= 2; ++r) {
        if (kind == 3) { // a mix, whose sums stay in the range or leave it by a hair
            for (int c = 0; c < 3; ++c) twist.data[4 * r + c] = static_cast<int32_t>(one / 3);
            twist.data[4 * r + r] += static_cast<int32_t>(one % 3) + rng.pick({-1, 0, 0, 1});
        }
        const int64_t constant = one * rng.pick({0, 0, 1, -1, 50, 128, 255, 300, -300}) + rng.pick({0, 0, -1, 1});
        twist.data[4 * r + 3] = static_cast<int32_t>(std::clamp<int64_t>(constant, INT32_MIN, INT32_MAX));
    }
    return twist;
}

int32_t drawOffset(Rng& rng, int32_t V) {
    return rng.oneIn(3) ? 0
                        : rng.pick({1, -1, 50, -50, V - 1, V, V + 1, 1 - V, -V, -V - 1, INT32_MIN, INT32_MAX,
                                    rng.between(-V, V), rng.between(-V, V)});
}

struct Arguments {
    TovColorTwist twist;
    int32_t offset;

    explicit Arguments(const Case& c) {
        Rng rng(c.number + 99);
        twist = drawTwist(rng);
        offset = drawOffset(rng, c.images[0].depth == TOV_DEPTH_8U ? 255 : 65535);
    }
};

Sweep twistSweep() {
    Sweep sweep;
    sweep.family.roles = 2;
    sweep.family.depths = {TOV_DEPTH_8U, TOV_DEPTH_16U};
    sweep.family.oneOrigin = true;
    sweep.family.adjust = [](Case& c, Rng& rng) {
        const bool whole = rng.oneIn(3);
        for (int role : {0, 1}) {
            ImageForm& form = c.images[role];
            form.nChannels = whole ? 4 : rng.pick({3, 3, 4, 4, 5});
            form.alpha = form.nChannels > 3 && rng.oneIn(2) ? form.nChannels : 0;
            form.roi.coi = form.hasRoi ? rng.between(0, 3) : 0; // no matter
            if (form.mask >= 0) c.images[form.mask].origin = form.origin;
            if (form.mask < 0 && !form.tileWidth && form.sharesWith < 0 && rng.oneIn(10)) {
                form.width = rng.between(250, 800); // rows of several blocks
                form.height = 2;
                form.roi = {form.roi.coi, 0, 0, form.width, 2};
            }
        }
    };
    sweep.cases = 8000;
    sweep.product = [](Scene& s) {
        const Arguments arguments(s.of);
        tovApplyColorTwist(s[0], s[1], &arguments.twist, arguments.offset);
    };
    sweep.model = [](Scene& s) {
        const Arguments arguments(s.of);
        twistImage(s, s.at(0), s.at(1), arguments.twist, arguments.offset);
    };
    sweep.mustMeet = {"masked", "merged", "tiled", "in place", "overlap"};
    return sweep;
}

TEST(Twist, MatchesTheModel) { runSweep(twistSweep()); }

TEST(Twist, EachTileFailsInTurn) {
    failEachTile(twistSweep(), 300, true, [](const Case&, const TileEvent& failed) {
        const char* context = failed.mode == TOV_TILE_WRITE ? "(dstImage->tileInfo->tileData == NULL)"
                                                            : "(srcImage->tileInfo->tileData == NULL)";
        return Reports{{-5, "tovApplyColorTwist", context, "tovtwist"}};
    });
}

// The same map at another scale takes another arithmetic, and gives the same pictures.
TEST(Twist, ScaledUpWeightsGiveTheSame) {
    for (uint32_t depth : {TOV_DEPTH_8U, TOV_DEPTH_16U}) {
        Rng rng(5);
        for (int round = 0; round < 300; ++round) {
            Case c = alike(2, depth, 3 + round % 2, 70, 9);
            c.number = static_cast<uint64_t>(round);
            TovColorTwist small{}, large{};
            small.scalingValue = rng.between(0, 7);
            large.scalingValue = small.scalingValue + 20;
            for (int i = 0; i < 12; ++i) {
                small.data[i] = rng.between(-1023, 1023);
                large.data[i] = small.data[i] * (1 << 20);
            }
            const int32_t offset = drawOffset(rng, depth == TOV_DEPTH_8U ? 255 : 65535);
            Scene a(c), b(c);
            tovApplyColorTwist(a[0], a[1], &small, offset);
            tovApplyColorTwist(b[0], b[1], &large, offset);
            ASSERT_EQ(a.differences(b), "") << "round " << round;
        }
    }
}

// Yes by single-precision numbers as they are rounded, or because a sum really leaves the range; no otherwise.
bool mayLeave(const TovColorTwist& twist, double low, double high, int32_t V) {
    for (int r = 0; r < 3; ++r) {
        int64_t least = twist.data[4 * r + 3], most = least;
        for (int c = 0; c < 3; ++c) {
            const int64_t reach = int64_t{twist.data[4 * r + c]} * V;
            (reach < 0 ? least : most) += reach;
        }
        for (int64_t sum : {least, most}) {
            const double value = std::ldexp(static_cast<double>(sum), -twist.scalingValue);
            const auto single = static_cast<float>(value);
            if (value < low || value < 0 || value >= high || std::signbit(single) || single < low || single >= high) {
                return true;
            }
        }
    }
    return false;
}

TEST(Twist, ClampsWhereverASumCanLeaveTheRange) {
    Rng rng(17);
    int answers[2] = {};
    for (int round = 0; round < 200000; ++round) {
        const TovColorTwist twist = drawTwist(rng);
        double m[16];
        for (int i = 0; i < 16; ++i) m[i] = std::ldexp(twist.data[i], -twist.scalingValue);
        const int32_t depth16 = rng.between(0, 1), V = depth16 ? 65535 : 255, offset = rng.between(1 - V, V - 1);
        const auto low = static_cast<float>(rng.oneIn(2) ? 0 : std::max(0, -offset));
        const auto high = static_cast<float>(rng.oneIn(2) ? V + 1 : V + 1 - std::max(0, offset));
        const bool want = mayLeave(twist, low, high, V);
        ASSERT_EQ(tov::ownTwistNeedsClamp(m, low, high, depth16), want) << round;
        ++answers[want];
    }
    EXPECT_GT(answers[0], 1000);
    // 50 - 2^-26 is 50 in single precision.
    double hair[16] = {0, 0, 0, 50 - std::ldexp(1, -26), 0, 0, 0, 60, 0, 0, 0, 60};
    EXPECT_TRUE(tov::ownTwistNeedsClamp(hair, 50, 256, 0));
    hair[3] = 50;
    EXPECT_FALSE(tov::ownTwistNeedsClamp(hair, 50, 256, 0));
}

constexpr TovColorTwist kIdentity = {{65536, 0, 0, 0, 0, 65536, 0, 0, 0, 0, 65536, 0, 0, 0, 0, 0}, 16};

// The few results worked out by hand: a gray value through the identity, with a constant and an offset.
TEST(Twist, KnownByHand) {
    const auto result = [](int32_t gray, int32_t constant, int32_t offset) {
        TovColorTwist twist = kIdentity;
        twist.data[3] = constant;
        Scene scene(alike(2, TOV_DEPTH_8U, 3, 1, 1));
        std::memset(scene[0]->imageData, gray, 3);
        tovApplyColorTwist(scene[0], scene[1], &twist, offset);
        return int{scene[1]->imageData[0]};
    };
    EXPECT_EQ(result(77, 0, 0), 77);
    EXPECT_EQ(result(77, 65536 * 300, 0), 255);
    EXPECT_EQ(result(0, -16384, 0), 0);    // -0.25
    EXPECT_EQ(result(100, 64880, 0), 100); // 100.99
    EXPECT_EQ(result(255, 64880, 0), 255); // 255.99
    EXPECT_EQ(result(0, -65536, 50), 50);
    EXPECT_EQ(result(205, 0, 50), 255);
    EXPECT_EQ(result(49, 0, -50), 0);
    EXPECT_EQ(result(255, 65536, -50), 205);
    EXPECT_EQ(result(9, 0, 255), 255);
    EXPECT_EQ(result(9, 0, -255), 0);
}

void apply(Scene& s) { tovApplyColorTwist(s[0], s[1], s.of.value == 0 ? &kIdentity : nullptr, 0); }

TEST(Twist, ChecksInOrder) {
    struct Row {
        TovStatus status;
        const char* context;
        std::function<void(Case&)> make;
    };
    const auto alphaOnly3 = [](int role) {
        return [role](Case& c) { c.images[role].nChannels = c.images[role].alpha = 3; };
    };
    const std::vector<Row> rows = {
        {-21, "Incorrect Image", [](Case& c) { c.images[0].align = 5; }},
        {-20, "Incorrect Image", [](Case& c) { c.images[1].origin = 2; }},
        {-5, "cTwist==0", [](Case& c) { c.value = 1; }},
        {-5, "(srcImage->nChannels < 3)", [](Case& c) { c.images[0].nChannels = 2, c.images[0].alpha = 0; }},
        {-5, "((srcImage->alphaChannel != 0) && (srcImage->nChannels < 4))", alphaOnly3(0)},
        {-5, "(dstImage->nChannels < 3)", [](Case& c) { c.images[1].nChannels = 1, c.images[1].alpha = 0; }},
        {-5, "((dstImage->alphaChannel != 0) && (dstImage->nChannels < 4))", alphaOnly3(1)},
        {-5, "(srcImage->depth != dstImage->depth)", [](Case& c) { c.images[1].depth = TOV_DEPTH_16U; }},
        {-5, "((srcImage->depth != 8) && (srcImage->depth != 16))",
         [](Case& c) { c.images[0].depth = c.images[1].depth = TOV_DEPTH_8S; }},
        {-5, "(srcImage->dataOrder != dstImage->dataOrder)", [](Case& c) { c.images[1].order = 1; }},
        {-5, "(srcImage->origin != dstImage->origin)", [](Case& c) { c.images[1].origin = 1; }},
        {-5, "(srcImage->origin != srcImage->maskROI->origin)", [](Case& c) { c.images[2].origin = 1; }},
        {-5, "(dstImage->origin != dstImage->maskROI->origin)", [](Case& c) { c.images[3].origin = 1; }},
    };
    for (std::size_t first = 0; first < rows.size(); ++first) {
        for (std::size_t second = first; second < rows.size(); ++second) {
            Case c = alike(2, TOV_DEPTH_8U, 4, 10, 5);
            giveMask(c, 0);
            giveMask(c, 1);
            rows[second].make(c);
            if (first == 7 && second == 8) continue; // one or the other
            rows[first].make(c);
            expectRefusal(c, apply, {{rows[first].status, "tovApplyColorTwist", rows[first].context, "tovtwist"}});
            if (HasFailure()) FAIL() << "row " << first + 1 << " before row " << second + 1;
        }
    }
    const auto says = [](TovStatus status) {
        return Reports{{status, "tovApplyColorTwist", "Incorrect Image", "tovtwist"}};
    };
    const Case sound = alike(2, TOV_DEPTH_8U, 3, 10, 5);
    expectRefusal(
        sound, [](Scene& s) { tovApplyColorTwist(nullptr, s[1], nullptr, 0); }, says(-9));
    expectRefusal(
        sound, [](Scene& s) { tovApplyColorTwist(s[0], nullptr, nullptr, 0); }, says(-9));
}

TEST(Twist, FillingTheRecord) {
    int32_t data[16];
    for (int i = 0; i < 16; ++i) data[i] = i * 1000 - 7777;
    const auto set = [&](TovColorTwist* twist, const int32_t* from, int32_t scale) {
        ReportLog log;
        tovSetColorTwist(twist, from, scale);
        return log.reports;
    };
    const auto says = [](const char* context) { return Reports{{-5, "tovSetColorTwist", context, "tovtwist"}}; };
    TovColorTwist twist = kIdentity;
    EXPECT_EQ(set(nullptr, nullptr, -1), says("cTwist==0"));
    EXPECT_EQ(set(&twist, nullptr, -1), says("(data == 0)"));
    EXPECT_EQ(set(&twist, data, -1), says("(scalingValue < 0)"));
    EXPECT_EQ(set(&twist, data, 32), says("(scalingValue > 31)"));
    EXPECT_EQ(std::memcmp(&twist, &kIdentity, sizeof twist), 0);
    EXPECT_TRUE(set(&twist, data, 31).empty());
    EXPECT_EQ(std::memcmp(twist.data, data, sizeof data), 0);
    EXPECT_EQ(twist.scalingValue, 31);
}

// An earlier failure ends the call at the first look at the status, and whose looks come when is known by hand.
TEST(Twist, EarlierStatus) {
    const auto run = [](const Case& c, TovStatus answer = 1) {
        auto scene = std::make_unique<Scene>(c);
        scene->run(
            [](Scene& s) {
                tovSetErrStatus(-77);
                apply(s);
            },
            answer);
        EXPECT_EQ(scene->server.held(), 0U);
        EXPECT_TRUE(scene->reports.empty());
        return scene;
    };
    Case c = alike(2, TOV_DEPTH_8U, 3, 16, 16);
    Scene free(c);
    free.run(apply);
    EXPECT_EQ(run(c)->differences(free), ""); // plain images: nobody looks
    Case masked = c;
    giveMask(masked, 1);
    EXPECT_EQ(run(masked)->differences(Scene(masked)), "");

    const int w = TOV_TILE_WRITE, r = TOV_TILE_READ, x = TOV_TILE_RELEASE;
    using Log = std::vector<TileEvent>;
    for (ImageForm& form : c.images) form.tileWidth = 8, form.tileHeight = 16;
    EXPECT_EQ(run(c)->server.log, (Log{{1, 0, 0, w}, {0, 0, 0, r}, {1, 0, 0, x}, {0, 0, 0, x}}));
    Case behindMask = c;
    giveMask(behindMask, 1);
    Scene scene(behindMask); // with a mask the first tile is looked behind too, should its request be what fails
    scene[1]->tileInfo->callBack = [](TovImage* image, int32_t col, int32_t row, int32_t mode) {
        static_cast<TestImage*>(image->imageId)->scene.server.serve(image, col, row, mode);
        tovSetErrStatus(-77);
    };
    scene.run(apply);
    EXPECT_EQ(scene.server.log, (Log{{1, 0, 0, w}, {1, 0, 0, x}}));
    c.images[1].sameAs = 0; // the first tile is not looked behind, the second is
    EXPECT_EQ(run(c)->server.log, (Log{{0, 0, 0, w}, {0, 0, 0, x}, {0, 1, 0, w}, {0, 1, 0, x}}));
}

TEST(Twist, MergingMasksWithoutMemory) {
    Case c = alike(2, TOV_DEPTH_8U, 3, 16, 16);
    giveMask(c, 0);
    giveMask(c, 1);
    const char* contexts[] = {"(msk == NULL)", "(msk->imageData == NULL)"};
    for (int n : {1, 2}) {
        Scene scene(c);
        const Scene untouched(c);
        scene.run([n](Scene& s) {
            const MallocWatch watch(n);
            apply(s);
        });
        ASSERT_FALSE(scene.reports.empty());
        EXPECT_EQ(scene.reports.back(), (Report{-5, "tovApplyColorTwist", contexts[n - 1], "tovtwist"}));
        EXPECT_EQ(scene.differences(untouched), "");
    }
}

} // namespace
} // namespace tovtest
