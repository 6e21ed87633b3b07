// Erosion over the sizes of squares, beside leptonica's.
#include "leptonica.h"
#include "memory_limits.h"
#include "scene.h"

namespace bench {

namespace {

std::string label(const char* form, int32_t n) {
    const std::string side = std::to_string(2 * n + 1);
    return std::string("erosion ") + form + ", " + side + " x " + side;
}

Prepare erode(Size size, const Layout& layout, int32_t n, bool masked = false) {
    const auto arrange = [size, masked](Pair& pair) {
        if (masked) pair.dst.mask(discMask(size));
    };
    return inTurns<Pair>(size, layout, arrange, [n](const Pair& pair) { tovErode(pair.src.get(), pair.dst.get(), n); });
}

#ifdef TOV_HAVE_LEPTONICA
std::string leptonicaPeer(Items& items, Size size, const Depth& depth, int32_t n) {
    const bool bits = depth.bits == 1;
    const int32_t side = 2 * n + 1;
    std::string name =
        std::string(bits ? "leptonica pixErodeBrick " : "leptonica pixErodeGray ") + std::to_string(side);
    items.add({name, size, pixels(size), "pixel",
               inTurns<PixPair>(size, {depth}, asTheyAre,
                                [bits, side](const PixPair& pair) {
                                    if (bits) {
                                        pixErodeBrick(pair.to.get(), pair.from.get(), side, side);
                                    } else {
                                        drop(pixErodeGray(pair.from.get(), side, side));
                                    }
                                }),
               Kind::kPeer});
    return name;
}
#endif

} // namespace

void addMorphItems(Items& items) {
    for (const Size size : kSizes) {
        for (const Depth& depth : {k8U, k1U}) {
            const std::string bound = limit(items, Traffic::kOneRead, size, 8);
            for (const int32_t n : {1, 2, 7, 25}) {
                Item& item = items.add({label(depth.name, n), size, pixels(size), "pixel", erode(size, {depth}, n)});
                item.limitedBy(bound, depth.bits / 8.0);
                if (n == 25) item.aim(2, label(depth.name, 1));
#ifdef TOV_HAVE_LEPTONICA
                const std::string peer = leptonicaPeer(items, size, depth, n);
                item.peer(peer).aim(1, peer);
#endif
            }
            const std::string plain = label(depth.name, 7);
            items.add({plain + ", disc mask", size, pixels(size), "pixel", erode(size, {depth}, 7, true)})
                .aim(1.3, plain);
        }
        items.add({label("16U", 7), size, pixels(size), "pixel", erode(size, {k16U}, 7)});
        items.add({label("8U x 3", 7), size, pixels(size), "pixel", erode(size, {k8U, 3}, 7)});
    }
}

} // namespace bench
