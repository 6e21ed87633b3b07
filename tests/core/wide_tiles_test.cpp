// Tiles whose rows are longer than a header can tell: each walk over tiles refuses them before it asks for one.
#include <gtest/gtest.h>

#include "reduce/reduce.h"
#include "support/scene.h"

namespace tovtest {
namespace {

enum Wide { source, destination };

struct Row {
    const char* name;
    Wide wide;
    void (*call)(Scene& s);
    Reports reports;
    TovStatus status = 0; // where nothing is reported
};

void blur(Scene& s) { tovBlur(s[0], s[1], 3, 3, 1, 1); }
void blurInPlace(Scene& s) { tovBlur(s[1], s[1], 3, 3, 1, 1); }
void convolve(Scene& s) {
    const int32_t values[] = {1};
    TovConvKernel* kernel = tovCreateConvKernel(1, 1, 0, 0, values, 0);
    tovConvolve2D(s[0], s[1], &kernel, 1, TOV_COMBINE_SUM);
    tovDeleteConvKernel(kernel);
}
void convert(Scene& s) { tovConvert(s[0], s[1]); }
void copy(Scene& s) { tovCopy(s[0], s[1]); }
void decimate(Scene& s) { tovDecimate(s[0], s[1], 1, 2, 1, 2, TOV_INTER_NN); }
void erode(Scene& s) { tovErode(s[0], s[1], 1); }
void mirror(Scene& s) { tovMirror(s[0], s[1], 1); }
void mirrorInPlace(Scene& s) { tovMirror(s[1], s[1], -1); }
void reduce(Scene& s) { tov::tovReduceBits(s[0], s[1], 0, 1, 0); }
void reduceSpreading(Scene& s) { tov::tovReduceBits(s[0], s[1], 0, 2, 0); }
void scale(Scene& s) { tovMultiplySScale(s[0], s[1], 100); }
void twist(Scene& s) {
    const int32_t same[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0};
    TovColorTwist record;
    tovSetColorTwist(&record, same, 0);
    tovApplyColorTwist(s[0], s[1], &record, 0);
}
void zoom(Scene& s) { tovZoom(s[0], s[1], 2, 1, 2, 1, TOV_INTER_NN); }

TEST(WideTiles, AreRefusedByEachWalk) {
    const char* noRead = "Error get tile to read";
    const char* noWrite = "Error get tile to write";
    const Reports noStage = {{-10, "tovCreateImageHeader", "Incorrect data-ins", "tovalloc"},
                             {-4, "tovMultiplySScale", "No working memory", "tovalpha"}};
    const Row rows[] = {
        {"blur", source, blur, {{-4, "tovBlur", "Allocation failure", "tovBlur"}}},
        {"blur", destination, blur, {{-2, "tovBlur", noWrite, "tovBlur"}}},
        {"blur in place", destination, blurInPlace, {{-2, "tovBlur", noRead, "tovBlur"}}},
        {"convolve", source, convolve, {{-4, "tovConvolve2D", "Allocation failure", "tovcnv2d"}}},
        {"convolve", destination, convolve, {{-2, "tovConvolve2D", noWrite, "tovcnv2d"}}},
        {"convert",
         source,
         convert,
         {{-5, "tovConvert", "(srcImage->tileInfo->tileData == NULL)", "..\\_SRC\\tovcvrt"}}},
        {"convert",
         destination,
         convert,
         {{-5, "tovConvert", "(dstImage->tileInfo->tileData == NULL)", "..\\_SRC\\tovcvrt"}}},
        {"copy", source, copy, {{-2, "tovCopy", noRead, "tovsce"}}},
        {"copy", destination, copy, {{-2, "tovCopy", noWrite, "tovsce"}}},
        {"decimate", source, decimate, {{-3, "tovDecimate", "srcImage->tileInfo->callBack crash", "tovdecim"}}},
        {"decimate", destination, decimate, {{-3, "tovDecimate", "dstImage->tileInfo->callBack crash", "tovdecim"}}},
        {"erode", source, erode, {{-2, "tovErode", noRead, "ownMorph"}}},
        {"erode", destination, erode, {{-2, "tovErode", noWrite, "ownMorph"}}},
        {"mirror", source, mirror, {}, -4},
        {"mirror", destination, mirror, {{-2, "tovMirror", noWrite, "tovmirr"}}},
        {"mirror in place", destination, mirrorInPlace, {}, -4},
        {"reduce", source, reduce, {{-4, "tovReduceBits", "Out of memory", "tovcolor"}}},
        {"reduce", destination, reduce, {}},
        {"reduce, spreading errors", destination, reduceSpreading, {}},
        {"scale", source, scale, noStage},
        {"scale", destination, scale, noStage},
        {"twist", source, twist, {{-5, "tovApplyColorTwist", "(srcImage->tileInfo->tileData == NULL)", "tovtwist"}}},
        {"twist",
         destination,
         twist,
         {{-5, "tovApplyColorTwist", "(dstImage->tileInfo->tileData == NULL)", "tovtwist"}}},
        {"zoom", source, zoom, {{-2, "tovZoom", noRead, "tovZoom"}}},
        {"zoom", destination, zoom, {{-2, "tovZoom", noWrite, "tovZoom"}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.name) + (row.wide == source ? " from" : " to"));
        Case c = alike(2, TOV_DEPTH_16U, 3, 8, 8);
        if (row.call == reduce || row.call == reduceSpreading) c.images[1].depth = TOV_DEPTH_8U;
        for (ImageForm& form : c.images) form.channelSeq = "RGB";
        c.images[row.wide].tileWidth = c.images[row.wide].tileHeight = 8;
        Scene scene(c);
        const Scene untouched(c);
        scene[row.wide]->tileInfo->width = 1 << 30;
        scene.at(row.wide).remember();
        scene.run(row.call);
        EXPECT_EQ(scene.reports, row.reports);
        EXPECT_EQ(scene.status, row.reports.empty() ? row.status : row.reports.back().status);
        EXPECT_TRUE(scene.server.log.empty());
        EXPECT_EQ(scene.differences(untouched), "");
    }
}

} // namespace
} // namespace tovtest
