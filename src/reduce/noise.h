// The noise that jitters values before their bits are reduced.
#pragma once

#include "reduce/reduction.h"

namespace tov {

// Fills the tables, which the whole process shares, with numbers from rand.
void ownNoiseInit();

// Alters each value of the source in place. `amplitude` is in steps of the destination, 1 to 8.
void ownJitter_8u1u(const Reduction& reduction, int32_t amplitude);
void ownJitter_16u(const Reduction& reduction, int32_t amplitude); // to 8U and 1U
void ownJitter_32s16u(const Reduction& reduction, int32_t amplitude);
void ownJitter_32s8u(const Reduction& reduction, int32_t amplitude);
void ownJitter_32s1u(const Reduction& reduction, int32_t amplitude);

} // namespace tov
