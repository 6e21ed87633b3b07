// Images to bitmaps: every form of image into every form of bitmap against the naive model, and what is refused.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "dib/model.h"
#include "reduce/reduce.h"
#include "support/reports.h"

namespace tovtest {
namespace {

struct Freed {
    void operator()(TovImage* image) const { tovDeallocate(image, TOV_IMAGE_HEADER | TOV_IMAGE_DATA); }
};
using Image = std::unique_ptr<TovImage, Freed>;

Image makeImage(int32_t nChannels, uint32_t depth, const char* channelSeq, int32_t width, int32_t height,
                int32_t order = 0, int32_t origin = 0, int32_t align = 4) {
    const int32_t alpha = nChannels == 4 ? 4 : 0;
    TovImage* image = tovCreateImageHeader(nChannels, alpha, depth, channelSeq[0] == 'G' ? "GRAY" : "RGB", channelSeq,
                                           order, origin, align, width, height, nullptr, nullptr, nullptr, nullptr);
    tovAllocateImage(image, 1, 0);
    return Image(image);
}

// Values of a picture: noise, few colours, or ones that cluster, so that boxes differ in size.
void fill(const TovImage& image, Rng& rng) {
    const int kind = rng.between(0, 2), few = rng.between(1, 40);
    for (int32_t i = 0; i < image.imageSize; ++i) {
        const auto noise = static_cast<uint8_t>(rng.next());
        image.imageData[i] = kind == 0   ? noise
                             : kind == 1 ? static_cast<uint8_t>(noise % few * 7)
                                         : noise & rng.between(0, 255);
    }
}

// The high byte of a value; bits are 0 or 255.
uint8_t byteAt(const TovImage& image, int32_t x, int32_t y, int c) {
    const bool planes = image.dataOrder == 1;
    const uint8_t* row = image.imageData + ((planes ? c * image.height : 0) + y) * image.widthStep;
    const int32_t sample = planes ? x : x * image.nChannels + c;
    if (image.depth == 1) return row[x / 8] & (128 >> x % 8) ? 255 : 0;
    if (image.depth == 8) return row[sample];
    uint16_t value;
    std::memcpy(&value, row + 2 * sample, 2);
    return static_cast<uint8_t>(value >> 8);
}

// Blue, green, red, alpha, in the y-th row from the top.
Bytes4 pixelIn(const TovImage& image, int32_t x, int32_t y) {
    const int32_t row = image.origin == 1 ? image.height - 1 - y : y;
    Bytes4 p{};
    for (int c = 0; c < 4; ++c) {
        if (image.nChannels == 1 ? c < 3 : c < image.nChannels) {
            p[static_cast<std::size_t>(c)] = byteAt(image, x, row, image.nChannels == 1 ? 0 : c);
        }
    }
    if (image.channelSeq[0] == 'G') p[0] = p[1] = p[2], p[3] = 0;
    if (image.channelSeq[0] == 'R') std::swap(p[0], p[2]);
    return p;
}

std::vector<Bytes4> pixelsOf(const TovImage& image) {
    std::vector<Bytes4> pixels;
    for (int32_t i = 0; i < image.width * image.height; ++i) {
        pixels.push_back(pixelIn(image, i % image.width, i / image.width));
    }
    return pixels;
}

struct Options {
    int32_t dither = 1, palette = 0;
};

// What must stand in the bitmap after a call that succeeds.
void convertNaively(Dib& dib, TovImage& image, const Options& options) {
    const int32_t bits = dib.header.biBitCount;
    if (bits <= 8 && options.palette == 1 &&
        (dib.words.size() == 2 || dib.words.size() == 16 || dib.words.size() == 256)) {
        dib.words = fixedTable(static_cast<uint32_t>(dib.words.size()), image.nChannels == 1);
    }
    if (bits <= 8 && options.palette == 2) {
        const std::vector<uint32_t> table = image.depth == 1 ? std::vector<uint32_t>{0, 0xFFFFFF}
                                                             : medianCut(pixelsOf(image), image.nChannels == 1, bits);
        // What was a longer table's end, or the array's beginning, is left where it is.
        std::vector<uint8_t> bytes(dib.words.size() * 4);
        std::memcpy(bytes.data(), dib.words.data(), bytes.size());
        bytes.insert(bytes.end(), dib.pixels.begin(), dib.pixels.end());
        std::memcpy(bytes.data(), table.data(), table.size() * 4);
        const auto size = static_cast<std::ptrdiff_t>(dib.pixels.size()),
                   start = static_cast<std::ptrdiff_t>(table.size() * 4);
        dib.pixels.assign(bytes.begin() + start, bytes.begin() + start + size);
        dib.words = table;
        dib.header.biClrUsed = static_cast<uint32_t>(table.size());
    }
    Image reduced;
    if (options.dither != 1) {
        reduced = makeImage(image.nChannels, bits == 1 ? 1 : 8,
                            image.nChannels == 1         ? "G"
                            : image.channelSeq[0] == 'R' ? "RGBA"
                                                         : "BGRA",
                            image.width, image.height, image.dataOrder, image.origin, image.align);
        std::memcpy(reduced->channelSeq, image.channelSeq, 4);
        tov::tovReduceBits(&image, reduced.get(), 0, options.dither, bits < 8 ? bits : 8);
    }
    for (int32_t y = 0; y < image.height; ++y) {
        for (int32_t x = 0; x < image.width; ++x) putPixel(dib, x, y, pixelIn(reduced ? *reduced : image, x, y));
    }
    if (dib.header.biCompression % 3 != 0) {
        const std::vector<uint8_t> stream = encode(dib);
        if (stream.size() < dib.pixels.size()) {
            std::copy(stream.begin(), stream.end(), dib.pixels.begin());
            dib.header.biSizeImage = static_cast<uint32_t>(stream.size());
        } else {
            dib.header.biCompression = 0;
        }
    }
}

// A bitmap for an image, with any table and with noise where pixels go.
Dib drawTarget(Rng& rng, const TovImage& image) {
    Dib dib = drawDib(rng);
    while (dib.header.biBitCount <= 8 && dib.words.size() < 2) dib = drawDib(rng);
    dib.header.biWidth = image.width;
    dib.header.biHeight = dib.header.biHeight < 0 ? -image.height : image.height;
    const int64_t most = int64_t{1} << dib.header.biBitCount;
    while (dib.header.biBitCount <= 8 && static_cast<int64_t>(dib.words.size()) < most && rng.oneIn(2)) {
        dib.words.push_back(static_cast<uint32_t>(rng.next())),
            dib.header.biClrUsed = static_cast<uint32_t>(dib.words.size());
    }
    for (int i = 0; i < 40 && dib.words.size() == 256; ++i) { // grays in their places, and the same earlier
        const int32_t gray = rng.between(0, 255);
        dib.words[static_cast<std::size_t>(gray)] = static_cast<uint32_t>(gray) * 0x10101;
        dib.words[static_cast<std::size_t>(rng.between(0, gray))] = static_cast<uint32_t>(gray) * 0x10101;
    }
    dib.pixels.resize(static_cast<std::size_t>(dib.step() * dib.rows()));
    for (uint8_t& byte : dib.pixels) byte = static_cast<uint8_t>(rng.next());
    return dib;
}

TEST(ConvertToDIB, EveryFormOfImageAndBitmap) {
    struct Form {
        int32_t nChannels;
        uint32_t depth;
    };
    constexpr Form forms[] = {{1, 1}, {1, 8}, {1, 16}, {3, 8}, {3, 16}, {4, 8}, {4, 16}};
    int dithers = 0, cuts = 0, streams = 0;
    for (uint64_t number = 0; number < 5000; ++number) {
        Rng rng(number + 7);
        const Form form = forms[rng.between(0, 6)];
        const char* seq = form.nChannels == 1 ? rng.pick({"G", "GRAY"}) : rng.pick({"BGR", "BGRA", "RGB", "RGBA"});
        const bool large = rng.oneIn(80); // enough for answers to be kept, and for several pieces of a row
        const Image image =
            makeImage(form.nChannels, form.depth, seq, large ? 2100 : rng.between(1, 60), large ? 2 : rng.between(1, 9),
                      rng.between(0, 1), rng.between(0, 1), rng.pick({4, 8, 16, 32}));
        fill(*image, rng);
        Dib dib = drawTarget(rng, *image);
        const bool medcutFits = form.nChannels == 1 || dib.header.biBitCount > 8 || seq[0] != 'G';
        Options options;
        options.palette = rng.between(0, medcutFits ? 2 : 1);
        const bool canDither = form.depth == 16 ? form.nChannels == 1 || dib.header.biBitCount > 1
                                                : form.depth == 8 && form.nChannels == 1 && dib.header.biBitCount == 1;
        if (canDither) options.dither = rng.pick({1, 2, 4, 8, 16});
        if (options.palette == 2 && dib.header.biBitCount <= 8) { // room for as many entries as there can be
            dib.words.resize(std::size_t{1} << dib.header.biBitCount);
            dib.header.biClrUsed = 0;
        }
        const Block bitmap = dib.block();
        ReportLog log;
        tovConvertToDIB(image.get(), headerIn(bitmap), options.dither, options.palette);
        ASSERT_EQ(log.reports, Reports{}) << number;
        const std::size_t wordsBefore = dib.words.size() * 4;
        std::vector<uint8_t> after(bitmap.data() + bitmap.size() - dib.pixels.size() - wordsBefore,
                                   bitmap.data() + bitmap.size());
        convertNaively(dib, *image, options);
        BITMAPINFOHEADER header;
        std::memcpy(&header, headerIn(bitmap), sizeof header);
        ASSERT_EQ(std::memcmp(&header, &dib.header, sizeof header), 0) << number;
        const std::size_t words = dib.words.size() * 4;
        ASSERT_TRUE(words == 0 || std::memcmp(after.data(), dib.words.data(), words) == 0) << "table, case " << number;
        ASSERT_EQ(
            std::memcmp(after.data() + words, dib.pixels.data(), std::min(dib.pixels.size(), after.size() - words)), 0)
            << "case " << number << " of " << form.nChannels << " x " << form.depth << " to " << header.biBitCount
            << " dither " << options.dither << " palette " << options.palette;
        ASSERT_TRUE(bitmap.guardIntact());
        dithers += options.dither != 1, cuts += options.palette == 2 && header.biBitCount <= 8;
        streams += dib.header.biCompression % 3 != 0;
    }
    EXPECT_GT(dithers, 500);
    EXPECT_GT(cuts, 300);
    EXPECT_GT(streams, 10);
}

Report toReport(TovStatus status, const char* context) { return {status, "tovConvertToDIB", context, "tovDIB"}; }

// A call that works, to be spoilt.
struct Call {
    explicit Call(int32_t nChannels = 3, uint32_t depth = 8, int32_t bits = 8)
        : image(makeImage(nChannels, depth, nChannels == 1 ? "G" : "RGBA", 20, 9)), dib(plainDib(bits, 20, 9)) {
        if (bits <= 8) dib.words.resize(std::size_t{1} << bits);
        dib.pixels.resize(static_cast<std::size_t>(dib.step() * 9));
    }
    // Without a status from earlier; nothing may change in the bitmap.
    Reports refused(bool tableMayChange = false) const {
        const Block bitmap = dib.block(), before = dib.block();
        bitmap.allow(tableMayChange ? Access::write : Access::read);
        ReportLog log;
        tovConvertToDIB(image.get(), headerIn(bitmap), options.dither, options.palette);
        bitmap.allow(Access::write);
        const std::size_t kept = tableMayChange ? dib.pixels.size() : bitmap.size(), from = bitmap.size() - kept;
        EXPECT_EQ(std::memcmp(bitmap.data() + from, before.data() + from, kept), 0);
        return log.reports;
    }
    Image image;
    Dib dib;
    Options options;
};

TEST(ConvertToDIB, RefusesInOrder) {
    struct Fault {
        void (*make)(Call& call);
        Report want;
    };
    const std::vector<Fault> faults = {
        {[](Call& c) { c.image->align = 3; }, toReport(-21, "Incorrect Image")},
        {[](Call& c) { c.image->nChannels = c.image->alphaChannel = 5; },
         toReport(-5, "(image->nChannels <= 0 || image->nChannels > 4)")},
        {[](Call& c) { c.image->depth = TOV_DEPTH_16S; },
         toReport(-5, "( (image->depth != 1) && (image->depth != 8) && (image->depth != 16) )")},
        {[](Call& c) { c.image->nChannels = c.image->alphaChannel = 3; },
         toReport(-5, "(image->alphaChannel != 0 && image->alphaChannel != 4)")},
        {[](Call& c) { c.image->nChannels = 2, c.image->alphaChannel = 0; },
         toReport(-5, "(image->nChannels != 3 && image->nChannels != 1)")},
        {[](Call& c) { c.dib.header.biWidth = 21; },
         toReport(-5, "(image->width != dib->biWidth || image->height != abs(dib->biHeight))")},
        {[](Call& c) { c.dib.header.biSize = 12; }, toReport(-5, "(dib->biSize != sizeof(BITMAPINFOHEADER))")},
        {[](Call& c) { c.dib.header.biPlanes = 0; }, toReport(-5, "(dib->biPlanes != 1)")},
        {[](Call& c) { c.dib.header.biCompression = 4; },
         toReport(-5,
                  "(dib->biCompression != 0) && (dib->biCompression != 1) && (dib->biCompression != 2) && "
                  "(dib->biCompression != 3)")},
        {[](Call& c) { c.options.dither = 3; },
         toReport(-5, "(dither != 1 && dither != 2 && dither != 4 && dither != 8 && dither != 16)")},
        {[](Call& c) { c.options.palette = 3; },
         toReport(-5, "(paletteConversion != 0 && paletteConversion != 1 && paletteConversion != 2)")},
    };
    for (std::size_t i = 0; i < faults.size(); ++i) {
        for (std::size_t j = i; j < faults.size(); ++j) { // of two faults the earlier one is reported
            Call call;
            faults[j].make(call);
            faults[i].make(call);
            EXPECT_EQ(call.refused(), Reports{faults[i].want}) << i << " " << j;
        }
    }
    Call call;
    call.dib.header.biHeight = INT32_MIN;
    EXPECT_EQ(call.refused(), Reports{faults[5].want});
    ReportLog log;
    tovConvertToDIB(call.image.get(), nullptr, 1, 0);
    EXPECT_EQ(log.reports, Reports{toReport(-5, "dib==0")});
}

TEST(ConvertToDIB, ReportsStepsThatFail) {
    const Report noTable = toReport(-3, "Error of creating medcut palette");
    const auto expect = [](auto&& spoil, Call call, const Reports& want, bool tableMayChange = false) {
        spoil(call);
        EXPECT_EQ(call.refused(tableMayChange), want);
    };
    expect([](Call& c) { c.options.palette = 2, std::memcpy(c.image->channelSeq, "GRAY", 4); }, Call(), {noTable});
    expect([](Call& c) { c.options.palette = 2, std::memcpy(c.image->channelSeq, "RGBX", 4); }, Call(), {noTable});
    expect([](Call& c) { c.options.palette = 2, c.dib.header.biBitCount = 12; }, Call(), {noTable});
    expect([](Call& c) { std::memcpy(c.image->channelSeq, "YUV", 4); }, Call(),
           {toReport(-14, "image->channelSeq unsupport")});
    expect([](Call& c) { c.dib.header.biBitCount = 2; }, Call(), {toReport(-5, "dib->biBitCount is bad")});
    expect([](Call& c) { c.dib.header.biBitCount = 2, c.options.dither = 2; }, Call(),
           {toReport(-5, "Parameter biBitCount of DIB-image have illegal value")});
    expect(
        [](Call& c) {
            c.dib.header.biCompression = 3, c.dib.words = {0xFF, 0, 0xFF00};
        },
        Call(3, 8, 32), {toReport(-5, "dib->biCompression == 3 && mask == 0")});
    const Report noDither = toReport(-3, "Dithering can't be produced");
    expect([](Call& c) { c.options.dither = 2; }, Call(1, 8, 8),
           {{-5, "ownReduceBits", "Error output depth. 8U to 1U conversion is valid now", "ownreduc"}, noDither});
    expect([](Call& c) { c.options.dither = 2; }, Call(3, 16, 1),
           {{-16, "tovCreateImageHeader", "Incorrect data-ins", "tovalloc"},
            toReport(-4, "Not enough memory to allocate header for temporal image")});
}

// A status from earlier counts as a failure of the dithering, and a header may be too short to be copied.
TEST(ConvertToDIB, EarlierStatusAndShortHeaders) {
    const Call call(1, 16, 8);
    const Block bitmap = call.dib.block(), core(12, Fence::end);
    ReportLog log;
    tovSetErrStatus(-77);
    tovConvertToDIB(call.image.get(), headerIn(bitmap), 2, 0);
    const int32_t fields[3] = {12, 20, 9};
    std::memcpy(core.data(), fields, sizeof fields);
    tovConvertToDIB(call.image.get(), headerIn(core), 1, 0);
    tovConvertToDIB(nullptr, nullptr, 1, 0);
    EXPECT_EQ(log.reports,
              (Reports{toReport(-3, "Dithering can't be produced"),
                       toReport(-5, "(dib->biSize != sizeof(BITMAPINFOHEADER))"), toReport(-9, "Incorrect Image")}));
}

// A tiled image can be dithered, and otherwise is refused.
TEST(ConvertToDIB, TiledImages) {
    Call call(1, 16, 8);
    for (uint32_t i = 0; i < 256; ++i) call.dib.words[i] = i * 0x10101;
    Rng rng(1);
    fill(*call.image, rng);
    const TovImage* plain = call.image.get();
    std::vector<uint8_t> tile(24 * 16 * 2); // one tile holds the picture
    for (int32_t y = 0; y < 9; ++y) {
        std::memcpy(&tile[static_cast<std::size_t>(48 * y)], plain->imageData + y * plain->widthStep, 40);
    }
    TovTileInfo tiles{[](TovImage* asked, int32_t, int32_t, int32_t) {
                          asked->tileInfo->tileData = static_cast<uint8_t*>(asked->imageId);
                      },
                      nullptr, nullptr, 24, 16};
    const Block direct = call.dib.block(), tiled = call.dib.block();
    tovConvertToDIB(call.image.get(), headerIn(direct), 2, 0);
    TovImage image = *call.image;
    image.imageData = nullptr;
    image.tileInfo = &tiles;
    image.imageId = tile.data();
    ReportLog log;
    tovConvertToDIB(&image, headerIn(tiled), 2, 0);
    EXPECT_TRUE(log.reports.empty());
    EXPECT_EQ(std::memcmp(direct.data(), tiled.data(), direct.size()), 0);
    tovConvertToDIB(&image, headerIn(tiled), 1, 1);
    tovConvertToDIB(&image, headerIn(tiled), 2, 2);
    EXPECT_EQ(log.reports,
              (Reports{toReport(-12, "image->imageData==0"), toReport(-3, "Error of creating medcut palette")}));
}

TEST(ConvertToDIB, AnyBlockMayFail) {
    for (const int32_t palette : {0, 2}) {
        for (const int32_t dither : {1, 2, 16}) {
            for (const uint32_t compression : {0, 1}) {
                Call call(1, 16, 8);
                Rng rng(5);
                fill(*call.image, rng);
                call.options = {dither, palette};
                call.dib.header.biCompression = compression;
                const Block whole = call.dib.block();
                tovConvertToDIB(call.image.get(), headerIn(whole), dither, palette);
                for (int n = 1, blocks = n; n <= blocks + 1; ++n) {
                    const Block bitmap = call.dib.block();
                    ReportLog log;
                    {
                        const MallocWatch watch(n);
                        tovConvertToDIB(call.image.get(), headerIn(bitmap), dither, palette);
                        blocks = watch.count();
                    }
                    const bool same = std::memcmp(whole.data(), bitmap.data(), whole.size()) == 0;
                    ASSERT_TRUE(same || !log.reports.empty()) << palette << dither << compression << " block " << n;
                    ASSERT_TRUE(bitmap.guardIntact());
                    ASSERT_TRUE(blocks >= n || (same && log.reports.empty()));
                }
            }
        }
    }
}

} // namespace
} // namespace tovtest
