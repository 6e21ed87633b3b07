// The logical or.
#include "arith/arith.h"
#include "arith/operation.h"

namespace tov {

namespace {

constexpr Reporter report{"tovOr", "tovor"};

} // namespace

void tovOr(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage) {
    runBinary(report, kOrKernels, srcImageA, srcImageB, dstImage);
}

} // namespace tov
