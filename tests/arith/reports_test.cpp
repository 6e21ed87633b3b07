// What addition, subtraction and the bit operations report, and in which order they look.
#include <functional>

#include "arith/calls.h"
#include "support/sweep.h"

namespace tovtest {
namespace {

class ArithReports : public ArithTest {};

Case threeImages(uint32_t depth = TOV_DEPTH_8U) { return alike(3, depth, depth == TOV_DEPTH_1U ? 1 : 3, 10, 5); }

TEST_P(ArithReports, ChecksInOrder) {
    const ArithCall& call = GetParam();
    const bool isAdd = call.model.value == addition.value;
    const auto three = [&](Scene& s) { call.run(s[0], s[1], s[2]); };
    const auto says = [&](TovStatus status, const char* context) {
        return Reports{{status, call.funcName, context, call.file}};
    };
    // Faults from the last that is looked for to the first: each joins those before it and must win.
    struct Row {
        TovStatus status;
        const char* context;
        std::function<void(Case&)> make;
    };
    const Row rows[] = {
        {-5, "(nChSrcB != nChDst)", [](Case& c) { c.images[1].nChannels = 4; }},
        {-5, "(nChSrcA != nChDst)", [](Case& c) { c.images[0].nChannels = 1; }},
        {-5, "(srcImageB->dataOrder != dstImage->dataOrder)", [](Case& c) { c.images[1].order = 1; }},
        {-5, "(srcImageA->dataOrder != dstImage->dataOrder)", [](Case& c) { c.images[0].order = 1; }},
        {-5, "(srcImageB->depth != dstImage->depth)", [](Case& c) { c.images[1].depth = TOV_DEPTH_8S; }},
        {-5, "(srcImageA->depth != dstImage->depth)", [](Case& c) { c.images[0].depth = TOV_DEPTH_32F; }},
        {-21, "Incorrect Image", [](Case& c) { c.images[2].align = 5; }},
        {-18, "Incorrect Image", [](Case& c) { c.images[1].alpha = 2; }},
        {-20, "Incorrect Image", [](Case& c) { c.images[0].origin = 2; }},
    };
    Case c = threeImages();
    for (const Row& row : rows) {
        Case alone = threeImages();
        row.make(alone);
        row.make(c);
        expectRefusal(alone, three, says(row.status, row.context));
        expectRefusal(c, three, says(row.status, row.context));
    }
    const Case sound = threeImages();
    expectRefusal(
        sound, [&](Scene& s) { call.run(nullptr, s[1], s[2]); },
        isAdd ? says(-5, "srcImageA==0") : says(-9, "Incorrect Image"));
    expectRefusal(
        sound, [&](Scene& s) { call.run(s[0], nullptr, s[2]); }, says(-9, "Incorrect Image"));
    expectRefusal(
        sound, [&](Scene& s) { call.run(s[0], s[1], nullptr); }, says(-9, "Incorrect Image"));

    Case mask = threeImages();
    giveMask(mask, 1);
    mask.images[3].depth = TOV_DEPTH_8U;
    expectRefusal(mask, three, says(-117, "Incorrect Image"));

    Case interest = threeImages(); // one channel of interest against three channels
    interest.images[2].hasRoi = true;
    interest.images[2].roi = {2, 0, 0, 10, 5};
    expectRefusal(interest, three, says(-5, "(nChSrcA != nChDst)"));
    interest.images[0].nChannels = interest.images[1].nChannels = 1;
    interest.images[2].roi.coi = 4;
    expectRefusal(interest, three, says(-24, "Incorrect Image"));
    Case alpha = threeImages(); // three with alpha contribute two
    alpha.images[1].alpha = 3;
    expectRefusal(alpha, three, says(-5, "(nChSrcB != nChDst)"));
}

TEST_P(ArithReports, MergingMasks) {
    const ArithCall& call = GetParam();
    const auto three = [&](Scene& s) { call.run(s[0], s[1], s[2]); };
    Case c = threeImages();
    giveMask(c, 0);
    giveMask(c, 2);
    for (int failAt : {1, 2}) {
        expectRefusal(c,
                      [&](Scene& s) {
                          const MallocWatch watch(failAt);
                          three(s);
                      },
                      {{-4, call.funcName, "Out of memory", call.file}});
    }
    c.images[4].hasRoi = true; // begins beyond its mask: no pixel in common
    c.images[4].roi = {0, 10, 0, 3, 3};
    expectRefusal(c, three, {});
    Scene scene(c);
    scene.run([&](Scene& s) {
        tovSetErrStatus(-7); // and the status is left alone
        three(s);
    });
    EXPECT_EQ(scene.status, -7);
}

TEST_P(ArithReports, FloatsAreRefusedByBitOperations) {
    const ArithCall& call = GetParam();
    if (call.floats) return;
    const auto three = [&](Scene& s) { call.run(s[0], s[1], s[2]); };
    Case c = threeImages(TOV_DEPTH_32F);
    const Reports refusal{{-5, call.funcName, "This function does not support depth 32F", call.file}};
    expectRefusal(c, three, refusal);
    giveMask(c, 0);
    giveMask(c, 1);
    expectRefusal(c, three, refusal); // and the merged mask is freed
    expectRefusal(c,
                  [&](Scene& s) { // the merge comes first
                      const MallocWatch watch(2);
                      three(s);
                  },
                  {{-4, call.funcName, "Out of memory", call.file}});
    c.images[2].nChannels = 1;
    expectRefusal(c, three, {{-5, call.funcName, "(nChSrcA != nChDst)", call.file}});
}

TEST_P(ArithReports, OneBitImages) {
    const ArithCall& call = GetParam();
    const bool isAdd = call.model.value == addition.value; // hands over to tovOr, which reports
    const char* name = isAdd ? "tovOr" : call.funcName;
    const char* file = isAdd ? "tovor" : call.file;
    const auto three = [&](Scene& s) { call.run(s[0], s[1], s[2]); };
    Case c = threeImages(TOV_DEPTH_1U);
    expectRefusal(c, [&](Scene& s) { call.run(s[0], nullptr, s[2]); }, {{-9, name, "Incorrect Image", file}});
    c.images[2].depth = TOV_DEPTH_8U;
    expectRefusal(c, three, {{-5, name, "(srcImageA->depth != dstImage->depth)", file}});
    c.images[0].align = 5;
    expectRefusal(c, three, {{-21, name, "Incorrect Image", file}});
    c = threeImages(); // 1-bit sources are looked for in A alone
    c.images[1].depth = TOV_DEPTH_1U;
    c.images[1].nChannels = 1;
    expectRefusal(c, three, {{-5, call.funcName, "(srcImageB->depth != dstImage->depth)", call.file}});
}

TEST_P(ArithReports, EachTileFailsInTurn) {
    const ArithCall& call = GetParam();
    Sweep sweep;
    sweep.product = [&](Scene& s) { call.run(s[0], s[1], s[2]); };
    sweep.model = [&](Scene& s) { combine(s, {&s.at(0), &s.at(1)}, s.at(2), call.model); };
    sweep.family.roles = 3;
    if (!call.floats) sweep.family.depths = {TOV_DEPTH_1U, TOV_DEPTH_8U, TOV_DEPTH_16S, TOV_DEPTH_32S};
    const bool isAdd = call.model.value == addition.value;
    int tiled = 0;
    for (uint64_t number = 0; number < 150 && !HasFailure(); ++number) {
        const Case c = drawCase(number, sweep.family);
        if (c.images[1].sameAs == 0) continue; // A and B can't be told apart by the request
        for (int i = 0; i < 3; ++i) tiled += c.images[c.resolve(i)].tileWidth > 0;
        const bool handedOver = isAdd && c.images[0].depth == TOV_DEPTH_1U;
        failEachTile(c, sweep, true, [&](const TileEvent& failed) {
            const char* context = failed.mode == TOV_TILE_WRITE ? "(dstImage->tileInfo->tileData == ((void*)(0)))"
                                  : failed.image == 0           ? "(srcImageA->tileInfo->tileData == ((void*)(0)))"
                                                                : "(srcImageB->tileInfo->tileData == ((void*)(0)))";
            return Reports{{-5, handedOver ? "tovOr" : call.funcName, context, handedOver ? "tovor" : call.file}};
        });
    }
    EXPECT_GT(tiled, 20);
}

TEST_P(ArithReports, TileRowsBeyondTheFieldsAreNotAskedFor) {
    const ArithCall& call = GetParam();
    Case c = alike(3, TOV_DEPTH_8U, 3, 8, 8);
    for (ImageForm& form : c.images) {
        form.tileWidth = form.tileHeight = 8;
        form.hasRoi = true;
        form.roi = {1, 0, 0, 8, 8};
    }
    Scene scene(c);
    scene[1]->nChannels = 1 << 28;
    scene.run([&](Scene& s) { call.run(s[0], s[1], s[2]); });
    EXPECT_EQ(scene.reports,
              (Reports{{-5, call.funcName, "(srcImageB->tileInfo->tileData == ((void*)(0)))", call.file}}));
    EXPECT_EQ(scene.server.log.size(), 2u); // A's tile and its release
    EXPECT_EQ(scene.server.held(), 0u);
}

INSTANTIATE_TEST_SUITE_P(All, ArithReports, testing::ValuesIn(arithCalls), arithName);

TEST(XorS, ChecksInOrder) {
    const auto two = [](Scene& s) { tov::tovXorS(s[0], s[1], 5); };
    const auto says = [](TovStatus status, const char* context) {
        return Reports{{status, "tovXorS", context, "tovxors"}};
    };
    Case c = threeImages(TOV_DEPTH_32F);
    c.images.resize(2);
    expectRefusal(
        c, [](Scene& s) { tov::tovXorS(nullptr, s[1], 5); }, says(-9, "Incorrect Image"));
    expectRefusal(
        c, [](Scene& s) { tov::tovXorS(s[0], nullptr, 5); }, says(-9, "Incorrect Image"));
    expectRefusal(c, two, says(-5, "This function does not support depth 32F"));
    giveMask(c, 0);
    giveMask(c, 1);
    expectRefusal(c, two, says(-5, "This function does not support depth 32F"));
    expectRefusal(
        c,
        [&](Scene& s) {
            const MallocWatch watch(1);
            two(s);
        },
        says(-4, "Out of memory"));
    c.images[1].nChannels = 2;
    expectRefusal(c, two, says(-5, "(nChSrc != nChDst)"));
    c.images[1].order = 1;
    expectRefusal(c, two, says(-5, "(srcImage->dataOrder != dstImage->dataOrder)"));
    c.images[1].depth = TOV_DEPTH_8U;
    expectRefusal(c, two, says(-5, "(srcImage->depth != dstImage->depth)"));
    c.images[1].origin = -1;
    expectRefusal(c, two, says(-20, "Incorrect Image"));
    c.images[0].alpha = 1;
    expectRefusal(c, two, says(-18, "Incorrect Image"));
}

TEST(XorS, EachTileFailsInTurn) {
    Sweep sweep;
    sweep.product = [](Scene& s) { tov::tovXorS(s[0], s[1], s.of.value); };
    sweep.model = [](Scene& s) { combine(s, {&s.at(0)}, s.at(1), exclusiveOr, s.of.value); };
    sweep.family.roles = 2;
    sweep.family.depths = {TOV_DEPTH_1U, TOV_DEPTH_8U, TOV_DEPTH_16S, TOV_DEPTH_32S};
    failEachTile(sweep, 150, true, [](const Case&, const TileEvent& failed) {
        const char* context = failed.mode == TOV_TILE_WRITE ? "(dstImage->tileInfo->tileData == ((void*)(0)))"
                                                            : "(srcImage->tileInfo->tileData == ((void*)(0)))";
        return Reports{{-5, "tovXorS", context, "tovxors"}};
    });
}

} // namespace
} // namespace tovtest
