// Mirroring, beside the libraries that do the like.
#include "memory_limits.h"
#include "scene.h"

#ifdef TOV_HAVE_YUV
#include <libyuv.h>
#endif

namespace bench {

namespace {

#ifdef TOV_HAVE_YUV
std::string yuvMirror(Items& items, Size size) {
    std::string name = "libyuv RGB24Mirror";
    items.add({name, size, pixels(size), "pixel",
               inTurns<Pair>(size, {k8U, 3}, asTheyAre,
                             [](const Pair& p) {
                                 const TovImage* src = p.src.get();
                                 const TovImage* dst = p.dst.get();
                                 libyuv::RGB24Mirror(src->imageData, src->widthStep, dst->imageData, dst->widthStep,
                                                     dst->width, dst->height);
                             }),
               Kind::kPeer});
    return name;
}
#endif

} // namespace

void addMirrorItems(Items& items) {
    struct Form {
        const char* name;
        Depth depth;
        int32_t nChannels;
    };
    constexpr Form forms[] = {{"8U", k8U, 1}, {"16U", k16U, 1}, {"8U x 4", k8U, 4}, {"8U x 3", k8U, 3}, {"1U", k1U, 1}};
    for (const Size size : kSizes) {
        for (const Form& form : forms) {
            const std::string bound = limit(items, Traffic::kMemcpy, size, form.depth.bits, form.nChannels);
            for (const int32_t axis : {1, 0, -1}) {
                const char* axisName = axis == 1 ? "columns" : axis == 0 ? "rows" : "both";
                Item& item =
                    items.add({std::string("mirror ") + axisName + " " + form.name, size, pixels(size), "pixel",
                               inTurns<Pair>(size, {form.depth, form.nChannels}, asTheyAre,
                                             [axis](const Pair& p) { tovMirror(p.src.get(), p.dst.get(), axis); })});
                item.limitedBy(bound, form.nChannels);
                if (form.depth.bits == 1) continue;
                if (axis == 0) item.aim(1.15, bound);
                if (axis == 1 && form.nChannels != 3) item.aim(1.5, bound);
#ifdef TOV_HAVE_YUV
                if (axis == 1 && form.nChannels == 3) {
                    const std::string peer = yuvMirror(items, size);
                    item.peer(peer).aim(1, peer);
                }
#endif
            }
        }
    }
}

} // namespace bench
