// Random calls of the alpha operations, with their models.
#pragma once

#include "support/sweep.h"

namespace tovtest {

// Roles of a composition's case: A, B, the alpha images of A, B and the destination, the destination.
enum CompositeRole { roleA, roleB, roleAlphaA, roleAlphaB, roleAlphaDst, roleDst };

// A case's value says the operator, how colours are given and left, and which alpha images the call gets.
struct CompositeValue {
    int32_t type;
    bool premultiplied, divides, alphaA, alphaB, alphaDst;

    static constexpr int32_t kCount = 6 * 32;
    explicit CompositeValue(int32_t value)
        : type(value % 6),
          premultiplied(value / 6 & 1),
          divides(value / 12 & 1),
          alphaA(value / 24 & 1),
          alphaB(value / 48 & 1),
          alphaDst(value / 96 & 1) {}
};

Sweep compositeSweep();
Sweep productSweep();
Sweep scalarSweep();

} // namespace tovtest
