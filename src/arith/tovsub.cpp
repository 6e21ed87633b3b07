// Subtraction.
#include "arith/operation.h"

namespace {

constexpr tov::Reporter report{"tovSubtract", "tovsub"};

} // namespace

void tovSubtract(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage) {
    tov::runBinary(report, tov::kSubKernels, srcImageA, srcImageB, dstImage);
}
