// Conversion of depths, reduction of bits and dithering.
#include "reduce/reduce.h"

#include "memory_limits.h"
#include "scene.h"

#ifdef TOV_HAVE_YUV
#include <libyuv.h>
#endif
#ifdef TOV_HAVE_LEPTONICA
#include <leptonica/allheaders.h>
#endif

namespace bench {

namespace {

Prepare convert(Size size, const Layouts& layouts) {
    return inTurns<Pair>(size, layouts, asTheyAre,
                         [](const Pair& pair) { tovConvert(pair.src.get(), pair.dst.get()); });
}

void addDepths(Items& items, Size size) {
    constexpr Depth pairs[][2] = {{k8U, k16U},  {k16U, k8U}, {k16S, k8U}, {k8S, k16S},
                                  {k32S, k16S}, {k32S, k8U}, {k8U, k8U}};
    for (const auto& [from, to] : pairs) {
        // What moves, in values of 8 bits that are read and written.
        const double moved = (from.bits + to.bits) / 16.0;
        const std::string bound = limit(items, Traffic::kOneRead, size, 8);
        Item& item = items.add({std::string("convert ") + from.name + " to " + to.name, size, pixels(size), "pixel",
                                convert(size, {{from}, {to}})});
        item.limitedBy(bound, moved);
        if (size == kOutOfCache) item.aim(1.25 * moved, bound);
    }
    items.add({"convert 8U to 1U", size, pixels(size), "pixel", convert(size, {{k8U}, {k1U}})});
}

#ifdef TOV_HAVE_YUV
std::string yuvRegroup(Items& items, Size size, bool split) {
    std::string name = split ? "libyuv SplitRGBPlane" : "libyuv MergeRGBPlane";
    const Layout inPixels = {k8U, 3};
    const Layout inPlanes = {k8U, 3, false, true};
    const auto use = [split](const Pair& pair) {
        const TovImage* grouped = split ? pair.src.get() : pair.dst.get();
        const TovImage* planes = split ? pair.dst.get() : pair.src.get();
        const int step = planes->widthStep;
        uint8_t* plane[3];
        for (ptrdiff_t c = 0; c < 3; c++) plane[c] = planes->imageData + c * planes->height * step;
        const auto run = split ? &libyuv::SplitRGBPlane : nullptr;
        if (run != nullptr) {
            run(grouped->imageData, grouped->widthStep, plane[0], step, plane[1], step, plane[2], step, planes->width,
                planes->height);
        } else {
            libyuv::MergeRGBPlane(plane[0], step, plane[1], step, plane[2], step, grouped->imageData,
                                  grouped->widthStep, planes->width, planes->height);
        }
    };
    items.add({name, size, pixels(size), "pixel",
               inTurns<Pair>(size, split ? Layouts{inPixels, inPlanes} : Layouts{inPlanes, inPixels}, asTheyAre, use),
               Kind::kPeer});
    return name;
}
#endif

void addOrders(Items& items, Size size) {
    for (const int32_t nChannels : {3, 4}) {
        for (const bool split : {true, false}) {
            const Layout inPixels = {k8U, nChannels};
            const Layout inPlanes = {k8U, nChannels, false, true};
            const std::string name = std::string("convert 8U x ") + (nChannels == 3 ? "3 " : "4 ") +
                                     (split ? "pixels to planes" : "planes to pixels");
            Item& item = items.add({name, size, pixels(size), "pixel",
                                    convert(size, split ? Layouts{inPixels, inPlanes} : Layouts{inPlanes, inPixels})});
            item.limitedBy(limit(items, Traffic::kOneRead, size, 8, nChannels), nChannels);
#ifdef TOV_HAVE_YUV
            if (nChannels == 3) {
                const std::string peer = yuvRegroup(items, size, split);
                item.peer(peer).aim(1.05, peer);
            }
#endif
        }
    }
}

Prepare reduce(Size size, const Layouts& layouts, int32_t dither) {
    const auto gray = [](Pair& pair) {
        for (TovImage* image : {pair.src.get(), pair.dst.get()}) {
            const char model[4] = {'G', 'R', 'A', 'Y'};
            for (int32_t i = 0; i < 4; i++) image->colorModel[i] = model[i];
            for (int32_t i = 0; i < 4; i++) image->channelSeq[i] = i == 0 ? 'G' : '\0';
        }
    };
    return inTurns<Pair>(size, layouts, gray, [dither](const Pair& pair) {
        tov::tovReduceBits(pair.src.get(), pair.dst.get(), 0, dither, 1);
    });
}

#ifdef TOV_HAVE_LEPTONICA
std::string leptonicaDither(Items& items, Size size) {
    std::string name = "leptonica pixDitherToBinary";
    items.add({name, size, pixels(size), "pixel",
               inTurns<Pair>(size, {k8U}, asTheyAre,
                             [](const Pair& pair) {
                                 const TovImage* image = pair.src.get();
                                 PIX* src = pixCreateHeader(image->width, image->height, 8);
                                 pixSetData(src, reinterpret_cast<l_uint32*>(image->imageData));
                                 PIX* dst = pixDitherToBinary(src);
                                 pixDestroy(&dst);
                                 pixSetData(src, nullptr);
                                 pixDestroy(&src);
                             }),
               Kind::kPeer});
    return name;
}
#endif

void addReductions(Items& items, Size size) {
    const std::string bound = limit(items, Traffic::kOneRead, size, 8);
    Item& plain = items.add({"reduce 16U to 8U", size, pixels(size), "pixel", reduce(size, {{k16U}, {k8U}}, 1)});
    plain.limitedBy(bound, 1.5);
    if (size == kOutOfCache) plain.aim(1.5 * 1.5, bound);
    items.add({"reduce 8U to 1U", size, pixels(size), "pixel", reduce(size, {{k8U}, {k1U}}, 1)}).aim(0.5);
    items.add({"reduce 16U to 1U", size, pixels(size), "pixel", reduce(size, {{k16U}, {k1U}}, 1)}).aim(0.5);
    items.add({"reduce 8U to 1U, ordered", size, pixels(size), "pixel", reduce(size, {{k8U}, {k1U}}, 16)}).aim(1.5);
    Item& floyd = items.add({"reduce 8U to 1U, Floyd", size, pixels(size), "pixel", reduce(size, {{k8U}, {k1U}}, 2)});
#ifdef TOV_HAVE_LEPTONICA
    const std::string peer = leptonicaDither(items, size);
    floyd.peer(peer).aim(1, peer);
#endif
    items.add({"reduce 8U to 1U, Stucki", size, pixels(size), "pixel", reduce(size, {{k8U}, {k1U}}, 8)});
}

} // namespace

void addReduceItems(Items& items) {
    for (const Size size : kSizes) {
        addDepths(items, size);
        addOrders(items, size);
        addReductions(items, size);
    }
}

} // namespace bench
