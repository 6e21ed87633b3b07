// Making and freeing images, and their border settings.
#include <gtest/gtest.h>

#include <cstring>

#include "core/header_faults.h"
#include "core/lifecycle.h"
#include "core/memory.h"
#include "support/case.h"
#include "support/reports.h"

namespace tovtest {
namespace {

// A header made with the fields of another one as arguments.
TovImage* create(const TovImage& a, const char* model = "RGB", const char* seq = "BGR") {
    return tovCreateImageHeader(a.nChannels, a.alphaChannel, a.depth, model, seq, a.dataOrder, a.origin, a.align,
                                a.width, a.height, a.roi, a.maskROI, a.imageId, a.tileInfo);
}

TovImage arguments(uint32_t depth, int32_t nChannels, int32_t order, int32_t align, int32_t width, int32_t height) {
    TovImage a{};
    a.depth = depth;
    a.nChannels = nChannels;
    a.dataOrder = order;
    a.align = align;
    a.width = width;
    a.height = height;
    return a;
}

Report report(TovStatus status, const char* funcName, const char* context = "Incorrect data-ins") {
    return {status, funcName, context, "tovalloc"};
}

TEST(CreateImageHeader, FindsTheFirstFault) {
    ReportLog log;
    const auto refuses = [&](const TovImage& a, TovStatus want, const char* model = "", const char* seq = "") {
        log.reports.clear();
        EXPECT_EQ(create(a, model, seq), nullptr);
        EXPECT_EQ(log.reports, Reports{report(want, "tovCreateImageHeader")});
        EXPECT_EQ(tovGetErrStatus(), want);
    };
    const auto alone = [&](Sound& sound, TovStatus want) { refuses(sound.image, want); };
    forEachPair(sizeFaults() + formFaults() + maskFaults(), false, alone);
    // Null texts come between the two groups.
    forEachPair(formFaults() + maskFaults(), false, [&](Sound& sound, TovStatus) {
        refuses(sound.image, -14, nullptr);
        refuses(sound.image, -14, "", nullptr);
    });
    forEachPair(sizeFaults(), false, [&](Sound& sound, TovStatus want) { refuses(sound.image, want, nullptr); });
}

TEST(CreateImageHeader, FillsEveryField) {
    ReportLog log;
    Sound sound(true);
    sound.tiles.width = 12; // neither it nor the region is examined here
    sound.roi.width = -1;
    const char model[] = {'R', 0, 'j', 'u', 'n', 'k'};
    TovImage* image = create(sound.image, model, "BGRAX");
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(image) % 32, 0u);
    TovImage want = sound.image;
    want.headerSize = sizeof(TovImage);
    std::memcpy(want.colorModel, "R\0\0\0", 4);
    std::memcpy(want.channelSeq, "BGRA", 4);
    want.widthStep = 12;
    want.imageSize = 48;
    const auto expectSame = [&](auto... fields) {
        const auto same = [&](auto field) {
            return std::memcmp(&(image->*field), &(want.*field), sizeof(want.*field)) == 0;
        };
        for (bool match : {same(fields)...}) EXPECT_TRUE(match);
    };
    expectSame(&TovImage::headerSize, &TovImage::headerVersion, &TovImage::nChannels, &TovImage::alphaChannel,
               &TovImage::depth, &TovImage::colorModel, &TovImage::channelSeq, &TovImage::dataOrder, &TovImage::origin,
               &TovImage::align, &TovImage::width, &TovImage::height, &TovImage::roi, &TovImage::maskROI);
    expectSame(&TovImage::imageId, &TovImage::tileInfo, &TovImage::imageSize, &TovImage::imageData,
               &TovImage::widthStep, &TovImage::borderMode, &TovImage::borderConst, &TovImage::imageDataOrigin);
    EXPECT_TRUE(log.reports.empty());
    tovDeallocate(image, TOV_IMAGE_HEADER);
}

// Depth, order, alignment and size by the formula, the fill pattern to the last byte, and the block's own alignment.
TEST(AllocateImage, SizesAlignsAndFills) {
    ReportLog log;
    for (uint64_t number = 0; number < 500; ++number) {
        const Case c = drawCase(number, Family());
        ImageForm form = c.images[0];
        if (form.depth == TOV_DEPTH_32F) continue;
        form.slack = form.tileWidth = form.tileHeight = 0;
        TovImage* image =
            create(arguments(form.depth, form.nChannels, form.order, form.align, form.width, form.height));
        ASSERT_NE(image, nullptr) << c;
        EXPECT_TRUE(image->widthStep == form.rowStep() && image->imageSize == form.dataSize()) << c;
        image->widthStep = image->imageSize = 0;
        tovAllocateImage(image, static_cast<int32_t>(number % 3), c.value);
        ASSERT_NE(image->imageData, nullptr);
        EXPECT_TRUE(image->widthStep == form.rowStep() && image->imageSize == form.dataSize()) << c;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(image->imageData) % form.align, 0u);
        EXPECT_TRUE(image->imageData >= image->imageDataOrigin &&
                    image->imageData < image->imageDataOrigin + form.align);
        for (int32_t k = 0; number % 3 != 0 && k < image->imageSize; ++k) {
            uint8_t word[4], ones = (c.value & 1) ? 255 : 0;
            const auto low16 = static_cast<uint16_t>(c.value);
            std::memcpy(word, &c.value, 4);
            if (form.bits() == 16) std::memcpy(word, &low16, 2);
            if (form.bits() == 8) word[0] = static_cast<uint8_t>(c.value);
            ASSERT_EQ(image->imageData[k], form.bits() == 1 ? ones : word[k % (form.bits() / 8)]) << c;
        }
        tovDeallocate(image, TOV_IMAGE_DATA);
        EXPECT_TRUE(image->imageData == nullptr && image->imageDataOrigin == nullptr);
        tovDeallocate(image, TOV_IMAGE_HEADER);
    }
    EXPECT_TRUE(log.reports.empty());
}

