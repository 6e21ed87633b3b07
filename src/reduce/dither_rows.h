// The row procedure of the filters that spread errors, written once for both depths and all filters.
#pragma once

#include "core/context.h"
#include "core/memory.h"
#include "kernel/kernel.h"
#include "reduce/dither.h"

namespace tov {

// Weights in units of 2^-shift: of the errors of the last and the last but one pixel, and in each row below of the
// pixels from two to the left to two to the right. `reach` pixels and rows have weights.
struct DitherFilter {
    int32_t reach;
    int32_t shift;
    int32_t ahead[2];
    int32_t below[2][5];
};

template <int32_t Most>
OWN_INLINE int32_t limitedTo(int32_t value) {
    const int32_t raised = value < 0 ? 0 : value;
    return raised < Most ? raised : Most;
}

// A rounded value and what it lacks.
struct Rounded {
    int32_t value;
    int32_t error;
};

// Rounds values limited to 0 to `Most` to those whose upper `levels` bits vary, and the largest one.
template <int32_t Most>
struct ManyLevels {
    explicit ManyLevels(int32_t levels) {
        mask = Most >> levels != 0 ? Most >> levels : 1;
        half = mask >> 1;
        shift = (Most == 255 ? 8 : 16) - levels;
    }
    OWN_INLINE Rounded round(int32_t value) const {
        const int32_t limited = limitedTo<Most>(value);
        const int32_t rounded = (limited & ~mask) + ((((limited & mask) + half) >> shift) << shift);
        const int32_t nearest = rounded < Most ? rounded : Most;
        return {nearest, limited - nearest};
    }

