// The choice of a convolution's row functions, and their way over one row.
#include "conv/plan.h"

#include "kernel/kernel.h"

namespace tov {

namespace {

// The samples that a depth has.
struct SampleRange {
    double low;
    double high;
};
constexpr SampleRange kRanges[kDepths - 1] = {{0, 1},          {0, UINT8_MAX},         {INT8_MIN, INT8_MAX},
                                              {0, UINT16_MAX}, {INT16_MIN, INT16_MAX}, {INT32_MIN, INT32_MAX}};

// Below it, whole numbers are exact in single precision.
constexpr double kExactSums = 16777216;
// And up to it their squares.
constexpr double kExactSquares = 4096;

size_t coefficientsOf(const TovConvKernel& kernel) {
    return static_cast<size_t>(kernel.nCols) * static_cast<size_t>(kernel.nRows);
}

// Puts taps into a list, group by group. Taps of 0 add nothing to any sum and are left out.
class TapList {
public:
    TapList(const TovConvKernel& kernel, ConvTaps& list) : kernel_(kernel), list_(list) { list.nGroups = 0; }

    void put(int32_t row, int32_t col) {
        const int32_t value = kernel_.values[ptrdiff_t{row} * kernel_.nCols + col];
        if (value == 0) return;
        list_.taps[nTaps_++] = {row, col, static_cast<float>(value)};
        inGroup_++;
    }
    void close(int32_t low = 0) {
        if (inGroup_ == 0) return;
        list_.groups[static_cast<size_t>(list_.nGroups++)] = {inGroup_, low};
        inGroup_ = 0;
    }
    int32_t inGroup() const { return inGroup_; }

private:
    const TovConvKernel& kernel_;
    ConvTaps& list_;
    size_t nTaps_ = 0;
    int32_t inGroup_ = 0;
};

// One sum over all taps.
void ownConvWhole(const TovConvKernel& kernel, ConvTaps& list) {
    TapList taps(kernel, list);
    for (int32_t j = 0; j < kernel.nRows; j++) {
        for (int32_t i = 0; i < kernel.nCols; i++) taps.put(j, i);
    }
    taps.close();
}

// A sum is stored after each tap. So it is where taps of 1 and -1 are added and taken away rather than multiplied by,
// which gives the same.
void ownConvSkipZero(const TovConvKernel& kernel, ConvTaps& list) {
    TapList taps(kernel, list);
    for (int32_t j = 0; j < kernel.nRows; j++) {
        for (int32_t i = 0; i < kernel.nCols; i++) {
            taps.put(j, i);
            taps.close();
        }
    }
}

// A sum is stored after two taps, one above the other; a last odd row is taken alone.
void ownConvDense(const TovConvKernel& kernel, ConvTaps& list) {
    TapList taps(kernel, list);
    for (int32_t j = 0; j < kernel.nRows; j += 2) {
        for (int32_t i = 0; i < kernel.nCols; i++) {
            taps.put(j, i);
            if (j + 1 < kernel.nRows) taps.put(j + 1, i);
            taps.close();
        }
    }
}

// One sum over as many taps as 16 bits have room for, whatever the samples are.
void group16(const TovConvKernel& kernel, const SampleRange& range, ConvTaps& list) {
    TapList taps(kernel, list);
    int32_t low = 0;
    int32_t high = 0;
    for (int32_t j = 0; j < kernel.nRows; j++) {
        for (int32_t i = 0; i < kernel.nCols; i++) {
            const int32_t weight = kernel.values[ptrdiff_t{j} * kernel.nCols + i];
            const int32_t ofLow = weight * static_cast<int32_t>(range.low);
            const int32_t ofHigh = weight * static_cast<int32_t>(range.high);
            const int32_t least = smaller(ofLow, ofHigh);
            const int32_t most = ofLow + ofHigh - least;
            if (high + most - (low + least) > UINT16_MAX) {
                taps.close(low);
                low = high = 0;
            }
            taps.put(j, i);
            low += least;
            high += most;
        }
    }
    taps.close(low);
}

// Whether 16 bits have room for the products of each tap.
bool fits16(const OwnConvStage& stage, const SampleRange& range) {
    const size_t n = coefficientsOf(*stage.kernel);
    bool fits = stage.reach < kExactSums;
    for (size_t i = 0; i < n; i++) {
        const double weight = stage.kernel->values[i];
        fits = fits && (weight < 0 ? -weight : weight) * (range.high - range.low) <= UINT16_MAX;
    }
    return fits;
}

// How a kernel is summed where sums round, by its size and by how many of its taps are 0 and how many 1 or -1.
void groupRounded(OwnConvStage& stage, int32_t pixelStep) {
    const TovConvKernel& kernel = *stage.kernel;
    const size_t n = coefficientsOf(kernel);
    double zeroCount = 0;
    double unitCount = 0;
    for (size_t i = 0; i < n; i++) {
        zeroCount += kernel.values[i] == 0 ? 1 : 0;
        unitCount += kernel.values[i] == 1 || kernel.values[i] == -1 ? 1 : 0;
    }
    const double one = 1.0 / static_cast<double>(n);
    const double z = zeroCount * one;
    const double u = unitCount * one;
    const auto isSquare = [&kernel](int32_t side) { return kernel.nCols == side && kernel.nRows == side; };
    if (z > 0.66) return ownConvSkipZero(kernel, stage.taps);
    if ((isSquare(3) || isSquare(5)) && (pixelStep == 1 || pixelStep == 3)) return ownConvWhole(kernel, stage.taps);
    return u > 0.25 || z > 0.1 ? ownConvSkipZero(kernel, stage.taps) : ownConvDense(kernel, stage.taps);
}

// Allocates what a kernel's taps need, and finds how far its sums reach.
bool prepareStage(OwnConvStage& stage, const TovConvKernel& kernel, const SampleRange& range) {
    const size_t n = coefficientsOf(kernel);
    stage.kernel = &kernel;
    stage.taps.taps = AlignedBlock<ConvTap>(n);
    stage.taps.groups = AlignedBlock<ConvGroup>(n);
    if (!stage.taps.taps || !stage.taps.groups) return false;
    const double largest = range.high > -range.low ? range.high : -range.low;
    for (size_t i = 0; i < n; i++) {
        const double weight = kernel.values[i];
        stage.reach += largest * (weight < 0 ? -weight : weight);
    }
    if (kernel.nShiftR != 0) stage.shiftRow = stage.reach < 0x1p30 ? kConvShiftSmall : ownConvShift;
    return true;
}

// How the kernels' results become one.
void selectCombining(OwnConvPlan& plan) {
    const ConvCombiners& with = kConvCombiners;
    const int32_t method = plan.combineMethod;
    const bool squares = method == TOV_COMBINE_SUMSQ || method == TOV_COMBINE_SUMSQROOT;
    OwnConvStage& first = plan.stages[0];
    if (plan.nKernels == 1) {
        // A shift takes the place of the square and of the magnitude.
        if (squares && first.shiftRow == nullptr) {
            first.combineRow = method == TOV_COMBINE_SUMSQ ? with.square : with.magnitude;
        }
        return;
    }
    if (squares) first.combineRow = with.square;
    for (int32_t k = 1; k < plan.nKernels; k++) {
        OwnConvStage& stage = plan.stages[k];
        switch (method) {
        case TOV_COMBINE_SUM: stage.combineRow = with.add; break;
        case TOV_COMBINE_MAX: stage.combineRow = with.largest; break;
        case TOV_COMBINE_MIN: stage.combineRow = with.smallest; break;
        default: stage.combineRow = stage.reach <= kExactSquares ? with.addExactSquare : with.addSquare;
        }
    }
    if (method == TOV_COMBINE_SUMSQROOT) plan.finishRow = with.root;
}

} // namespace

ConvMargins ownConvMargins(TovConvKernel* const* kernel, int32_t nKernels) {
    const auto atLeast = [](int32_t& value, int32_t other) { value = value < other ? other : value; };
    ConvMargins margins;
    for (int32_t k = 0; k < nKernels; k++) {
        atLeast(margins.leftMargin, kernel[k]->anchorX);
        atLeast(margins.topMargin, kernel[k]->anchorY);
        atLeast(margins.rightExtent, kernel[k]->nCols - kernel[k]->anchorX);
        atLeast(margins.bottomExtent, kernel[k]->nRows - kernel[k]->anchorY);
    }
    return margins;
}

bool ownConvPrepare(OwnConvPlan& plan, TovConvKernel* const* kernel, int32_t nKernels, int32_t combineMethod,
                    uint32_t depth) {
    const int32_t index = depthIndex(depth);
    const SampleRange& range = kRanges[index];
    plan.depth = depth;
    plan.nKernels = nKernels;
    plan.combineMethod = combineMethod;
    plan.margins = ownConvMargins(kernel, nKernels);
    for (int32_t k = 0; k < nKernels; k++) {
        if (!prepareStage(plan.stages[k], *kernel[k], range)) return false;
    }
    selectCombining(plan);
    bool all16 = range.high - range.low <= UINT8_MAX;
    for (int32_t k = 0; k < nKernels; k++) all16 = all16 && fits16(plan.stages[k], range);
    plan.band = all16 ? kConvExact16 : kConvRounded;
    plan.readRow = kConvReadRows[index][plan.band];
    plan.writeRow = kConvWriteRows[index];
    plan.storeRow = kConvStoreRows[index];
    plan.valueBytes = depth == TOV_DEPTH_1U ? 1 : depthBits(depth) / 8;
    return true;
}

void ownConvSelectStages(OwnConvPlan& plan, int32_t pixelStep) {
    for (int32_t k = 0; k < plan.nKernels; k++) {
        OwnConvStage& stage = plan.stages[k];
        ConvArithmetic arithmetic = plan.band;
        if (arithmetic == kConvExact16) {
            group16(*stage.kernel, kRanges[depthIndex(plan.depth)], stage.taps);
        } else if (stage.reach < kExactSums) {
            arithmetic = kConvExact;
            ownConvWhole(*stage.kernel, stage.taps);
        } else {
            groupRounded(stage, pixelStep);
        }
        stage.sumRow = kConvSumRows[arithmetic];
    }
}

void ownConvRow(const OwnConvPlan& plan, const ConvPlace& place, uint8_t* out, ptrdiff_t count) {
    alignas(32) float first[kConvStretch];
    alignas(32) float second[kConvStretch];
    const ptrdiff_t sampleBytes = kConvSampleBytes[plan.band];
    for (ptrdiff_t done = 0; done < count; done += kConvStretch) {
        const ptrdiff_t n = count - done < kConvStretch ? count - done : kConvStretch;
        for (int32_t k = 0; k < plan.nKernels; k++) {
            const OwnConvStage& stage = plan.stages[k];
            const ptrdiff_t left = stage.kernel->anchorX * place.pixelStep - done;
            const uint8_t* corner = place.position - stage.kernel->anchorY * place.rowStep - left * sampleBytes;
            float* row = k == 0 ? second : first;
            stage.sumRow(stage.taps, {corner, place.rowStep, place.pixelStep}, row, n);
            if (stage.shiftRow != nullptr) stage.shiftRow(row, stage.kernel->nShiftR, n);
            if (stage.combineRow != nullptr) stage.combineRow(second, row, n);
        }
        if (plan.finishRow != nullptr) plan.finishRow(second, second, n);
        plan.writeRow(second, out + done * plan.valueBytes, n);
    }
}

} // namespace tov
