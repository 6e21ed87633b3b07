// What headers tell of colours, for bit reduction.
#pragma once

#include "tov.h"

namespace tov {

enum class ColorKind { kOther, kGray, kRgb };

// By colorModel and channelSeq: gray as "GRAY" or "Gray" with "G", colours as "RGB" with "RGB" or "BGR".
ColorKind colorKind(const TovImage& image);

// True when neither image has a region and channels, data order and origin agree; otherwise reported under funcName.
bool ownSameForm(const char* funcName, const TovImage& src, const TovImage& dst);

} // namespace tov
