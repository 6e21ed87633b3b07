// The plan of a convolution: what is chosen once per call from its kernels and its depth.
#pragma once

#include "conv/kernels.h"
#include "tov.h"

namespace tov {

constexpr int32_t kConvMostKernels = 10;

// How far neighbourhoods reach: a pixel at (x, y) needs the columns from x - leftMargin to x + rightExtent - 1 and the
// rows from y - topMargin to y + bottomExtent - 1.
struct ConvMargins {
    int32_t leftMargin = 0;
    int32_t topMargin = 0;
    int32_t rightExtent = 0;
    int32_t bottomExtent = 0;

    // The columns and rows that neighbourhoods have beyond those of the pixels themselves.
    int64_t columns() const { return int64_t{leftMargin} + rightExtent - 1; }
    int64_t rows() const { return int64_t{topMargin} + bottomExtent - 1; }
};
ConvMargins ownConvMargins(TovConvKernel* const* kernel, int32_t nKernels);

// One kernel of a call.
struct OwnConvStage {
    const TovConvKernel* kernel = nullptr;
    double reach = 0; // the largest magnitude that a sum can have
    ConvTaps taps;
    ConvSumRow sumRow = nullptr;
    ConvShiftRow shiftRow = nullptr;     // null without a shift
    ConvCombineRow combineRow = nullptr; // of the sums with those of the kernels before; null: they stand as they are
};

struct OwnConvPlan {
    uint32_t depth = 0;
    int32_t nKernels = 0;
    int32_t combineMethod = 0;
    ConvMargins margins;
    OwnConvStage stages[kConvMostKernels];

    ConvArithmetic band = kConvRounded; // what samples are kept as
    ConvReadRow readRow = nullptr;
    ConvCombineRow finishRow = nullptr; // applied to the combined row, or null
    ConvWriteRow writeRow = nullptr;
    ConvStoreRow storeRow = nullptr;
    ptrdiff_t valueBytes = 0; // of a result as it is written
};

// Fills a plan for images of a depth. False when memory runs out.
bool ownConvPrepare(OwnConvPlan& plan, TovConvKernel* const* kernel, int32_t nKernels, int32_t combineMethod,
                    uint32_t depth);

// Orders the taps for rows of pixels of `pixelStep` samples, which take part in how sums round.
void ownConvSelectStages(OwnConvPlan& plan, int32_t pixelStep);

// One row of `count` results. `position` is the sample of the row's first pixel, in rows that are rowStep bytes apart.
void ownConvRow(const OwnConvPlan& plan, const ConvPlace& place, uint8_t* out, ptrdiff_t count);

} // namespace tov
