// What items work on: images over blocks that all of them share, masks, and a tile server.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "items.h"
#include "tov.h"

namespace bench {

struct Depth {
    const char* name;
    uint32_t depth;
    int32_t bits;
};
constexpr Depth k1U = {"1U", TOV_DEPTH_1U, 1};
constexpr Depth k8U = {"8U", TOV_DEPTH_8U, 8};
constexpr Depth k8S = {"8S", TOV_DEPTH_8S, 8};
constexpr Depth k16U = {"16U", TOV_DEPTH_16U, 16};
constexpr Depth k16S = {"16S", TOV_DEPTH_16S, 16};
constexpr Depth k32S = {"32S", TOV_DEPTH_32S, 32};
constexpr Depth k32F = {"32F", TOV_DEPTH_32F, 32};

// How an image is laid out. With `tiles` it is served in tiles of 256 x 256.
struct Layout {
    Depth depth = k8U;
    int32_t nChannels = 1;
    bool alpha = false;
    bool planes = false;
    bool tiles = false;
};

// The blocks, one for each role. Sources hold numbers that are ordinary at every depth, floats included, and are only
// ever read, so that every item finds the same.
enum Block { kSourceA, kSourceB, kDestination, kBlocks };

// Items out of cache walk through their blocks call by call, each time on the next `imageBytes`, so that nothing of an
// image is left in any cache when its turn comes again. In cache there is one turn.
size_t turnsOf(Size size, size_t imageBytes);
uint8_t* placeOf(Block which, size_t imageBytes, size_t turn);

// Of a source and a destination that differ.
struct Layouts {
    Layout src;
    Layout dst;
};

// The bytes of an image, in whole tiles if it has tiles; of two images those of the larger one.
size_t bytesOf(Size size, const Layout& layout);
size_t bytesOf(Size size, const Layouts& layouts);

// An image of a size in a block, with a region if one is placed and a mask if one is given.
class Picture {
public:
    Picture(Block which, Size size, const Layout& layout, size_t turn);
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;
    ~Picture();

    TovImage* get() const { return image_; }
    void region(int32_t x, int32_t y, Size size, int32_t coi = 0);
    void mask(TovImage* mask) { image_->maskROI = mask; }

private:
    TovImage* image_;
    TovROI roi_{};
    TovTileInfo tiles_{};
};

// Prepares calls of `use` on scenes, one after the other. A scene is made of a size, a layout and a turn; `arrange` may
// give its pictures regions and masks.
template <class Scene, class Form = Layout, class Arrange, class Use>
Prepare inTurns(Size size, const Form& layout, Arrange arrange, Use use) {
    return [=]() -> Call {
        const auto scenes = std::make_shared<std::deque<Scene>>();
        for (size_t turn = 0; turn < turnsOf(size, bytesOf(size, layout)); turn++) {
            arrange(scenes->emplace_back(size, layout, turn));
        }
        return [scenes, use, next = size_t{0}]() mutable {
            use((*scenes)[next]);
            next = next + 1 == scenes->size() ? 0 : next + 1;
        };
    };
}

// A source and a destination, and two sources and a destination.
struct Pair {
    Pair(Size size, const Layout& layout, size_t turn)
        : src(kSourceA, size, layout, turn), dst(kDestination, size, layout, turn) {}
    Pair(Size size, const Layouts& layouts, size_t turn)
        : src(kSourceA, size, layouts.src, turn), dst(kDestination, size, layouts.dst, turn) {}
    Picture src;
    Picture dst;
};
struct Trio {
    Trio(Size size, const Layout& layout, size_t turn)
        : a(kSourceA, size, layout, turn), b(kSourceB, size, layout, turn), dst(kDestination, size, layout, turn) {}
    Picture a;
    Picture b;
    Picture dst;
};
// For scenes that are used as they are made.
constexpr auto asTheyAre = [](const auto&) {};

// Masks of a size, made once: a disc that touches the nearer edges, and one with half of its bits set at random.
TovImage* discMask(Size size);
TovImage* randomMask(Size size);

} // namespace bench