TEST(AllocateImage, FindsTheFirstFault) {
    ReportLog log;
    const auto refuses = [&](TovImage* image, TovStatus want, const char* context) {
        log.reports.clear();
        const TovImage before = image ? *image : TovImage{};
        tovAllocateImage(image, 1, 0);
        EXPECT_EQ(log.reports, Reports{report(want, "tovAllocateImage", context)});
        EXPECT_TRUE(!image || std::memcmp(image, &before, sizeof before) == 0) << context;
    };
    refuses(nullptr, -5, "( image == ((void *)0) )");
    Sound sound(true);
    uint8_t pixel = 77;
    sound.image.depth = TOV_DEPTH_32F;
    sound.image.width = 0;
    sound.image.imageData = &pixel;
    refuses(&sound.image, -5, "( image->imageData != ((void *)0) )");
    EXPECT_EQ(pixel, 77);
    tovDeallocate(&sound.image, TOV_IMAGE_DATA); // the caller's pixels stay
    EXPECT_EQ(sound.image.imageData, &pixel);
    sound.image.imageData = nullptr;
    refuses(&sound.image, -5, "( image->tileInfo != ((void *)0) )");
    sound.image.tileInfo = nullptr;
    refuses(&sound.image, -5, "( image->depth == 32 )");
    forEachPair(sizeFaults() + formFaults() + maskFaults(), false, [&](Sound& bare, TovStatus want) {
        bare.image.imageData = nullptr;
        refuses(&bare.image, want, "Incorrect data-ins");
    });
}

TEST(CreateImageHeader, SizesBeyondTheFieldsAreRefusedButForTiles) {
    ReportLog log;
    Sound sound(true);
    struct Row {
        int32_t nChannels, order, width, height;
        int64_t step, size; // of a tiled header; a plain one is refused when the size is 0
    };
    const int32_t most = INT32_MAX;
    for (const Row& row :
         {Row{1, 0, 536870911, 1, 2147483644, 2147483644}, Row{1, 0, 536870912, 1, 0, 0}, Row{4, 0, 268435456, 1, 0, 0},
          Row{3, 1, 178956971, 1, 715827884, 0}, Row{1, 0, 16384, 32768, 65536, 0}, Row{most, 0, most, most, 0, 0},
          Row{most, 1, most, most, 0, 0}, Row{1, 1, most, 1, 0, 0}}) {
        TovImage a = arguments(TOV_DEPTH_32S, row.nChannels, row.order, 4, row.width, row.height);
        log.reports.clear();
        TovImage* image = create(a);
        tovDeallocate(image, TOV_IMAGE_HEADER);
        EXPECT_EQ(image == nullptr, row.size == 0);
        if (row.size == 0) {
            tovAllocateImage(&a, 0, 0);
            EXPECT_EQ(log.reports, (Reports{report(-10, "tovCreateImageHeader"), report(-10, "tovAllocateImage")}));
            EXPECT_EQ(a.imageData, nullptr);
        }
        log.reports.clear();
        a.tileInfo = &sound.tiles;
        image = create(a);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->widthStep, row.step);
        EXPECT_EQ(image->imageSize, row.size);
        EXPECT_TRUE(log.reports.empty());
        tovDeallocate(image, TOV_IMAGE_HEADER);
    }
}

