// The memory limits: the least that moving an item's bytes can cost.
#pragma once

#include <string>

#include "items.h"

namespace bench {

// How bytes move: the C library's copy and fill, and plain vectorised loops with the library's flags.
enum class Traffic {
    kMemcpy,
    kMemset,
    kOneRead,  // d = f(a)
    kTwoReads, // d = f(a, b)
    kInPlace   // d = f(d, a)
};

// The name of the limit for nChannels values of `bits` bits in each pixel of an image of the given size. Adds the item
// if it is not there yet. `bits` is 1, 8, 16 or 32.
std::string limit(Items& items, Traffic traffic, Size size, int32_t bits, int32_t nChannels = 1);

// How near to its limit an operation on a whole image is to come.
constexpr double limitAim(Size size) { return size.width == kInCache.width ? 2 : 1.15; }

} // namespace bench
