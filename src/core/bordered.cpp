// Rectangles that reach beyond an image, extended there by its border settings.
#include <cstring>

#include "core/image.h"
#include "core/tiles.h"
#include "kernel/bitrows.h"

namespace tov {

namespace {

int32_t borderMode(const TovImage& image, int32_t side) { return image.borderMode[side] & 3; }

// The side's constant as a 32-bit word that repeats through memory.
uint32_t borderPattern(const TovImage& image, int32_t side) {
    const int32_t value = image.borderConst[side];
    if (image.depth != TOV_DEPTH_32F) return fillPattern(value, image.depth);
    const auto number = static_cast<float>(value);
    uint32_t pattern = 0;
    std::memcpy(&pattern, &number, sizeof pattern);
    return pattern;
}

// A stretch of an axis that one gather can fill: `count` places of the buffer from `target` on, which take the source
// coordinates from `first` to `last`, in either direction, or all of them `first`.
struct Piece {
    enum Kind { Gathered, Repeated, Constant };
    Kind kind;
    int32_t target;
    int32_t count;
    int32_t first;
    int32_t last;
};

// Cuts one axis of the rectangle, `length` coordinates from `from` on, into pieces for an image of `extent`
// coordinates.
class AxisPieces {
public:
    AxisPieces(int32_t from, int32_t length, int32_t extent)
        : at_(from), end_(int64_t{from} + length), extent_(extent) {}

    bool atEnd() const { return at_ >= end_; }
    bool before() const { return at_ < 0; }
    bool inside() const { return at_ >= 0 && at_ < extent_; }

    Piece next(int32_t mode) {
        const Piece piece = at_ < 0 ? before(mode) : at_ < extent_ ? within() : behind(mode);
        at_ += piece.count;
        target_ += piece.count;
        return piece;
    }

private:
    int32_t cut(int64_t count) const { return static_cast<int32_t>(count < end_ - at_ ? count : end_ - at_); }
    Piece upwards(int64_t first, int64_t count) const { return gathered(first, cut(count), 1); }
    Piece downwards(int64_t first, int64_t count) const { return gathered(first, cut(count), -1); }
    Piece gathered(int64_t first, int32_t count, int32_t step) const {
        const auto from = static_cast<int32_t>(first);
        return {Piece::Gathered, target_, count, from, from + (count - 1) * step};
    }

    Piece within() const { return upwards(at_, extent_ - at_); }

    Piece before(int32_t mode) const {
        const int64_t r = (-at_ - 1) % extent_;
        const bool even = (-at_ - 1) / extent_ % 2 == 0;
        switch (mode) {
        case TOV_BORDER_CONSTANT: return {Piece::Constant, target_, cut(-at_), 0, 0};
        case TOV_BORDER_REPLICATE: return {Piece::Repeated, target_, cut(-at_), 0, 0};
        case TOV_BORDER_REFLECT: return even ? downwards(r, r + 1) : upwards(extent_ - 1 - r, r + 1);
        default: return upwards(extent_ - 1 - r, r + 1);
        }
    }

    Piece behind(int32_t mode) const {
        const int64_t r = (at_ - extent_) % extent_;
        const bool even = (at_ - extent_) / extent_ % 2 == 0;
        const auto edge = static_cast<int32_t>(extent_ - 1);
        switch (mode) {
        case TOV_BORDER_CONSTANT: return {Piece::Constant, target_, cut(end_ - at_), 0, 0};
        case TOV_BORDER_REPLICATE: return {Piece::Repeated, target_, cut(end_ - at_), edge, edge};
        case TOV_BORDER_REFLECT: return even ? downwards(extent_ - 1 - r, extent_ - r) : upwards(r, extent_ - r);
        default: return upwards(r, extent_ - r);
        }
    }

    int64_t at_;
    int64_t end_;
    int64_t extent_;
    int32_t target_ = 0;
};

// The buffer while it is being filled.
class BorderedFill {
public:
    BorderedFill(TovImage& image, const BlockPlace& place, const OwnRect& rect, int32_t pixelBytes, int32_t nPlanes)
        : image_(image), place_(place), rect_(rect), pixelBytes_(pixelBytes), nPlanes_(nPlanes) {}

    // False when pixels could not be had.
    bool run() {
        for (AxisPieces rows(rect_.y, rect_.height, image_.height); !rows.atEnd();) {
            const bool outside = !rows.inside();
            const int32_t side = rows.before() ? TOV_SIDE_TOP : TOV_SIDE_BOTTOM;
            const Piece piece = rows.next(borderMode(image_, side));
            if (piece.kind == Piece::Constant) {
                fillRows(piece, borderPattern(image_, side));
            } else if (!(outside ? fillColumns(piece, side, side)
                                 : fillColumns(piece, TOV_SIDE_LEFT, TOV_SIDE_RIGHT))) {
                return false;
            }
        }
        return true;
    }

private:
    uint8_t* row(int32_t plane, int32_t y) const { return place_.data + plane * place_.planeStep + y * place_.rowStep; }

    // Whole rows, their ends included.
    void fillRows(const Piece& rows, uint32_t pattern) {
        for (int32_t plane = 0; plane < nPlanes_; plane++) {
            for (int32_t i = 0; i < rows.count; i++) {
                uint8_t* p = row(plane, rows.target + i);
                for (ptrdiff_t b = 0; b < place_.rowStep; b += 4) std::memcpy(p + b, &pattern, sizeof pattern);
            }
        }
    }

