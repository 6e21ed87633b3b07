// Addition.
#include "arith/arith.h"
#include "arith/operation.h"

namespace {

constexpr tov::Reporter report{"tovAdd", "tovadd"};

} // namespace

void tovAdd(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage) {
    if (srcImageA == nullptr) return report(TOV_STS_BAD_ARG, "srcImageA==0");
    // Saturated addition of bits is the logical or, which looks at the other images itself.
    if (srcImageA->depth == TOV_DEPTH_1U) return tov::tovOr(srcImageA, srcImageB, dstImage);
    tov::runBinary(report, tov::kAddKernels, srcImageA, srcImageB, dstImage);
}
