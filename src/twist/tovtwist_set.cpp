// Filling a colour twist's record.
#include "core/context.h"

namespace {

constexpr tov::Reporter report{"tovSetColorTwist", "tovtwist"};

} // namespace

void tovSetColorTwist(TovColorTwist* cTwist, const int32_t* data, int32_t scalingValue) {
    if (!report.passes({
            {cTwist == nullptr, "cTwist==0"},
            {data == nullptr, "(data == 0)"},
            {scalingValue < 0, "(scalingValue < 0)"},
            {scalingValue > 31, "(scalingValue > 31)"},
        })) {
        return;
    }
    for (int32_t i = 0; i < 16; i++) cTwist->data[i] = data[i];
    cTwist->scalingValue = scalingValue;
}
