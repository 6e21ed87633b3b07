// The run-length codecs against naive ones, on streams and rows of every kind.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>

#include "dib/dib.h"
#include "dib/model.h"
#include "support/reports.h"

namespace tovtest {
namespace {

std::string textOf(const Dib& dib, const std::string& what) {
    return "Incorrect format of BI_RLE" + std::to_string(dib.header.biBitCount) + " DIB (" + what + ")";
}

Dib streamOf(int32_t bits, int32_t width, int32_t height, std::vector<uint8_t> stream) {
    Dib dib = plainDib(bits, width, height, bits == 8 ? 1 : 2);
    dib.pixels = std::move(stream);
    return dib;
}

// Decodes a stream that ends at a protected page; the naive decoder says what must come of it.
void expectDecoded(const Dib& dib, const Decoded& want, const std::string& about) {
    ReportLog log;
    const Block block = dib.block();
    const tov::AlignedBlock<uint8_t> rows = tov::ownRLEDecompress(tov::bitmapAt(headerIn(block)));
    const Reports reports =
        want.fault.empty() ? Reports{} : Reports{{-5, "tovConvertFromDIB", textOf(dib, want.fault), "ownrle"}};
    ASSERT_EQ(log.reports, reports) << about;
    ASSERT_EQ(static_cast<bool>(rows), want.fault.empty()) << about;
    ASSERT_TRUE(!rows || std::memcmp(rows.get(), want.pixels.data(), want.pixels.size()) == 0) << about;
}

TEST(RleDecoder, ValidStreams) {
    for (uint64_t number = 0; number < 4000; ++number) {
        Rng rng(number);
        const int32_t bits = rng.pick({4, 8}), width = rng.between(1, rng.pick({9, 60, 700}));
        Dib dib = streamOf(bits, width, rng.between(1, 9), {});
        dib.pixels = drawStream(dib, rng);
        const Decoded want = decode(dib);
        ASSERT_EQ(want.fault, "") << number;
        ASSERT_EQ(want.used, dib.pixels.size());
        expectDecoded(dib, want, "case " + std::to_string(number));
    }
}

TEST(RleDecoder, BrokenAndRandomStreams) {
    std::map<std::string, int> met;
    for (uint64_t number = 0; number < 20000; ++number) {
        Rng rng(number);
        Dib dib = streamOf(rng.pick({4, 8}), rng.between(1, 40), rng.between(1, 9), {});
        if (rng.oneIn(3)) {
            for (int i = 0; i < 40; ++i) {
                dib.pixels.push_back(static_cast<uint8_t>(rng.pick({0, 0, 0, 1, 2, 3, 4, rng.between(0, 255)})));
            }
        } else {
            dib.pixels = drawStream(dib, rng);
            for (int i = rng.between(1, 2); i > 0; --i) {
                dib.pixels[rng.between(0, static_cast<int32_t>(dib.pixels.size()) - 1)] =
                    static_cast<uint8_t>(rng.pick({0, 1, 2, 3, rng.between(0, 255)}));
            }
        }
        // A last literal may reach 256 bytes far; what follows then ends the stream, and the block ends with that.
        for (int i = 0; i < 150; ++i) dib.pixels.insert(dib.pixels.end(), {0, 1});
        const Decoded want = decode(dib);
        ++met[want.fault];
        dib.pixels.resize(want.used);
        expectDecoded(dib, want, "case " + std::to_string(number));
    }
    for (const char* fault :
         {"", "mismatch biWidth", "mismatch biHeight", "bad Delta command", "mismatch biHeight or biWidth"}) {
        EXPECT_GT(met[fault], 300) << fault;
    }
}

// Streams worked out by hand.
TEST(RleDecoder, KnownStreams) {
    const auto rows = [](const Dib& dib, const std::vector<uint8_t>& want) {
        ReportLog log;
        const Block block = dib.block();
        const auto is = tov::ownRLEDecompress(tov::bitmapAt(headerIn(block)));
        ASSERT_TRUE(is) << log.reports.size();
        EXPECT_EQ(std::vector<uint8_t>(is.get(), is.get() + want.size()), want);
    };
    // Two pixels, three to the right and one down, two pixels from there to the end, without end of line.
    rows(streamOf(8, 7, 2, {2, 9, 0, 2, 3, 1, 2, 8, 0, 1}), {9, 9, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 8, 8, 0});
    // From an odd pixel on, a run and a literal begin with their high halves all the same.
    rows(streamOf(4, 9, 1, {1, 0x50, 3, 0x12, 0, 5, 0x34, 0x56, 0x70, 0, 0, 0, 0, 1}), {0x51, 0x21, 0x34, 0x56, 0x70});
    // Behind the last row only the end of the bitmap is allowed, and an end of line from the last column on is too far.
    const auto fault = [](const Dib& dib) { return decode(dib).fault; };
    for (const auto& [stream, want] :
         std::vector<std::pair<std::vector<uint8_t>, std::string>>{{{2, 7, 0, 0, 0, 1}, ""},
                                                                   {{1, 7, 0, 0}, "mismatch biWidth"},
                                                                   {{2, 7, 0, 0, 1, 7}, "mismatch biHeight or biWidth"},
                                                                   {{0, 2, 2, 1, 0, 0}, "mismatch biHeight or biWidth"},
                                                                   {{0, 2, 2, 1, 0, 1}, ""},
                                                                   {{0, 2, 0, 2}, "bad Delta command"},
                                                                   {{0, 2, 3, 0}, "bad Delta command"},
                                                                   {{0, 3}, "mismatch biHeight or biWidth"}}) {
        for (int32_t bits : {4, 8}) {
            const Dib dib = streamOf(bits, 2, 1, stream);
            EXPECT_EQ(fault(dib), want);
            expectDecoded(dib, decode(dib), want);
        }
    }
    const Dib early = streamOf(8, 2, 2, {0, 1}), earlier = streamOf(8, 2, 3, {2, 1, 0, 0, 0, 1});
    EXPECT_EQ(fault(early), "mismatch biHeight");
    expectDecoded(early, decode(early), "");
    EXPECT_EQ(fault(earlier), "mismatch biHeight");
    expectDecoded(earlier, decode(earlier), "");
}

TEST(RleCodecs, ExhaustedMemoryIsReported) {
    for (int32_t bits : {4, 8}) {
        const std::string form = "BI_RLE" + std::to_string(bits);
        const Dib dib = streamOf(bits, 2, 1, {2, 7, 0, 1});
        const Block block = dib.block(), before = dib.block();
        ReportLog log;
        {
            MallocWatch watch(1);
            EXPECT_FALSE(tov::ownRLEDecompress(tov::bitmapAt(headerIn(block))));
            EXPECT_EQ(watch.count(), 1);
        }
        {
            MallocWatch watch(1);
            EXPECT_FALSE(tov::ownRLECompress(headerIn(block)));
        }
        EXPECT_EQ(
            log.reports,
            (Reports{{-4, "tovConvertFromDIB", "Not enough memory to decompress " + form + " DIB at DIB", "ownrle"},
                     {-4, "tovConvertToDIB", "Not enough memory to compress DIB at " + form + " DIB", "ownrle"}}));
        EXPECT_EQ(std::memcmp(block.data(), before.data(), block.size()), 0);
    }
}

// Rows of random pixels, of runs, of pairs and of few values, with random bytes behind each row.
void fillRows(Dib& dib, Rng& rng) {
    dib.pixels.resize(static_cast<std::size_t>(dib.step() * dib.rows()));
    const int32_t kind = rng.between(0, 4);
    int32_t left = 0;
    uint8_t value = 0;
    for (uint8_t& byte : dib.pixels) {
        if (left-- == 0) {
            left = kind == 0 ? 0 : rng.between(0, rng.pick({3, 12, 400}));
            value = static_cast<uint8_t>(kind == 1 ? rng.between(0, 1) * 17 : rng.next());
        }
        byte = kind == 4 && rng.oneIn(8) ? static_cast<uint8_t>(rng.next()) : value;
    }
}

void expectEncoded(const Dib& dib) {
    ReportLog log;
    Block block = dib.block();
    const std::vector<uint8_t> stream = encode(dib);
    const bool pays = stream.size() < static_cast<std::size_t>(dib.step() * dib.rows());
    Dib want = dib;
    if (pays) {
        std::copy(stream.begin(), stream.end(), want.pixels.begin());
        want.header.biSizeImage = static_cast<uint32_t>(stream.size());
    } else {
        want.header.biCompression = 0;
    }
    ASSERT_TRUE(tov::ownRLECompress(headerIn(block)));
    ASSERT_TRUE(log.reports.empty());
    ASSERT_EQ(std::memcmp(block.data(), want.block().data(), block.size()), 0);
    // The stream gives back every pixel, whether it pays or not.
    Dib compressed = dib;
    compressed.pixels = stream;
    const Decoded back = decode(compressed);
    ASSERT_EQ(back.fault, "");
    const int32_t bits = dib.header.biWidth * dib.header.biBitCount;
    for (int64_t at = 0; at < dib.step() * dib.rows(); at += dib.step()) {
        const uint8_t *is = &back.pixels[static_cast<std::size_t>(at)],
                      *was = &dib.pixels[static_cast<std::size_t>(at)];
        ASSERT_EQ(std::memcmp(is, was, static_cast<std::size_t>(bits / 8)), 0);
        ASSERT_TRUE(bits % 8 == 0 || is[bits / 8] >> 4 == was[bits / 8] >> 4);
    }
    if (pays) expectDecoded(compressed, back, "");
}

TEST(RleEncoder, EveryWidth) {
    std::vector<int32_t> widths;
    for (int32_t w = 1; w <= 40; ++w) widths.insert(widths.end(), 20, w);
    for (int32_t w = 255; w <= 600; ++w) widths.insert(widths.end(), 4, w);
    uint64_t number = 0;
    for (int32_t width : widths) {
        for (int32_t bits : {4, 8}) {
            Rng rng(++number);
            Dib dib = streamOf(bits, width, rng.between(1, 4), {});
            dib.header.biClrUsed = static_cast<uint32_t>(rng.pick({0, 3, 1 << bits}));
            dib.words.resize(dib.header.biClrUsed ? dib.header.biClrUsed : 1u << bits);
            dib.header.biSizeImage = 77;
            fillRows(dib, rng);
            expectEncoded(dib);
            if (testing::Test::HasFailure()) FAIL() << "bits " << bits << " width " << width << " case " << number;
        }
    }
}

// Streams worked out by hand: a whole array against its stream, padded to be large enough to pay.
TEST(RleEncoder, KnownStreams) {
    const auto expectStream = [](int32_t bits, int32_t width, std::vector<uint8_t> row, std::vector<uint8_t> stream) {
        const int32_t height = 40;
        Dib dib = streamOf(bits, width, height, {});
        row.resize(static_cast<std::size_t>(dib.step()));
        std::vector<uint8_t> want;
        for (int32_t y = 0; y < height; ++y) {
            dib.pixels.insert(dib.pixels.end(), row.begin(), row.end());
            want.insert(want.end(), stream.begin(), stream.end());
            want.insert(want.end(), {0, 0});
        }
        want.insert(want.end(), {0, 1});
        EXPECT_EQ(encode(dib), want);
        expectEncoded(dib);
    };
    expectStream(8, 8, {5, 5, 5, 5, 1, 2, 3, 4}, {4, 5, 0, 4, 1, 2, 3, 4});
    expectStream(8, 3, {6, 7, 8}, {1, 6, 1, 7, 1, 8});
    expectStream(8, 300, std::vector<uint8_t>(300, 9), {255, 9, 45, 9});
    expectStream(8, 7, {1, 2, 2, 9, 9, 9, 9}, {1, 1, 2, 2, 4, 9});
    expectStream(8, 7, {1, 2, 3, 3, 3, 3, 3}, {1, 1, 1, 2, 5, 3});
    expectStream(4, 6, {0x12, 0x12, 0x12}, {6, 0x12});
    expectStream(4, 7, {0x12, 0x12, 0x13, 0x40}, {5, 0x12, 2, 0x34});
    expectStream(4, 7, {0x31, 0x21, 0x21, 0x20}, {1, 0x30, 6, 0x12});
    expectStream(4, 8, {0x12, 0x34, 0x34, 0x34}, {2, 0x12, 6, 0x34});
    expectStream(4, 7, {0x12, 0x32, 0x45, 0x60}, {2, 0x12, 1, 0x30, 2, 0x24, 2, 0x56});
    expectStream(4, 10, {0x12, 0x34, 0x56, 0x78, 0x9A}, {0, 10, 0x12, 0x34, 0x56, 0x78, 0x9A, 0});
}

} // namespace
} // namespace tovtest
