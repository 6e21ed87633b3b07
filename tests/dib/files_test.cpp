// Bitmap files whose run-length streams another encoder made.
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <iterator>
#include <vector>

#include "support/reports.h"
#include "tov.h"

namespace tovtest {
namespace {

using Color = std::array<uint8_t, 3>;

struct Picture {
    std::vector<Color> pixels; // in the order of stored rows
    Color first;               // entry of the colour table
    Reports reports;
};

// The file's header, table and pixels follow each other, behind the 14 bytes of the file's own header.
Picture load(const char* name) {
    std::ifstream file(std::string(TOV_TEST_DATA) + name, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(file)), {});
    if (bytes.size() < 64) return {};
    ReportLog log;
    void* dib = bytes.data() + 14;
    int32_t cloneData = -1;
    TovImage* image = tovTranslateDIB(static_cast<BITMAPINFOHEADER*>(dib), &cloneData);
    Picture picture;
    picture.reports = log.reports;
    for (std::size_t c = 0; c < 3; ++c) picture.first[c] = static_cast<uint8_t>(bytes[54 + c]);
    for (int32_t i = 0; image && cloneData == 1 && i < image->width * image->height; ++i) {
        const uint8_t* at = image->imageData + i / image->width * image->widthStep + i % image->width;
        const int32_t plane = image->widthStep * image->height;
        picture.pixels.push_back({at[0], at[plane], at[2 * plane]});
    }
    tovDeallocate(image, TOV_IMAGE_HEADER | TOV_IMAGE_DATA);
    return picture;
}

TEST(BitmapFiles, StreamsHoldThePictureOfThePlainFile) {
    const Picture plain = load("g-pal4.bmp"), stream = load("g-pal4rle.bmp");
    ASSERT_EQ(plain.pixels.size(), 127u * 64);
    EXPECT_EQ(stream.reports, Reports{});
    EXPECT_EQ(stream.pixels, plain.pixels);
}

TEST(BitmapFiles, WhatAStreamPassesOverHasIndexZero) {
    const Picture plain = load("g-pal8.bmp"), stream = load("q-pal8rletrns.bmp");
    ASSERT_EQ(plain.pixels.size(), 127u * 64);
    ASSERT_EQ(stream.pixels.size(), plain.pixels.size());
    EXPECT_EQ(stream.reports, Reports{});
    int passed = 0;
    for (std::size_t i = 0; i < plain.pixels.size(); ++i) {
        if (stream.pixels[i] == plain.pixels[i]) continue;
        ASSERT_EQ(stream.pixels[i], stream.first) << i;
        ++passed;
    }
    EXPECT_GT(passed, 100);
}

TEST(BitmapFiles, BrokenStreamsAreRefused) {
    const auto faults = [](const char* context) {
        return Reports{{-5, "tovConvertFromDIB", context, "ownrle"},
                       {-3, "tovConvertFromDIB", "Impossible to decompress RLE DIB", "tovDIB"}};
    };
    EXPECT_EQ(load("b-badrle4bis.bmp").reports, faults("Incorrect format of BI_RLE4 DIB (bad Delta command)"));
    EXPECT_EQ(load("b-badrleter.bmp").reports, faults("Incorrect format of BI_RLE8 DIB (bad Delta command)"));
}

} // namespace
} // namespace tovtest
