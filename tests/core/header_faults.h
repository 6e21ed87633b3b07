// A sound header and the faults that it can have, in the order in which they are found.
#pragma once

#include <functional>
#include <vector>

#include "tov.h"

namespace tovtest {

struct Fault {
    TovStatus status;
    std::function<void(TovImage&)> make;
};
using Faults = std::vector<Fault>;

inline Faults operator+(Faults a, const Faults& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// A header with three channels, alpha, mask, region, and pixels or tiles.
struct Sound {
    uint8_t pixels[64] = {};
    TovROI roi{3, 0, 0, 4, 4}, maskRoi{1, 2, 1, 9, 9};
    TovTileInfo tiles{[](TovImage*, int32_t, int32_t, int32_t) {}, nullptr, nullptr, 8, 16}, maskTiles = tiles;
    TovImage mask{}, image{};

    explicit Sound(bool tiled) {
        mask.nChannels = 1;
        mask.depth = TOV_DEPTH_1U;
        mask.align = 4;
        mask.width = mask.height = 4;
        mask.imageData = pixels;
        mask.imageSize = 16;
        mask.widthStep = 4;
        mask.roi = &maskRoi;
        mask.imageId = &maskTiles; // for the fault that tiles the mask
        image = mask;
        image.nChannels = image.alphaChannel = 3;
        image.depth = TOV_DEPTH_8S;
        image.roi = &roi;
        image.maskROI = &mask;
        if (!tiled) return;
        image.imageData = nullptr;
        image.tileInfo = &tiles;
        image.imageSize = image.widthStep = 0;
    }
};

inline Faults pixelFaults() {
    return {{-12, [](TovImage& i) { i.imageData = nullptr; }},
            {-10, [](TovImage& i) { i.imageSize = 0; }},
            {-10, [](TovImage& i) { i.imageSize = -1; }},
            {-13, [](TovImage& i) { i.widthStep = 0; }},
            {-13, [](TovImage& i) { i.widthStep = -4; }}};
}

// Size and number of channels.
inline Faults sizeFaults() {
    return {{-10, [](TovImage& i) { i.width = 0; }},
            {-10, [](TovImage& i) { i.height = -5; }},
            {-15, [](TovImage& i) { i.nChannels = 0; }},
            {-16, [](TovImage& i) { i.depth = TOV_DEPTH_1U; }}};
}

// Depth to alignment.
inline Faults formFaults() {
    Faults faults;
    for (uint32_t depth : {0u, 2u, 7u, 64u, 0x80000001u, 0x80000000u, 0xFFFFFFFFu}) {
        faults.push_back({-17, [depth](TovImage& i) { i.depth = depth; }});
    }
    for (int32_t bad : {2, -1}) {
        faults.push_back({-18, [bad](TovImage& i) { i.alphaChannel = bad; }});
    }
    for (int32_t bad : {2, -1}) {
        faults.push_back({-19, [bad](TovImage& i) { i.dataOrder = bad; }});
    }
    for (int32_t bad : {2, -1}) {
        faults.push_back({-20, [bad](TovImage& i) { i.origin = bad; }});
    }
    for (int32_t bad : {0, 1, 12, 64, -4}) {
        faults.push_back({-21, [bad](TovImage& i) { i.align = bad; }});
    }
    return faults;
}

inline Faults regionFaults(int32_t nChannels) {
    return {{-24, [](TovImage& i) { i.roi->coi = -1; }},
            {-24, [nChannels](TovImage& i) { i.roi->coi = nChannels + 1; }},
            {-25, [](TovImage& i) { i.roi->width = 0; }},
            {-25, [](TovImage& i) { i.roi->height = -1; }},
            {-11, [](TovImage& i) { i.roi->xOffset = -1; }},
            {-11, [](TovImage& i) { i.roi->yOffset = INT32_MIN; }}};
}

// Those of the mask, as found through its owner. A mask of several channels is left out: -116 is tested by itself.
inline Faults maskFaults() {
    Faults faults = {{-117, [](TovImage& i) { i.maskROI->depth = TOV_DEPTH_8U; }},
                     {-26, [](TovImage& i) {
                          i.maskROI->tileInfo = static_cast<TovTileInfo*>(i.maskROI->imageId);
                          i.maskROI->imageData = nullptr;
                      }}};
    for (const Fault& fault : pixelFaults() + sizeFaults() + formFaults() + regionFaults(1)) {
        if (fault.status == -16 || fault.status == -17) continue;
        faults.push_back({fault.status - 100, [fault](TovImage& i) { fault.make(*i.maskROI); }});
    }
    return faults;
}

// Calls `check` with the status that must be found for each pair of faults: that of the earlier one. The later one is
// made first, so that of two faults in one field the earlier one stands.
inline void forEachPair(const Faults& faults, bool tiled, const std::function<void(Sound&, TovStatus)>& check) {
    for (std::size_t first = 0; first < faults.size(); ++first) {
        for (std::size_t second = first; second < faults.size(); ++second) {
            Sound sound(tiled);
            faults[second].make(sound.image);
            faults[first].make(sound.image);
            check(sound, faults[first].status);
        }
    }
}

} // namespace tovtest
