// The convolution: pixels, tiles, reports, and what happens when a tile or a block can't be had; and its kernels.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "reference/conv.h"
#include "reference/walks.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

// The kernels of a call.
struct Kernels {
    Kernels() = default;
    explicit Kernels(const std::vector<ConvForm>& forms) {
        for (const ConvForm& f : forms) {
            owned.emplace_back(tovCreateConvKernel(f.nCols, f.nRows, f.anchorX, f.anchorY, f.values.data(), f.nShiftR),
                               tovDeleteConvKernel);
            list.push_back(owned.back().get());
        }
    }
    std::vector<std::unique_ptr<TovConvKernel, void (*)(TovConvKernel*)>> owned;
    std::vector<TovConvKernel*> list;
};

int32_t drawWeight(Rng& rng, int kind) {
    switch (kind) {
    case 0: return rng.between(-1, 1);
    case 1: return rng.between(-9, 9);
    case 2: return rng.between(-40, 300);
    case 3: return rng.oneIn(4) ? rng.between(-3, 3) : 0;
    case 4: return rng.between(-70000, 70000);
    case 6: return rng.between(20, 60); // 16-bit sums that just leave what is exact
    case 5: return rng.oneIn(4) ? rng.pick({1, -1}) : rng.between(-99999999, 99999999);
    default: return rng.pick({INT32_MIN, INT32_MAX, 16777217, rng.between(-1000000000, 1000000000)});
    }
}

std::vector<ConvForm> kernelsOf(const Case& c) {
    Rng rng(c.number + 77);
    std::vector<ConvForm> kernels(rng.oneIn(2) ? 1 : rng.oneIn(12) ? 10 : rng.between(2, 3));
    const int side = rng.pick({0, 0, 3, 3, 5}), kind = rng.between(0, 7);
    for (ConvForm& f : kernels) {
        f.nCols = side ? side : rng.between(1, rng.oneIn(9) ? 40 : 6);
        f.nRows = side ? side : rng.between(1, 6);
        f.anchorX = rng.between(0, f.nCols - 1);
        f.anchorY = rng.between(0, f.nRows - 1);
        f.nShiftR = rng.oneIn(2) ? 0 : rng.pick({1, 4, 9, 12, 16, 31, 32, -1});
        f.values.resize(static_cast<std::size_t>(f.nCols * f.nRows));
        for (int32_t& value : f.values) value = drawWeight(rng, rng.oneIn(3) ? 1 : kind);
    }
    if (kernels.size() == 2 && rng.oneIn(2)) { // sums that all but cancel show how each was rounded
        kernels[0].nShiftR = 0;
        kernels[1] = kernels[0];
        for (int32_t& value : kernels[1].values) value = static_cast<int32_t>(0u - static_cast<uint32_t>(value));
        kernels[1].values[0] = static_cast<int32_t>(1u + static_cast<uint32_t>(kernels[1].values[0]));
    }
    return kernels;
}

void convolve(Scene& s) {
    const Kernels kernels(kernelsOf(s.of));
    s.server.acceptsCopies = true;
    tovConvolve2D(s[0], s[1], kernels.list.data(), static_cast<int32_t>(kernels.list.size()), s.of.value);
}

