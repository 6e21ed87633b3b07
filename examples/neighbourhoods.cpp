// Blur over sizes of windows, and erosion of pictures and of bits.
#include "neighbourhoods.h"

#include <algorithm>
#include <cmath>

void showBlur(Page& page, const Image& source) {
    const Image result = makeLike(source);
    tovCopy(source.get(), result.get());
    tovSetBorderMode(source.get(), TOV_BORDER_REPLICATE, TOV_SIDES_ALL, 0);
    const int32_t third = (source->width + 2) / 3;
    TovROI region = {0, 0, 0, third, source->height};
    source->roi = &region;
    result->roi = &region;
    for (const int32_t side : {5, 15, 45}) {
        if (region.xOffset < source->width) {
            tovBlur(source.get(), result.get(), side, side, side / 2, side / 2);
        }
        region.xOffset += third;
    }
    source->roi = nullptr;
    result->roi = nullptr;
    tovSetBorderMode(source.get(), TOV_BORDER_CONSTANT, TOV_SIDES_ALL, 0);
    page.add({"Blur",
              "Windows of 5 x 5, 15 x 15 and 45 x 45 pixels, each in a region of a third. Windows reach over the edges "
              "of regions, and repeat the pixels at the edges of the picture.",
              "tovSetBorderMode(source, TOV_BORDER_REPLICATE, TOV_SIDES_ALL, 0);\nsource->roi = result->roi = &region; "
              "/* each third */\ntovBlur(source, result, side, side, side / 2, side / 2);",
              {{"source", source}}},
             result);
}

void showErosion(Page& page, const Image& source) {
    const Image result = makeLike(source);
    tovSetBorderMode(source.get(), TOV_BORDER_REPLICATE, TOV_SIDES_ALL, 0);
    tovErode(source.get(), result.get(), 3);
    tovSetBorderMode(source.get(), TOV_BORDER_CONSTANT, TOV_SIDES_ALL, 0);
    page.add({"Erosion",
              "Each value becomes the least one of 7 x 7 around it: dark parts grow.",
              "tovSetBorderMode(source, TOV_BORDER_REPLICATE, TOV_SIDES_ALL, 0);\ntovErode(source, result, 3);",
              {{"source", source}}},
             result);
}

void showErodedBits(Page& page, const Image& source) {
    // Beads on strings: from left to right they shrink.
    const int32_t cell = std::max(std::min(source->width, source->height) / 8, 8);
    const Image beads = makeMask(source, [&](int32_t x, int32_t y) {
        const double dx = x % cell - cell / 2.0;
        const double dy = y % cell - cell / 2.0;
        const double radius = cell * (0.48 - 0.4 * x / source->width);
        return std::hypot(dx, dy) < radius || std::abs(dy) < 2;
    });
    const Image result = makeLike(beads);
    tovErode(beads.get(), result.get(), 4);
    page.add({"Erosion of bits",
              "A bit stays set where all of the 9 x 9 around it are. What is narrower goes, the rest shrinks.",
              "tovErode(beads, result, 4);",
              {{"beads", beads}}},
             result);
}
