// The one pass of erosion over the channels of a call.
#pragma once

#include "core/context.h"
#include "kernel/maskruns.h"
#include "tov.h"

namespace tov {

// One call, checked. The images are the call's own headers, whose regions have the common size and lie inside them.
struct MorphCall {
    const Reporter& report;
    TovImage* src;
    TovImage* dst;
    MaskLane mask; // of that size, or none
    int32_t nIterations;
};

// Erodes by squares of 2 * nIterations + 1 pixels a side, channel by channel and row by row. Reports a tile that can't
// be had; where memory can't, the thread's status says so without a report.
void ownMorphFilter(const MorphCall& call);

} // namespace tov
