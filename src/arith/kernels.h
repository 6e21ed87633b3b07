// The arithmetic kernels as fronts see them: what they are called with, and their tables by depth.
#pragma once

#include "core/bandwalk.h"
#include "core/image.h"
#include "tov.h"

namespace tov {

// What a kernel with two sources is called with.
struct BinaryArgs {
    TovImage* srcA;
    TovImage* srcB;
    TovImage* dst;
    TovImage* mask; // merged, or null; kernels without mask ignore it
    int32_t coiOffsetA;
    int32_t coiOffsetB;
    int32_t coiOffsetDst;
    int32_t nChProcess;
    bool hasAlpha; // an image has an alpha channel

    void place(const BandCell& cell) {
        srcA = cell.sources[0];
        srcB = cell.sources[1];
        dst = cell.dst;
        mask = cell.mask;
    }
};

// What a kernel with one source and a value is called with. value is prepared: the low bits of the caller's value
// repeated through the word, all ones or zeros for 1-bit images.
struct UnaryArgs {
    TovImage* src;
    TovImage* dst;
    TovImage* mask;
    uint32_t value;
    int32_t coiOffsetSrc;
    int32_t coiOffsetDst;
    int32_t nChProcess;
    bool hasAlpha;

    void place(const BandCell& cell) {
        src = cell.sources[0];
        dst = cell.dst;
        mask = cell.mask;
    }
};

// The two forms of a kernel; null where a depth has none.
template <class Args>
struct KernelPair {
    void (*plain)(const Args& args);
    void (*masked)(const Args& args);
};

// By depthIndex.
extern const KernelPair<BinaryArgs> kAddKernels[kDepths];
extern const KernelPair<BinaryArgs> kSubKernels[kDepths];
extern const KernelPair<BinaryArgs> kOrKernels[kDepths];
extern const KernelPair<BinaryArgs> kAndKernels[kDepths];
extern const KernelPair<UnaryArgs> kXorSKernels[kDepths];

// Two equal whole images of any depth but 32-bit float, in 32-bit words, row ends included.
extern void (*const ownXorFlat)(const UnaryArgs& args);

} // namespace tov
