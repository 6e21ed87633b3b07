// Runs of set bits in a row of a mask, found word by word.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernel/kernel.h"

namespace tov {

// A 1-bit mask as a walk sees it: the byte of its first pixel, the row distance in bytes, and the bit of the first
// pixel in that byte, counted from the most significant one. Without a mask `first` is null.
struct MaskLane {
    const uint8_t* first = nullptr;
    ptrdiff_t rowStep = 0;
    int32_t bitOffset = 0;
};

// The number of clear bits in front of the first set one; word must not be 0.
OWN_INLINE int32_t leadingZeros(uint64_t word) {
#if defined(__GNUC__)
    return __builtin_clzll(word);
#else
    int32_t n = 0;
    for (; (word >> 63) == 0; word <<= 1) n++;
    return n;
#endif
}

// Eight bytes as a number, the first one most significant.
OWN_INLINE uint64_t bigEndian64(const uint8_t* p) {
    return uint64_t{p[0]} << 56 | uint64_t{p[1]} << 48 | uint64_t{p[2]} << 40 | uint64_t{p[3]} << 32 |
           uint64_t{p[4]} << 24 | uint64_t{p[5]} << 16 | uint64_t{p[6]} << 8 | uint64_t{p[7]};
}

// `count` bits (1 to 64) from bit `bit` of `row` on, the first in the most significant bit of the result, the rest of
// which is clear. Touches no byte that holds none of them.
OWN_SHARED uint64_t someBitsAt(const uint8_t* row, ptrdiff_t bit, int32_t count) {
    const uint8_t* p = row + (bit >> 3);
    const int32_t shift = static_cast<int32_t>(bit & 7);
    const int32_t nBytes = (shift + count + 7) >> 3;
    uint64_t word = 0;
    for (int32_t i = 0; i < nBytes; i++) {
        const uint64_t byte = p[i];
        const int32_t up = 56 + shift - 8 * i; // where the byte's lowest bit goes
        word |= up >= 0 ? byte << up : byte >> -up;
    }
    return word & ~(count == 64 ? 0 : ~uint64_t{0} >> count);
}

OWN_INLINE uint64_t bitsAt(const uint8_t* row, ptrdiff_t bit, int32_t count) {
    if (count < 64) return someBitsAt(row, bit, count);
    const uint8_t* p = row + (bit >> 3);
    const int32_t shift = static_cast<int32_t>(bit & 7);
    const uint64_t word = bigEndian64(p);
    return shift == 0 ? word : word << shift | p[8] >> (8 - shift);
}

// The number of set bits.
OWN_INLINE int32_t countOnes(uint64_t word) {
    word -= (word >> 1) & 0x5555555555555555U;
    word = (word & 0x3333333333333333U) + ((word >> 2) & 0x3333333333333333U);
    word = (word + (word >> 4)) & 0x0F0F0F0F0F0F0F0FU;
    return static_cast<int32_t>((word * 0x0101010101010101U) >> 56);
}

// The stretch from the first to the last set bit in `width` bits from bit `bit` of `row` on; none has length 0.
struct BitStretch {
    int32_t start;
    int32_t length;
};
OWN_SHARED BitStretch stretchOfOnes(const uint8_t* row, int32_t bit, int32_t width) {
    if (width <= 0) return {0, 0};
    const auto wordAt = [=](int32_t i) { return bitsAt(row, ptrdiff_t{bit} + i, width - i < 64 ? width - i : 64); };
    int32_t last = (width - 1) & ~63;
    while (last > 0 && wordAt(last) == 0) last -= 64;
    const uint64_t word = wordAt(last);
    if (word == 0) return {0, 0};
    int32_t begin = 0;
    while (wordAt(begin) == 0) begin += 64;
    const int32_t start = begin + leadingZeros(wordAt(begin));
    return {start, last + leadingZeros(word & (~word + 1)) + 1 - start};
}

// Walks the runs of set bits in `width` bits from bit `bit` of `row` on, left to right:
// `for (MaskRuns runs(row, bit, width); runs.next();) use(runs.start, runs.length);`
//
// Where runs are short their lengths can't be foreseen, and a processor that guesses wrong loses more than a pixel
// costs. With Ragged such places come as bits instead: where `bits` is not 0 its most significant bit stands for pixel
// `start`, and length means nothing.
template <bool Ragged>
class MaskRunsOf {
public:
    OWN_INLINE MaskRunsOf(const uint8_t* row, int32_t bit, int32_t width) : bytes_(row), behind_(-bit) {
        const ptrdiff_t end = width > 0 ? ptrdiff_t{bit} + width : 0;
        whole_ = row + (end >> 6) * 8;
        rest_ = static_cast<int32_t>(end & 63);
        if (load()) word_ &= ~uint64_t{0} >> bit;
    }

    OWN_INLINE bool next() {
        while (word_ == 0) {
            skip(0);
            if (!load()) return false;
        }
        const int32_t zeros = leadingZeros(word_);
        start = static_cast<int32_t>(behind_ - 64 + zeros);
        bits = 0;
        if (Ragged && countOnes(word_ & ~(word_ >> 1)) >= kManyRuns) {
            bits = word_ << zeros;
            word_ = 0;
            return true;
        }
        const uint64_t clear = ~word_ & ~uint64_t{0} >> zeros;
        if (clear != 0) {
            const int32_t end = leadingZeros(clear);
            length = end - zeros;
            word_ &= ~uint64_t{0} >> end;
        } else {
            growPastWord();
        }
        return true;
    }

    int32_t start = 0;
    int32_t length = 0;
    uint64_t bits = 0;

private:
    static constexpr int32_t kManyRuns = 6; // in a word: from here on bits are faster

    // Words begin at whole bytes: the first one may hold bits in front of the row's, the last one is filled up with
    // clear bits.
    OWN_INLINE bool load() {
        word_ = 0;
        if (bytes_ < whole_) {
            word_ = bigEndian64(bytes_);
        } else {
            if (rest_ == 0) return false;
            word_ = someBitsAt(bytes_, 0, rest_);
            rest_ = 0;
        }
        bytes_ += 8;
        behind_ += 64;
        return true;
    }

    // Passes whole words that are all clear (0) or all set (~0).
    OWN_INLINE void skip(uint64_t pattern) {
        const uint8_t* const from = bytes_;
        while (bytes_ < whole_ && bigEndian64(bytes_) == pattern) bytes_ += 8;
        behind_ += (bytes_ - from) * 8;
    }

    // The run reaches the end of its word: whole words and the beginning of the next one may belong to it.
    OWN_INLINE void growPastWord() {
        skip(~uint64_t{0});
        length = static_cast<int32_t>(behind_ - start);
        if (!load()) return;
        const int32_t ones = leadingZeros(~word_);
        length += ones;
        word_ &= ~uint64_t{0} >> ones;
    }

    const uint8_t* bytes_; // the next word
    const uint8_t* whole_; // the end of whole words
    int64_t behind_;       // the pixel behind the word
    int32_t rest_;         // bits that don't fill a word and are still to be loaded
    uint64_t word_ = 0;    // the bits of 64 pixels that are still to be given
};

using MaskRuns = MaskRunsOf<false>;
using RaggedMaskRuns = MaskRunsOf<true>;

} // namespace tov
