// The order in which a header's faults are found.
#include "core/image.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <vector>

#include "support/scene.h"

namespace tovtest {
namespace {

struct Fault {
    const char* what;
    TovStatus status;
    std::function<void(TovImage&)> make;
};

void unused(TovImage*, int32_t, int32_t, int32_t) {}

// A sound header with everything: three channels, alpha, mask, region, and pixels or tiles.
struct Sound {
    uint8_t pixels[64] = {};
    TovROI roi{3, 0, 0, 4, 4}, maskRoi{1, 2, 1, 9, 9};
    TovTileInfo tiles{unused, nullptr, nullptr, 8, 16}, maskTiles{unused, nullptr, nullptr, 8, 8};
    TovImage mask{}, image{};

    explicit Sound(bool tiled) {
        mask.nChannels = 1;
        mask.depth = TOV_DEPTH_1U;
        mask.align = 4;
        mask.width = mask.height = 4;
        mask.imageData = pixels;
        mask.imageSize = 16;
        mask.widthStep = 4;
        mask.roi = &maskRoi;
        mask.imageId = &maskTiles; // kept here for the fault that tiles the mask
        image = mask;
        image.nChannels = image.alphaChannel = 3;
        image.depth = TOV_DEPTH_8S;
        image.roi = &roi;
        image.maskROI = &mask;
        if (!tiled) return;
        image.imageData = nullptr;
        image.tileInfo = &tiles;
        image.imageSize = image.widthStep = 0;
    }
};

std::vector<Fault> faultsOfAnImage(bool tiled) {
    std::vector<Fault> faults;
    const auto add = [&](const char* what, TovStatus status, std::function<void(TovImage&)> make) {
        faults.push_back({what, status, std::move(make)});
    };
    if (tiled) {
        add("both", -12, [](TovImage& i) { i.imageData = reinterpret_cast<uint8_t*>(&i); });
        add("neither", -12, [](TovImage& i) { i.tileInfo = nullptr; });
    } else {
        add("neither", -12, [](TovImage& i) { i.imageData = nullptr; });
        add("imageSize 0", -10, [](TovImage& i) { i.imageSize = 0; });
        add("imageSize < 0", -10, [](TovImage& i) { i.imageSize = -1; });
        add("widthStep 0", -13, [](TovImage& i) { i.widthStep = 0; });
        add("widthStep < 0", -13, [](TovImage& i) { i.widthStep = -4; });
    }
    add("width 0", -10, [](TovImage& i) { i.width = 0; });
    add("height < 0", -10, [](TovImage& i) { i.height = -5; });
    add("nChannels 0", -15, [](TovImage& i) { i.nChannels = 0; });
    add("1-bit channels", -16, [](TovImage& i) { i.depth = TOV_DEPTH_1U; });
    for (uint32_t depth : {0u, 2u, 7u, 64u, 0x80000001u, 0x80000000u, 0xFFFFFFFFu}) {
        add("depth", -17, [depth](TovImage& i) { i.depth = depth; });
    }
    add("alpha 2", -18, [](TovImage& i) { i.alphaChannel = 2; });
    add("alpha -1", -18, [](TovImage& i) { i.alphaChannel = -1; });
    add("order", -19, [](TovImage& i) { i.dataOrder = 2; });
    add("order < 0", -19, [](TovImage& i) { i.dataOrder = -1; });
    add("origin", -20, [](TovImage& i) { i.origin = 2; });
    for (int32_t align : {0, 1, 12, 64, -4}) {
        add("align", -21, [align](TovImage& i) { i.align = align; });
    }
    return faults;
}

std::vector<Fault> faultsInOrder(bool tiled) {
    std::vector<Fault> faults = faultsOfAnImage(tiled);
    const auto add = [&](const char* what, TovStatus status, std::function<void(TovImage&)> make) {
        faults.push_back({what, status, std::move(make)});
    };
    add("mask depth", -117, [](TovImage& i) { i.maskROI->depth = TOV_DEPTH_8U; });
    add("tiled mask", -26, [](TovImage& i) {
        i.maskROI->tileInfo = static_cast<TovTileInfo*>(i.maskROI->imageId);
        i.maskROI->imageData = nullptr;
    });
    for (const Fault& fault : faultsOfAnImage(false)) { // within a mask, whose depth is sound
        if (fault.status == -16 || fault.status == -17) continue;
        add(fault.what, fault.status - 100, [fault](TovImage& i) { fault.make(*i.maskROI); });
    }
    add("mask channels", -116, [](TovImage& i) { i.maskROI->nChannels = 2; });
    add("mask coi", -124, [](TovImage& i) { i.maskROI->roi->coi = 2; });
    add("mask roi size", -125, [](TovImage& i) { i.maskROI->roi->height = 0; });
    add("mask roi offset", -111, [](TovImage& i) { i.maskROI->roi->xOffset = -1; });
    if (tiled) {
        add("no callback", -22, [](TovImage& i) { i.tileInfo->callBack = nullptr; });
        add("tile width 12", -23, [](TovImage& i) { i.tileInfo->width = 12; });
        add("tile width 0", -23, [](TovImage& i) { i.tileInfo->width = 0; });
        add("tile height < 0", -23, [](TovImage& i) { i.tileInfo->height = -8; });
    }
    add("coi < 0", -24, [](TovImage& i) { i.roi->coi = -1; });
    add("coi 4", -24, [](TovImage& i) { i.roi->coi = 4; });
    add("roi width 0", -25, [](TovImage& i) { i.roi->width = 0; });
    add("roi height < 0", -25, [](TovImage& i) { i.roi->height = -1; });
    add("xOffset", -11, [](TovImage& i) { i.roi->xOffset = -1; });
    add("yOffset", -11, [](TovImage& i) { i.roi->yOffset = INT32_MIN; });
    return faults;
}

// Later faults are made first, so that of two faults in one field the earlier one stands. Left out are pairs that do
// not combine: a mask's channels with the rest of its faults, and a missing tile record with faults in it.
TEST(CheckImage, OfTwoFaultsTheEarlierWins) {
    ReportLog log;
    for (bool tiled : {false, true}) {
        const std::vector<Fault> faults = faultsInOrder(tiled);
        for (std::size_t first = 0; first < faults.size(); ++first) {
            for (std::size_t second = first; second < faults.size(); ++second) {
                const bool channelsOfMask = faults[first].status == -116 || faults[second].status == -116;
                const bool ofRecord = faults[second].status == -22 || faults[second].status == -23;
                const bool noRecord = tiled && first < 2 && (second == 1 || ofRecord);
                if (first != second && (channelsOfMask || noRecord)) continue;
                Sound sound(tiled);
                faults[second].make(sound.image);
                faults[first].make(sound.image);
                const TovImage before = sound.image;
                EXPECT_EQ(tov::tovCheckImage(&sound.image), faults[first].status)
                    << (tiled ? "tiled: " : "plain: ") << faults[first].what << ", " << faults[second].what;
                EXPECT_EQ(tovGetErrStatus(), faults[first].status);
                EXPECT_EQ(std::memcmp(&sound.image, &before, sizeof before), 0);
            }
        }
    }
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
        sound.roi = {0, 1000, 1000, 5, 5}; // beyond the image
        EXPECT_TRUE(passes());
        sound.roi = {0, INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX};
        EXPECT_TRUE(passes());
        std::memset(sound.image.colorModel, 0, 8);
        for (int32_t align : {4, 8, 16, 32}) {
            sound.image.align = align;
            EXPECT_TRUE(passes());
        }
        sound.image.nChannels = 1000;
        sound.image.alphaChannel = 1000;
        sound.image.dataOrder = sound.image.origin = 1;
        EXPECT_TRUE(passes());
    }
    EXPECT_EQ(tov::tovCheckImage(nullptr), -9);
    EXPECT_EQ(tovGetErrStatus(), -9);
    EXPECT_TRUE(log.reports.empty());
}

TEST(CheckImage, MaskOfAMask) {
    ReportLog log;
    Sound outer(false), inner(false);
    outer.mask.maskROI = &inner.mask;
    EXPECT_EQ(tov::tovCheckImage(&outer.image), 0);
    inner.mask.width = 0;
    EXPECT_EQ(tov::tovCheckImage(&outer.image), -210);
    inner.mask.depth = TOV_DEPTH_8U;
    EXPECT_EQ(tov::tovCheckImage(&outer.image), -217);
    EXPECT_EQ(tovGetErrStatus(), -217);
}

} // namespace
} // namespace tovtest
