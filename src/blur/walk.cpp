// The blur's walks: plain, into tiles, from tiles, and in place over tiles.
#include "blur/walk.h"

#include "blur/kernels.h"
#include "core/image.h"
#include "core/memory.h"
#include "core/ownrect.h"
#include "core/tiles.h"

namespace tov {

namespace {

bool noMemory(const BlurCall& call) {
    call.report(TOV_STS_NO_MEMORY, "Allocation failure");
    return false;
}

// Whether constants beyond the edges are rounded where they become samples. Kernels that round toward zero must not be
// what fetches those: they are rounded as the caller rounds.
bool roundsBorders(const TovImage& image) {
    constexpr int32_t exact = 1 << 24;
    bool rounds = false;
    for (const int32_t value : image.borderConst) rounds = rounds || value > exact || value < -exact;
    return image.depth == TOV_DEPTH_32F && rounds;
}

// Blurs a block into dst, whose region is the block. False when something can't be had, which has been reported.
bool blurBlock(const BlurCall& call, const TilePart& block, TovImage* dst) {
    BlurSource work;
    ImageView mask;
    BorderedCopy maskBits;
    const Point at = {call.from.x + block.offset.x - call.anchorX, call.from.y + block.offset.y - call.anchorY};
    const int64_t width = int64_t{block.size.width} + call.nCols;
    const int64_t height = int64_t{block.size.height} + call.nRows;
    if (width > INT32_MAX || height > INT32_MAX) return noMemory(call);
    const Size size = {static_cast<int32_t>(width), static_cast<int32_t>(height)};
    const bool stream = isApart(*call.src, *dst) && int64_t{at.y} + size.height < INT32_MAX - BlurSource::kBeyond &&
                        !roundsBorders(*call.src);
    if (stream ? !work.stream(*call.src, at, size, call.nRows) : !work.copy(*call.src, at, size)) return noMemory(call);
    const TovImage* bits = call.mask;
    const bool whole = block.size.width == call.size.width && block.size.height == call.size.height;
    if (bits != nullptr && !whole) {
        if (!maskBits.fetch(mask, *call.mask, block.offset, block.size)) return noMemory(call);
        bits = &mask.header;
    }
    const BlurArgs args = {&work, dst, bits, block.size, call.nCols, call.nRows, call.inverse};
    return ownBlurRows(args) || noMemory(call);
}

// Calls visit(block) for the parts of the rectangle in each tile of an image, tile columns outside, rows inside, until
// it says false. `at` is where the image's region begins, and the rectangle with it.
template <class Visit>
bool eachBlock(const TovImage& image, Point at, Size size, Visit visit) {
    const TileSpan span = ownTileSpan(image, size);
    for (int32_t c = 0; c < span.nCols; c++) {
        for (int32_t r = 0; r < span.nRows; r++) {
            if (!visit(tilePart(*image.tileInfo, at, size, span.firstCol + c, span.firstRow + r))) return false;
        }
    }
    return true;
}

uint8_t* getTile(const BlurCall& call, HeldTile& tile, int32_t col, int32_t row, const char* context) {
    uint8_t* data = tile.get(col, row);
    if (data == nullptr) call.report(TOV_STS_TILE_FAILURE, context);
    return data;
}

constexpr const char* kNoRead = "Error get tile to read";
constexpr const char* kNoWrite = "Error get tile to write";

// The tiles of an image that is blurred in place: results wait in a ring of copies until the walk is a tile column and
// two tiles on.
class Ring {
public:
    Ring(const BlurCall& call, int32_t count) : call_(call), count_(count), entries_(static_cast<size_t>(count)) {
        const TovTileInfo& tiles = *call.dst->tileInfo;
        const int64_t rows =
            int64_t{tiles.height} * (call.dst->dataOrder == TOV_DATA_ORDER_PLANE ? call.dst->nChannels : 1);
        const int64_t rowBytes = ownTileRowBytes(call.dst);
        if (!entries_) return;
        for (int32_t i = 0; i < count; i++) entryAt(i) = {nullptr, 0, 0, false};
        if (rows > PTRDIFF_MAX / (rowBytes + 1)) return;
        for (int32_t i = 0; i < count; i++) {
            entryAt(i).data = static_cast<uint8_t*>(ownAlignedAlloc(static_cast<size_t>(rows * rowBytes)));
            if (entryAt(i).data == nullptr) return;
        }
        complete_ = true;
    }
    Ring(const Ring&) = delete;
    Ring& operator=(const Ring&) = delete;
    ~Ring() {
        for (int32_t i = 0; entries_ && i < count_; i++) ownAlignedFree(entryAt(i).data);
    }