Sweep convSweep() {
    Sweep sweep;
    sweep.family.roles = 2;
    sweep.family.depths = {TOV_DEPTH_1U, TOV_DEPTH_8U, TOV_DEPTH_8S, TOV_DEPTH_16U, TOV_DEPTH_16S, TOV_DEPTH_32S};
    sweep.family.overlaps = false;
    sweep.family.adjust = [](Case& c, Rng& rng) {
        if (rng.oneIn(20)) c.at(1).order = 1 - c.images[0].order;
        if (rng.oneIn(20)) c.at(1).roi.coi = 0;
        if (rng.oneIn(10) && c.images[0].tileWidth == 0) c.images[0].height = rng.pick({64, 65, 66, 130});
        if (rng.oneIn(10) && c.images[1].tileWidth == 0) c.images[1].height = 140;
        c.value = rng.between(0, 4);
        if (rng.oneIn(8) && kernelsOf(c).size() == 1) c.value = rng.pick({-1, 5, INT32_MAX}); // does not count then
    };
    sweep.cases = 6000;
    sweep.product = [](Scene& s) {
        convolve(s);
        // Buffers read tiles in ways of their own, in place before the first is written.
        std::vector<TileEvent>& log = s.server.log;
        const auto write = [](const TileEvent& event) { return event.mode == TOV_TILE_WRITE; };
        log.erase(log.begin(), std::find_if(log.begin(), log.end(), write));
        const auto isSource = [&s](const TileEvent& event) { return event.image != s.at(1).index; };
        log.erase(std::remove_if(log.begin(), log.end(), isSource), log.end());
    };
    sweep.model = [](Scene& s) { convolveImage(s, s.at(0), s.at(1), kernelsOf(s.of), s.of.value); };
    sweep.mustMeet = {"plain",      "in place",   "into tiles", "from tiles",
                      "exact sums", "tap by tap", "in pairs",   "one sum"};
    return sweep;
}

TEST(Convolve, MatchesTheModel) { runSweep(convSweep()); }

// Bytes of 255 under weights that together just exceed what 16 bits hold, and what single precision holds exactly: what
// two kernels of the same weights in different forms leave is how each was rounded.
TEST(Convolve, SumsAtTheirLimits) {
    const ConvForm square = {17, 17, 0, 0, 0, std::vector<int32_t>(289, 257)};
    const ConvForm line = {289, 1, 0, 0, 0, std::vector<int32_t>(289, -257)};
    const std::vector<std::vector<ConvForm>> calls = {{{3, 1, 0, 0, 9, {100, 100, 58}}},
                                                      {square, line, {1, 1, 0, 0, 1, {1}}}};
    for (const auto& forms : calls) {
        Case c = alike(2, TOV_DEPTH_8U, 1, 30, 20);
        c.images[0].fill = Fill::ones;
        for (int32_t& mode : c.images[0].borderMode) mode = TOV_BORDER_REPLICATE;
        Scene scene(c), want(c);
        const Kernels kernels(forms);
        scene.run([&](Scene& s) {
            tovConvolve2D(s[0], s[1], kernels.list.data(), static_cast<int32_t>(forms.size()), TOV_COMBINE_SUM);
        });
        convolveImage(want, want.at(0), want.at(1), forms, TOV_COMBINE_SUM);
        EXPECT_EQ(scene.differences(want), "");
    }
}

TEST(Convolve, AnEarlierStatusStays) {
    Case c = alike(2, TOV_DEPTH_8U, 1, 9, 4);
    giveMask(c, 0);
    giveMask(c, 1);
    const std::vector<ConvForm> forms = {{3, 1, 1, 0, 1, {1, 2, 3}}};
    const Kernels kernels(forms);
    Scene scene(c), want(c);
    scene.run([&](Scene& s) {
        tovSetErrStatus(TOV_STS_BAD_ARG);
        tovConvolve2D(s[0], s[1], kernels.list.data(), 1, TOV_COMBINE_SUM);
    });
    convolveImage(want, want.at(0), want.at(1), forms, TOV_COMBINE_SUM);
    EXPECT_EQ(scene.differences(want), "");
    EXPECT_EQ(scene.status, TOV_STS_BAD_ARG);
}

