// Contrast curves, expanded into tables.
#include "core/context.h"
#include "core/image.h"
#include "core/memory.h"
#include "hist/hist.h"

namespace tov {

namespace {

constexpr Reporter report{"tovContrastStretch", "tovhist"};

// All that doesn't fit is reported, one after the other. False then, even where the handler has cleared the status.
bool isServed(const TovImage& src, const TovImage& dst, TovLUT* const* lut) {
    const bool orderMatters = src.depth != TOV_DEPTH_1U && (src.nChannels != 1 || dst.nChannels != 1);
    return report.all({
        {src.depth != dst.depth, "srcImage->depth != dstImage->depth"},
        {src.origin != dst.origin, "srcImage->origin != dstImage->origin"},
        {orderMatters && src.dataOrder != dst.dataOrder, "srcImage->dataOrder != dstImage->dataOrder"},
        {src.depth != TOV_DEPTH_8U && src.depth != TOV_DEPTH_16U,
         "srcImage->depth != TOV_DEPTH_8U && srcImage->depth != TOV_DEPTH_16U"},
        {lut == nullptr, "lut==0"},
    });
}

// The number of channels that a call takes part with; false for an image that is nothing but its own alpha.
bool ownProcessedChannels(const TovImage& image, int32_t& n) {
    n = image.roi != nullptr && image.roi->coi > 0 ? 1 : image.nChannels - (image.alphaChannel != 0 ? 1 : 0);
    return image.roi != nullptr || image.nChannels != 1 || image.alphaChannel == 0;
}

bool ascends(const TovLUT& curve) {
    for (int32_t i = 0; i + 1 < curve.num; i++) {
        if (curve.key[i] > curve.key[i + 1]) return false;
    }
    return true;
}

// The first check that fails ends the others, as each needs those before it.
bool isCurve(const TovLUT* curve, int32_t histSize) {
    if (!report.passes({{curve == nullptr, "lut[k]==0"}})) return false;
    if (!report.passes({{curve->key == nullptr, "lut[k]->key==0"},
                        {curve->value == nullptr, "lut[k]->value==0"},
                        {curve->num < 2, "lut[k]->num < 2"}})) {
        return false;
    }
    return report.passes({{curve->key[0] < 0, "lut[k]->key[0] < 0"},
                          {curve->key[curve->num - 1] > histSize, "lut[k]->key[lut[k]->num-1] > histSize"},
                          {!ascends(*curve), "lut[k]->key[i] > lut[k]->key[i+1]"}});
}

// Values in front of the first key and from the last one on stay as they are. A segment that begins where the one
// before it does is never entered, and neither are those behind it. Lines wrap at the width of T.
template <class T>
void fillTable(const TovLUT& curve, int32_t histSize, T* table) {
    int32_t next = 0; // the key that ends the present segment
    uint32_t factor = 1;
    uint32_t value = 0;
    for (int32_t x = 0; x < histSize; x++) {
        if (next < curve.num && x == curve.key[next]) {
            const bool closed = next == curve.num - 1;
            const bool line = closed || curve.interpolate != 0;
            value = static_cast<uint32_t>(closed ? x : curve.value[next]);
            factor = closed ? 1 : line ? static_cast<uint32_t>(curve.factor[next]) : 0;
            next = closed ? curve.num : next + 1;
        }
        table[x] = static_cast<T>(value);
        value += factor;
    }
}

} // namespace

} // namespace tov

using namespace tov;

void tovContrastStretch(TovImage* srcImage, TovImage* dstImage, TovLUT* const* lut) {
    if (!report.accepts(srcImage) || !report.accepts(dstImage)) return;
    // A failure left by an earlier call ends this one, too.
    if (!isServed(*srcImage, *dstImage, lut) || tovGetErrStatus() < 0) return;

    int32_t n = 0;
    int32_t nDst = 0;
    if (!ownProcessedChannels(*srcImage, n) || !ownProcessedChannels(*dstImage, nDst)) return;
    if (n != nDst) {
        return report(TOV_STS_BAD_ARG,
                      "Number of processed channels of srcImage != Number of processed channels of dstImage");
    }
    TovLUT* const* curves = lut + channelsOf(*srcImage).offset;
    const int32_t bits = depthBits(srcImage->depth);
    const int32_t histSize = 1 << bits;
    for (int32_t k = 0; k < n; k++) {
        if (!isCurve(curves[k], histSize)) return;
    }
    const uint64_t bytes = static_cast<uint64_t>(n) * static_cast<uint64_t>(histSize * bits / 8);
    AlignedBlock<uint8_t> tables;
    if (bytes <= PTRDIFF_MAX) tables = AlignedBlock<uint8_t>(static_cast<size_t>(bytes));
    if (!tables) return report(TOV_STS_NO_MEMORY, "");
    for (int32_t k = 0; k < n; k++) {
        const ptrdiff_t first = ptrdiff_t{k} * histSize;
        if (bits == 8) {
            fillTable(*curves[k], histSize, tables.get() + first);
        } else {
            fillTable(*curves[k], histSize, reinterpret_cast<uint16_t*>(tables.get()) + first);
        }
    }
    tovMap(srcImage, dstImage, tables.get());
    if (tovGetErrStatus() < 0) report.backtrace();
}
