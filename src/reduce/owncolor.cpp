// What headers tell of colours, for bit reduction.
#include <cstring>

#include "core/context.h"
#include "reduce/color.h"

namespace tov {

namespace {

bool begins(const char* text, const char* with) { return std::strncmp(text, with, std::strlen(with)) == 0; }

} // namespace

ColorKind colorKind(const TovImage& image) {
    const char* model = image.colorModel;
    const char* channels = image.channelSeq;
    if (begins(model, "RGB") && (begins(channels, "RGB") || begins(channels, "BGR"))) return ColorKind::kRgb;
    const bool gray = (begins(model, "Gray") || begins(model, "GRAY")) && begins(channels, "G");
    return gray ? ColorKind::kGray : ColorKind::kOther;
}

bool ownSameForm(const char* funcName, const TovImage& src, const TovImage& dst) {
    const bool differ = src.nChannels != dst.nChannels || src.dataOrder != dst.dataOrder || src.origin != dst.origin;
    return Reporter{funcName, "owncolor"}.passes({
        {src.roi != nullptr || dst.roi != nullptr, "src & dst roi must be NULL"},
        {differ,
         "(src->nChannels != dst->nChannels)||(src->dataOrder != dst->dataOrder)||(src->origin != dst->origin)"},
    });
}

} // namespace tov
