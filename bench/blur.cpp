// The blur over window sizes, beside the libraries that do the like.
#include "leptonica.h"
#include "memory_limits.h"
#include "scene.h"

#ifdef TOV_HAVE_YUV
#include <libyuv.h>
#endif

namespace bench {

namespace {

Prepare blur(Size size, const Layout& layout, int32_t side, bool masked = false) {
    const auto arrange = [size, masked](Pair& pair) {
        if (masked) pair.dst.mask(discMask(size));
    };
    return inTurns<Pair>(size, layout, arrange, [side](const Pair& pair) {
        tovBlur(pair.src.get(), pair.dst.get(), side, side, side / 2, side / 2);
    });
}

std::string label(const char* form, int32_t side) {
    return std::string("blur ") + form + ", " + std::to_string(side) + " x " + std::to_string(side);
}

#ifdef TOV_HAVE_LEPTONICA
std::string leptonicaPeer(Items& items, Size size, int32_t side) {
    std::string name = "leptonica pixBlockconvGray " + std::to_string(side);
    items.add({name, size, pixels(size), "pixel",
               inTurns<PixPair>(size, {}, asTheyAre,
                                [side](const PixPair& pair) {
                                    drop(pixBlockconvGray(pair.from.get(), nullptr, side / 2, side / 2));
                                }),
               Kind::kPeer});
    return name;
}
#endif

#ifdef TOV_HAVE_YUV
// The table that the peer works with, for images of a size: 16 bytes a pixel and a row more, at a multiple of 16 bytes.
int32_t* yuvSums(const TovImage& image) {
    static std::vector<int32_t> sums;
    const auto count = static_cast<size_t>(image.width) * 4 * (static_cast<size_t>(image.height) + 1) + 4;
    if (sums.size() < count) sums.resize(count);
    return sums.data() + (16 - reinterpret_cast<uintptr_t>(sums.data()) % 16) % 16 / sizeof(int32_t);
}

std::string yuvPeer(Items& items, Size size, int32_t side) {
    std::string name = "libyuv ARGBBlur " + std::to_string(side);
    items.add({name, size, pixels(size), "pixel",
               inTurns<Pair>(size, {k8U, 4}, asTheyAre,
                             [side](const Pair& p) {
                                 const TovImage* src = p.src.get();
                                 const TovImage* dst = p.dst.get();
                                 libyuv::ARGBBlur(src->imageData, src->widthStep, dst->imageData, dst->widthStep,
                                                  yuvSums(*dst), dst->width * 4, dst->width, dst->height, side / 2);
                             }),
               Kind::kPeer});
    return name;
}
#endif

void addGrayItems(Items& items, Size size) {
    const std::string bound = limit(items, Traffic::kOneRead, size, 8);
    for (const int32_t side : {3, 15, 51}) {
        Item& item = items.add({label("8U", side), size, pixels(size), "pixel", blur(size, {}, side)}).limitedBy(bound);
        if (size == kOutOfCache) item.aim(6, bound);
        if (size == kOutOfCache && side == 51) item.aim(1.25, label("8U", 3));
#ifdef TOV_HAVE_LEPTONICA
        const std::string peer = leptonicaPeer(items, size, side);
        item.peer(peer).aim(1, peer);
#endif
    }
    const std::string plain = label("8U", 15);
    items.add({plain + ", disc mask", size, pixels(size), "pixel", blur(size, {}, 15, true)}).aim(1.3, plain);
}

} // namespace

void addBlurItems(Items& items) {
    for (const Size size : kSizes) {
        addGrayItems(items, size);
        items.add({label("8U x 3", 15), size, pixels(size), "pixel", blur(size, {k8U, 3}, 15)});
        for (const int32_t side : {15, 51}) {
            [[maybe_unused]] Item& item =
                items.add({label("8U x 4", side), size, pixels(size), "pixel", blur(size, {k8U, 4}, side)});
#ifdef TOV_HAVE_YUV
            const std::string peer = yuvPeer(items, size, side);
            item.peer(peer);
            if (size == kOutOfCache) item.aim(1, peer);
#endif
        }
        items.add({label("16U", 15), size, pixels(size), "pixel", blur(size, {k16U}, 15)});
        items.add({label("32F", 15), size, pixels(size), "pixel", blur(size, {k32F}, 15)});
        items.add({label("1U", 15), size, pixels(size), "pixel", blur(size, {k1U}, 15)});
    }
}

} // namespace bench
