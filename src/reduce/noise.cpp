// The noise that jitters values before their bits are reduced.
#include "reduce/noise.h"

#include <cstdlib>

#include "kernel/kernel.h"

namespace tov {

namespace {

constexpr int32_t kEntries = 1024;

// Entries of `parts` are those of `steps` as fractions; `shifts` moves the lookups of neighbouring columns and rows.
struct Noise {
    int32_t steps[kEntries];
    double parts[kEntries];
    int32_t shifts[kEntries];
};
Noise noise;

// The place in the tables for a column and a row; with these exchanged, the place of the other noise value.
OWN_INLINE uint32_t placeOf(int32_t x, int32_t y) {
    const auto column = static_cast<uint32_t>(x);
    const auto shift = static_cast<uint32_t>(noise.shifts[column % kEntries]);
    return (column + shift + 4 * static_cast<uint32_t>(y)) % kEntries;
}

// step(value, x, y) gives each element's new value.
template <class T, class Step>
OWN_INLINE void jitter(const Reduction& reduction, Step step) {
    for (int32_t plane = 0; plane < reduction.nPlanes; plane++) {
        for (int32_t y = 0; y < reduction.size.height; y++) {
            T* row = reinterpret_cast<T*>(reduction.src + plane * reduction.srcPlaneStep + y * reduction.srcStep);
            for (int32_t x = 0; x < reduction.size.width; x++) row[x] = step(row[x], x, y);
        }
    }
}

// What each form adds: a value may rise to the next step by chance, then noise of whole steps is added where the
// result stays in the range.
struct StepForm {
    int32_t bits;    // of a step
    int32_t kept;    // values from here on are left alone
    int64_t rise;    // to the next step
    int64_t largest; // end of the range
};

OWN_INLINE bool rises(int64_t value, int32_t bits, int32_t x, int32_t y) {
    const int64_t step = int64_t{1} << bits;
    return (value & (step - 1)) <= (noise.steps[placeOf(x, y)] * (step + 1)) >> 10;
}

// The noise in steps, from -amplitude to amplitude.
OWN_INLINE int64_t stepsAt(int32_t amplitude, int32_t x, int32_t y) {
    return ((2 * amplitude * noise.steps[placeOf(y, x)] + 512) >> 10) - amplitude;
}

// The rise counts for the noise, too, or only where there is none.
template <bool RiseCounts>
OWN_INLINE int64_t jittered(const StepForm& form, int32_t amplitude, int64_t value, int32_t x, int32_t y) {
    if (value >= form.kept) return value;
    const int64_t risen = rises(value, form.bits, x, y) ? value + form.rise : value;
    const int64_t noisy = (RiseCounts ? risen : value) + stepsAt(amplitude, x, y) * (int64_t{1} << form.bits);
    return noisy >= 0 && noisy <= form.largest ? noisy : risen;
}

} // namespace

void ownNoiseInit() {
    for (int32_t i = 0; i < kEntries; i++) {
        const int drawn = std::rand();
        noise.steps[i] = drawn & (kEntries - 1);
        noise.parts[i] = drawn % kEntries * 0.0009765625;
    }
    for (int32_t& shift : noise.shifts) shift = std::rand() % kEntries;
}

void ownJitter_8u1u(const Reduction& reduction, int32_t amplitude) {
    constexpr StepForm form = {4, 240, 16, 255};
    jitter<uint8_t>(reduction, [=](uint8_t value, int32_t x, int32_t y) {
        return static_cast<uint8_t>(jittered<true>(form, amplitude, value, x, y));
    });
}

void ownJitter_16u(const Reduction& reduction, int32_t amplitude) {
    constexpr StepForm form = {8, 65280, 256, 65535};
    jitter<uint16_t>(reduction, [=](uint16_t value, int32_t x, int32_t y) {
        return static_cast<uint16_t>(jittered<true>(form, amplitude, value, x, y));
    });
}

void ownJitter_32s16u(const Reduction& reduction, int32_t amplitude) {
    constexpr StepForm form = {16, 0x7FFF0000, 0xFFFF, INT32_MAX};
    jitter<int32_t>(reduction, [=](int32_t value, int32_t x, int32_t y) {
        return static_cast<int32_t>(jittered<false>(form, amplitude, value, x, y));
    });
}

void ownJitter_32s8u(const Reduction& reduction, int32_t amplitude) {
    constexpr StepForm form = {24, 0x7F000000, 0xFFFFFF, INT32_MAX};
    jitter<int32_t>(reduction, [=](int32_t value, int32_t x, int32_t y) {
        return static_cast<int32_t>(jittered<false>(form, amplitude, value, x, y));
    });
}

// One step is half the range, so steps are parts of it.
void ownJitter_32s1u(const Reduction& reduction, int32_t amplitude) {
    constexpr double step = 2147483647.0;
    jitter<int32_t>(reduction, [=](int32_t value, int32_t x, int32_t y) {
        const double risen = value <= step * noise.parts[placeOf(x, y)] ? value + step : value;
        const double noisy = risen + (2 * amplitude * noise.parts[placeOf(y, x)] + 0.5 - amplitude) * step;
        return noisy >= -2147483648.0 && noisy <= step ? static_cast<int32_t>(noisy) : value;
    });
}

} // namespace tov