TEST(AllocateImage, ExhaustedMemoryIsNotReported) {
    ReportLog log;
    TovImage a = arguments(TOV_DEPTH_8U, 3, 0, 4, 10, 6);
    for (bool header : {true, false}) {
        const MallocWatch watch(1);
        if (header) {
            EXPECT_EQ(create(a), nullptr);
        } else {
            tovAllocateImage(&a, 1, 5);
        }
        EXPECT_EQ(watch.count(), 1);
    }
    EXPECT_TRUE(a.imageData == nullptr && a.imageDataOrigin == nullptr);
    EXPECT_TRUE(log.reports.empty());
    EXPECT_EQ(tovGetErrStatus(), 0);
}

TEST(Deallocate, TakesWhatTheFlagsName) {
    ReportLog log;
    tovDeallocate(nullptr, TOV_IMAGE_ALL);
    const TovImage a = arguments(TOV_DEPTH_1U, 1, 0, 4, 10, 6);
    for (int32_t flags = 0; flags <= TOV_IMAGE_ALL; ++flags) {
        TovImage *image = create(a), *mask = create(a), *deeper = create(a);
        tovAllocateImage(image, 0, 0);
        tovAllocateImage(mask, 0, 0);
        image->roi = tov::tovCreateROI(0, 1, 2, 3, 4);
        image->tileInfo = static_cast<TovTileInfo*>(tov::ownAlignedAlloc(sizeof(TovTileInfo)));
        image->maskROI = mask;
        mask->roi = tov::tovCreateROI(1, 0, 0, 3, 4);
        mask->maskROI = deeper;
        tovDeallocate(image, flags & ~TOV_IMAGE_HEADER);
        EXPECT_EQ(image->roi == nullptr, (flags & TOV_IMAGE_ROI) != 0);
        EXPECT_EQ(image->maskROI == nullptr, (flags & TOV_IMAGE_MASK) != 0);
        EXPECT_EQ(image->tileInfo == nullptr, (flags & TOV_IMAGE_TILE) != 0);
        EXPECT_EQ(image->imageData == nullptr && image->imageDataOrigin == nullptr, (flags & TOV_IMAGE_DATA) != 0);
        tovDeallocate(image, TOV_IMAGE_ALL);     // the rest; the leak check tells if anything stays
        tovDeallocate(deeper, TOV_IMAGE_HEADER); // a mask of the mask is not taken
    }
}

TEST(SetBorderMode, LimitsTheConstantByDepthOnTheSidesNamed) {
    for (uint32_t depth :
         {TOV_DEPTH_1U, TOV_DEPTH_8U, TOV_DEPTH_8S, TOV_DEPTH_16U, TOV_DEPTH_16S, TOV_DEPTH_32S, TOV_DEPTH_32F}) {
        const int bits = static_cast<int>(depth & 0x7FFFFFFF) - ((depth & TOV_DEPTH_SIGN) != 0);
        const bool limited = (depth & 0x7FFFFFFF) != 32;
        const int64_t high = limited ? (int64_t{1} << bits) - 1 : INT32_MAX;
        const int64_t low = !limited ? INT32_MIN : (depth & TOV_DEPTH_SIGN) ? -high - 1 : 0;
        for (int32_t value : {0, 1, 2, -1, 127, 128, -128, -129, 255, 256, 32767, 32768, -32768, -32769, 65535, 65536,
                              999, INT32_MIN, INT32_MAX}) {
            const int64_t want = value < low ? low : value > high ? high : value;
            for (int32_t sides = 0; sides < 32; ++sides) {
                TovImage image{};
                image.depth = depth;
                tovSetBorderMode(&image, -7, TOV_SIDES_ALL, 0);
                tovSetBorderMode(&image, TOV_BORDER_WRAP, sides, value);
                for (int side : {TOV_SIDE_TOP, TOV_SIDE_BOTTOM, TOV_SIDE_LEFT, TOV_SIDE_RIGHT}) {
                    const bool set = (sides & TOV_SIDE_BIT(side)) != 0;
                    ASSERT_EQ(image.borderMode[side], set ? TOV_BORDER_WRAP : -7);
                    ASSERT_EQ(image.borderConst[side], set ? want : 0) << depth << " " << value;
                }
            }
        }
    }
}

} // namespace
} // namespace tovtest
