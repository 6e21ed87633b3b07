// The blur over window sizes.
#include "memory_limits.h"
#include "scene.h"

namespace bench {

namespace {

struct Pair {
    Pair(Size size, const Layout& layout, size_t turn)
        : src(kSourceA, size, layout, turn), dst(kDestination, size, layout, turn) {}
    Picture src;
    Picture dst;
};

void asTheyAre(const Pair&) {}

Prepare blur(Size size, const Layout& layout, int32_t side) {
    return inTurns<Pair>(size, layout, asTheyAre, [side](const Pair& pair) {
        tovBlur(pair.src.get(), pair.dst.get(), side, side, side / 2, side / 2);
    });
}

std::string label(const char* form, int32_t side) {
    return std::string("blur ") + form + ", " + std::to_string(side) + " x " + std::to_string(side);
}

} // namespace

void addBlurItems(Items& items) {
    for (const Size size : kSizes) {
        const std::string bound = limit(items, Traffic::kOneRead, size, 8);
        for (const int32_t side : {3, 15, 51}) {
            Item& item =
                items.add({label("8U", side), size, pixels(size), "pixel", blur(size, {}, side)}).limitedBy(bound);
            if (size == kOutOfCache && side == 3) item.aim(6, bound);
            if (side == 51) item.aim(1.25, label("8U", 3));
        }
        items.add({label("8U x 3", 15), size, pixels(size), "pixel", blur(size, {k8U, 3}, 15)});
        items.add({label("8U x 4", 15), size, pixels(size), "pixel", blur(size, {k8U, 4}, 15)});
        items.add({label("16U", 15), size, pixels(size), "pixel", blur(size, {k16U}, 15)});
        items.add({label("32F", 15), size, pixels(size), "pixel", blur(size, {k32F}, 15)});
    }
}

} // namespace bench
