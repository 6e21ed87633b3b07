// Colour tables by median cut. Gray values are a cube of one axis, so that both kinds of image are cut the same way.
#include <cstddef>
#include <cstring>

#include "core/memory.h"
#include "dib/dib.h"
#include "dib/palette.h"
#include "kernel/kernel.h"

namespace tov {

namespace {

enum Axis { kRed, kGreen, kBlue, kAxes };

// The pixels of a picture by cell: 64 x 64 x 64 cells of four values each, or a row of 256 values for gray.
struct Cube {
    uint32_t* counts;
    int32_t length[kAxes];
    int32_t step[kAxes];
    int32_t shift; // from a cell's place on an axis to its value

    int32_t cells() const { return length[kRed] * length[kGreen] * length[kBlue]; }
    const uint32_t* row(int32_t green, int32_t blue) const {
        return counts + ptrdiff_t{blue} * step[kBlue] + ptrdiff_t{green} * step[kGreen];
    }
};
constexpr Cube kGrayCube = {nullptr, {256, 1, 1}, {1, 0, 0}, 0};
constexpr Cube kColorCube = {nullptr, {64, 64, 64}, {1, 64, 4096}, 2};

// Cells between two corners, both included, and the number of pixels in them.
struct Box {
    int32_t low[kAxes];
    int32_t high[kAxes];
    int64_t pixels;

    int32_t range(int32_t axis) const { return high[axis] - low[axis]; }
    bool finished() const { return range(kRed) == 0 && range(kGreen) == 0 && range(kBlue) == 0; }
};

// visit(count, red, green, blue) for each cell of a box, in the order of cell numbers.
template <class Visit>
void eachCell(const Cube& cube, const Box& box, Visit visit) {
    for (int32_t b = box.low[kBlue]; b <= box.high[kBlue]; b++) {
        for (int32_t g = box.low[kGreen]; g <= box.high[kGreen]; g++) {
            const uint32_t* row = cube.row(g, b);
            for (int32_t r = box.low[kRed]; r <= box.high[kRed]; r++) visit(row[r], r, g, b);
        }
    }
}

// A box from one place on an axis to another.
Box slice(const Box& box, int32_t axis, int32_t from, int32_t to) {
    Box part = box;
    part.low[axis] = from;
    part.high[axis] = to;
    return part;
}

int64_t pixelsIn(const Cube& cube, const Box& box) {
    int64_t sum = 0;
    eachCell(cube, box, [&](uint32_t count, int32_t, int32_t, int32_t) { sum += count; });
    return sum;
}

bool isEmpty(const Cube& cube, const Box& box) {
    for (int32_t b = box.low[kBlue]; b <= box.high[kBlue]; b++) {
        for (int32_t g = box.low[kGreen]; g <= box.high[kGreen]; g++) {
            const uint32_t* row = cube.row(g, b);
            for (int32_t r = box.low[kRed]; r <= box.high[kRed]; r++) {
                if (row[r] != 0) return false;
            }
        }
    }
    return true;
}

// Pulls a box, which holds a pixel, in to its outermost cells that do.
void tighten(const Cube& cube, Box& box) {
    for (int32_t axis = 0; axis < kAxes; axis++) {
        while (isEmpty(cube, slice(box, axis, box.low[axis], box.low[axis]))) box.low[axis]++;
        while (isEmpty(cube, slice(box, axis, box.high[axis], box.high[axis]))) box.high[axis]--;
    }
}

int32_t axisToCut(const Box& box) {
    const int32_t red = box.range(kRed);
    const int32_t green = box.range(kGreen);
    const int32_t blue = box.range(kBlue);
    if (red >= green && red >= blue) return kRed;
    return green < blue ? kBlue : kGreen;
}

// Cuts a box before or after the plane at which more than half of its pixels are passed, whichever comes nearer to the
// half. The box becomes the lower part; the upper one is returned.
Box cut(const Cube& cube, Box& box) {
    const int32_t axis = axisToCut(box);
    const int64_t half = box.pixels >> 1;
    int64_t before = 0;
    int64_t passed = 0;
    int32_t plane = box.low[axis];
    for (;; plane++) {
        before = passed;
        passed += pixelsIn(cube, slice(box, axis, plane, plane));
        if (passed > half) break;
    }
    const bool cutBefore = half - before < passed - half;
    Box upper = slice(box, axis, cutBefore ? plane : plane + 1, box.high[axis]);
    box.high[axis] = cutBefore ? plane - 1 : plane;
    upper.pixels = box.pixels - (cutBefore ? before : passed);
    box.pixels = cutBefore ? before : passed;
    tighten(cube, box);
    tighten(cube, upper);
    return upper;
}

RGBQUAD meanOf(const Cube& cube, const Box& box) {
    int64_t sums[kAxes] = {};
    eachCell(cube, box, [&](uint32_t count, int32_t r, int32_t g, int32_t b) {
        sums[kRed] += int64_t{r << cube.shift} * count;
        sums[kGreen] += int64_t{g << cube.shift} * count;
        sums[kBlue] += int64_t{b << cube.shift} * count;
    });
    const auto mean = [&](int32_t axis) { return static_cast<uint8_t>(sums[axis] / box.pixels); };
    return {mean(kBlue), mean(kGreen), mean(kRed), 0};
}

// The table of a bitmap as it is written.
class Table {
public:
    explicit Table(BITMAPINFOHEADER* dib) : dib_(reinterpret_cast<uint8_t*>(dib)) {}

