// The order in which a header's faults are found.
#include <gtest/gtest.h>

#include <cstring>

#include "core/header_faults.h"
#include "core/image.h"
#include "support/reports.h"

namespace tovtest {
namespace {

TEST(CheckImage, OfTwoFaultsTheEarlierWins) {
    ReportLog log;
    const Faults noData = {{-12, [](TovImage& i) { i.tileInfo = nullptr; }}};
    const Faults both = {{-12, [](TovImage& i) { i.imageData = reinterpret_cast<uint8_t*>(&i); }}};
    const Faults tiles = {{-22, [](TovImage& i) { i.tileInfo->callBack = nullptr; }},
                          {-23, [](TovImage& i) { i.tileInfo->width = 12; }},
                          {-23, [](TovImage& i) { i.tileInfo->width = 0; }},
                          {-23, [](TovImage& i) { i.tileInfo->height = -8; }}};
    const Faults middle = sizeFaults() + formFaults() + maskFaults();
    const auto check = [](Sound& sound, TovStatus want) {
        const TovImage before = sound.image;
        EXPECT_EQ(tov::tovCheckImage(&sound.image), want);
        EXPECT_EQ(tovGetErrStatus(), want);
        EXPECT_EQ(std::memcmp(&sound.image, &before, sizeof before), 0);
    };
    forEachPair(pixelFaults() + middle + regionFaults(3), false, check);
    forEachPair(noData + middle + regionFaults(3), true, check);
    forEachPair(both + middle + tiles + regionFaults(3), true, check);
    EXPECT_TRUE(log.reports.empty());
}

TEST(CheckImage, PassesWhatIsSound) {
    ReportLog log;
    tovSetErrStatus(-77);
    for (bool tiled : {false, true}) {
        Sound sound(tiled);
        const auto passes = [&] { return tov::tovCheckImage(&sound.image) == 0 && tovGetErrStatus() == -77; };
        EXPECT_TRUE(passes());
        for (uint32_t depth :
             {TOV_DEPTH_8U, TOV_DEPTH_8S, TOV_DEPTH_16U, TOV_DEPTH_16S, TOV_DEPTH_32S, TOV_DEPTH_32F}) {
            sound.image.depth = depth;
            EXPECT_TRUE(passes()) << depth;
        }
        sound.roi = {0, INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX}; // beyond the image
        for (int32_t align : {4, 8, 16, 32}) {
            sound.image.align = align;
            EXPECT_TRUE(passes()) << align;
        }
        sound.image.nChannels = sound.image.alphaChannel = 1000;
        sound.image.dataOrder = sound.image.origin = 1;
        EXPECT_TRUE(passes());
    }
}

TEST(CheckImage, NullAndMasks) {
    ReportLog log;
    EXPECT_EQ(tov::tovCheckImage(nullptr), -9);
    EXPECT_EQ(tovGetErrStatus(), -9);
    Sound outer(false), inner(false);
    outer.mask.maskROI = &inner.mask; // a mask of the mask
    EXPECT_EQ(tov::tovCheckImage(&outer.image), 0);
    inner.mask.width = 0;
    EXPECT_EQ(tov::tovCheckImage(&outer.image), -210);
    inner.mask.depth = TOV_DEPTH_8U;
    EXPECT_EQ(tov::tovCheckImage(&outer.image), -217);
    outer.mask.nChannels = 2;
    EXPECT_EQ(tov::tovCheckImage(&outer.image), -116);
    EXPECT_EQ(tovGetErrStatus(), -116);
    EXPECT_TRUE(log.reports.empty());
}

} // namespace
} // namespace tovtest
