// Erosion in one pass: each source row is read once for each channel, and each output row costs the same whatever the
// square's size.
#include "morph/filter.h"

#include <cstring>

#include "core/image.h"
#include "core/lifecycle.h"
#include "core/memory.h"
#include "morph/kernels.h"
#include "morph/rows.h"

namespace tov {

namespace {

// The minima of the last `side` rows by two runs through blocks of `side` rows. The rows that end a block are minima
// from each row to the block's end, made backwards once the block is full; a running minimum grows from the beginning
// of the next block. A window is the end of one block and the beginning of the next one, and costs three minima of
// rows.
class RowRing {
public:
    RowRing(const MorphKernels& kernels, int32_t width, int32_t nIterations, uint32_t depth)
        : kernels_(kernels), width_(width), side_(int64_t{2} * nIterations + 1) {
        const int64_t valuesInRow = width + side_ - 1;
        const int64_t bits = depthBits(depth);
        const int64_t distance = alignUp((valuesInRow * bits + 7) / 8 + kBeyondRow, kAlign);
        const int64_t nRows = side_ + kOwnRows;
        const auto most = static_cast<int64_t>(SIZE_MAX / 4);
        if (valuesInRow > INT32_MAX || nRows > most / distance) return;
        rowBytes_ = static_cast<ptrdiff_t>(distance);
        valueBytes_ = static_cast<size_t>((width * bits + 7) / 8);
        block_ = AlignedBlock<uint8_t>(static_cast<size_t>(nRows * distance));
    }

    explicit operator bool() const { return static_cast<bool>(block_); }

    // The buffer of width + side - 1 values that the next source row is read into.
    uint8_t* line() const { return ownRow(0); }
    int32_t lineLength() const { return static_cast<int32_t>(width_ + side_ - 1); }
    // A buffer that is free while no row is being read.
    uint8_t* spare() const { return ownRow(1); }

    void restart() {
        at_ = 0;
        hasBlock_ = false;
    }

    // Takes in the line. The minima of the squares whose last row it is, or null as long as rows are missing.
    const uint8_t* take() {
        uint8_t* row = ringRow(at_);
        kernels_.across(line(), spare(), side_, row, width_);
        const bool last = at_ + 1 == side_;
        const uint8_t* minima = nullptr;
        if (at_ == 0) std::memcpy(running(), row, valueBytes_);
        if (last || !hasBlock_) {
            kernels_.lower(running(), row, width_);
            if (last) minima = running();
        } else {
            kernels_.lowerBoth(running(), row, ringRow(at_ + 1), results(), width_);
            minima = results();
        }
        at_ = last ? 0 : at_ + 1;
        if (last) turnBlock();
        return minima;
    }

private:
    static constexpr int32_t kAlign = 32;
    static constexpr int32_t kOwnRows = 4;

    uint8_t* ringRow(int64_t i) const { return block_.get() + static_cast<ptrdiff_t>(i) * rowBytes_; }
    uint8_t* ownRow(int32_t i) const { return ringRow(side_ + i); }
    uint8_t* running() const { return ownRow(2); }
    uint8_t* results() const { return ownRow(3); }

    void turnBlock() {
        hasBlock_ = true;
        for (int64_t i = side_ - 2; i > 0; i--) kernels_.lower(ringRow(i), ringRow(i + 1), width_);
    }

    const MorphKernels& kernels_;
    int32_t width_;
    int64_t side_;
    ptrdiff_t rowBytes_ = 0;
    size_t valueBytes_ = 0;
    AlignedBlock<uint8_t> block_;
    int64_t at_ = 0;
    bool hasBlock_ = false;
};

// Reads a row of the ring. Beyond the rim of one pixel around the region nothing is seen: rows are those of the rim
// there, and values those of its columns.
bool ownMorphReadRow(const MorphChannel& from, int64_t x, int64_t y, uint8_t* rowBuffer, int32_t count) {
    const TovROI& roi = *from.image->roi;
    const uint32_t depth = from.image->depth;
    const int64_t top = int64_t{roi.yOffset} - 1;
    const int64_t bottom = int64_t{roi.yOffset} + roi.height;
    const int64_t row = y < top ? top : y > bottom ? bottom : y;
    if (!ownRowBordered(from, x, static_cast<int32_t>(row), rowBuffer, count)) return false;
    const auto beyond = static_cast<int32_t>(roi.xOffset - 1 - x);
    if (beyond == 0) return true;
    const int32_t right = count - 1 - beyond;
    ownRowFill(depth, ownPixelGet(depth, rowBuffer, beyond), rowBuffer, 0, beyond);
    ownRowFill(depth, ownPixelGet(depth, rowBuffer, right), rowBuffer, right + 1, beyond);
    return true;
}

bool noTile(const MorphCall& call, const char* context) {
    call.report(TOV_STS_TILE_FAILURE, context);
    return false;
}

// Writes row y of the results. Under a mask a row in tiles is read, merged and written as a whole.
bool putRow(const MorphCall& call, const MorphChannel& dst, const MorphKernels& kernels, const uint8_t* minima,
            int32_t y, uint8_t* merged) {
    const Point at = {call.dst->roi->xOffset, call.dst->roi->yOffset + y};
    const int32_t width = call.dst->roi->width;
    if (call.mask.first != nullptr) {
        const MaskLane mask = {call.mask.first + y * call.mask.rowStep, 0, call.mask.bitOffset};
        if (call.dst->tileInfo == nullptr) {
            kernels.select(plainRow(dst, at), minima, mask, width);
            return true;
        }
        if (!ownRowBordered(dst, at.x, at.y, merged, width)) return noTile(call, "Error get tile to read");
        kernels.select({merged, 0, 1}, minima, mask, width);
        minima = merged;
    }
    return ownMorphWriteRow(minima, width, dst, at) || noTile(call, "Error get tile to write");
}

bool erodeChannel(const MorphCall& call, RowRing& ring, const MorphKernels& kernels, const MorphChannel& src,
                  const MorphChannel& dst) {
    const TovROI& roi = *call.src->roi;
    const int64_t n = call.nIterations;
    ring.restart();
    for (int64_t y = -n; y < roi.height + n; y++) {
        if (!ownMorphReadRow(src, roi.xOffset - n, roi.yOffset + y, ring.line(), ring.lineLength())) {
            return noTile(call, "Error get tile to read");
        }
        const uint8_t* minima = ring.take();
        if (minima == nullptr) continue;
        if (!putRow(call, dst, kernels, minima, static_cast<int32_t>(y - n), ring.spare())) return false;
    }
    return true;
}

} // namespace

void ownMorphFilter(const MorphCall& call) {
    const MorphKernels& kernels = morphKernels(call.src->depth);
    RowRing ring(kernels, call.src->roi->width, call.nIterations, call.src->depth);
    if (!ring) {
        tovSetErrStatus(TOV_STS_NO_MEMORY);
        return;
    }
    const Channels from = channelsOf(*call.src);
    const Channels to = channelsOf(*call.dst);
    for (int32_t i = 0; i < from.count; i++) {
        if (!erodeChannel(call, ring, kernels, {call.src, from.offset + i}, {call.dst, to.offset + i})) return;
    }
}

} // namespace tov
