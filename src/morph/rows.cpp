// Rows of one channel: the border settings that they reach into, and the tiles that they cross.
#include "morph/rows.h"

#include <cstring>

#include "core/image.h"
#include "core/lifecycle.h"
#include "core/tiles.h"
#include "kernel/bitrows.h"

namespace tov {

namespace {

// Where a pixel lies beside its image; inside it the code is 0.
enum { kAbove = 1, kBelow = 2, kLeftOf = 4, kRightOf = 8 };

int32_t ownBorderCode(const TovImage& image, int64_t x, int32_t y) {
    const int32_t vertical = y < 0 ? kAbove : y >= image.height ? kBelow : 0;
    const int32_t horizontal = x < 0 ? kLeftOf : x >= image.width ? kRightOf : 0;
    return vertical | horizontal;
}

// Corners go by the rows above and below.
int32_t ownBorderSide(int32_t code) {
    if ((code & kAbove) != 0) return TOV_SIDE_TOP;
    if ((code & kBelow) != 0) return TOV_SIDE_BOTTOM;
    return (code & kLeftOf) != 0 ? TOV_SIDE_LEFT : TOV_SIDE_RIGHT;
}

constexpr int32_t kInside = 4; // beside the border modes: no map applies

int32_t ownBorderModeOf(const TovImage& image, int32_t code) {
    return code == 0 ? kInside : image.borderMode[ownBorderSide(code)] & 3;
}

// A coordinate folded back into an axis, and whether the axis runs backwards there.
struct Mapped {
    int32_t at;
    bool backward;
};
Mapped ownBorderMapReplicate(int64_t c, int32_t length) {
    return {static_cast<int32_t>(c < 0 ? 0 : c >= length ? length - 1 : c), false};
}
Mapped ownBorderMapWrap(int64_t c, int32_t length) {
    const auto rest = static_cast<int32_t>(c % length);
    return {rest < 0 ? rest + length : rest, false};
}
Mapped ownBorderMapReflect(int64_t c, int32_t length) {
    const int32_t at = ownBorderMapWrap(c, length).at;
    const bool backward = (c - at) / length % 2 != 0;
    return {backward ? length - 1 - at : at, backward};
}
Mapped mapped(int32_t mode, int64_t c, int32_t length) {
    switch (mode) {
    case TOV_BORDER_REPLICATE: return ownBorderMapReplicate(c, length);
    case TOV_BORDER_REFLECT: return ownBorderMapReflect(c, length);
    case TOV_BORDER_WRAP: return ownBorderMapWrap(c, length);
    default: return {static_cast<int32_t>(c), false};
    }
}

template <class T>
void copyValues(ptrdiff_t count, const RowValues& to, const RowValues& from) {
    T* d = reinterpret_cast<T*>(to.row) + to.first;
    const T* s = reinterpret_cast<const T*>(from.row) + from.first;
    if (to.step == 1 && from.step == 1) {
        std::memcpy(d, s, static_cast<size_t>(count) * sizeof(T));
    } else {
        for (ptrdiff_t i = 0; i < count; i++) d[i * to.step] = s[i * from.step];
    }
}

void copyBitRun(int32_t count, const RowValues& to, const RowValues& from) {
    const auto same = [](uint64_t, uint64_t bits) OWN_INLINE_LAMBDA { return bits; };
    if (from.step == 1) {
        bitRow(same, count, to.row + (to.first >> 3), static_cast<int32_t>(to.first & 7),
               BitPlace{from.row, from.first});
        return;
    }
    for (ptrdiff_t i = 0; i < count; i++) putBits(to.row, to.first + i, 1, bitsAt(from.row, from.first - i, 1));
}

void ownRowCopy(uint32_t depth, int32_t count, const RowValues& to, const RowValues& from) {
    switch (depth) {
    case TOV_DEPTH_1U: return copyBitRun(count, to, from);
    case TOV_DEPTH_8U: return copyValues<uint8_t>(count, to, from);
    default: return copyValues<uint16_t>(count, to, from);
    }
}

// The values of a channel from a pixel on in a plain image or a tile, whose planes have nRows rows.
RowValues valuesAt(const MorphChannel& channel, uint8_t* data, ptrdiff_t rowBytes, int32_t nRows, Point at,
                   bool forward) {
    const TovImage& image = *channel.image;
    const bool planes = image.dataOrder == TOV_DATA_ORDER_PLANE;
    const ptrdiff_t step = planes ? 1 : image.nChannels;
    const ptrdiff_t row = at.y + (planes ? ptrdiff_t{channel.index} * nRows : 0);
    return {data + row * rowBytes, at.x * step + (planes ? 0 : channel.index), forward ? step : -step};
}

// Calls use(values, done, n) for the n next values of a row after the first `done`: for all of them in a plain image,
// else for those of each tile in turn, which is held meanwhile. False when a tile can't be had.
template <class Use>
bool eachStretch(const MorphChannel& channel, int32_t mode, Point at, int32_t count, bool forward, Use use) {
    TovImage& image = *channel.image;
    if (image.tileInfo == nullptr) {
        use(valuesAt(channel, image.imageData, image.widthStep, image.height, at, forward), 0, count);
        return true;
    }
    const Size size = {image.tileInfo->width, image.tileInfo->height};
    const int64_t rowBytes = ownRowBytes(image.dataOrder, image.depth, image.align, image.nChannels, size.width);
    HeldTile tile(&image, mode);
    for (int32_t done = 0, n = 0; done < count; done += n) {
        const int32_t x = forward ? at.x + done : at.x - done;
        const Point inTile = {x % size.width, at.y % size.height};
        n = smaller(count - done, forward ? size.width - inTile.x : inTile.x + 1);
        uint8_t* data = tile.get(x / size.width, at.y / size.height);
        if (data == nullptr) return false;
        use(valuesAt(channel, data, static_cast<ptrdiff_t>(rowBytes), size.height, inTile, forward), done, n);
        tile.release();
    }
    return true;
}

bool ownRowCopyTiled(const MorphChannel& from, Point at, uint8_t* rowBuffer, int32_t pos, int32_t count, bool forward) {
    return eachStretch(from, TOV_TILE_READ, at, count, forward, [&](const RowValues& values, int32_t done, int32_t n) {
        ownRowCopy(from.image->depth, n, {rowBuffer, ptrdiff_t{pos} + done, 1}, values);
    });
}

} // namespace

int32_t ownPixelGet(uint32_t depth, const uint8_t* rowBuffer, ptrdiff_t pos) {
    switch (depth) {
    case TOV_DEPTH_1U: return bitsAt(rowBuffer, pos, 1) != 0 ? 1 : 0;
    case TOV_DEPTH_8U: return rowBuffer[pos];
    default: return reinterpret_cast<const uint16_t*>(rowBuffer)[pos];
    }
}

void ownRowFill(uint32_t depth, int32_t value, uint8_t* rowBuffer, ptrdiff_t pos, int32_t count) {
    if (depth == TOV_DEPTH_1U) {
        const uint64_t bits = value != 0 ? ~uint64_t{0} : 0;
        const auto constant = [bits](uint64_t) OWN_INLINE_LAMBDA { return bits; };
        bitRow(constant, count, rowBuffer + (pos >> 3), static_cast<int32_t>(pos & 7));
    } else if (depth == TOV_DEPTH_8U) {
        std::memset(rowBuffer + pos, value, static_cast<size_t>(count));
    } else {
        uint16_t* values = reinterpret_cast<uint16_t*>(rowBuffer) + pos;
        for (int32_t i = 0; i < count; i++) values[i] = static_cast<uint16_t>(value);
    }
}

bool ownRowBordered(const MorphChannel& from, int64_t x, int32_t y, uint8_t* rowBuffer, int32_t count) {
    const TovImage& image = *from.image;
    for (int32_t pos = 0, run = 0; pos < count; pos += run, x += run) {
        const int64_t rest = x % image.width;
        const int64_t whole = rest < 0 ? -rest : image.width - rest;
        run = whole < count - pos ? static_cast<int32_t>(whole) : count - pos;
        const int32_t code = ownBorderCode(image, x, y);
        const int32_t mode = ownBorderModeOf(image, code);
        if (mode == TOV_BORDER_CONSTANT) {
            ownRowFill(image.depth, image.borderConst[ownBorderSide(code)], rowBuffer, pos, run);
            continue;
        }
        const Mapped column = mapped(mode, x, image.width);
        const Point at = {column.at, mapped(mode, y, image.height).at};
        const bool onePixel = mode == TOV_BORDER_REPLICATE && (code & (kLeftOf | kRightOf)) != 0;
        if (!ownRowCopyTiled(from, at, rowBuffer, pos, onePixel ? 1 : run, !column.backward)) return false;
        if (onePixel) ownRowFill(image.depth, ownPixelGet(image.depth, rowBuffer, pos), rowBuffer, pos, run);
    }
    return true;
}

RowValues plainRow(const MorphChannel& channel, Point at) {
    const TovImage& image = *channel.image;
    return valuesAt(channel, image.imageData, image.widthStep, image.height, at, true);
}

bool ownMorphWriteRow(const uint8_t* rowBuffer, int32_t count, const MorphChannel& to, Point at) {
    auto* buffer = const_cast<uint8_t*>(rowBuffer); // a source here
    return eachStretch(to, TOV_TILE_WRITE, at, count, true, [&](const RowValues& values, int32_t done, int32_t n) {
        ownRowCopy(to.image->depth, n, values, {buffer, done, 1});
    });
}

} // namespace tov
