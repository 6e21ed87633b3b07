// The frames of the arithmetic operations: the checks that they share, in their order, and the way to the kernels.
#pragma once

#include "arith/kernels.h"
#include "core/context.h"

namespace tov {

// dstImage = srcImageA operation srcImageB under the masks of all three. kernels is a table by depthIndex; a depth that
// it lacks is refused after the masks have been merged.
void runBinary(const Reporter& report, const KernelPair<BinaryArgs>* kernels, TovImage* srcImageA, TovImage* srcImageB,
               TovImage* dstImage);

// What a band walk hands on to a kernel in each cell, where the images are the cell's views.
template <class Args>
struct CellKernel {
    void (*run)(const Args& args);
    Args args;
};
template <class Args>
void runCell(const void* kernelArgs, const BandCell& cell) {
    const auto& kernel = *static_cast<const CellKernel<Args>*>(kernelArgs);
    Args args = kernel.args;
    args.place(cell);
    kernel.run(args);
}

// Reports what came of merging masks; false when the operation ends.
bool maskIsUsable(const Reporter& report, int32_t maskState, int32_t line = __builtin_LINE());

constexpr const char* kNoFloat = "This function does not support depth 32F";
constexpr const char* kNoDstTile = "(dstImage->tileInfo->tileData == ((void*)(0)))";

} // namespace tov
