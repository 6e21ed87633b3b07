// Making and freeing images, and their border settings.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "core/lifecycle.h"
#include "core/memory.h"
#include "support/scene.h"

namespace tovtest {
namespace {

// The arguments of tovCreateImageHeader, sound at first.
struct Arguments {
    int32_t nChannels = 3, alpha = 0;
    uint32_t depth = TOV_DEPTH_8U;
    const char *model = "RGB", *seq = "BGR";
    int32_t order = 0, origin = 0, align = 4, width = 10, height = 6;
    TovROI* roi = nullptr;
    TovImage* mask = nullptr;
    TovTileInfo* tiles = nullptr;
    void* id = nullptr;

    TovImage* create() const {
        return tovCreateImageHeader(nChannels, alpha, depth, model, seq, order, origin, align, width, height, roi, mask,
                                    id, tiles);
    }
};

template <typename... Fields>
void expectSame(const TovImage& is, const TovImage& want, Fields... fields) {
    int number = 0;
    const auto check = [&](auto field) {
        EXPECT_EQ(std::memcmp(&(is.*field), &(want.*field), sizeof(want.*field)), 0) << "field " << number;
        ++number;
    };
    (check(fields), ...);
}

struct HeaderFault {
    TovStatus status;
    std::function<void(Arguments&)> make;
};

// In the order in which they are looked for. A null text is a fault of creation alone.
std::vector<HeaderFault> headerFaults(bool texts, TovImage* eightBit, TovImage* tiled, TovImage* broken) {
    std::vector<HeaderFault> faults = {{-10, [](Arguments& a) { a.height = 0; }},
                                       {-10, [](Arguments& a) { a.width = -1; }},
                                       {-15, [](Arguments& a) { a.nChannels = 0; }},
                                       {-16, [](Arguments& a) { a.depth = TOV_DEPTH_1U; }}};
    if (texts) {
        faults.push_back({-14, [](Arguments& a) { a.model = nullptr; }});
        faults.push_back({-14, [](Arguments& a) { a.seq = nullptr; }});
    }
    const std::vector<HeaderFault> rest = {
        {-17, [](Arguments& a) { a.depth = 12; }},    {-18, [](Arguments& a) { a.alpha = 2; }},
        {-19, [](Arguments& a) { a.order = 2; }},     {-20, [](Arguments& a) { a.origin = -1; }},
        {-21, [](Arguments& a) { a.align = 2; }},     {-117, [=](Arguments& a) { a.mask = eightBit; }},
        {-26, [=](Arguments& a) { a.mask = tiled; }}, {-113, [=](Arguments& a) { a.mask = broken; }}};
    faults.insert(faults.end(), rest.begin(), rest.end());
    return faults;
}

class Lifecycle : public testing::Test {
protected:
    Lifecycle() : scene(maskCase()) { scene[1]->widthStep = 0; }
    static Case maskCase() {
        Case c;
        c.images.resize(3);
        c.images[0].depth = c.images[1].depth = c.images[2].depth = TOV_DEPTH_1U;
        c.images[0].width = c.images[1].width = c.images[2].width = 9;
        c.images[0].depth = TOV_DEPTH_8U;
        c.images[2].tileWidth = c.images[2].tileHeight = 8;
        return c;
    }
    std::vector<HeaderFault> faults(bool texts) { return headerFaults(texts, scene[0], scene[2], scene[1]); }

