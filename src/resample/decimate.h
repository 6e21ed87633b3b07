// Decimation as its front, its walk and its kernels see it.
#pragma once

#include "core/context.h"
#include "core/geometry.h"
#include "tov.h"

namespace tov {

// A place between the pixels of a source. Within a kernel both sums are kept in double precision; what it hands on to
// the next block is rounded to single precision.
struct Position {
    double x;
    double y;
};

// What a kernel is called with: plain images, whose regions begin where it reads and writes.
struct DecimateArgs {
    const TovImage* src;
    const TovImage* dst;
    Size limit;        // the samples from the region's first one to the last that may be read, to the right and down
    Point before;      // those that stand in front of the region's first one, to the left and above
    Size size;         // the pixels to be written
    int32_t nChannels; // from the region's channel of interest on, or from the first
    double xRate;      // single-precision numbers
    double yRate;
    Position at; // that of the first pixel, from the source region's first pixel on
};
// Returns the position of the pixel behind the last one, across and down.
using DecimateKernel = Position (*)(const DecimateArgs& args);

// The kernel for a depth of 1, 8 or 16 bits and one of the modes TOV_INTER_*, with whole rates or not.
DecimateKernel ownDecimateKernel(uint32_t depth, int32_t mode, bool xInteger, bool yInteger);

// The area average at a depth.
Position ownDecimateArea_1u(const DecimateArgs& args);
Position ownDecimateArea_8u(const DecimateArgs& args);
Position ownDecimateArea_16u(const DecimateArgs& args);

// The same at 2:1 and 3:2 on both axes, for neighbouring values of 1, 3 or 4 channels. False, with nothing written,
// where it doesn't serve.
bool ownDecimateEven_8u(const DecimateArgs& args, Position& reached);

// The zero-based channel of interest, or the first one.
inline int32_t coiOffset(const TovImage& image) {
    return image.roi != nullptr && image.roi->coi != 0 ? image.roi->coi - 1 : 0;
}

// One call, checked.
struct DecimateCall {
    const Reporter& report;
    TovImage* src;
    TovImage* dst;
    int32_t mode; // that takes effect
    DecimateKernel kernel;
    double xRate; // single-precision numbers
    double yRate;
    int32_t xMargin; // what a kernel reads beyond its position in a tiled source; negative for areas
    int32_t yMargin;
    Position start;
    Point from; // the first pixels of the regions
    Point to;
    Size size; // what is written
    int32_t nChannels;
};
// Runs the kernel: over plain images once, otherwise by the tiles of the destination, and in each by those of the
// source. A tile that can't be had is reported with TOV_STS_INTERNAL and ends the call; a destination's tile that is
// held when the source fails is not released.
void runDecimate(const DecimateCall& call);

} // namespace tov
