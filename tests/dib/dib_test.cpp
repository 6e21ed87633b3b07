// Bitmaps to images: every form of bitmap into every form of image against the naive model, and what is refused.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "dib/dib.h"
#include "dib/model.h"
#include "support/reports.h"

namespace tovtest {
namespace {

Reports says(TovStatus status, const char* operation, const char* context) {
    return {{status, operation, context, "tovDIB"}};
}

// A header for a conversion into pixels of the test's own.
struct Form {
    int32_t nChannels;
    uint32_t depth;
};
constexpr Form kForms[] = {{1, 1}, {1, 8}, {1, 16}, {3, 8}, {3, 16}, {4, 8}, {4, 16}};

TovImage headerFor(const Form& form, const char* channelSeq, int32_t width, int32_t height) {
    TovImage image{};
    image.nChannels = form.nChannels;
    image.depth = form.depth;
    image.align = 4;
    image.width = width;
    image.height = height;
    std::memcpy(image.channelSeq, channelSeq, std::min<std::size_t>(4, std::strlen(channelSeq)));
    image.imageSize = image.widthStep = 1; // only looked at
    return image;
}

int64_t rowBytes(const TovImage& image) {
    const int64_t bits = int64_t{image.width} * image.depth * (image.dataOrder == 0 ? image.nChannels : 1);
    return (bits + image.align * 8 - 1) / (image.align * 8) * image.align;
}

void putSample(const TovImage& image, uint8_t* data, int32_t x, int64_t row, int c, uint8_t value) {
    const int64_t plane = image.dataOrder == 1 ? c : 0, sample = image.dataOrder == 1 ? x : x * image.nChannels + c;
    uint8_t* start = data + (plane * image.height + row) * rowBytes(image);
    if (image.depth == 1) {
        const int bit = 128 >> (x % 8);
        start[x / 8] = static_cast<uint8_t>(value >= 128 ? start[x / 8] | bit : start[x / 8] & ~bit);
    } else if (image.depth == 8) {
        start[sample] = value;
    } else {
        const auto wide = static_cast<uint16_t>(value * 256);
        std::memcpy(start + sample * 2, &wide, 2);
    }
}

void convertNaively(const Dib& dib, const TovImage& image, uint8_t* data) {
    const std::string seq(image.channelSeq, 1);
    for (int64_t y = 0; y < dib.rows(); ++y) {
        for (int32_t x = 0; x < dib.header.biWidth; ++x) {
            Bytes4 p = pixelOf(dib, x, y);
            if (seq == "G") p[2] = static_cast<uint8_t>((77 * p[2] + 151 * p[1] + 28 * p[0]) / 256);
            if (seq == "R") std::swap(p[0], p[2]);
            for (int c = 0; c < image.nChannels; ++c) {
                putSample(image, data, x, image.origin == 1 ? image.height - 1 - y : y, c,
                          p[image.nChannels == 1 ? 2 : c]);
            }
        }
    }
}

TEST(ConvertFromDIB, EveryFormOfBitmapAndImage) {
    for (uint64_t number = 0; number < 6000; ++number) {
        Rng rng(number);
        const Dib dib = drawDib(rng);
        TovImage image = headerFor(kForms[rng.between(0, 6)], rng.pick({"G", "GRAY", "BGR", "BGRA", "RGB", "RGBA"}),
                                   dib.header.biWidth + (rng.oneIn(3) ? rng.between(0, 20) : 0),
                                   static_cast<int32_t>(dib.rows()) + (rng.oneIn(3) ? rng.between(0, 3) : 0));
        image.dataOrder = rng.between(0, 1);
        image.origin = rng.between(0, 1);
        image.align = rng.pick({4, 8, 16, 32});
        const int64_t planes = image.dataOrder == 1 ? image.nChannels : 1;
        const auto size = static_cast<std::size_t>(rowBytes(image) * image.height * planes);
        const Block bitmap = dib.block(), data(size, rng.pick({Fence::begin, Fence::end}));
        for (std::size_t i = 0; i < size; ++i) data.data()[i] = static_cast<uint8_t>(rng.next());
        std::vector<uint8_t> want(data.data(), data.data() + size);
        convertNaively(decoded(dib), image, want.data());
        image.imageData = data.data();
        bitmap.allow(Access::read);
        ReportLog log;
        tov::tovConvertFromDIB(headerIn(bitmap), &image);
        bitmap.allow(Access::write);
        ASSERT_EQ(log.reports, Reports{}) << number;
        ASSERT_EQ(std::memcmp(data.data(), want.data(), size), 0)
            << "case " << number << " bits " << dib.header.biBitCount << " into " << image.nChannels << " of "
            << image.depth;
        ASSERT_TRUE(data.guardIntact() && bitmap.guardIntact());
    }
}

// The header that must come of a bitmap.
TovImage expectedHeader(const Dib& dib, bool& shares) {
    const int bits = dib.header.biBitCount;
    const bool gray = bits <= 8 && hasGrayTable(dib);
    const char* seq = gray ? "G" : bits == 32 ? "BGRA" : "BGR";
    TovImage image = headerFor({gray         ? 1
                                : bits == 32 ? 4
                                             : 3,
                                gray && bits == 1 ? 1u : 8u},
                               seq, dib.header.biWidth, static_cast<int32_t>(dib.rows()));
    shares = bits == 24 || (bits == 32 && dib.header.biCompression == 0) || (gray && bits == 1) ||
             (gray && bits == 8 && dib.header.biCompression != 1);
    const char* model = gray ? "GRAY" : bits == 32 ? "RGBA" : "RGB";
    std::memcpy(image.colorModel, model, std::strlen(model));
    image.headerSize = sizeof image;
    image.alphaChannel = bits == 32 ? 4 : 0;
    image.dataOrder = shares ? 0 : 1;
    image.align = shares ? 4 : 32;
    image.origin = dib.header.biHeight < 0 ? 0 : 1;
    image.widthStep = static_cast<int32_t>(shares ? dib.step() : rowBytes(image));
    image.imageSize = image.widthStep * image.height * (shares ? 1 : image.nChannels);
    return image;
}

TEST(TranslateDIB, EveryFormOfBitmap) {
    int shared = 0;
    for (uint64_t number = 0; number < 4000; ++number) {
        Rng rng(number + 100000);
        const Dib dib = drawDib(rng);
        const Block bitmap = dib.block(), before = dib.block();
        bool shares = false;
        TovImage want = expectedHeader(dib, shares);
        ReportLog log;
        int32_t cloneData = -1;
        TovImage* image = tovTranslateDIB(headerIn(bitmap), &cloneData);
        ASSERT_NE(image, nullptr) << number;
        ASSERT_EQ(log.reports, Reports{}) << number;
        ASSERT_EQ(cloneData, shares ? 0 : 1) << number;
        shared += shares;
        if (shares) {
            ASSERT_EQ(image->imageData, bitmap.data() + bitmap.size() - dib.pixels.size()) << number;
            ASSERT_EQ(image->imageDataOrigin, nullptr);
        } else {
            std::vector<uint8_t> pixels(image->imageData, image->imageData + image->imageSize); // row ends are open
            convertNaively(decoded(dib), want, pixels.data());
            ASSERT_EQ(std::memcmp(image->imageData, pixels.data(), pixels.size()), 0) << number;
        }
        want.imageData = image->imageData;
        want.imageDataOrigin = image->imageDataOrigin;
        ASSERT_EQ(std::memcmp(image, &want, sizeof want), 0) << number;
        ASSERT_EQ(std::memcmp(bitmap.data(), before.data(), bitmap.size()), 0) << number;
        tovDeallocate(image, TOV_IMAGE_HEADER | TOV_IMAGE_DATA);
    }
    EXPECT_GT(shared, 500);
}

struct Fault {
    const char* context;
    std::function<void(BITMAPINFOHEADER&)> make;
};
// In the order in which they are looked for; the bit count comes last, since those before name some.
const Fault kFaults[] = {
    {"(dib->biSize != sizeof(BITMAPINFOHEADER))", [](BITMAPINFOHEADER& h) { h.biSize = 12; }},
    {"(dib->biPlanes != 1)", [](BITMAPINFOHEADER& h) { h.biPlanes = 2; }},
    {"(dib->biCompression != 0) && (dib->biCompression != 1) && (dib->biCompression != 2) && (dib->biCompression != 3)",
     [](BITMAPINFOHEADER& h) { h.biCompression = 4; }},
    {"(dib->biBitCount != 8) && (dib->biCompression == 1)",
     [](BITMAPINFOHEADER& h) { h.biCompression = 1, h.biBitCount = 5; }},
    {"(dib->biBitCount != 4) && (dib->biCompression == 2)",
     [](BITMAPINFOHEADER& h) { h.biCompression = 2, h.biBitCount = 5; }},
    {"(dib->biHeight < 0) && ( (dib->biCompression == 1) || (dib->biCompression == 2) )",
     [](BITMAPINFOHEADER& h) { h.biBitCount = 4, h.biCompression = 2, h.biHeight = -2; }},
};

// Makes each fault alone and with each that is looked for later (as far as both hold at once).
void forEachFault(const std::function<void(const Dib&, const char* context)>& expect) {
    for (const Fault& first : kFaults) {
        for (const Fault* second = &first; second != std::end(kFaults); ++second) {
            Dib dib = plainDib(24, 3, 2);
            dib.header.biBitCount = 5; // the last fault
            second->make(dib.header);
            first.make(dib.header);
            expect(dib, first.context);
        }
    }
}

TEST(TranslateDIB, ChecksInOrder) {
    ReportLog log;
    int32_t cloneData = -1;
    const auto refuses = [&](BITMAPINFOHEADER* dib, int32_t* clone, const Reports& reports) {
        log.reports.clear();
        EXPECT_EQ(tovTranslateDIB(dib, clone), nullptr);
        EXPECT_EQ(log.reports, reports);
        EXPECT_EQ(cloneData, -1);
    };
    const char* name = "tovTranslateDIB";
    forEachFault([&](const Dib& dib, const char* context) {
        const Block block = dib.block();
        const bool size = dib.header.biSize != 40;
        refuses(headerIn(block), &cloneData,
                says(-5, name, size ? "( dib->biSize != sizeof(BITMAPINFOHEADER) )" : context));
        refuses(headerIn(block), nullptr, says(-5, name, "( cloneData == ((void *)0) )"));
    });
    refuses(nullptr, nullptr, says(-5, name, "( dib == ((void *)0) )"));
    // Nothing behind biSize is read where it says that no such header stands there.
    const Block tiny(4, Fence::end);
    std::memset(tiny.data(), 0, 4);
    refuses(headerIn(tiny), &cloneData, says(-5, name, "( dib->biSize != sizeof(BITMAPINFOHEADER) )"));
    for (int32_t bits : {0, 2, 3, 5, 12, 15, 31, 33, 64, 30000}) {
        Dib dib = plainDib(24, 3, 2);
        dib.header.biBitCount = static_cast<uint16_t>(bits);
        refuses(headerIn(dib.block()), &cloneData, says(-5, name, "dib->biBitCount is bad"));
    }
    // Sizes that an image can't have, shared and not: 2^31 bytes and more, 0, and a height without positive
    // counterpart.
    for (const auto& [bits, width, height] : std::vector<std::array<int32_t, 3>>{{24, 0, 2},
                                                                                 {24, 3, 0},
                                                                                 {24, -3, 2},
                                                                                 {24, 3, INT32_MIN},
                                                                                 {16, 3, INT32_MIN},
                                                                                 {24, 3000000, 2000000},
                                                                                 {32, 1 << 29, 1},
                                                                                 {32, 1 << 14, -(1 << 15)},
                                                                                 {16, INT32_MAX, INT32_MAX}}) {
        Dib dib = plainDib(bits, 3, 2);
        dib.header.biWidth = width;
        dib.header.biHeight = height;
        Reports want = says(-4, name, "Not enough memory to allocate header for destination image");
        want.insert(want.begin(), {-10, "tovCreateImageHeader", "Incorrect data-ins", "tovalloc"});
        refuses(headerIn(dib.block()), &cloneData, want);
    }
    // Memory for the header, the pixels and the decoded rows.
    const Dib dib = [] {
        Dib d = plainDib(8, 2, 1, 1);
        d.pixels = {2, 0, 0, 1};
        return d;
    }();
    const char* texts[] = {"Not enough memory to allocate header for destination image",
                           "Not enough memory to allocate data for destination image"};
    for (int n = 1; n <= 2; ++n) {
        const Block block = dib.block();
        MallocWatch watch(n);
        refuses(headerIn(block), &cloneData, says(-4, name, texts[n - 1]));
    }
}

TEST(ConvertFromDIB, ChecksInOrder) {
    const char* name = "tovConvertFromDIB";
    const auto expect = [&](const Dib& dib, TovImage image, TovStatus status, const char* context) {
        ReportLog log;
        const TovImage before = image;
        const Block block = dib.block();
        tov::tovConvertFromDIB(headerIn(block), &image);
        EXPECT_EQ(log.reports, says(status, name, context));
        EXPECT_EQ(std::memcmp(&image, &before, sizeof image), 0) << context;
    };
    const TovImage sound = headerFor({3, 8}, "BGR", 3, 2);
    struct Row {
        const char* context;
        std::function<void(TovImage&)> make;
    };
    const Row rows[] = {
        {"( image->alphaChannel < 0 )", [](TovImage& i) { i.alphaChannel = -1, i.nChannels = -2; }},
        {"( image->nChannels < image->alphaChannel )", [](TovImage& i) { i.alphaChannel = 4; }},
        {"( (image->dataOrder != 0) && (image->dataOrder != 1) )", [](TovImage& i) { i.dataOrder = 2; }},
        {"( (image->origin != 0) && (image->origin != 1) )", [](TovImage& i) { i.origin = -1; }},
        {"( (image->align != 4) && (image->align != 8) && (image->align != 16) && (image->align != 32) )",
         [](TovImage& i) { i.align = 64; }},
        {"(image->height <= 0)", [](TovImage& i) { i.height = 0; }},
        {"(image->width <= 0)", [](TovImage& i) { i.width = 0; }},
        {"(image->imageSize <= 0)", [](TovImage& i) { i.imageSize = 0; }},
        {"(image->widthStep <= 0)", [](TovImage& i) { i.widthStep = 0; }},
    };
    Dib faulty = plainDib(24, 3, 2);
    faulty.header.biSize = 0;
    TovImage all = sound;
    for (const Row* row = std::end(rows); row-- != std::begin(rows);) {
        TovImage alone = sound;
        row->make(alone);
        row->make(all);
        expect(faulty, alone, -5, row->context);
        expect(faulty, all, -5, row->context);
    }
    TovImage small = headerFor({3, 8}, "?", 2, 2);
    forEachFault([&](const Dib& dib, const char* context) { expect(dib, small, -5, context); });
    // Then the size, the reader, the masks, the transform, the writer.
    Dib dib = plainDib(32, 3, -2, 3);
    dib.words = {0xFF, 0, 0xFF00};
    TovImage image = headerFor({2, 9}, "?", 2, 2);
    expect(dib, image, -10, "Image size is too small");
    image.width = 3, image.height = 1;
    expect(dib, image, -10, "Image size is too small");
    dib.header.biHeight = INT32_MIN;
    image.height = INT32_MAX;
    expect(dib, image, -10, "Image size is too small");
    dib.header.biHeight = -2;
    dib.header.biBitCount = 31;
    expect(dib, image, -3, "");
    dib.header.biBitCount = 32;
    expect(dib, image, -5, "dib->biCompression == 3 && mask == 0");
    dib.header.biBitCount = 16;
    dib.words = {0xFF, 0x7E0000, 0xFF00}; // of 16 bits, the low half counts
    expect(dib, image, -5, "dib->biCompression == 3 && mask == 0");
    dib.words[1] = 1;
    expect(dib, image, -14, "image->channelSeq unsupport");
    for (const char* seq : {"", "GR", "GRA", "RBG", "BGRX", "rgb"}) {
        expect(dib, headerFor({3, 8}, seq, 3, 2), -14, "image->channelSeq unsupport");
    }
    for (const Form& form : {Form{2, 8}, {3, 1}, {4, 32}, {1, TOV_DEPTH_8S}, {3, TOV_DEPTH_16S}, {5, 16}, {1, 32}}) {
        expect(dib, headerFor(form, "RGB", 3, 2), -3, "");
    }
    ReportLog log;
    tov::tovConvertFromDIB(nullptr, nullptr);
    tovSetErrStatus(0);
    log.atReport = [] { tovSetErrStatus(0); }; // even so the call ends
    tov::tovConvertFromDIB(nullptr, &image);
    tov::tovConvertFromDIB(headerIn(dib.block()), nullptr);
    EXPECT_EQ(log.reports, (Reports{{-5, name, "dib==0", "tovDIB"},
                                    {-5, name, "image==0", "tovDIB"},
                                    {-5, name, "dib==0", "tovDIB"},
                                    {-5, name, "image==0", "tovDIB"}}));
}

TEST(ConvertFromDIB, AllocatesPixels) {
    const char* name = "tovConvertFromDIB";
    Dib dib = plainDib(8, 3, 1, 1);
    dib.header.biClrUsed = 2;
    dib.words = {0, 0x010203};
    dib.pixels = {3, 1, 0, 1};
    const Block block = dib.block();
    TovImage image = headerFor({3, 8}, "BGR", 3, 1);
    ReportLog log;
    tovSetErrStatus(-7); // a failure from earlier ends the call
    tov::tovConvertFromDIB(headerIn(block), &image);
    EXPECT_EQ(image.imageData, nullptr);
    tovSetErrStatus(0);
    for (int n = 1; n <= 3; ++n) {
        MallocWatch watch(n);
        tov::tovConvertFromDIB(headerIn(block), &image);
        tovSetErrStatus(0);
        EXPECT_EQ(image.imageData != nullptr, n > 1) << n;
        if (n < 3) tovDeallocate(&image, TOV_IMAGE_DATA);
    }
    EXPECT_EQ(log.reports, (Reports{{-4, name, "Not enough memory to allocate data for destination image", "tovDIB"},
                                    {-4, name, "Not enough memory to decompress BI_RLE8 DIB at DIB", "ownrle"},
                                    {-3, name, "Impossible to decompress RLE DIB", "tovDIB"}}));
    EXPECT_EQ(std::memcmp(image.imageData, "\3\2\1\3\2\1\3\2\1", 9), 0);
    tovDeallocate(&image, TOV_IMAGE_DATA);
    // A tiled image can't be given pixels.
    TovTileInfo tiles{};
    image.tileInfo = &tiles;
    log.reports.clear();
    tov::tovConvertFromDIB(headerIn(block), &image);
    EXPECT_EQ(log.reports, (Reports{{-5, "tovAllocateImage", "( image->tileInfo != ((void *)0) )", "tovalloc"},
                                    {-4, name, "Not enough memory to allocate data for destination image", "tovDIB"}}));
}

// What goes wrong once the image is made leaves it to the caller, pixels unwritten.
TEST(TranslateDIB, FailuresOfTheConversionLeaveTheImage) {
    const auto translate = [](const Dib& dib, TovStatus before, const Reports& reports) {
        ReportLog log;
        tovSetErrStatus(before);
        int32_t cloneData = -1;
        const Block block = dib.block();
        TovImage* image = tovTranslateDIB(headerIn(block), &cloneData);
        EXPECT_NE(image, nullptr);
        EXPECT_EQ(cloneData, 1);
        EXPECT_EQ(log.reports, reports);
        EXPECT_LT(tovGetErrStatus(), 0);
        tovDeallocate(image, TOV_IMAGE_HEADER | TOV_IMAGE_DATA);
    };
    Dib masks = plainDib(32, 3, 2, 3), stream = plainDib(4, 3, 2, 2);
    translate(masks, -7, {}); // from an earlier call
    masks.words[2] = 0;
    translate(masks, 0, says(-5, "tovConvertFromDIB", "dib->biCompression == 3 && mask == 0"));
    stream.pixels = {0, 0};
    translate(stream, 0,
              {{-5, "tovConvertFromDIB", "Incorrect format of BI_RLE4 DIB (mismatch biWidth)", "ownrle"},
               {-3, "tovConvertFromDIB", "Impossible to decompress RLE DIB", "tovDIB"}});
}

// Numbers worked out by hand.
TEST(TranslateDIB, KnownPixels) {
    const auto first = [](const Dib& dib) {
        ReportLog log;
        int32_t cloneData = -1;
        const Block block = dib.block();
        TovImage* image = tovTranslateDIB(headerIn(block), &cloneData);
        Bytes4 bytes{};
        for (int c = 0; c < image->nChannels; ++c) bytes[c] = image->imageData[c * image->widthStep * image->height];
        tovDeallocate(image, TOV_IMAGE_HEADER | TOV_IMAGE_DATA);
        return bytes;
    };
    const auto withPixel = [](Dib dib, uint32_t pixel) {
        std::memcpy(dib.pixels.data(), &pixel, dib.pixels.size());
        return dib;
    };
    EXPECT_EQ(first(withPixel(plainDib(16, 2, 1), 0x7FFF7FFF)), (Bytes4{248, 248, 248, 0}));
    EXPECT_EQ(first(withPixel(plainDib(16, 2, 1, 3), 0xFFE0FFE0)), (Bytes4{0, 252, 248, 0}));
    Dib deep = plainDib(32, 1, 1, 3);
    deep.words = {0x3FF00000, 0xFFC00, 0x3FF};
    for (uint32_t alpha = 0; alpha < 4; ++alpha) {
        EXPECT_EQ(first(withPixel(deep, alpha << 30 | 0x3FF00000 | 0x200 << 10 | 4)),
                  (Bytes4{1, 128, 255, static_cast<uint8_t>(alpha * 64)}));
    }
    deep.words = {0xFF000000, 0xFF0000, 0xFF00}; // no bits above: alpha is the top of the whole pixel
    EXPECT_EQ(first(withPixel(deep, 0x01020304)), (Bytes4{3, 2, 1, 1}));
    Dib table = plainDib(4, 2, 1);
    table.header.biClrUsed = 2;
    table.words = {0x0A0B0C, 0x0D0E0F};
    EXPECT_EQ(first(withPixel(table, 0x10)), (Bytes4{15, 14, 13, 0}));
    EXPECT_EQ(first(withPixel(table, 0x20)), (Bytes4{}));
    table.header.biClrUsed = 1;
    table.words = {0};
    EXPECT_EQ(hasGrayTable(table), false);
    EXPECT_EQ(tov::ownIsGrayPalette(tov::bitmapAt(headerIn(table.block()))), false);
    table.header.biClrUsed = UINT32_MAX; // a table that long would not stand in memory; its first entry is off the ramp
    table.words = {1};
    EXPECT_EQ(tov::ownIsGrayPalette(tov::bitmapAt(headerIn(table.block()))), false);
}

} // namespace
} // namespace tovtest
