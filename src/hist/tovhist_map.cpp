// Mapping through tables.
#include "arith/arith.h"
#include "core/blockwalk.h"
#include "core/image.h"
#include "hist/hist.h"
#include "hist/kernels.h"

namespace tov {

namespace {

constexpr Reporter report{"tovMap", "tovhist"};

void mapPlain(const TovImage& src, const TovImage& dst, const TovImage* mask, Size size, const void* tables) {
    MapArgs args = {{}, src.nChannels, dst.nChannels, size, tables};
    if (!ownPlainPair(report, src, dst, mask, args)) return;
    const bool planes = src.dataOrder == TOV_DATA_ORDER_PLANE || (src.nChannels == 1 && dst.nChannels == 1);
    mapKernel(depthBits(src.depth), planes, mask != nullptr)(args);
}

// Without a source the destination's view is mapped in place.
void mapCell(const void* tables, TovImage* source, TovImage* dst) {
    tovMap(source != nullptr ? source : dst, dst, tables);
}

} // namespace

void tovMap(TovImage* srcImage, TovImage* dstImage, const void* tables) {
    const PairMask mask(report, *srcImage, *dstImage);
    Size size;
    if (mask.failed() || !ownCommonSize3(*srcImage, *dstImage, mask.get(), size, true)) return;
    if (srcImage->tileInfo == nullptr && dstImage->tileInfo == nullptr) {
        return mapPlain(*srcImage, *dstImage, mask.get(), size, tables);
    }
    TovImage* source = srcImage != dstImage ? srcImage : nullptr;
    runBlockWalk({report, source, dstImage, mask.get(), size}, mapCell, tables);
}

} // namespace tov