    ReportLog log;
    Scene scene; // masks: of depth 8, broken, tiled
};

TEST_F(Lifecycle, CreationFindsTheFirstFault) {
    const auto all = faults(true);
    for (std::size_t first = 0; first < all.size(); ++first) {
        for (std::size_t second = first; second < all.size(); ++second) {
            Arguments arguments;
            all[second].make(arguments);
            all[first].make(arguments);
            log.reports.clear();
            EXPECT_EQ(arguments.create(), nullptr);
            EXPECT_EQ(log.reports,
                      (Reports{{all[first].status, "tovCreateImageHeader", "Incorrect data-ins", "tovalloc"}}))
                << first << ", " << second;
            EXPECT_EQ(tovGetErrStatus(), all[first].status);
        }
    }
}

TEST_F(Lifecycle, CreationFillsEveryField) {
    TovROI roi{1, 2, 3, 4, 5};
    TovTileInfo tiles{nullptr, nullptr, nullptr, 12, 8}; // not examined here
    scene[1]->widthStep = 4;
    Arguments arguments;
    arguments.alpha = 3;
    arguments.model = "R\0junk";
    arguments.seq = "BGRAX";
    arguments.origin = arguments.order = 1;
    arguments.roi = &roi;
    arguments.mask = scene[1];
    arguments.tiles = &tiles;
    arguments.id = &roi;
    TovImage* image = arguments.create();
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(image) % 32, 0u);
    TovImage want{};
    want.headerSize = sizeof(TovImage);
    want.nChannels = want.alphaChannel = 3;
    want.depth = TOV_DEPTH_8U;
    want.dataOrder = want.origin = 1;
    std::memcpy(want.colorModel, "R\0\0\0", 4);
    std::memcpy(want.channelSeq, "BGRA", 4);
    want.align = 4;
    want.width = 10;
    want.height = 6;
    want.roi = &roi;
    want.maskROI = scene[1];
    want.imageId = &roi;
    want.tileInfo = &tiles;
    want.imageSize = 12 * 6 * 3;
    want.widthStep = 12;
    expectSame(*image, want, &TovImage::headerSize, &TovImage::headerVersion, &TovImage::nChannels,
               &TovImage::alphaChannel, &TovImage::depth, &TovImage::colorModel, &TovImage::channelSeq,
               &TovImage::dataOrder, &TovImage::origin, &TovImage::align, &TovImage::width, &TovImage::height,
               &TovImage::roi, &TovImage::maskROI, &TovImage::imageId, &TovImage::tileInfo, &TovImage::imageSize,
               &TovImage::imageData, &TovImage::widthStep, &TovImage::borderMode, &TovImage::borderConst,
               &TovImage::imageDataOrigin);
    EXPECT_TRUE(log.reports.empty());
    tovDeallocate(image, TOV_IMAGE_HEADER);
}

// Depth, order, alignment and size by the formula, the fill pattern to the last byte, and the block's own alignment.
TEST_F(Lifecycle, AllocationSizesAlignsAndFills) {
    for (uint64_t number = 0; number < 500; ++number) {
        const Case c = drawCase(number, Family());
        ImageSpec spec = c.images[0];
        if (spec.depth == TOV_DEPTH_32F) continue;
        spec.slack = spec.tileWidth = spec.tileHeight = 0;
        Arguments arguments;
        arguments.nChannels = spec.nChannels;
        arguments.alpha = spec.alpha;
        arguments.depth = spec.depth;
        arguments.order = spec.order;
        arguments.align = spec.align;
        arguments.width = spec.width;
        arguments.height = spec.height;
        TovImage* image = arguments.create();
        ASSERT_NE(image, nullptr) << c;
        EXPECT_EQ(image->widthStep, spec.rowStep()) << c;
        EXPECT_EQ(image->imageSize, spec.dataSize()) << c;
        image->widthStep = image->imageSize = 0;
        tovAllocateImage(image, static_cast<int32_t>(number % 3), c.value);
        ASSERT_NE(image->imageData, nullptr);
        EXPECT_EQ(image->widthStep, spec.rowStep()) << c;
        EXPECT_EQ(image->imageSize, spec.dataSize()) << c;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(image->imageData) % spec.align, 0u);
        EXPECT_TRUE(image->imageData >= image->imageDataOrigin &&
                    image->imageData < image->imageDataOrigin + spec.align);
        for (int32_t k = 0; number % 3 != 0 && k < image->imageSize; ++k) {
            uint8_t word[4], ones = (c.value & 1) ? 255 : 0;
            std::memcpy(word, &c.value, 4);
            const int bits = spec.bits();
            ASSERT_EQ(image->imageData[k], bits == 1 ? ones : word[k % (bits / 8)]) << c;
        }
        tovDeallocate(image, TOV_IMAGE_DATA);
        EXPECT_EQ(image->imageData, nullptr);
        EXPECT_EQ(image->imageDataOrigin, nullptr);
        tovDeallocate(image, TOV_IMAGE_HEADER);
    }
    EXPECT_TRUE(log.reports.empty());
}