// Masks of one channel that counts as alpha are merged as other masks are, and with others refused.
TEST(Convolve, MasksOfAlpha) {
    const std::vector<ConvForm> forms = {{1, 1, 0, 0, 0, {1}}};
    const Kernels kernels(forms);
    for (int32_t alpha : {0, 1}) {
        Case c = alike(2, TOV_DEPTH_8U, 1, 9, 4);
        giveMask(c, 0);
        c.images[giveMask(c, 1)].alpha = 1;
        c.images[2].alpha = alpha;
        Scene scene(c), want(c);
        scene.run([&](Scene& s) { tovConvolve2D(s[0], s[1], kernels.list.data(), 1, TOV_COMBINE_SUM); });
        if (alpha != 0) convolveImage(want, want.at(0), want.at(1), forms, TOV_COMBINE_SUM);
        if (alpha == 0) want.reports = {{-5, "tovAnd", "(nChSrcA != nChDst)", "tovand"}};
        EXPECT_EQ(scene.differences(want), "");
        EXPECT_EQ(scene.reports, want.reports);
    }
}

// However little of a tile is written, the pixels around all of it are read, and the tile is held meanwhile.
TEST(Convolve, ReadsAroundWholeTiles) {
    Case c = alike(2, TOV_DEPTH_8U, 1, 40, 40);
    for (ImageForm& form : c.images) {
        form.hasRoi = true;
        form.roi = {0, 3, 3, 4, 4};
    }
    c.images[0].tileWidth = c.images[0].tileHeight = 8;
    c.images[1].tileWidth = c.images[1].tileHeight = 16;
    Scene scene(c), want(c);
    scene.server.acceptsCopies = true;
    const Kernels kernels({{4, 5, 1, 3, 0, std::vector<int32_t>(20, 1)}});
    scene.run([&](Scene& s) { tovConvolve2D(s[0], s[1], kernels.list.data(), 1, TOV_COMBINE_SUM); });
    want.server.log = {{1, 0, 0, TOV_TILE_WRITE}};
    logGather(want, want.at(0), 1, 2, 16 + 3, 16 + 4);
    want.server.log.push_back({1, 0, 0, TOV_TILE_RELEASE});
    EXPECT_EQ(scene.server.log, want.server.log) << list(scene.server.log);
}

