// The rows that the blur's kernels read: a rectangle of the source, extended by its borders.
#pragma once

#include "core/geometry.h"
#include "core/lifecycle.h"
#include "core/memory.h"
#include "core/tiles.h"
#include "tov.h"

namespace tov {

// Either a private copy of the whole rectangle, or a ring of rows that are fetched as a kernel asks for them.
class BlurSource {
public:
    // False when memory or a tile can't be had.
    bool copy(TovImage& image, Point from, Size size);
    // Of a plain image whose pixels don't change meanwhile, for windows of nRows rows.
    bool stream(const TovImage& image, Point from, Size size, int32_t nRows);

    // The source's form and, in its region, its channel of interest.
    const TovImage& image() const { return view_.header; }

    // Row y of the rectangle, in plane order of a zero-based plane. Rows of a plane are asked for from the first one
    // on; after row y those from y - nRows - kAhead on are still there.
    const uint8_t* row(int32_t plane, ptrdiff_t y);
    static constexpr int32_t kAhead = 7;
    // So many rows behind the last one may be fetched.
    static constexpr int32_t kBeyond = 8;

private:
    static constexpr int32_t kFetched = 8; // rows at a time

    void fetch();

    ImageView view_;
    BorderedCopy copy_;
    AlignedBlock<uint8_t> ring_;
    ptrdiff_t nRing_ = 0;
    ptrdiff_t rowBytes_ = 0;
    Point from_{};
    int32_t width_ = 0;
    int32_t plane_ = 0;
    ptrdiff_t next_ = 0; // the first row that has not been fetched
};

} // namespace tov
