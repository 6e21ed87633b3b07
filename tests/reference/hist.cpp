// The curve is worked out for each value anew: the segment that holds it is looked for from the left.
#include "reference/hist.h"

#include <algorithm>

#include "reference/walks.h"

namespace tovtest {
namespace {

int64_t curveAt(const TovLUT& curve, int64_t x) {
    if (x < curve.key[0]) return x;
    int i = 0; // a segment without length ends the search, since none behind it is entered
    while (i + 1 < curve.num && curve.key[i] < curve.key[i + 1] && curve.key[i + 1] <= x) ++i;
    if (i + 1 == curve.num) return x;
    return curve.value[i] + (curve.interpolate ? (x - curve.key[i]) * curve.factor[i] : 0);
}

} // namespace

void stretchImage(Scene& scene, TestImage& src, TestImage& dst, const TovLUT* const* lut) {
    const Common common({&src, &dst}, masksOf({&src, &dst}));
    if (common.empty()) return;
    const Area from = regionOf(src), to = regionOf(dst);
    const std::vector<int> srcChannels = channelsOf(src), dstChannels = channelsOf(dst);
    const int n = static_cast<int>(srcChannels.size());
    const bool tiled = src.tiled() || dst.tiled();
    if (tiled) logBlocks(scene, &src == &dst ? nullptr : &src, dst, common.width, common.height);
    const bool planes =
        src.header.dataOrder == TOV_DATA_ORDER_PLANE || (src.header.nChannels == 1 && dst.header.nChannels == 1);
    ++scene.notes[tiled ? "tiles" : common.masked() ? "masked" : planes ? "planes" : "pixels"];
    const auto map = [&](int32_t i, int32_t j, int c) {
        if (!common.allows(i, j)) return;
        const double value = getSample(src, from.x + i, from.y + j, srcChannels[c]);
        const int64_t mapped = curveAt(*lut[srcChannels[c]], static_cast<int64_t>(value));
        if (mapped >> src.form.bits() != 0) ++scene.notes["wraps"];
        writeBits(placeOf(dst, to.x + i, to.y + j, dstChannels[c]).address, 0, dst.form.depth,
                  static_cast<uint32_t>(mapped));
    };
    // Planes go one by one without a mask, their bytes backwards in each row; all else goes pixel by pixel.
    const bool byPlane = planes && !common.masked();
    for (int c = 0; c < (byPlane ? n : 1); ++c) {
        for (int32_t j = 0; j < common.height; ++j) {
            for (int32_t i = 0; i < common.width; ++i) {
                const int32_t x = byPlane && src.form.bits() == 8 ? common.width - 1 - i : i;
                for (int k = byPlane ? c : 0; k < (byPlane ? c + 1 : n); ++k) map(x, j, k);
            }
        }
    }
}

} // namespace tovtest