TEST_F(Lifecycle, AllocationRefuses) {
    uint8_t pixels[4] = {1, 2, 3, 4};
    TovTileInfo tiles{nullptr, nullptr, nullptr, 8, 8};
    const auto expect = [&](TovImage* image, TovStatus status, const char* context) {
        log.reports.clear();
        const TovImage before = image ? *image : TovImage{};
        tovAllocateImage(image, 1, 0);
        EXPECT_EQ(log.reports, (Reports{{status, "tovAllocateImage", context, "tovalloc"}}));
        EXPECT_TRUE(!image || std::memcmp(image, &before, sizeof before) == 0) << context;
    };
    expect(nullptr, -5, "( image == ((void *)0) )");
    TovImage* image = Arguments().create();
    image->depth = TOV_DEPTH_32F;
    image->width = 0;
    expect(image, -5, "( image->depth == 32 )");
    image->tileInfo = &tiles;
    expect(image, -5, "( image->tileInfo != ((void *)0) )");
    image->imageData = pixels;
    expect(image, -5, "( image->imageData != ((void *)0) )");
    EXPECT_EQ(pixels[0] + pixels[1] + pixels[2] + pixels[3], 10);
    tovDeallocate(image, TOV_IMAGE_DATA); // the caller's pixels stay
    EXPECT_EQ(image->imageData, pixels);
    tovDeallocate(image, TOV_IMAGE_HEADER);

    const auto all = faults(false);
    for (std::size_t first = 0; first < all.size(); ++first) {
        for (std::size_t second = first; second < all.size(); ++second) {
            Arguments a;
            all[second].make(a);
            all[first].make(a);
            image = Arguments().create();
            image->nChannels = a.nChannels, image->alphaChannel = a.alpha, image->depth = a.depth;
            image->dataOrder = a.order, image->origin = a.origin, image->align = a.align;
            image->width = a.width, image->height = a.height, image->maskROI = a.mask;
            expect(image, all[first].status, "Incorrect data-ins");
            tovDeallocate(image, TOV_IMAGE_HEADER);
        }
    }
}

TEST_F(Lifecycle, SizesBeyondTheFieldsAreRefusedButForTiles) {
    TovTileInfo tiles{nullptr, nullptr, nullptr, 8, 8};
    struct Row {
        int32_t nChannels, order, width, height;
        int64_t step, size;
    };
    const int32_t most = INT32_MAX;
    for (const Row& row :
         {Row{1, 0, 536870911, 1, 2147483644, 2147483644}, Row{1, 0, 536870912, 1, 0, 0}, Row{4, 0, 268435456, 1, 0, 0},
          Row{3, 1, 178956971, 1, 715827884, 0}, Row{1, 0, 16384, 32768, 65536, 0}, Row{most, 0, most, most, 0, 0},
          Row{most, 1, most, most, 0, 0}, Row{1, 1, most, 1, 0, 0}}) {
        Arguments arguments;
        arguments.nChannels = row.nChannels;
        arguments.order = row.order;
        arguments.width = row.width;
        arguments.height = row.height;
        arguments.depth = TOV_DEPTH_32S;
        log.reports.clear();
        TovImage* image = arguments.create();
        if (row.size == 0) {
            EXPECT_EQ(image, nullptr);
            EXPECT_EQ(log.reports, (Reports{{-10, "tovCreateImageHeader", "Incorrect data-ins", "tovalloc"}}));
            image = Arguments().create();
            image->nChannels = row.nChannels, image->dataOrder = row.order, image->depth = TOV_DEPTH_32S;
            image->width = row.width, image->height = row.height;
            log.reports.clear();
            tovAllocateImage(image, 0, 0);
            EXPECT_EQ(log.reports, (Reports{{-10, "tovAllocateImage", "Incorrect data-ins", "tovalloc"}}));
            EXPECT_EQ(image->imageData, nullptr);
        }
        tovDeallocate(image, TOV_IMAGE_HEADER);
        log.reports.clear();
        arguments.tiles = &tiles;
        image = arguments.create();
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->widthStep, row.step);
        EXPECT_EQ(image->imageSize, row.size);
        EXPECT_TRUE(log.reports.empty());
        tovDeallocate(image, TOV_IMAGE_HEADER);
    }
}

