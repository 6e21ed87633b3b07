// Mirroring.
#include "core/context.h"
#include "core/image.h"
#include "core/ownrect.h"
#include "core/tiles.h"
#include "mirror/kernels.h"
#include "mirror/tilewalk.h"

namespace tov {

namespace {

constexpr Reporter report{"tovMirror", "tovmirr"};

bool isServed(TovImage* srcImage, TovImage* dstImage, int32_t flipAxis) {
    const TovImage& src = *srcImage;
    const TovImage& dst = *dstImage;
    const bool oneChannel = src.nChannels == 1 && dst.nChannels == 1;
    return report.passes({
        {srcImage == dstImage && src.maskROI != nullptr, "(srcImage==dstImage && srcImage->maskROI != ((void *)0))"},
        {src.depth == TOV_DEPTH_32F || dst.depth == TOV_DEPTH_32F, "(srcImage->depth==32||dstImage->depth==32)"},
        {src.depth != dst.depth, "(srcImage->depth!=dstImage->depth)"},
        {flipAxis > 1 || flipAxis < -1, "((flipAxis>1)||(flipAxis<-1))"},
        {src.depth == TOV_DEPTH_1U && src.alphaChannel != 0, "(srcImage->depth==1 && srcImage->alphaChannel!=0)"},
        {dst.depth == TOV_DEPTH_1U && dst.alphaChannel != 0, "(dstImage->depth==1 && dstImage->alphaChannel!=0)"},
        {channelsOf(src).count != channelsOf(dst).count, "(nChannelsSrc != nChannelsDst)"},
        {!oneChannel && src.dataOrder != dst.dataOrder, "(srcImage->dataOrder!=dstImage->dataOrder)"},
    });
}

// A mask lowers the size by its region, or by its own size without one. Of a region that reaches beyond the mask only
// what the mask holds counts.
Size limitedBy(const TovImage* mask, Size size) {
    if (mask == nullptr) return size;
    OwnRect rect;
    ownImageRect(*mask, rect);
    return smaller(size, {rect.width, rect.height});
}

// A tiled source, copied as a whole.
bool mirrorFromTiles(MirrorArgs args, const OwnRect& rect) {
    ImageView source;
    BorderedCopy copy;
    if (!copy.fetch(source, *args.src, {rect.x, rect.y}, args.size)) return false;
    source.header.maskROI = args.src->maskROI;
    args.src = &source.header;
    return ownMirrorDispatch(args);
}

} // namespace

} // namespace tov

using namespace tov;

void tovMirror(TovImage* srcImage, TovImage* dstImage, int32_t flipAxis) {
    if (!report.accepts(srcImage) || !report.accepts(dstImage) || !isServed(srcImage, dstImage, flipAxis)) return;
    OwnRect src;
    OwnRect dst;
    ownImageRect(*srcImage, src);
    ownImageRect(*dstImage, dst);
    Size size = smaller({src.width, src.height}, {dst.width, dst.height});
    size = limitedBy(dstImage->maskROI, limitedBy(srcImage->maskROI, size));
    if (size.empty()) return;

    const MirrorArgs args = {srcImage, dstImage, channelsOf(*srcImage).count, coiOf(*srcImage), coiOf(*dstImage),
                             size,     flipAxis};
    bool done = true;
    if (dstImage->tileInfo != nullptr) {
        done = mirrorToTiles(report, args, {src.x, src.y}, {dst.x, dst.y}) != MirrorEnd::kNoTemporary;
    } else if (srcImage->tileInfo != nullptr) {
        done = mirrorFromTiles(args, src);
    } else {
        done = ownMirrorDispatch(args);
    }
    if (!done) tovSetErrStatus(TOV_STS_NO_MEMORY);
}
