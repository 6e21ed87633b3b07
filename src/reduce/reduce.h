// Bit reduction.
#pragma once

#include "tov.h"

namespace tov {

// How what is lost is spread; callers of tovConvertToDIB pass the same numbers.
constexpr int32_t kNoDither = 1;
constexpr int32_t kFloydDither = 2;
constexpr int32_t kJarvisDither = 4;
constexpr int32_t kStuckiDither = 8;
constexpr int32_t kOrderedDither = 16;
constexpr bool spreadsErrors(int32_t ditherType) {
    return ditherType == kFloydDither || ditherType == kJarvisDither || ditherType == kStuckiDither;
}

// Lowers the depth of a whole image by keeping the high bits of each value, so that the range of the source becomes
// that of the destination: 32S to 16U, 8U and 1U, 16U to 8U and 1U, 8U to 1U. jitterType (0 to 8) is the amplitude of
// the noise that each value gets before, in steps of the destination; 0 adds none. What is lost is spread by
// ditherType: by Floyd's filter, by the wider filters of Jarvis and of Stucki, or by an ordered threshold. levels is
// the number of high bits that stay significant in the destination's values: negative ones count as 0, those above the
// depth as half of it. A gray image that is dithered to bits has two levels in any case.
//
// Noise is drawn from rand, whose seed is the application's, into tables that all threads share without a lock: calls
// that jitter must not run at the same time. No exported operation jitters.
//
// Reports: TOV_STS_BAD_ARG or the code of a faulty header by the checks, which change nothing; under the inner
// routines' names a pair of depths that is not served, once for each rectangle; TOV_STS_NO_MEMORY, "Out of
// memory" where a part of the source can't be staged, which ends the call. A tile of the destination that can't be had
// ends its row of tiles in silence.
void tovReduceBits(TovImage* srcImage, TovImage* dstImage, int32_t jitterType, int32_t ditherType, int32_t levels);

} // namespace tov