TEST(Convolve, KeepsKernelsTurnedRound) {
    const int32_t values[] = {1, 2, 3, 4, 5, 6};
    const int8_t chars[] = {-1, 2, 3, 4, 5, -128};
    TovConvKernel* kernel = tovCreateConvKernel(3, 2, 0, 1, values, 40);
    TovConvKernel* fromChars = tovCreateConvKernelChar(3, 2, 2, 0, chars, -7);
    EXPECT_EQ(std::vector<int32_t>(kernel->values, kernel->values + 6), (std::vector<int32_t>{6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(std::vector<int32_t>(fromChars->values, fromChars->values + 6),
              (std::vector<int32_t>{-128, 5, 4, 3, 2, -1}));
    EXPECT_TRUE(kernel->anchorX == 2 && kernel->anchorY == 0 && kernel->nShiftR == 40);
    EXPECT_TRUE(fromChars->anchorX == 0 && fromChars->anchorY == 1 && fromChars->nShiftR == -7);
    EXPECT_TRUE(kernel->nCols == 3 && kernel->nRows == 2);
    tovDeleteConvKernel(kernel);
    tovDeleteConvKernel(fromChars);
}

TEST(Convolve, RefusesToMakeKernels) {
    const int32_t values[] = {1, 2, 3, 4};
    const int8_t chars[] = {1, 2, 3, 4};
    struct Fault {
        int32_t nCols, nRows, anchorX, anchorY;
        bool values;
        const char* context;
        TovStatus status;
    };
    const char* size = "(nRows<=0 || nCols<=0)";
    const char* anchor = "(anchorX<0 ||anchorY<0 ||nRows<=anchorY || nCols<=anchorX)";
    for (const Fault& f :
         {Fault{0, 2, 9, 0, false, "(values == 0)", -5}, Fault{0, 2, 9, 0, true, size, -5},
          Fault{2, -1, 0, 0, true, size, -5}, Fault{2, 2, -1, 0, true, anchor, -5},
          Fault{2, 2, 0, -1, true, anchor, -5}, Fault{2, 2, 2, 0, true, anchor, -5},
          Fault{2, 2, 0, 2, true, anchor, -5}, Fault{INT32_MAX, INT32_MAX, 0, 0, true, "Allocation failure", -4}}) {
        ReportLog log;
        EXPECT_EQ(tovCreateConvKernel(f.nCols, f.nRows, f.anchorX, f.anchorY, f.values ? values : nullptr, 0), nullptr);
        EXPECT_EQ(tovCreateConvKernelChar(f.nCols, f.nRows, f.anchorX, f.anchorY, f.values ? chars : nullptr, 0),
                  nullptr);
        EXPECT_EQ(log.reports, (Reports{{f.status, "tovCreateConvKernel", f.context, "tovcnv2d"},
                                        {f.status, "tovCreateConvKernelChar", f.context, "tovcnv2d"}}));
    }
    for (int n : {1, 2}) { // the record, then its values
        ReportLog log;
        const MallocWatch watch(n);
        EXPECT_EQ(tovCreateConvKernel(2, 2, 0, 0, values, 0), nullptr);
        EXPECT_EQ(log.reports, (Reports{{-4, "tovCreateConvKernel", "Allocation failure", "tovcnv2d"}}));
    }
    ReportLog log;
    TovConvKernel empty{};
    tovDeleteConvKernel(nullptr);
    tovDeleteConvKernel(&empty);
    EXPECT_EQ(log.reports, (Reports{{-5, "tovDeleteConvKernel", "kernel==0", "tovcnv2d"},
                                    {-5, "tovDeleteConvKernel", "kernel->values==0", "tovcnv2d"}}));
}

TEST(Convolve, RefusesInOrder) {
    struct Call {
        Case c;
        TovConvKernel record;
        TovConvKernel* list[11];
        TovConvKernel* const* kernels;
        int32_t nKernels, method;
    };
    struct Fault {
        void (*make)(Call& call);
        TovStatus status;
        const char* context;
    };
    const std::vector<Fault> faults = {
        {[](Call& call) { call.c.images[0].align = 3; }, -21, "Incorrect Image"},
        {[](Call& call) { call.c.images[1].origin = 2; }, -20, "Incorrect Image"},
        {[](Call& call) { call.c.images[0].roi.xOffset = 20; }, -11, "Bad ROI offsets"},
        {[](Call& call) { call.c.images[1].roi.yOffset = 9; }, -11, "Bad ROI offsets"},
        {[](Call& call) { call.kernels = nullptr; }, -5, "kernel==0"},
        {[](Call& call) { call.nKernels = 11; }, -5, "(nKernels<=0 || nKernels>10)"},
        {[](Call& call) { call.nKernels = 0; }, -5, "(nKernels<=0 || nKernels>10)"},
        {[](Call& call) { call.method = 5; }, -5, "Inadmissible method"},
        {[](Call& call) { call.list[1] = nullptr; }, -5, "kernel[i]==0"},
        {[](Call& call) { call.record.nRows = 0; }, -5, "Bad kernel structure"},
        {[](Call& call) { call.record.anchorX = 3; }, -5, "Bad kernel structure"},
        {[](Call& call) { call.record.anchorX = -1; }, -5, "Bad kernel structure"},
        {[](Call& call) { call.record.anchorY = 3; }, -5, "Bad kernel structure"},
        {[](Call& call) { call.record.anchorY = -1; }, -5, "Bad kernel structure"},
        {[](Call& call) { call.record.values = nullptr; }, -5, "Bad kernel structure"},
        {[](Call& call) { call.c.images[1].depth = TOV_DEPTH_16S; }, -5, "Uncompatible images"},
        {[](Call& call) { call.c.images[1].order = 1; }, -5, "Uncompatible images"},
        {[](Call& call) { call.c.images[0].depth = call.c.images[1].depth = TOV_DEPTH_32F; }, -5,
         "32F images can be processed only with FP kernel"},
        {[](Call& call) { call.c.images[0].roi.coi = 1; }, -5, "One of the COI is not defined"},
        {[](Call& call) { call.c.images[0].nChannels = call.c.images[0].alpha = 1; }, -5, "No channel to operate"},
        {[](Call& call) { call.c.images[1].nChannels = 4; }, -5, "Uncompatible images"},
    };
    int32_t values[] = {1, 2, 1, 2, 4, 2, 1, 2, 1};
    const ConvForm form = {3, 3, 1, 1, 0, {std::begin(values), std::end(values)}};
    const Kernels sound({form});
    for (std::size_t i = 0; i < faults.size(); ++i) {
        for (std::size_t j = i; j < faults.size(); ++j) { // of two faults the earlier one is reported
            Call call = {alike(2, TOV_DEPTH_16U, 3, 20, 9), {3, 3, 1, 1, values, 0}, {}, nullptr, 11, 4};
            for (ImageForm& image : call.c.images) {
                image.hasRoi = true;
                image.roi = {0, 0, 0, 20, 9};
            }
            std::fill(std::begin(call.list), std::end(call.list), sound.list[0]);
            call.list[2] = &call.record;
            call.kernels = call.list;
            call.nKernels = 3;
            faults[j].make(call);
            faults[i].make(call);
            expectRefusal(call.c,
                          [&call](Scene& s) { tovConvolve2D(s[0], s[1], call.kernels, call.nKernels, call.method); },
                          {{faults[i].status, "tovConvolve2D", faults[i].context, "tovcnv2d"}});
        }
    }
}

TEST(Convolve, AnyTileAndAnyBlockMayFail) {
    const Sweep sweep = convSweep();
    int failedTiles = 0, failedBlocks = 0;
    for (uint64_t number = 0; number < 400; ++number) {
        const Case c = drawCase(number, sweep.family);
        const Kernels kernels(kernelsOf(c));
        const auto expect = [&](Scene& scene, int failing, bool atTile) {
            const bool write = atTile && !scene.server.log.empty() &&
                               scene.server.log[static_cast<std::size_t>(failing)].mode == TOV_TILE_WRITE;
            const Reports want = {{write ? -2 : -4, "tovConvolve2D",
                                   write ? "Error get tile to write" : "Allocation failure", "tovcnv2d"}};
            EXPECT_EQ(scene.reports, want) << c << "\n" << failing << (atTile ? " tile" : " block");
            EXPECT_EQ(scene.server.held(), 0u) << c;
            EXPECT_TRUE(scene.server.faults.empty()) << c << scene.server.faults.front();
        };
        const auto call = [&](Scene& s) {
            s.server.acceptsCopies = true;
            tovConvolve2D(s[0], s[1], kernels.list.data(), static_cast<int32_t>(kernels.list.size()), c.value);
        };
        for (int n = 1, requests = n; n <= requests + 1; ++n) {
            Scene scene(c);
            scene.server.failAt = n;
            scene.run(call);
            requests = scene.server.requests();
            if (requests < n) break;
            std::size_t at = 0; // of the n-th request in the log
            for (int seen = 0; at < scene.server.log.size(); ++at) {
                if (scene.server.log[at].mode != TOV_TILE_RELEASE && ++seen == n) break;
            }
            expect(scene, static_cast<int>(at), true);
            ++failedTiles;
        }
        for (int n = 1, blocks = n; n <= blocks + 1; ++n) { // a call that stops has taken n
            Scene scene(c);
            scene.run([&](Scene& s) {
                const MallocWatch watch(n);
                call(s);
                blocks = watch.count();
            });
            if (blocks < n) break;
            expect(scene, n, false);
            ++failedBlocks;
        }
        if (testing::Test::HasFailure()) break;
    }
    EXPECT_GT(failedTiles, 100);
    EXPECT_GT(failedBlocks, 100);
}

} // namespace
} // namespace tovtest
