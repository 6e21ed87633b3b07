// Copying and filling.
#include "memory_limits.h"
#include "scene.h"

namespace bench {

namespace {

// The two operations of the family: copying from src to dst, and filling dst.
struct Operation {
    const char* name;
    void (*run)(const Pair& pair);
    Traffic traffic;
};
const Operation kOperations[] = {
    {"copy", [](const Pair& pair) { tovCopy(pair.src.get(), pair.dst.get()); }, Traffic::kMemcpy},
    {"set", [](const Pair& pair) { tovSet(pair.dst.get(), 0x55); }, Traffic::kMemset},
};

template <class Arrange>
Prepare calls(const Operation& operation, Size size, const Layout& layout, Arrange arrange) {
    return inTurns<Pair>(size, layout, arrange, operation.run);
}

std::string label(const Operation& operation, const Depth& depth, const char* form = "") {
    return std::string(operation.name) + " " + depth.name + form;
}

void addWhole(Items& items, Size size, const Operation& operation) {
    for (const Depth& depth : {k1U, k8U, k16U, k32S}) {
        const std::string bound = limit(items, operation.traffic, size, depth.bits);
        const Prepare prepare = calls(operation, size, {depth}, asTheyAre);
        Item& item = items.add({label(operation, depth), size, pixels(size), "value", prepare}).limitedBy(bound);
        if (depth.bits != 1) item.aim(limitAim(size), bound);
    }
}

// Regions at offsets of their own, and the orders of channels.
void addRegions(Items& items, Size size, const Operation& operation) {
    const Size part = {size.width - 16, size.height - 8};
    const auto place = [part](Pair& pair) {
        pair.src.region(3, 2, part);
        pair.dst.region(1, 4, part);
    };
    for (const bool planes : {false, true}) {
        const Layout layout = {k8U, 3, false, planes};
        const std::string whole = label(operation, k8U, planes ? " x 3 planes" : " x 3");
        const std::string bound = limit(items, operation.traffic, size, 8, 3);
        items.add({whole, size, pixels(size) * 3, "value", calls(operation, size, layout, asTheyAre)})
            .limitedBy(bound)
            .aim(limitAim(size), bound);
        items.add({whole + ", regions", size, pixels(part) * 3, "value", calls(operation, size, layout, place)})
            .limitedBy(bound)
            .aim(planes ? 0 : 1.1, whole);
    }
    for (const Depth& depth : {k8U, k16U, k32S}) {
        items
            .add({label(operation, depth, ", regions"), size, pixels(part), "value",
                  calls(operation, size, {depth}, place)})
            .limitedBy(limit(items, operation.traffic, size, depth.bits))
            .aim(0, label(operation, depth));
    }
}

// One channel of three, and three beside alpha.
void addChannels(Items& items, Size size, const Operation& operation) {
    const auto choose = [size](Pair& pair) {
        pair.src.region(0, 0, size, 2);
        pair.dst.region(0, 0, size, 2);
    };
    items
        .add({label(operation, k8U, " x 3, channel 2"), size, pixels(size), "value",
              calls(operation, size, {k8U, 3}, choose)})
        .limitedBy(limit(items, operation.traffic, size, 8, 3), 3);
    items
        .add({label(operation, k8U, " x 3 + alpha"), size, pixels(size) * 3, "value",
              calls(operation, size, {k8U, 4, true}, asTheyAre)})
        .limitedBy(limit(items, operation.traffic, size, 8, 4), 4.0 / 3);
}

void addMasks(Items& items, Size size, const Operation& operation) {
    for (const Depth& depth : {k8U, k16U, k32S}) {
        const std::string whole = label(operation, depth);
        const auto masked = [&](TovImage* (*mask)(Size)) {
            return calls(operation, size, {depth}, [=](Pair& pair) { pair.dst.mask(mask(size)); });
        };
        items.add({whole + ", disc mask", size, pixels(size), "value", masked(discMask)}).aim(1.3, whole);
        Item& random = items.add({whole + ", random mask", size, pixels(size), "value", masked(randomMask)});
        if (size == kInCache) random.aim(2.5);
    }
}

// 1-bit images whose regions begin at the same bit, and at bits of their own.
void addBits(Items& items, Size size, const Operation& operation) {
    const Size part = {size.width - 16, size.height - 8};
    const auto equal = [part](Pair& pair) {
        pair.src.region(3, 2, part);
        pair.dst.region(3, 2, part);
    };
    const auto unequal = [part](Pair& pair) {
        pair.src.region(6, 2, part);
        pair.dst.region(1, 2, part);
    };
    const std::string name = label(operation, k1U, ", equal offsets");
    const std::string bound = limit(items, operation.traffic, size, 1);
    items.add({name, size, pixels(part), "value", calls(operation, size, {k1U}, equal)}).limitedBy(bound);
    if (operation.traffic == Traffic::kMemcpy) {
        items
            .add({label(operation, k1U, ", unequal offsets"), size, pixels(part), "value",
                  calls(operation, size, {k1U}, unequal)})
            .limitedBy(bound)
            .aim(2, name);
    }
    items
        .add({label(operation, k1U, ", disc mask"), size, pixels(size), "value",
              calls(operation, size, {k1U}, [size](Pair& pair) { pair.dst.mask(discMask(size)); })})
        .aim(0, label(operation, k1U));
}

void addTiles(Items& items, Size size, const Operation& operation) {
    for (const Depth& depth : {k8U, k32S}) {
        Layout tiled = {depth};
        tiled.tiles = true;
        const std::string whole = label(operation, depth);
        items.add({whole + ", tiled", size, pixels(size), "value", calls(operation, size, tiled, asTheyAre)})
            .aim(0, whole);
    }
}

} // namespace

void addMoveItems(Items& items) {
    for (const Size size : kSizes) {
        for (const Operation& operation : kOperations) {
            addWhole(items, size, operation);
            addRegions(items, size, operation);
            addChannels(items, size, operation);
            addMasks(items, size, operation);
            addBits(items, size, operation);
            addTiles(items, size, operation);
        }
    }
}

} // namespace bench