    bool complete() const { return complete_; }

    // Blurs a block into the next place of the ring, whose result is written back first.
    bool blur(const TilePart& block) {
        Entry& entry = entryAt(slot_);
        if (entry.used && !writeBack(entry)) return false;
        if (!fetch(entry, block)) return false;
        ImageView dst;
        viewTile(dst, *call_.dst, entry.data, block.inTile, block.size);
        dst.header.alphaChannel = 0;
        if (!blurBlock(call_, block, &dst.header)) return false;
        entry = {entry.data, block.col, block.row, true};
        slot_ = slot_ + 1 == count_ ? 0 : slot_ + 1;
        return true;
    }

    bool writeAll() {
        for (int32_t i = 0; i < count_; i++) {
            if (entryAt(i).used && !writeBack(entryAt(i))) return false;
        }
        return true;
    }

private:
    struct Entry {
        uint8_t* data;
        int32_t col;
        int32_t row;
        bool used;
    };

    Entry& entryAt(int32_t i) const { return entries_[static_cast<size_t>(i)]; }

    // A whole tile with all of its channels.
    void viewWhole(ImageView& view, uint8_t* data) const {
        const TovTileInfo& tiles = *call_.dst->tileInfo;
        viewTile(view, *call_.dst, data, {0, 0}, {tiles.width, tiles.height});
        view.header.alphaChannel = 0;
        view.roi.coi = 0;
    }
    void copyTile(uint8_t* from, uint8_t* to) const {
        ImageView source;
        ImageView target;
        viewWhole(source, from);
        viewWhole(target, to);
        tovCopy(&source.header, &target.header);
    }

    bool fetch(Entry& entry, const TilePart& block) const {
        HeldTile tile(call_.dst, TOV_TILE_READ);
        uint8_t* data = getTile(call_, tile, block.col, block.row, kNoRead);
        if (data == nullptr) return false;
        copyTile(data, entry.data);
        return true;
    }
    bool writeBack(Entry& entry) const {
        HeldTile tile(call_.dst, TOV_TILE_WRITE);
        uint8_t* data = getTile(call_, tile, entry.col, entry.row, kNoWrite);
        if (data == nullptr) return false;
        copyTile(entry.data, data);
        entry.used = false;
        return true;
    }

    const BlurCall& call_;
    int32_t count_;
    AlignedBlock<Entry> entries_;
    bool complete_ = false;
    int32_t slot_ = 0;
};

} // namespace

void blurPlain(const BlurCall& call) {
    const TilePart whole = {0, 0, {0, 0}, {0, 0}, call.size};
    ImageView dst(*call.dst);
    blurBlock(call, whole, &dst.header);
}

void blurToTiles(const BlurCall& call) {
    eachBlock(*call.dst, call.to, call.size, [&](const TilePart& block) {
        HeldTile tile(call.dst, TOV_TILE_WRITE);
        uint8_t* data = getTile(call, tile, block.col, block.row, kNoWrite);
        if (data == nullptr) return false;
        ImageView dst;
        viewTile(dst, *call.dst, data, block.inTile, block.size);
        dst.header.alphaChannel = 0;
        return blurBlock(call, block, &dst.header);
    });
}

void blurInPlaceTiles(const BlurCall& call) {
    Ring ring(call, ownTileSpan(*call.dst, call.size).nRows + 2);
    if (!ring.complete()) {
        noMemory(call);
        return;
    }
    const auto blur = [&](const TilePart& block) { return ring.blur(block); };
    if (eachBlock(*call.dst, call.to, call.size, blur)) ring.writeAll();
}

void blurFromTiles(const BlurCall& call) {
    eachBlock(*call.src, call.from, call.size, [&](const TilePart& block) {
        ImageView dst(*call.dst);
        dst.place(call.to.x + block.offset.x, call.to.y + block.offset.y, block.size);
        return blurBlock(call, block, &dst.header);
    });
}

} // namespace tov