TEST_F(Lifecycle, ExhaustedMemoryIsNotReported) {
    TovImage* image = nullptr;
    {
        MallocWatch watch(1);
        EXPECT_EQ(Arguments().create(), nullptr);
    }
    image = Arguments().create();
    {
        MallocWatch watch(1);
        tovAllocateImage(image, 1, 5);
        EXPECT_EQ(watch.count(), 1);
    }
    EXPECT_EQ(image->imageData, nullptr);
    EXPECT_EQ(image->imageDataOrigin, nullptr);
    tovDeallocate(image, TOV_IMAGE_HEADER);
    EXPECT_TRUE(log.reports.empty());
    EXPECT_EQ(tovGetErrStatus(), 0);
}

TEST_F(Lifecycle, DeallocationTakesWhatTheFlagsName) {
    tovDeallocate(nullptr, TOV_IMAGE_ALL);
    for (int32_t flags = 0; flags <= TOV_IMAGE_ALL; ++flags) {
        Arguments arguments;
        TovImage* image = arguments.create();
        tovAllocateImage(image, 0, 0);
        image->roi = tov::tovCreateROI(0, 1, 2, 3, 4);
        image->tileInfo = static_cast<TovTileInfo*>(tov::ownAlignedAlloc(sizeof(TovTileInfo)));
        arguments.nChannels = 1;
        arguments.depth = TOV_DEPTH_1U;
        TovImage *mask = arguments.create(), *deeper = arguments.create();
        tovAllocateImage(mask, 0, 0);
        mask->maskROI = deeper;
        mask->roi = tov::tovCreateROI(1, 0, 0, 3, 4);
        image->maskROI = mask;
        TovImage* const before = image;
        tovDeallocate(image, flags & ~TOV_IMAGE_HEADER);
        EXPECT_EQ(image->roi == nullptr, (flags & TOV_IMAGE_ROI) != 0);
        EXPECT_EQ(image->maskROI == nullptr, (flags & TOV_IMAGE_MASK) != 0);
        EXPECT_EQ(image->tileInfo == nullptr, (flags & TOV_IMAGE_TILE) != 0);
        EXPECT_EQ(image->imageData == nullptr && image->imageDataOrigin == nullptr, (flags & TOV_IMAGE_DATA) != 0);
        tovDeallocate(before, TOV_IMAGE_ALL); // the rest; the leak check tells if anything stays
        tovDeallocate(deeper, TOV_IMAGE_HEADER);
    }
}

TEST_F(Lifecycle, BorderSettings) {
    const auto limited = [](int32_t value, int64_t low, int64_t high) {
        return static_cast<int32_t>(value < low ? low : value > high ? high : value);
    };
    for (int32_t value : {0, 1, 2, -1, 127, 128, -128, -129, 255, 256, 32767, 32768, -32768, -32769, 65535, 65536, 999,
                          INT32_MIN, INT32_MAX}) {
        const std::pair<uint32_t, int32_t> rows[] = {{TOV_DEPTH_1U, limited(value, 0, 1)},
                                                     {TOV_DEPTH_8U, limited(value, 0, 255)},
                                                     {TOV_DEPTH_8S, limited(value, -128, 127)},
                                                     {TOV_DEPTH_16U, limited(value, 0, 65535)},
                                                     {TOV_DEPTH_16S, limited(value, -32768, 32767)},
                                                     {TOV_DEPTH_32S, value},
                                                     {TOV_DEPTH_32F, value}};
        for (const auto& [depth, want] : rows) {
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