    // All columns of a stretch of rows; the sides are those whose settings hold left and right of the image.
    bool fillColumns(const Piece& rows, int32_t left, int32_t right) {
        const int32_t nRows = rows.kind == Piece::Repeated ? 1 : rows.count;
        for (AxisPieces cols(rect_.x, rect_.width, image_.width); !cols.atEnd();) {
            const int32_t side = cols.before() ? left : right;
            const Piece piece = cols.next(borderMode(image_, side));
            if (piece.kind == Piece::Constant) {
                fillPixels(rows.target, nRows, piece, borderPattern(image_, side));
                continue;
            }
            const Corners from = {piece.first, rows.first, piece.last, rows.last};
            if (ownGatherRect(&image_, from, place_, {piece.target, rows.target}, pixelBytes_, nPlanes_) != 0) {
                return false;
            }
            if (piece.kind == Piece::Repeated) repeatPixel(rows.target, nRows, piece);
        }
        for (int32_t plane = 0; plane < nPlanes_; plane++) {
            for (int32_t i = nRows; i < rows.count; i++) {
                std::memcpy(row(plane, rows.target + i), row(plane, rows.target), static_cast<size_t>(place_.rowStep));
            }
        }
        return true;
    }

    void fillPixels(int32_t firstRow, int32_t nRows, const Piece& cols, uint32_t pattern) {
        const int32_t valueBytes = depthBits(image_.depth) >> 3;
        for (int32_t plane = 0; plane < nPlanes_; plane++) {
            for (int32_t i = 0; i < nRows; i++) {
                uint8_t* p = row(plane, firstRow + i);
                if (pixelBytes_ == 0) {
                    setBits(p, cols.target, cols.count, (pattern & 1) != 0);
                    continue;
                }
                p += ptrdiff_t{cols.target} * pixelBytes_;
                for (ptrdiff_t left = ptrdiff_t{cols.count} * pixelBytes_; left > 0; left -= valueBytes) {
                    std::memcpy(p, &pattern, static_cast<size_t>(valueBytes));
                    p += valueBytes;
                }
            }
        }
    }

    // Spreads the first pixel of a piece over the rest of it.
    void repeatPixel(int32_t firstRow, int32_t nRows, const Piece& cols) {
        const auto bytes = static_cast<size_t>(pixelBytes_);
        for (int32_t plane = 0; plane < nPlanes_; plane++) {
            for (int32_t i = 0; i < nRows; i++) {
                uint8_t* p = row(plane, firstRow + i);
                if (pixelBytes_ == 0) {
                    setBits(p, cols.target, cols.count, bitsAt(p, cols.target, 1) != 0);
                    continue;
                }
                p += cols.target * static_cast<ptrdiff_t>(bytes);
                for (int32_t x = 1; x < cols.count; x++) std::memcpy(p + static_cast<size_t>(x) * bytes, p, bytes);
            }
        }
    }

    static void setBits(uint8_t* p, int32_t bit, int32_t count, bool set) {
        if (!set) return;
        bitRow([](uint64_t) OWN_INLINE_LAMBDA { return ~uint64_t{0}; }, count, p + (bit >> 3), bit & 7);
    }

    TovImage& image_;
    BlockPlace place_;
    OwnRect rect_;
    int32_t pixelBytes_;
    int32_t nPlanes_;
};

// Whether the fields that tell the layout of rows have values that they may have.
bool isLaidOut(const TovImage& image) {
    return depthIndex(image.depth) >= 0 && isDataOrder(image.dataOrder) && isAlign(image.align);
}

} // namespace

bool ownBorderedFill(TovImage* image, const OwnRect& rect, const BlockPlace& place) {
    const bool planes = image->dataOrder == TOV_DATA_ORDER_PLANE;
    const int32_t nPlanes = planes ? image->nChannels : 1;
    const int32_t pixelBytes = (depthBits(image->depth) >> 3) * (planes ? 1 : image->nChannels);
    // Bits are gathered by setting them.
    if (pixelBytes == 0) std::memset(place.data, 0, static_cast<size_t>(place.rowStep * rect.height * nPlanes));
    return BorderedFill(*image, place, rect, pixelBytes, nPlanes).run();
}

uint8_t* ownBorderedBuffer(TovImage* image, int32_t x, int32_t y, int32_t width, int32_t height, int32_t* step) {
    if (image == nullptr || width < 0 || height < 0 || !isLaidOut(*image)) return nullptr;
    const bool planes = image->dataOrder == TOV_DATA_ORDER_PLANE;
    const int32_t nPlanes = planes ? image->nChannels : 1;
    const int64_t pixelBytes = (depthBits(image->depth) >> 3) * int64_t{planes ? 1 : image->nChannels};
    const int64_t rowBytes = ownRowBytes(image->dataOrder, image->depth, image->align, image->nChannels, width);
    if (pixelBytes > INT32_MAX || rowBytes > INT32_MAX) return nullptr;
    if (int64_t{height} * nPlanes > PTRDIFF_MAX / (rowBytes + 1)) return nullptr;
    const auto size = static_cast<size_t>(rowBytes * height * nPlanes);
    AlignedBlock<uint8_t> block(size);
    if (!block) return nullptr;
    *step = static_cast<int32_t>(rowBytes);
    const BlockPlace place = {block.get(), static_cast<ptrdiff_t>(rowBytes), static_cast<ptrdiff_t>(rowBytes * height)};
    return ownBorderedFill(image, {x, 0, y, 0, height, width}, place) ? block.release() : nullptr;
}

void ownFreeBuffer(uint8_t* buffer) { ownAlignedFree(buffer); }

} // namespace tov
