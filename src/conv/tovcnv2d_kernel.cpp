// Making and freeing convolution kernels.
#include <cstddef>

#include "core/context.h"
#include "core/memory.h"

namespace tov {

namespace {

constexpr Reporter reportCreate{"tovCreateConvKernel", "tovcnv2d"};
constexpr Reporter reportCreateChar{"tovCreateConvKernelChar", "tovcnv2d"};
constexpr Reporter reportDelete{"tovDeleteConvKernel", "tovcnv2d"};

// Neighbourhoods are walked forwards, so a kernel is kept turned round: coefficients in reverse order, and the anchor
// reflected.
template <class T>
TovConvKernel* create(const Reporter& report, int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY,
                      const T* values, int32_t nShiftR) {
    if (!report.passes({
            {values == nullptr, "(values == 0)"},
            {nRows < 1 || nCols < 1, "(nRows<=0 || nCols<=0)"},
            {anchorX < 0 || anchorY < 0 || nRows <= anchorY || nCols <= anchorX,
             "(anchorX<0 ||anchorY<0 ||nRows<=anchorY || nCols<=anchorX)"},
        })) {
        return nullptr;
    }
    const int64_t n = int64_t{nCols} * nRows;
    AlignedBlock<TovConvKernel> record(1);
    AlignedBlock<int32_t> stored;
    if (record && static_cast<uint64_t>(n) <= SIZE_MAX) stored = AlignedBlock<int32_t>(static_cast<size_t>(n));
    if (!stored) {
        report(TOV_STS_NO_MEMORY, "Allocation failure");
        return nullptr;
    }
    for (int64_t k = 0; k < n; k++) stored[static_cast<size_t>(k)] = int32_t{values[n - 1 - k]};
    *record.get() = {nCols, nRows, nCols - 1 - anchorX, nRows - 1 - anchorY, stored.release(), nShiftR};
    return record.release();
}

} // namespace

} // namespace tov

using namespace tov;

TovConvKernel* tovCreateConvKernel(int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY,
                                   const int32_t* values, int32_t nShiftR) {
    return create(reportCreate, nCols, nRows, anchorX, anchorY, values, nShiftR);
}

TovConvKernel* tovCreateConvKernelChar(int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY,
                                       const int8_t* values, int32_t nShiftR) {
    return create(reportCreateChar, nCols, nRows, anchorX, anchorY, values, nShiftR);
}

void tovDeleteConvKernel(TovConvKernel* kernel) {
    if (kernel == nullptr) return reportDelete(TOV_STS_BAD_ARG, "kernel==0");
    if (kernel->values == nullptr) return reportDelete(TOV_STS_BAD_ARG, "kernel->values==0");
    ownAlignedFree(kernel->values);
    ownAlignedFree(kernel);
}
