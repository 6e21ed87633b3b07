// The logical and.
#include "arith/arith.h"
#include "arith/operation.h"

namespace tov {

namespace {

constexpr Reporter report{"tovAnd", "tovand"};

} // namespace

void tovAnd(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage) {
    runBinary(report, kAndKernels, srcImageA, srcImageB, dstImage);
}

} // namespace tov
