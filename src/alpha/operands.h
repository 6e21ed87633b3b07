// What the checks of the alpha operations ask about an image, and the common size that images join.
#pragma once

#include "alpha/access.h"
#include "core/context.h"
#include "core/image.h"
#include "core/lifecycle.h"
#include "tov.h"

namespace tov {

// An image's channels without alpha.
inline int32_t colourCount(const TovImage& image) { return image.nChannels - (image.alphaChannel != 0 ? 1 : 0); }

// An image that is nothing but alpha takes part only where its region chooses that channel.
inline bool onlyAlphaNoRegion(const TovImage& image) { return image.alphaChannel == 1 && image.roi == nullptr; }
inline bool onlyAlphaNotChosen(const TovImage& image) {
    return image.alphaChannel == 1 && image.roi != nullptr && image.roi->coi != 1;
}

// Null and header checks of an image that takes part; then it joins the common size. nullContext is what a null image
// is reported with, as TOV_STS_BAD_ARG.
inline bool joins(const Reporter& report, TovImage* image, const char* nullContext, Size& size,
                  int32_t line = __builtin_LINE()) {
    if (image == nullptr) {
        report(TOV_STS_BAD_ARG, nullContext, line);
        return false;
    }
    if (!report.accepts(image, line)) return false;
    ownClipSize(*image, size.width, size.height);
    return true;
}

} // namespace tov
