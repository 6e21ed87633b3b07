// Addition, subtraction and the bit operations.
#include "arith/arith.h"

#include "memory_limits.h"
#include "scene.h"

namespace bench {

namespace {

using Binary = void (*)(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage);

// Calls of an operation on images that `arrange` may give regions and masks.
template <class Arrange>
Prepare binary(Binary operation, Size size, const Layout& layout, Arrange arrange) {
    return inTurns<Trio>(size, layout, arrange,
                         [operation](const Trio& trio) { operation(trio.a.get(), trio.b.get(), trio.dst.get()); });
}
struct Named {
    const char* name;
    Binary operation;
};

std::string label(const char* operation, const Depth& depth, const char* form = "") {
    return std::string(operation) + " " + depth.name + form;
}

void addWhole(Items& items, Size size, const Named& named, std::initializer_list<Depth> depths) {
    for (const Depth& depth : depths) {
        const std::string bound = limit(items, Traffic::kTwoReads, size, depth.bits);
        const Prepare prepare = binary(named.operation, size, {depth}, asTheyAre);
        Item& item = items.add({label(named.name, depth), size, pixels(size), "value", prepare}).limitedBy(bound);
        if (depth.bits != 1) item.aim(limitAim(size), bound);
    }
}

void addInPlace(Items& items, Size size) {
    const std::string bound = limit(items, Traffic::kInPlace, size, 8);
    const Prepare prepare = inTurns<Trio>(
        size, {}, asTheyAre, [](const Trio& trio) { tovAdd(trio.dst.get(), trio.a.get(), trio.dst.get()); });
    items.add({"add 8U in place", size, pixels(size), "value", prepare}).limitedBy(bound).aim(limitAim(size), bound);
}

void addXor(Items& items, Size size) {
    for (const Depth& depth : {k1U, k8U, k16U, k32S}) {
        const std::string bound = limit(items, Traffic::kOneRead, size, depth.bits);
        const Prepare prepare = inTurns<Trio>(
            size, {depth}, asTheyAre, [](const Trio& trio) { tov::tovXorS(trio.a.get(), trio.dst.get(), 0x5A); });
        Item& item = items.add({label("xor", depth), size, pixels(size), "value", prepare}).limitedBy(bound);
        if (depth.bits != 1) item.aim(limitAim(size), bound);
    }
}

// Regions at offsets of their own, and the orders of channels.
void addRegions(Items& items, Size size, const Named& named) {
    const Size part = {size.width - 16, size.height - 8};
    const auto place = [part](Trio& trio) {
        trio.a.region(3, 2, part);
        trio.b.region(7, 5, part);
        trio.dst.region(1, 4, part);
    };
    for (const bool planes : {false, true}) {
        for (const int32_t nChannels : {1, 3}) {
            if (planes && nChannels == 1) continue;
            const Layout layout = {k8U, nChannels, false, planes};
            const std::string bound = limit(items, Traffic::kTwoReads, size, 8, nChannels);
            const std::string whole = label(named.name, k8U, planes ? " x 3 planes" : nChannels == 3 ? " x 3" : "");
            if (nChannels == 3) {
                items.add({whole, size, pixels(size) * 3, "value", binary(named.operation, size, layout, asTheyAre)})
                    .limitedBy(bound)
                    .aim(limitAim(size), bound);
            }
            items
                .add({whole + ", regions", size, pixels(part) * nChannels, "value",
                      binary(named.operation, size, layout, place)})
                .limitedBy(bound)
                .aim(planes || nChannels == 1 ? 0 : 1.1, whole);
        }
    }
}

// One channel of three, and three beside alpha.
void addChannels(Items& items, Size size) {
    const auto choose = [size](Trio& trio) {
        for (Picture* picture : {&trio.a, &trio.b, &trio.dst}) picture->region(0, 0, size, 2);
    };
    items.add({"add 8U x 3, channel 2", size, pixels(size), "value", binary(tovAdd, size, {k8U, 3}, choose)})
        .limitedBy(limit(items, Traffic::kTwoReads, size, 8, 3), 3);
    items.add({"add 8U x 3 + alpha", size, pixels(size) * 3, "value", binary(tovAdd, size, {k8U, 4, true}, asTheyAre)})
        .limitedBy(limit(items, Traffic::kTwoReads, size, 8, 4), 4.0 / 3);
    items
        .add({"add 8U x 3 + alpha, planes", size, pixels(size) * 3, "value",
              binary(tovAdd, size, {k8U, 4, true, true}, asTheyAre)})
        .limitedBy(limit(items, Traffic::kTwoReads, size, 8, 3));
}

void addMasks(Items& items, Size size) {
    for (const Depth& depth : {k8U, k8S, k16S, k32S, k32F}) {
        const std::string whole = label("add", depth);
        const auto masked = [=](TovImage* (*mask)(Size)) {
            return binary(tovAdd, size, {depth}, [=](Trio& trio) { trio.dst.mask(mask(size)); });
        };
        items.add({whole + ", disc mask", size, pixels(size), "value", masked(discMask)}).aim(1.3, whole);
        Item& random = items.add({whole + ", random mask", size, pixels(size), "value", masked(randomMask)});
        if (size == kInCache) random.aim(2.5);
    }
}

// 1-bit images whose regions begin at the same bit, and at bits of their own.
void addBits(Items& items, Size size, const Named& named) {
    const Size part = {size.width - 16, size.height - 8};
    const auto equal = [part](Trio& trio) {
        for (Picture* picture : {&trio.a, &trio.b, &trio.dst}) picture->region(3, 2, part);
    };
    const auto unequal = [part](Trio& trio) {
        trio.a.region(3, 2, part);
        trio.b.region(6, 2, part);
        trio.dst.region(1, 2, part);
    };
    const std::string name = label(named.name, k1U, ", equal offsets");
    const std::string bound = limit(items, Traffic::kTwoReads, size, 1);
    items.add({name, size, pixels(part), "value", binary(named.operation, size, {k1U}, equal)}).limitedBy(bound);
    items
        .add({label(named.name, k1U, ", unequal offsets"), size, pixels(part), "value",
              binary(named.operation, size, {k1U}, unequal)})
        .limitedBy(bound)
        .aim(2, name);
    items
        .add({label(named.name, k1U, ", disc mask"), size, pixels(size), "value",
              binary(named.operation, size, {k1U}, [size](Trio& trio) { trio.dst.mask(discMask(size)); })})
        .aim(0, label(named.name, k1U));
}

void addTiles(Items& items, Size size, const Named& named) {
    for (const Depth& depth : {k8U, k32S}) {
        Layout tiled = {depth};
        tiled.tiles = true;
        const std::string whole = label(named.name, depth);
        items.add({whole + ", tiled", size, pixels(size), "value", binary(named.operation, size, tiled, asTheyAre)})
            .aim(0, whole);
    }
}

} // namespace

void addArithItems(Items& items) {
    for (const Size size : kSizes) {
        for (const Named& named : {Named{"add", tovAdd}, Named{"subtract", tovSubtract}}) {
            addWhole(items, size, named, {k1U, k8U, k8S, k16U, k16S, k32S, k32F});
        }
        addInPlace(items, size);
        for (const Named& named : {Named{"or", tov::tovOr}, Named{"and", tov::tovAnd}}) {
            addWhole(items, size, named, {k8U, k16U, k32S});
        }
        addXor(items, size);
        addRegions(items, size, {"add", tovAdd});
        addChannels(items, size);
        addMasks(items, size);
        addBits(items, size, {"add", tovAdd});
        addBits(items, size, {"subtract", tovSubtract});
        addTiles(items, size, {"add", tovAdd});
    }
}

} // namespace bench
