// Rows of bits, combined in words whatever the bits that they begin at.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kernel/kernel.h"
#include "kernel/maskruns.h"
#include "kernel/overlap.h"

namespace tov {

// One 1-bit image as a walk sees it: the byte of its first pixel, the row distance in bytes, and the bit of the first
// pixel in that byte, 0 (the most significant one) to 7.
template <class Byte>
struct BitLane {
    Byte* first;
    ptrdiff_t rowStep;
    int32_t bitOffset;
};

template <class Byte>
inline Footprint footprintOf(const BitLane<Byte>& lane, int32_t width, int32_t height) {
    return {lane.first, (ptrdiff_t{lane.bitOffset} + width + 7) >> 3, lane.rowStep, height, 0, 1};
}

// Writes the `count` most significant bits of `value` to bit `bit` of `row` on and leaves all others. They lie in at
// most eight bytes, and are fewer than 64.
OWN_SHARED void putBits(uint8_t* row, ptrdiff_t bit, int32_t count, uint64_t value) {
    uint8_t* p = row + (bit >> 3);
    const int32_t shift = static_cast<int32_t>(bit & 7);
    const uint64_t mask = ~(count < 64 ? ~uint64_t{0} >> count : 0) >> shift;
    value >>= shift;
    const int32_t nBytes = (shift + count + 7) >> 3;
    for (int32_t i = 0; i < nBytes; i++) {
        const auto byteMask = static_cast<uint8_t>(mask >> (56 - 8 * i));
        p[i] = static_cast<uint8_t>((p[i] & ~byteMask) | (static_cast<uint8_t>(value >> (56 - 8 * i)) & byteMask));
    }
}

// Eight bytes whose bits are those of the row from a bit in the byte at p on: every byte takes its high bits from one
// byte of the row and its low bits from the next one. Since no bit leaves its byte, the machine's byte order is free.
struct ByteShift {
    OWN_INLINE explicit ByteShift(int32_t bit) : up(bit), reach(bit == 0 ? 0 : 1) {
        const uint64_t ones = 0x0101010101010101U;
        highBits = ones * static_cast<uint8_t>(0xFF << bit);
        lowBits = ones * static_cast<uint8_t>(0xFF >> (8 - bit));
    }

    OWN_INLINE uint64_t at(const uint8_t* p) const {
        uint64_t word = 0;
        uint64_t next = 0;
        std::memcpy(&word, p, sizeof word);
        std::memcpy(&next, p + reach, sizeof next);
        return ((word << up) & highBits) | ((next >> (8 - up)) & lowBits);
    }

    int32_t up;
    ptrdiff_t reach; // 0 where the bits begin at a byte: the byte behind the last one isn't the row's then
    uint64_t highBits;
    uint64_t lowBits;
};

// One source's place in a row of bits.
struct BitPlace {
    const uint8_t* bytes;
    ptrdiff_t bit;
};

// `count` bits of the destination from bit `bit` on become formula(old, s...), worked as one unit.
template <class Formula, class... P>
OWN_INLINE void bitUnit(Formula formula, uint8_t* d, ptrdiff_t bit, int32_t count, const P&... s) {
    putBits(d, bit, count, formula(bitsAt(d, bit, count), bitsAt(s.bytes, s.bit, count)...));
}

// `nWords` words of the destination from byte d on become formula(old, s...).
template <class Formula, class... P>
OWN_INLINE void bitWords(Formula formula, uint8_t* d, ptrdiff_t nWords, const P&... s) {
    const auto loop = [&](const auto&... shifts) OWN_INLINE_LAMBDA {
        OWN_EACH
        for (ptrdiff_t i = 0; i < nWords; i++) {
            uint64_t old = 0;
            std::memcpy(&old, d + 8 * i, sizeof old);
            const uint64_t result = formula(old, shifts.at(s.bytes + (s.bit >> 3) + 8 * i)...);
            std::memcpy(d + 8 * i, &result, sizeof result);
        }
    };
    loop(ByteShift{static_cast<int32_t>(s.bit & 7)}...);
}

// One row of bits. formula(old, s...) works on 64 bits at once; bits outside the row stay.
template <class Formula, class... P>
OWN_INLINE void bitRow(Formula formula, int32_t width, uint8_t* d, int32_t bit, const P&... s) {
    int32_t done = 0;
    if (bit != 0) {
        done = 8 - bit < width ? 8 - bit : width;
        bitUnit(formula, d, bit, done, s...);
    }
    const int32_t nWords = (width - done) >> 6;
    bitWords(formula, d + ((bit + done) >> 3), nWords, BitPlace{s.bytes, s.bit + done}...);
    done += nWords * 64;
    if (done < width) bitUnit(formula, d, ptrdiff_t{bit} + done, width - done, BitPlace{s.bytes, s.bit + done}...);
}

// The walk over rows of bits: dst = formula(old dst, s...) from the first row down. Where a source overlaps the
// destination at another position, results follow that order in units of UnitBits (1, 8 or 16) bits, counted from the
// byte that holds the row's first bit.
template <int32_t UnitBits, class Formula, class... Sources>
OWN_INLINE void walkBits(int32_t width, int32_t height, Formula formula, const BitLane<uint8_t>& d,
                         const Sources&... s) {
    if (width <= 0 || height <= 0) return;
    [[maybe_unused]] const auto crosses = [&](const BitLane<const uint8_t>& lane) {
        const bool sameBytes = lane.first == d.first && (lane.rowStep == d.rowStep || height == 1);
        if (sameBytes) return lane.bitOffset != d.bitOffset;
        return overlapsElsewhere(footprintOf(d, width, height), footprintOf(lane, width, height));
    };
    const bool free = !(crosses(s) || ... || false);
    for (int32_t y = 0; y < height; y++) {
        uint8_t* row = d.first + y * d.rowStep;
        if (free) {
            bitRow(formula, width, row, d.bitOffset, BitPlace{s.first + y * s.rowStep, s.bitOffset}...);
            continue;
        }
        for (int32_t done = 0; done < width;) {
            const int32_t room = UnitBits - (d.bitOffset + done) % UnitBits;
            const int32_t count = room < width - done ? room : width - done;
            bitUnit(formula, row, ptrdiff_t{d.bitOffset} + done, count,
                    BitPlace{s.first + y * s.rowStep, ptrdiff_t{s.bitOffset} + done}...);
            done += count;
        }
    }
}

// Copies the bits of a rectangle, those that a mask allows if there is one.
OWN_INLINE void copyBits(int32_t width, int32_t height, const MaskLane& mask, const BitLane<uint8_t>& d,
                         const BitLane<const uint8_t>& s) {
    if (mask.first == nullptr) {
        walkBits<8>(
            width, height, [](uint64_t, uint64_t b) OWN_INLINE_LAMBDA { return b; }, d, s);
        return;
    }
    const BitLane<const uint8_t> m = {mask.first, mask.rowStep, mask.bitOffset};
    const auto chosen = [](uint64_t old, uint64_t b, uint64_t allowed)
                            OWN_INLINE_LAMBDA { return (old & ~allowed) | (b & allowed); };
    walkBits<8>(width, height, chosen, d, s, m);
}

} // namespace tov
