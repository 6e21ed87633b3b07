// What the alpha operations refuse, in their order, and what they do about earlier statuses and handlers that go on.
#include <gtest/gtest.h>

#include <functional>

#include "alpha/calls.h"
#include "reference/alpha.h"

namespace tovtest {
namespace {

struct Row {
    TovStatus status;
    const char* context;
    std::function<void(Case&)> make;
};
using Rows = std::vector<Row>;

// The bits of a case's value: arguments that a fault changes.
enum Argument { noDst = 1, noFirst = 2, noSecond = 4, badType = 8, badPremul = 16, badDivide = 32 };

void region(ImageForm& form, int32_t coi) {
    form.hasRoi = true;
    form.roi = {coi, 0, 0, form.width, form.height};
}

void onlyAlpha(ImageForm& form) { form.nChannels = form.alpha = 1; }

// Each fault alone, and each with every later one: the earlier wins.
void expectInOrder(const Rows& rows, const std::function<Case()>& sound, const std::function<void(Scene&)>& call,
                   const char* funcName) {
    for (std::size_t first = 0; first < rows.size(); ++first) {
        for (std::size_t second = first; second < rows.size(); ++second) {
            Case c = sound();
            rows[second].make(c);
            rows[first].make(c);
            expectRefusal(c, call, {{rows[first].status, funcName, rows[first].context, "tovalpha"}});
            if (testing::Test::HasFailure()) FAIL() << "row " << first + 1 << " before row " << second + 1;
        }
    }
}

// A row for an argument: null, or a flag.
Row argument(const char* context, int32_t bit) {
    return {-5, context, [bit](Case& c) { c.value |= bit; }};
}
Row badHeader(int role) {
    return {-21, "Incorrect Image", [role](Case& c) { c.images[role].align = 5; }};
}

TEST(MultiplySScale, ChecksInOrder) {
    const auto sound = [] {
        Case c = alike(2, TOV_DEPTH_8U, 3, 10, 5);
        c.value = 0;
        return c;
    };
    const auto call = [](Scene& s) {
        const int32_t v = s.of.value;
        tovMultiplySScale(v & noFirst ? nullptr : s[0], v & noDst ? nullptr : s[1], 200);
    };
    const Rows rows = {
        argument("dstImage==0", noDst),
        badHeader(1),
        argument("srcImage==0", noFirst),
        badHeader(0),
        {-5, "dstImage->alphaChannel == 1 && dstImage->roi == 0",
         [](Case& c) {
             onlyAlpha(c.images[1]);
             c.images[1].hasRoi = false;
         }},
        {-5, "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1",
         [](Case& c) {
             onlyAlpha(c.images[1]);
             region(c.images[1], 0);
         }},
        {-5, "srcImage->alphaChannel == 1 && srcImage->roi == 0",
         [](Case& c) {
             onlyAlpha(c.images[0]);
             c.images[0].hasRoi = false;
         }},
        {-5, "srcImage->alphaChannel == 1 && srcImage->roi->coi != 1",
         [](Case& c) {
             onlyAlpha(c.images[0]);
             region(c.images[0], 0);
         }},
        {-5, "dstImage->depth != 8 && dstImage->depth != 16", [](Case& c) { c.images[1].depth = TOV_DEPTH_8S; }},
        {-5, "srcImage->depth != dstImage->depth", [](Case& c) { c.images[0].depth = TOV_DEPTH_16U; }},
        {-5,
         "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != (dstImage->nChannels - (dstImage->alphaChannel "
         "!= 0))",
         [](Case& c) {
             c.images[0].nChannels = 2;
             for (ImageForm& form : c.images) form.roi.coi = 0;
         }},
        {-5, "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != (dstImage->roi->coi > 0)",
         [](Case& c) {
             region(c.images[1], 1);
             c.images[0].roi.coi = 0;
         }},
        {-5, "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (srcImage->roi->coi > 0)",
         [](Case& c) { region(c.images[0], 1); }},
    };
    expectInOrder(rows, sound, call, "tovMultiplySScale");
}

// Rows 16 to 21 compare a source with the destination: counts, then one channel of interest against several.
Rows countRows(const char* name, int role) {
    static std::vector<std::string> texts; // contexts are kept by address
    texts.reserve(16);
    const std::string src =
        std::string("(srcImage") + name + "->nChannels - (srcImage" + name + "->alphaChannel != 0))";
    const std::string dst = "(dstImage->nChannels - (dstImage->alphaChannel != 0))";
    const auto keep = [](const std::string& text) { return texts.emplace_back(text).c_str(); };
    return {{-5, keep(src + " != " + dst),
             [role](Case& c) {
                 c.images[role].nChannels = 2;
                 for (ImageForm& form : c.images) form.roi.coi = 0;
             }},
            {-5, keep(src + " != (dstImage->roi->coi > 0)"),
             [role](Case& c) {
                 for (ImageForm& form : c.images) region(form, 1);
                 c.images[role].roi.coi = 0;
             }},
            {-5, keep(dst + " != (srcImage" + name + "->roi->coi > 0)"), [role](Case& c) {
                 region(c.images[role], 1);
                 c.images[2].roi.coi = 0;
             }}};
}

TEST(MultiplyScale, ChecksInOrder) {
    const auto sound = [] {
        Case c = alike(3, TOV_DEPTH_16U, 3, 10, 5);
        c.value = 0;
        return c;
    };
    const auto call = [](Scene& s) {
        const int32_t v = s.of.value;
        tovMultiplyScale(v & noFirst ? nullptr : s[0], v & noSecond ? nullptr : s[1], v & noDst ? nullptr : s[2]);
    };
    const auto noRegion = [](int role) {
        return [role](Case& c) {
            onlyAlpha(c.images[role]);
            c.images[role].hasRoi = false;
        };
    };
    const auto notChosen = [](int role) {
        return [role](Case& c) {
            onlyAlpha(c.images[role]);
            region(c.images[role], 0);
        };
    };
    Rows rows = {
        argument("dstImage==0", noDst),
        badHeader(2),
        argument("srcImageA==0", noFirst),
        badHeader(0),
        argument("srcImageB==0", noSecond),
        badHeader(1),
        {-5, "dstImage->alphaChannel == 1 && dstImage->roi == 0", noRegion(2)},
        {-5, "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1", notChosen(2)},
        {-5, "srcImageA->alphaChannel == 1 && srcImageA->roi == 0", noRegion(0)},
        {-5, "srcImageA->alphaChannel == 1 && srcImageA->roi->coi != 1", notChosen(0)},
        {-5, "srcImageB->alphaChannel == 1 && srcImageB->roi == 0", noRegion(1)},
        {-5, "srcImageB->alphaChannel == 1 && srcImageB->roi->coi != 1", notChosen(1)},
        {-5, "dstImage->depth != 8 && dstImage->depth != 16", [](Case& c) { c.images[2].depth = TOV_DEPTH_32F; }},
        {-5, "srcImageA->depth != dstImage->depth", [](Case& c) { c.images[0].depth = TOV_DEPTH_8U; }},
        {-5, "srcImageB->depth != dstImage->depth", [](Case& c) { c.images[1].depth = TOV_DEPTH_16S; }},
    };
    for (const auto& [name, role] : {std::pair("A", 0), std::pair("B", 1)}) {
        for (const Row& row : countRows(name, role)) rows.push_back(row);
    }
    expectInOrder(rows, sound, call, "tovMultiplyScale");
}

// One image has a channel of interest and the other has no region, or none in it.
Rows interestRows(const char* source, int role) {
    static std::vector<std::string> texts;
    texts.reserve(16);
    const auto keep = [](const std::string& text) { return texts.emplace_back(text).c_str(); };
    const std::string src = std::string("srcImage") + source, dst = "dstImage";
    const auto row = [&](const std::string& with, const std::string& without, bool hasRegion, int chosen, int other) {
        return Row{-5, keep(with + "->roi->coi > 0 && " + without + (hasRegion ? "->roi->coi == 0" : "->roi == 0")),
                   [=](Case& c) {
                       region(c.images[roleA], chosen == roleDst); // which B's rows find sound
                       region(c.images[chosen], 1);
                       region(c.images[other], 0);
                       c.images[other].hasRoi = hasRegion;
                   }};
    };
    return {row(dst, src, false, roleDst, role), row(dst, src, true, roleDst, role),
            row(src, dst, false, role, roleDst), row(src, dst, true, role, roleDst)};
}

void callComposite(Scene& s) {
    const int32_t v = s.of.value;
    tovAlphaComposite(v & noFirst ? nullptr : s[roleA], v & noSecond ? nullptr : s[roleB],
                      v & noDst ? nullptr : s[roleDst], v & badType ? 6 : 0, v & 64 ? s[roleAlphaA] : nullptr,
                      v & 128 ? s[roleAlphaB] : nullptr, v & 256 ? s[roleAlphaDst] : nullptr, v & badPremul ? 2 : 0,
                      v & badDivide ? -1 : 1);
}

Case soundComposite() {
    Case c = alike(6, TOV_DEPTH_8U, 4, 10, 5);
    for (ImageForm& form : c.images) form.alpha = 4;
    c.value = 64 + 128 + 256;
    return c;
}

TEST(AlphaComposite, ChecksInOrder) {
    const auto choosesAlpha = [](int role) {
        return [role](Case& c) {
            c.images[role].alpha = c.images[role].nChannels;
            region(c.images[role], c.images[role].alpha);
        };
    };
    const auto depth = [](int role) { return [role](Case& c) { c.images[role].depth = TOV_DEPTH_16U; }; };
    const char* counts[] = {
        "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != "
        "(dstImage->nChannels - (dstImage->alphaChannel != 0))",
        "(srcImageB->nChannels - (srcImageB->alphaChannel != 0)) != "
        "(dstImage->nChannels - (dstImage->alphaChannel != 0))"};
    const auto other = [](int role) {
        return [role](Case& c) {
            c.images[role].nChannels = c.images[role].alpha = 3;
            for (int i : {roleA, roleB, roleDst}) c.images[i].roi.coi = 0;
        };
    };
    Rows rows = {
        argument("dstImage==0", noDst),
        badHeader(roleDst),
        argument("srcImageA==0", noFirst),
        badHeader(roleA),
        argument("srcImageB==0", noSecond),
        badHeader(roleB),
        {-5, "dstImage->alphaChannel > 0 && dstImage->roi->coi == dstImage->alphaChannel", choosesAlpha(roleDst)},
        {-5, "srcImageA->alphaChannel > 0 && srcImageA->roi->coi == srcImageA->alphaChannel", choosesAlpha(roleA)},
        {-5, "srcImageB->alphaChannel > 0 && srcImageB->roi->coi == srcImageB->alphaChannel", choosesAlpha(roleB)},
        {-5, "dstImage->depth != 8 && dstImage->depth != 16", [](Case& c) { c.images[roleDst].depth = TOV_DEPTH_8S; }},
        {-5, "srcImageA->depth != dstImage->depth", depth(roleA)},
        {-5, "srcImageB->depth != dstImage->depth", depth(roleB)},
    };
    for (const auto& [name, role] : {std::pair("A", roleA), std::pair("B", roleB)}) {
        for (const Row& row : interestRows(name, role)) rows.push_back(row);
    }
    const Rows last = {
        {-5, counts[0], other(roleA)},
        {-5, counts[1], other(roleB)},
        {-5, "srcImageA->alphaChannel < 1",
         [](Case& c) {
             c.value &= ~64;
             c.images[roleA].nChannels -= c.images[roleA].alpha != 0;
             c.images[roleA].alpha = 0;
         }},
        badHeader(roleAlphaA),
        {-5, "alphaImageA->depth != dstImage->depth", depth(roleAlphaA)},
        badHeader(roleAlphaB),
        {-5, "alphaImageB->depth != dstImage->depth", depth(roleAlphaB)},
        badHeader(roleAlphaDst),
        {-5, "alphaImageDst->depth != dstImage->depth", depth(roleAlphaDst)},
        {-5, "alphaImageDst->alphaChannel < 1", [](Case& c) { c.images[roleAlphaDst].alpha = 0; }},
        argument("compositeType != 0 && compositeType != 1 && compositeType != 2 && compositeType != 3 && "
                 "compositeType != 4 && compositeType != 5",
                 badType),
        argument("premulAlpha != 0 && premulAlpha != 1", badPremul),
        argument("divideMode != 0 && divideMode != 1", badDivide),
    };
    rows.insert(rows.end(), last.begin(), last.end());
    ASSERT_EQ(rows.size(), 33U);
    expectInOrder(rows, soundComposite, callComposite, "tovAlphaComposite");
}

TEST(AlphaComposite, MasksAreCheckedBehindTheArguments) {
    Case c = soundComposite();
    const int mask = giveMask(c, roleAlphaB);
    c.images[mask].hasRoi = true;
    c.images[mask].roi = {0, -1, 0, 3, 3};
    c.value |= badDivide; // a mask goes with its image first
    expectRefusal(c, callComposite, {{-111, "tovAlphaComposite", "Incorrect Image", "tovalpha"}});
}

// An earlier failure of the thread lets calls pass that ask nobody, and stops those that merge masks or copy tiles.
TEST(AlphaComposite, EarlierStatus) {
    const auto expect = [](const Case& c, TovStatus answer, bool works, const Reports& reports) {
        Scene scene(c), want(c);
        scene.run(
            [](Scene& s) {
                tovSetErrStatus(-77);
                callComposite(s);
            },
            answer);
        Scene free(c);
        free.run(callComposite);
        EXPECT_EQ(scene.differences(works ? free : want), "") << c;
        EXPECT_EQ(scene.reports, reports) << c;
    };
    const auto says = [](TovStatus status, const char* context) {
        return Report{status, "tovAlphaComposite", context, "tovalpha"};
    };
    Case c = soundComposite();
    expect(c, 1, true, {});
    giveMask(c, roleA);
    expect(c, 1, true, {});
    giveMask(c, roleAlphaDst);
    expect(c, 1, false, {says(-1, "Bad masks for images")});
    expect(c, 0, true, {says(-1, "Bad masks for images")});

    Case tiles = soundComposite();
    for (ImageForm& form : tiles.images) form.tileWidth = form.tileHeight = 16;
    expect(tiles, 1, true, {});
    tiles.images[roleB].tileWidth = 8; // tiles to gather
    expect(tiles, 1, false, {says(-1, "Internal tiling error")});
    expect(tiles, 0, false, {says(-1, "Internal tiling error"), says(-3, "Internal tiling error")});
}

// A stage with tiles of a quarter of the destination's size, known by hand.
TEST(AlphaComposite, TileRequestsKnownByHand) {
    Case c = soundComposite();
    c.value = 0;
    for (ImageForm& form : c.images) form.width = form.height = 16;
    c.images[roleDst].tileWidth = c.images[roleDst].tileHeight = 16;
    c.images[roleB].tileWidth = c.images[roleB].tileHeight = 8;
    Scene scene(c);
    scene.run(callComposite);
    const int w = TOV_TILE_WRITE, r = TOV_TILE_READ, x = TOV_TILE_RELEASE;
    const std::vector<TileEvent> want = {{5, 0, 0, w}, {1, 0, 0, r}, {1, 1, 0, r}, {1, 0, 1, r}, {1, 1, 1, r},
                                         {5, 0, 0, x}, {1, 0, 0, x}, {1, 1, 0, x}, {1, 0, 1, x}, {1, 1, 1, x}};
    EXPECT_EQ(scene.server.log, want) << list(scene.server.log);
}

} // namespace
} // namespace tovtest
