// The area average: each pixel is the mean of a box, whose sides count by the share of them that it covers.
#include "core/image.h"
#include "kernel/bitrows.h"
#include "kernel/round.h"
#include "kernel/walk.h"
#include "resample/decimate.h"

namespace tov {

namespace {

// A side of a smaller share isn't read by itself.
constexpr double kLeast = 0.0001;

// Columns whose boxes are worked out at once.
constexpr int32_t kColumns = 256;

// The extent of a box along an axis: whole samples between `first` and `last`, which count by their shares. A box that
// ends at the limit has no sample `last`.
struct Extent {
    int32_t first;
    int32_t last;
    double lead;
    double trail;
    bool hasLast;
};

// Steps boxes along an axis. One that would reach the limit is moved back to end there.
class Boxes {
public:
    Boxes(double position, double rate, int32_t limit) : position_(position), rate_(rate), limit_(limit) {}

    OWN_INLINE Extent next() {
        double begin = position_;
        position_ = begin + rate_;
        int32_t last = truncated(position_);
        if (last >= limit_) {
            last = limit_;
            position_ = limit_;
            begin = limit_ - rate_;
            if (begin < 0) begin = 0;
        }
        const int32_t first = truncated(begin);
        return {first, last, 1 - (begin - first), position_ - last, last < limit_};
    }
    double position() const { return position_; }

private:
    double position_;
    double rate_;
    int32_t limit_;
};

// A row of samples of one channel, and a row of bits.
template <class T>
struct ValueRow {
    OWN_INLINE int32_t operator[](ptrdiff_t x) const { return first[x * step]; }
    const T* first;
    ptrdiff_t step;
};
struct BitRow {
    OWN_INLINE int32_t operator[](ptrdiff_t x) const {
        const ptrdiff_t bit = x + offset;
        return bytes[bit >> 3] >> (7 - (bit & 7)) & 1;
    }
    const uint8_t* bytes;
    ptrdiff_t offset;
};

template <class Row>
OWN_INLINE int64_t sumWhole(const Row& row, const Extent& x) {
    int64_t sum = 0;
    for (int32_t i = x.first + 1; i < x.last; i++) sum += row[i];
    return sum;
}

// The top or the bottom row of a box.
template <class Row>
OWN_INLINE double sumSide(const Row& row, const Extent& x) {
    const double sum = x.lead * row[x.first] + static_cast<double>(sumWhole(row, x));
    return x.hasLast ? sum + x.trail * row[x.last] : sum;
}

// rowAt(y) gives a row of the source.
template <class RowAt>
OWN_INLINE int32_t average(const RowAt& rowAt, const Extent& x, const Extent& y, double norm) {
    int64_t whole = 0;
    int64_t left = 0;
    int64_t right = 0;
    for (int32_t j = y.first + 1; j < y.last; j++) {
        const auto row = rowAt(j);
        whole += sumWhole(row, x);
        left += row[x.first];
        if (x.hasLast) right += row[x.last];
    }
    auto sum = static_cast<double>(whole);
    if (y.lead > kLeast) sum += y.lead * sumSide(rowAt(y.first), x);
    if (y.trail > kLeast) sum += y.trail * sumSide(rowAt(y.last), x);
    if (x.lead > kLeast) sum += x.lead * static_cast<double>(left);
    if (x.trail > kLeast) sum += x.trail * static_cast<double>(right);
    return truncated(sum * norm + 0.5);
}

double normOf(const DecimateArgs& args) { return 1 / (args.xRate * args.yRate); }

// Calls pixel(column, row, x, y) with the extents of each pixel's box, row by row in blocks of columns.
template <class Pixel>
OWN_INLINE Position eachBox(const DecimateArgs& args, Pixel pixel) {
    Boxes across(args.at.x, args.xRate, args.limit.width);
    double yEnd = args.at.y;
    Extent columns[kColumns];
    for (int32_t first = 0, count = 0; first < args.size.width; first += count) {
        count = smaller(args.size.width - first, kColumns);
        for (int32_t i = 0; i < count; i++) columns[i] = across.next();
        Boxes down(args.at.y, args.yRate, args.limit.height);
        for (int32_t j = 0; j < args.size.height; j++) {
            const Extent y = down.next();
            for (int32_t i = 0; i < count; i++) pixel(first + i, j, columns[i], y);
        }
        yEnd = down.position();
    }
    return {static_cast<float>(across.position()), static_cast<float>(yEnd)};
}

template <class T>
OWN_INLINE Position averageValues(const DecimateArgs& args) {
    Size any = kUnlimited;
    const auto src = roiLane<const T>(*args.src, coiOffset(*args.src), any);
    const auto dst = roiLane<T>(*args.dst, coiOffset(*args.dst), any);
    const bool planes = args.src->dataOrder == TOV_DATA_ORDER_PLANE;
    const double norm = normOf(args);
    const auto pixel = [&](int32_t column, int32_t row, const Extent& x, const Extent& y) {
        for (int32_t c = 0; c < args.nChannels; c++) {
            const int32_t plane = planes ? c : 0;
            const ptrdiff_t value = planes ? 0 : c;
            const auto rowAt = [&](int32_t at) { return ValueRow<T>{src.row(plane, at) + value, src.pixelStep}; };
            dst.row(plane, row)[column * dst.pixelStep + value] = static_cast<T>(average(rowAt, x, y, norm));
        }
    };
    return eachBox(args, pixel);
}

} // namespace

Position ownDecimateArea_8u(const DecimateArgs& args) {
    Position reached{};
    return ownDecimateEven_8u(args, reached) ? reached : averageValues<uint8_t>(args);
}
Position ownDecimateArea_16u(const DecimateArgs& args) { return averageValues<uint16_t>(args); }

Position ownDecimateArea_1u(const DecimateArgs& args) {
    Size any = kUnlimited;
    const auto src = roiBits<const uint8_t>(*args.src, any);
    const auto dst = roiBits<uint8_t>(*args.dst, any);
    const double norm = normOf(args);
    const auto rowAt = [&](int32_t at) { return BitRow{src.first + at * src.rowStep, src.bitOffset}; };
    return eachBox(args, [&](int32_t column, int32_t row, const Extent& x, const Extent& y) {
        const auto bit = static_cast<uint64_t>(average(rowAt, x, y, norm));
        putBits(dst.first + row * dst.rowStep, ptrdiff_t{dst.bitOffset} + column, 1, bit << 63);
    });
}

} // namespace tov
