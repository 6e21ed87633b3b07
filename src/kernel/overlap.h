// Whether two walks over memory can meet at different positions, which decides between free and sequential loops.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernel/kernel.h"

namespace tov {

// The bytes that a walk touches: nPlanes planes of nRows rows of rowBytes bytes each. Rows that are walked from the
// last one up have a negative step.
struct Footprint {
    const void* first;
    ptrdiff_t rowBytes;
    ptrdiff_t rowStep;
    ptrdiff_t nRows;
    ptrdiff_t planeStep;
    ptrdiff_t nPlanes;

    ptrdiff_t rowsBytes() const { return (nRows - 1) * (rowStep < 0 ? -rowStep : rowStep); }
};

// True when a byte of one footprint can be a byte of the other at another position of the walk. The same footprint
// twice is in place, not an overlap. May say true for footprints that interleave; sequential loops are right for those.
OWN_SHARED bool overlapsElsewhere(const Footprint& a, const Footprint& b) {
    const bool sameRows = a.rowStep == b.rowStep || a.nRows <= 1;
    const bool samePlanes = a.planeStep == b.planeStep || a.nPlanes <= 1;
    if (a.first == b.first && a.rowBytes == b.rowBytes && sameRows && samePlanes) return false;
    if (a.nRows <= 0 || a.rowBytes <= 0 || a.nPlanes <= 0) return false;
    const auto beginOf = [](const Footprint& f) {
        return reinterpret_cast<uintptr_t>(f.first) - static_cast<uintptr_t>(f.rowStep < 0 ? f.rowsBytes() : 0);
    };
    const auto lengthOf = [](const Footprint& f) {
        return static_cast<uintptr_t>((f.nPlanes - 1) * f.planeStep + f.rowsBytes() + f.rowBytes);
    };
    const uintptr_t beginA = beginOf(a);
    const uintptr_t beginB = beginOf(b);
    if (beginA + lengthOf(a) <= beginB || beginB + lengthOf(b) <= beginA) return false;
    if (a.rowStep != b.rowStep || a.rowStep <= 0 || a.nPlanes > 1) return true;
    // Side by side in shared rows, as the left and the right half of one picture are.
    const ptrdiff_t difference = static_cast<ptrdiff_t>(beginB - beginA) % a.rowStep;
    const ptrdiff_t distance = difference < 0 ? difference + a.rowStep : difference;
    return distance < a.rowBytes || distance + b.rowBytes > a.rowStep;
}

} // namespace tov