    int32_t mask;
    int32_t half;
    int32_t shift;
};

// The same for 0 levels, which leaves 0 and Most. Each pixel waits for the error of the last one, so the errors of both
// results are worked out before it is known which of them it is.
template <int32_t Most>
struct TwoLevels {
    OWN_INLINE static Rounded round(int32_t value) {
        const int32_t errorAbove = value < Most ? value - Most : 0;
        const int32_t errorBelow = value > 0 ? value : 0;
        const bool above = value > Most / 2 + 1;
        return {above ? Most : 0, above ? errorAbove : errorBelow};
    }
};

template <class T>
constexpr int32_t kMost = static_cast<T>(~T{0});

// One row of one channel in one tile. err[0] belongs to its first pixel; `reach` entries in front of it hold the last
// errors of the tile to the left, and as many behind the last one those of the pixels to the right.
template <class T>
struct DitherRow {
    T* row;
    T* below[2]; // null for a row that isn't there
    T* right;    // the first pixels of the tile to the right
    int32_t nRight;
    int32_t width;
    ptrdiff_t pixelStep;
    int32_t* err;
    bool begun; // the tile to the left has done the first `reach` pixels
};

// Rounds a pixel with its share of the errors in front of it, and gives the error that is left.
template <class T, const DitherFilter& Filter, class Levels>
OWN_INLINE int32_t ditherPixel(const Levels& levels, T& pixel, int32_t last, int32_t lastButOne) {
    const int32_t share = (Filter.ahead[0] * last + Filter.ahead[1] * lastButOne) >> Filter.shift;
    const Rounded rounded = levels.round(pixel + share);
    pixel = static_cast<T>(rounded.value);
    return rounded.error;
}

// The errors are spread into the rows below at once: the sum for each pixel is floored and limited to the range before
// the pixel's own turn comes.
template <class T, const DitherFilter& Filter>
OWN_INLINE void spreadBelow(const DitherRow<T>& job, int32_t which) {
    const int32_t* w = Filter.below[which];
    const int32_t* err = job.err;
    T* row = job.below[which];
    const auto spread = [=](T& pixel, int32_t x) OWN_INLINE_LAMBDA {
        int32_t sum = w[1] * err[x - 1] + w[2] * err[x] + w[3] * err[x + 1];
        if (Filter.reach == 2) sum += w[0] * err[x - 2] + w[4] * err[x + 2];
        pixel = static_cast<T>(limitedTo<kMost<T>>(pixel + (sum >> Filter.shift)));
    };
    if (job.pixelStep == 1) {
        OWN_EACH
        for (int32_t x = 0; x < job.width; x++) spread(row[x], x);
    } else {
        for (int32_t x = 0; x < job.width; x++) spread(row[x * job.pixelStep], x);
    }
}

template <class T, const DitherFilter& Filter, class Levels>
OWN_INLINE void ditherRow(const DitherRow<T>& job, const Levels& levels) {
    constexpr int32_t reach = Filter.reach;
    int32_t* err = job.err;
    int32_t x = 0;
    if (job.begun) {
        x = reach < job.width ? reach : job.width;
    } else {
        for (int32_t i = 1; i <= reach; i++) err[-i] = 0;
    }
    int32_t last = err[x - 1];
    int32_t lastButOne = reach == 2 ? err[x - 2] : 0;
    const auto next = [&](T& pixel, int32_t at) OWN_INLINE_LAMBDA {
        err[at] = ditherPixel<T, Filter>(levels, pixel, last, lastButOne);
        lastButOne = last;
        last = err[at];
    };
    for (; x < job.width; x++) next(job.row[x * job.pixelStep], x);
    for (int32_t i = 0; i < reach; i++) {
        if (i < job.nRight) {
            next(job.right[i * job.pixelStep], job.width + i);
        } else {
            err[job.width + i] = 0;
        }
    }
    for (int32_t which = 0; which < reach; which++) {
        if (job.below[which] != nullptr) spreadBelow<T, Filter>(job, which);
    }
    if (job.right == nullptr) return;
    for (int32_t i = -reach; i < reach; i++) err[i] = err[job.width + i];
}

template <class T>
OWN_INLINE T* elementAt(uint8_t* data, ptrdiff_t bytes) {
    return reinterpret_cast<T*>(data + bytes);
}

// All channels of a rectangle, with an array of errors for each.
template <class T, const DitherFilter& Filter>
OWN_INLINE void ditherChannels(const Reporter& report, const DitherChannels& channels, const DitherRect& rect) {
    const int32_t entries = rect.width + 2 * Filter.reach;
    const AlignedBlock<int32_t> errors(static_cast<size_t>(entries) * static_cast<size_t>(channels.count));
    if (!errors) return report(TOV_STS_NO_MEMORY, "no memory for errr array");
    for (int32_t c = 0; c < channels.count; c++) {
        DitherRow<T> job{};
        job.width = rect.width;
        job.pixelStep = channels.pixelStep;
        job.err = errors.get() + ptrdiff_t{c} * entries + Filter.reach;
        for (int32_t y = 0; y < rect.height; y++) {
            const auto rowAt = [&](int32_t at) {
                return at < rect.height ? elementAt<T>(rect.data, at * rect.rowStep + channels.offset(c)) : nullptr;
            };
            job.row = rowAt(y);
            job.below[0] = rowAt(y + 1);
            job.below[1] = rowAt(y + 2);
            if (rect.levels == 0) {
                ditherRow<T, Filter>(job, TwoLevels<kMost<T>>());
            } else {
                ditherRow<T, Filter>(job, ManyLevels<kMost<T>>(rect.levels));
            }
        }
    }
}

// A line of a tile in all channels; rows below may lie in the tile below.
template <class T, const DitherFilter& Filter>
OWN_INLINE void ditherLine(const TovImage& image, const DitherChannels& channels, const DitherLine& line) {
    const int32_t rightWidth = image.width - (line.tileCol + 1) * line.tileWidth;
    const int32_t rowsBelow = image.height - (line.tileRow + 1) * line.tileHeight;
    const ManyLevels<kMost<T>> levels(line.levels);
    for (int32_t c = 0; c < channels.count; c++) {
        const auto rowAt = [&](uint8_t* tile, int32_t y) {
            return elementAt<T>(tile, y * line.rowStep + channels.offset(c));
        };
        DitherRow<T> job{};
        job.row = rowAt(line.tile, line.line);
        job.width = line.width;
        job.pixelStep = channels.pixelStep;
        job.err = line.err + ptrdiff_t{c} * (line.tileWidth + 2 * Filter.reach) + Filter.reach;
        job.begun = line.tileCol > 0;
        if (line.right != nullptr) {
            job.right = rowAt(line.right, line.line);
            job.nRight = rightWidth < Filter.reach ? rightWidth : Filter.reach;
        }
        for (int32_t i = 0; i < Filter.reach; i++) {
            const int32_t y = line.line + 1 + i;
            const int32_t inBelow = y - line.tileHeight;
            if (y < line.height) {
                job.below[i] = rowAt(line.tile, y);
            } else if (line.below != nullptr && inBelow >= 0 && inBelow < rowsBelow) {
                job.below[i] = rowAt(line.below, inBelow);
            }
        }
        ditherRow<T, Filter>(job, levels);
    }
}

} // namespace tov
