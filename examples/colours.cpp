// Composition with a soft edge and by all operators, and colour twists.
#include "colours.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace {

// Sets all channels of an 8-bit image, alpha too, to value(x, y, channel).
template <class Value>
void draw(const Image& image, Value value) {
    const bool planes = image->dataOrder == TOV_DATA_ORDER_PLANE;
    for (int32_t y = 0; y < image->height; y++) {
        for (int32_t c = 0; c < image->nChannels; c++) {
            uint8_t* sample = rowFromTop(*image.get(), y, planes ? c : 0) + (planes ? 0 : c);
            const int32_t step = planes ? 1 : image->nChannels;
            for (int32_t x = 0; x < image->width; x++, sample += step) *sample = value(x, y, c);
        }
    }
}

Image makeWithAlpha(int32_t width, int32_t height) {
    Image image(tovCreateImageHeader(4, 4, TOV_DEPTH_8U, "RGBA", "BGRA", TOV_DATA_ORDER_PIXEL, TOV_ORIGIN_TL,
                                     TOV_ALIGN_4BYTES, width, height, nullptr, nullptr, nullptr, nullptr));
    if (image.get() != nullptr) tovAllocateImage(image.get(), 1, 0);
    if (image.get() == nullptr || image->imageData == nullptr) throw std::bad_alloc();
    return image;
}

// How much of a pixel at a distance from a disc's center is covered, as an alpha; the edge is `soft` pixels wide.
uint8_t coverage(double distance, double radius, double soft) {
    return static_cast<uint8_t>(std::lround(255 * std::clamp((radius - distance) / soft + 0.5, 0.0, 1.0)));
}

} // namespace

void showSoftEdge(Page& page, const Image& source) {
    const double width = source->width;
    const double height = source->height;
    const Image soft = makeLike(source);
    draw(soft, [&](int32_t x, int32_t y, int32_t) {
        const double distance = std::hypot((x - width / 2) / width, (y - height / 2) / height);
        return coverage(distance, 0.36, 0.24);
    });
    const Image paper = makeLike(source, 235);
    const Image opaque = makeLike(source);
    draw(opaque, [](int32_t, int32_t, int32_t) { return uint8_t{255}; });
    const Image result = makeLike(source);
    tovAlphaComposite(source.get(), paper.get(), result.get(), TOV_COMPOSITE_OVER, soft.get(), opaque.get(), nullptr, 0,
                      0);
    page.add({"Over, with a soft edge",
              "The picture lies over paper, with an alpha that fades out. Both alphas come from images of their own.",
              "tovAlphaComposite(source, paper, result, TOV_COMPOSITE_OVER, soft, opaque, NULL, 0, 0);",
              {{"source", source}, {"soft", soft}}},
             result);
}

void showOperators(Page& page, const Image&) {
    constexpr int32_t cell = 120;
    constexpr int32_t columns = 3;
    const Image a = makeWithAlpha(columns * cell, 2 * cell);
    const Image b = makeWithAlpha(columns * cell, 2 * cell);
    const Image layer = makeWithAlpha(columns * cell, 2 * cell);
    const Image board = makeWithAlpha(columns * cell, 2 * cell);
    // Colours are multiplied by alpha.
    const auto drawDisc = [](const Image& image, double centerX, const uint8_t(&colour)[3]) {
        draw(image, [&](int32_t x, int32_t y, int32_t c) {
            const uint8_t alpha = coverage(std::hypot(x % cell - centerX, y % cell - cell / 2.0), 34, 6);
            return c == 3 ? alpha : static_cast<uint8_t>(colour[c] * alpha / 255);
        });
    };
    drawDisc(a, cell * 0.4, {40, 130, 240});
    drawDisc(b, cell * 0.6, {200, 110, 30});
    draw(board, [](int32_t x, int32_t y, int32_t c) {
        return static_cast<uint8_t>(c == 3 ? 255 : (x / 10 + y / 10) % 2 == 0 ? 255 : 215);
    });
    for (int32_t type = TOV_COMPOSITE_OVER; type <= TOV_COMPOSITE_PLUS; type++) {
        TovROI region = {0, type % columns * cell, type / columns * cell, cell, cell};
        for (const Image* image : {&a, &b, &layer}) (*image)->roi = &region;
        tovAlphaComposite(a.get(), b.get(), layer.get(), type, nullptr, nullptr, nullptr, 1, 0);
        for (const Image* image : {&a, &b, &layer}) (*image)->roi = nullptr;
    }
    tovAlphaComposite(layer.get(), board.get(), board.get(), TOV_COMPOSITE_OVER, nullptr, nullptr, nullptr, 1, 0);
    page.add({"Six operators",
              "An orange disc a and a blue disc b: over, in, out; atop, xor, plus. Each goes to a region of a layer, "
              "which is then laid over a checkerboard.",
              "tovAlphaComposite(a, b, layer, type, NULL, NULL, NULL, 1, 0); /* for each type */\n"
              "tovAlphaComposite(layer, board, board, TOV_COMPOSITE_OVER, NULL, NULL, NULL, 1, 0);",
              {{"a", a}, {"b", b}}},
             board);
}

void showTwists(Page& page, const Image& source) {
    // Channels are blue, green, red. Entries are divided by 1 << 10.
    static constexpr int32_t sepia[16] = {134, 547, 279, 0, 171, 702, 357, 0, 193, 787, 402, 0};
    static constexpr int32_t swap[16] = {0, 1024, 0, 0, 0, 0, 1024, 0, 1024, 0, 0, 0};
    TovColorTwist twist;
    const Image brown = makeLike(source);
    tovSetColorTwist(&twist, sepia, 10);
    tovApplyColorTwist(source.get(), brown.get(), &twist, 0);
    page.add({"Sepia",
              "Each colour becomes a sum of all three. What exceeds 255 stays there.",
              "tovSetColorTwist(&twist, sepia, 10);\ntovApplyColorTwist(source, result, &twist, 0);",
              {{"source", source}}},
             brown);
    const Image swapped = makeLike(source);
    tovSetColorTwist(&twist, swap, 10);
    tovApplyColorTwist(source.get(), swapped.get(), &twist, 0);
    page.add({"Channels changed round",
              "Blue takes green's values, green red's, and red blue's.",
              "tovSetColorTwist(&twist, swap, 10);\ntovApplyColorTwist(source, result, &twist, 0);",
              {{"source", source}}},
             swapped);
}
