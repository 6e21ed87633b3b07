// Naive models of the operations that combine images value by value.
#pragma once

#include <vector>

#include "reference/samples.h"

namespace tovtest {

struct Operation {
    double (*value)(double a, double b, uint32_t depth);
    bool inWords; // whole images are processed by 32-bit words of their memory instead of by values
    bool flatInTiles = true;
};
extern const Operation addition, subtraction, logicalOr, logicalAnd, exclusiveOr;
// What an operation does at a depth: 1-bit addition and subtraction are logic.
Operation atDepth(const Operation& operation, uint32_t depth);

// dst = a op b, or a op constant with one source. Writes pixels and tile requests of the scene; checks nothing.
void combine(Scene& scene, const std::vector<TestImage*>& sources, TestImage& dst, const Operation& operation,
             double constant = 0);

} // namespace tovtest
