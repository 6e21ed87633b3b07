// What other libraries do at reducing and enlarging.
#pragma once

#include <vector>

#include "scene.h"

namespace bench {

// A source and a destination, of which the larger has the item's size: Dst pixels for every Src on both axes.
template <int32_t DstPixels, int32_t SrcPixels>
struct Scaled {
    Scaled(Size size, const Layout& layout, size_t turn)
        : src(kSourceA, scaled(size, SrcPixels), layout, turn),
          dst(kDestination, scaled(size, DstPixels), layout, turn) {}
    static constexpr Size scaled(Size size, int32_t side) {
        constexpr int32_t larger = DstPixels > SrcPixels ? DstPixels : SrcPixels;
        return {size.width * side / larger, size.height * side / larger};
    }
    Picture src;
    Picture dst;
};

// A peer's call on a pair of images. Called once with each pair before anything is measured, which may keep things.
using PeerCall = std::function<void(const TovImage& src, const TovImage& dst)>;
struct Peer {
    std::string name;
    std::function<PeerCall(const TovImage& src, const TovImage& dst)> prepare;
};
// Those that serve 8-bit images of a number of channels in a mode.
std::vector<Peer> resamplePeers(int32_t nChannels, int32_t mode, bool enlarges);

// Adds the peers' items and gives their names.
template <int32_t DstPixels, int32_t SrcPixels>
std::vector<std::string> addPeers(Items& items, Size size, const Layout& layout, int32_t mode,
                                  const std::string& what) {
    std::vector<std::string> names;
    for (const Peer& peer : resamplePeers(layout.nChannels, mode, DstPixels > SrcPixels)) {
        struct Scene : Scaled<DstPixels, SrcPixels> {
            using Scaled<DstPixels, SrcPixels>::Scaled;
            PeerCall call;
        };
        names.push_back(peer.name + ", " + what);
        items.add({names.back(), size, pixels(size), "pixel",
                   inTurns<Scene>(
                       size, layout, [peer](Scene& s) { s.call = peer.prepare(*s.src.get(), *s.dst.get()); },
                       [](const Scene& s) { s.call(*s.src.get(), *s.dst.get()); }),
                   Kind::kPeer});
    }
    return names;
}

} // namespace bench
