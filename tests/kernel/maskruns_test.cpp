// Mask runs against a scan bit by bit, over rows of few long runs, of many short ones, and of both.
#include "kernel/maskruns.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/rng.h"

namespace {

using tovtest::Rng;

// `width` bits in runs whose lengths reach up to `longest`, from bit `bit` of the row on; all others are set.
std::vector<uint8_t> drawRow(Rng& rng, int32_t bit, int32_t width, const std::vector<int32_t>& longest) {
    std::vector<uint8_t> row(static_cast<size_t>(bit + width + 7) / 8, 0xFF);
    bool set = rng.oneIn(2);
    for (int32_t x = 0; x < width; set = !set) {
        const int32_t most = longest[static_cast<size_t>(rng.between(0, static_cast<int32_t>(longest.size()) - 1))];
        for (int32_t n = rng.between(1, most); n > 0 && x < width; n--, x++) {
            if (!set) row[(bit + x) / 8] &= static_cast<uint8_t>(~(0x80 >> ((bit + x) & 7)));
        }
    }
    return row;
}

std::vector<int32_t> scan(const std::vector<uint8_t>& row, int32_t bit, int32_t width) {
    std::vector<int32_t> chosen;
    for (int32_t x = 0; x < width; x++) {
        if ((row[(bit + x) / 8] & 0x80 >> ((bit + x) & 7)) != 0) chosen.push_back(x);
    }
    return chosen;
}

template <class Runs>
std::vector<int32_t> walk(const std::vector<uint8_t>& row, int32_t bit, int32_t width) {
    std::vector<int32_t> chosen;
    for (Runs runs(row.data(), bit, width); runs.next();) {
        for (int32_t i = 0; runs.bits == 0 && i < runs.length; i++) chosen.push_back(runs.start + i);
        for (int32_t i = 0; i < 64; i++) {
            if ((runs.bits << i >> 63) != 0) chosen.push_back(runs.start + i);
        }
    }
    return chosen;
}

TEST(MaskRuns, GiveEverySetBitOnceInOrder) {
    Rng rng(1);
    for (int32_t round = 0; round < 20000; round++) {
        const int32_t bit = rng.between(0, 7);
        const int32_t width = rng.between(0, rng.oneIn(2) ? 70 : 900);
        const auto longest = rng.oneIn(3) ? std::vector<int32_t>{3} : std::vector<int32_t>{1, 20, 300};
        const std::vector<uint8_t> row = drawRow(rng, bit, width, longest);
        const auto want = scan(row, bit, width);
        ASSERT_EQ(walk<tov::MaskRuns>(row, bit, width), want) << "round " << round << " bit " << bit;
        ASSERT_EQ(walk<tov::RaggedMaskRuns>(row, bit, width), want) << "round " << round << " bit " << bit;
        const tov::BitStretch ones = tov::stretchOfOnes(row.data(), bit, width);
        ASSERT_EQ(ones.length, want.empty() ? 0 : want.back() + 1 - want.front()) << "round " << round;
        ASSERT_EQ(ones.start, want.empty() ? 0 : want.front()) << "round " << round;
    }
}

} // namespace