    void add(RGBQUAD entry, bool gray) {
        if (gray) entry.rgbBlue = entry.rgbGreen = entry.rgbRed;
        std::memcpy(dib_ + sizeof(BITMAPINFOHEADER) + used_ * sizeof entry, &entry, sizeof entry);
        used_++;
    }
    bool close() const {
        std::memcpy(dib_ + offsetof(BITMAPINFOHEADER, biClrUsed), &used_, sizeof used_);
        return true;
    }

private:
    uint8_t* dib_;
    uint32_t used_ = 0;
};

bool fillTable(const Cube& cube, int64_t pixels, int32_t entries, Table table) {
    const bool gray = cube.shift == 0;
    Box whole = {{0, 0, 0}, {cube.length[kRed] - 1, cube.length[kGreen] - 1, cube.length[kBlue] - 1}, pixels};
    int32_t used = 0;
    for (int32_t i = 0; i < cube.cells(); i++) used += cube.counts[i] != 0 ? 1 : 0;
    if (used <= entries) {
        eachCell(cube, whole, [&](uint32_t count, int32_t r, int32_t g, int32_t b) {
            const auto value = [&](int32_t place) { return static_cast<uint8_t>(place << cube.shift); };
            if (count != 0) table.add({value(b), value(g), value(r), 0}, gray);
        });
        return table.close();
    }
    const AlignedBlock<Box> boxes(static_cast<size_t>(entries));
    if (!boxes) return false;
    tighten(cube, whole);
    boxes[0] = whole;
    // Generation by generation: a sweep cuts the boxes that stand at its start.
    for (int32_t n = 1; n < entries;) {
        const int32_t standing = n;
        for (int32_t i = 0; i < standing && n < entries; i++) {
            Box& box = boxes[static_cast<size_t>(i)];
            if (!box.finished()) boxes[static_cast<size_t>(n++)] = cut(cube, box);
        }
    }
    for (int32_t i = 0; i < entries; i++) table.add(meanOf(cube, boxes[static_cast<size_t>(i)]), gray);
    return table.close();
}

// Pixels that are counted at once.
constexpr ptrdiff_t kBlock = 256;

// The cells of `count` pixels, of whose 16-bit values the high bytes count. `Step` is the distance of pixels in values,
// or 0 for one that isn't known.
template <int32_t Step, bool Gray, class T>
OWN_INLINE void findCells(const T* red, const T* green, const T* blue, ptrdiff_t pixelStep, ptrdiff_t count,
                          uint32_t* cells) {
    const ptrdiff_t step = Step != 0 ? Step : pixelStep;
    const auto high = [](T value) OWN_INLINE_LAMBDA { return static_cast<uint32_t>(value) >> (8 * sizeof(T) - 8); };
    for (ptrdiff_t i = 0; i < count; i++) {
        cells[i] = Gray ? high(red[i * step])
                        : high(red[i * step]) >> 2 | high(green[i * step]) >> 2 << 6 | high(blue[i * step]) >> 2 << 12;
    }
}

// The form that most pictures have: pixels of three bytes.
OWN_KERNEL void ownCellsOfPixels_8u(const uint8_t* red, const uint8_t* green, const uint8_t* blue, ptrdiff_t count,
                                    uint32_t* cells) {
    findCells<3, false>(red, green, blue, 3, count, cells);
}

template <int32_t Step, bool Gray, class T>
void countRow(const Cube& cube, const T* const (&rows)[kAxes], int32_t width, int32_t pixelStep) {
    const ptrdiff_t step = Step != 0 ? Step : pixelStep;
    for (ptrdiff_t x = 0; x < width; x += kBlock) {
        const ptrdiff_t n = width - x < kBlock ? width - x : kBlock;
        const T* red = rows[kRed] + x * step;
        const T* green = rows[kGreen] + x * step;
        const T* blue = rows[kBlue] + x * step;
        uint32_t cells[kBlock];
        if constexpr (Step == 3 && sizeof(T) == 1) {
            ownCellsOfPixels_8u(red, green, blue, n, cells);
        } else {
            findCells<Step, Gray>(red, green, blue, step, n, cells);
        }
        for (ptrdiff_t i = 0; i < n; i++) cube.counts[cells[i]]++;
    }
}

template <class T>
void countPixels(const TovImage& image, const int32_t* channels, const Cube& cube) {
    const bool planes = image.dataOrder == TOV_DATA_ORDER_PLANE;
    for (int32_t y = 0; y < image.height; y++) {
        const T* rows[kAxes];
        for (int32_t axis = 0; axis < kAxes; axis++) {
            const ptrdiff_t c = channels[axis];
            const uint8_t* row = image.imageData + ptrdiff_t{y} * image.widthStep;
            if (planes) row += c * image.height * image.widthStep;
            rows[axis] = reinterpret_cast<const T*>(row) + (planes ? 0 : c);
        }
        if (image.nChannels == 1) {
            countRow<1, true>(cube, rows, image.width, 1);
        } else if (planes) {
            countRow<1, false>(cube, rows, image.width, 1);
        } else if (image.nChannels == 3) {
            countRow<3, false>(cube, rows, image.width, 3);
        } else {
            countRow<0, false>(cube, rows, image.width, image.nChannels);
        }
    }
}

bool isSequence(const TovImage& image, const char (&three)[5], const char (&four)[5]) {
    return std::memcmp(image.channelSeq, three, 4) == 0 || std::memcmp(image.channelSeq, four, 4) == 0;
}

} // namespace

bool ownMedcutPalette(BITMAPINFOHEADER* dib, const TovImage& image) {
    const BITMAPINFOHEADER header = bitmapAt(dib).header;
    if (header.biBitCount > 8) return false;
    if (image.depth == TOV_DEPTH_1U) {
        Table table(dib);
        table.add({0, 0, 0, 0}, false);
        table.add({255, 255, 255, 0}, false);
        return table.close();
    }
    if (image.imageData == nullptr) return false;
    constexpr int32_t inOrder[kAxes] = {0, 1, 2};
    constexpr int32_t reversed[kAxes] = {2, 1, 0};
    constexpr int32_t single[kAxes] = {0, 0, 0};
    const int32_t* channels = single;
    if (image.nChannels != 1) {
        if (image.nChannels != 3 && image.nChannels != 4) return false;
        channels = isSequence(image, "RGB\0", "RGBA")   ? inOrder
                   : isSequence(image, "BGR\0", "BGRA") ? reversed
                                                        : nullptr;
        if (channels == nullptr) return false;
    }
    Cube cube = image.nChannels == 1 ? kGrayCube : kColorCube;
    const AlignedBlock<uint32_t> counts(static_cast<size_t>(cube.cells()));
    if (!counts) return false;
    cube.counts = counts.get();
    std::memset(cube.counts, 0, static_cast<size_t>(cube.cells()) * sizeof(uint32_t));
    if (image.depth == TOV_DEPTH_8U) {
        countPixels<uint8_t>(image, channels, cube);
    } else {
        countPixels<uint16_t>(image, channels, cube);
    }
    return fillTable(cube, int64_t{image.width} * image.height, 1 << header.biBitCount, Table(dib));
}

} // namespace tov
