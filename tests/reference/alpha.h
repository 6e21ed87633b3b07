// Naive models of the alpha operations: formulas on single samples, and whole calls pixel by pixel.
#pragma once

#include <string>
#include <vector>

#include "reference/samples.h"

namespace tovtest {

// One operator on the samples of one pixel; max is the largest sample.
struct Formula {
    int32_t type;
    bool premultiplied, divides;
    uint32_t max;

    uint32_t colour(uint32_t A, uint32_t a, uint32_t B, uint32_t b) const;
    uint32_t alpha(uint32_t a, uint32_t b) const;
};

struct Composition {
    TestImage *A, *B, *dst;
    TestImage *alphaA, *alphaB, *alphaDst; // null where the call gets none
    int32_t type;
    bool premultiplied, divides;
};

// Both write pixels and tile requests of the scene, and the reports of masks without a common pixel.
void composeImages(Scene& scene, const Composition& call);
// dst = source * value, or the product of two sources.
void multiplyImages(Scene& scene, const char* funcName, const std::vector<TestImage*>& sources, TestImage& dst,
                    int32_t value);

} // namespace tovtest
