// Runs the library's operations on a picture and shows what they do: gallery OUTDIR [IMAGE] writes OUTDIR/index.html.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "bitmap_file.h"
#include "bitmaps.h"
#include "colours.h"
#include "convolution.h"
#include "image.h"
#include "neighbourhoods.h"
#include "page.h"
#include "picture.h"
#include "sizes.h"
#include "tov.h"

namespace {

// Without a handler of its own the process would end at the first failure, without a word.
TovStatus onError(TovStatus status, const char* funcName, const char* context, const char* file, int32_t line) {
    std::fprintf(stderr, "gallery: %s: %s: %s (%s, line %d)\n", funcName, tovErrorStr(status), context, file,
                 int{line});
    return status;
}

// ---------------------------------------------------------------------------------------------------------------------
// The entries. Each makes a result from the source and adds it to the page.

void showSum(Page& page, const Image& source) {
    const Image result = makeLike(source);
    tovAdd(source.get(), source.get(), result.get());
    page.add({"Sum",
              "Every value is doubled. What would exceed 255 stays at 255.",
              "tovAdd(source, source, result);",
              {{"source", source}}},
             result);
}

void showDifference(Page& page, const Image& source) {
    const Image level = makeLike(source);
    tovSet(level.get(), 90);
    const Image result = makeLike(source);
    tovSubtract(source.get(), level.get(), result.get());
    page.add({"Difference",
              "90 is taken from every value. What would fall below 0 stays at 0.",
              "tovSet(level, 90);\ntovSubtract(source, level, result);",
              {{"source", source}, {"level", level}}},
             result);
}

void showEdges(Page& page, const Image& source) {
    // A second header over the same pixels: its region begins one pixel further, and is cut at the image's edges.
    TovImage shifted = *source.get();
    TovROI region = {0, std::min(1, source->width - 1), std::min(1, source->height - 1), source->width, source->height};
    shifted.roi = &region;
    const Image fallen = makeLike(source);
    const Image result = makeLike(source);
    tovSubtract(&shifted, source.get(), result.get());
    tovSubtract(source.get(), &shifted, fallen.get());
    tovAdd(result.get(), fallen.get(), result.get());
    for (int i = 0; i < 2; i++) tovAdd(result.get(), result.get(), result.get());
    page.add(
        {"Edges",
         "The picture less itself, moved by a pixel, has the rises, and the other way round the falls. Together they "
         "are brightened four times, in place.",
         "shifted = *source;\nshifted.roi = &region; /* from (1, 1) on */\n"
         "tovSubtract(&shifted, source, result);\n"
         "tovSubtract(source, &shifted, fallen);\n"
         "tovAdd(result, fallen, result);\n"
         "tovAdd(result, result, result); /* twice */",
         {{"source", source}}},
        result);
}

void showRegion(Page& page, const Image& source) {
    TovROI region = {0, source->width / 4, source->height / 4, (source->width + 1) / 2, (source->height + 1) / 2};
    const Image result = makeLike(source);
    tovSet(result.get(), 255);
    source->roi = &region;
    result->roi = &region;
    tovCopy(source.get(), result.get());
    source->roi = nullptr;
    result->roi = nullptr;
    page.add({"Region",
              "Only the region is copied; around it the result keeps its white.",
              "tovSet(result, 255);\nsource->roi = result->roi = &region;\ntovCopy(source, result);",
              {{"source", source}}},
             result);
}

Image middleDisc(const Image& source, double x, double size) {
    return makeDisc(source, source->width * x, source->height / 2.0, size * std::min(source->width, source->height));
}

void showSpotlight(Page& page, const Image& source) {
    const Image level = makeLike(source, source->depth == TOV_DEPTH_1U ? 1 : 110);
    const Image disc = middleDisc(source, 0.5, 0.42);
    const Image result = makeLike(source);
    tovSubtract(source.get(), level.get(), result.get());
    result->maskROI = disc.get();
    tovCopy(source.get(), result.get());
    result->maskROI = nullptr;
    page.add({"Mask",
              "The picture is darkened, then copied back where the mask's bits are set.",
              "tovSubtract(source, level, result);\nresult->maskROI = disc;\ntovCopy(source, result);",
              {{"source", source}, {"disc", disc}}},
             result);
}

void showMaskedFill(Page& page, const Image& source) {
    const int32_t band = std::max(source->width / 24, 3);
    const Image stripes = makeMask(source, [band](int32_t x, int32_t y) { return (x + y) / band % 3 == 0; });
    const Image result = makeLike(source);
    tovCopy(source.get(), result.get());
    result->maskROI = stripes.get();
    tovSet(result.get(), 255);
    result->maskROI = nullptr;
    page.add({"Fill under a mask",
              "255 is stored where the mask's bits are set.",
              "tovCopy(source, result);\nresult->maskROI = stripes;\ntovSet(result, 255);",
              {{"source", source}, {"stripes", stripes}}},
             result);
}

void showOr(Page& page, const Image& source) {
    const Image left = middleDisc(source, 0.38, 0.33);
    const Image right = middleDisc(source, 0.62, 0.33);
    const Image result = makeLike(left);
    tovAdd(left.get(), right.get(), result.get());
    page.add({"Or of 1-bit images",
              "On 1-bit images addition is the logical or.",
              "tovAdd(left, right, result);",
              {{"left", left}, {"right", right}}},
             result);
}

void showAndNot(Page& page, const Image& source) {
    const Image outer = middleDisc(source, 0.5, 0.44);
    const Image inner = middleDisc(source, 0.5, 0.28);
    const Image result = makeLike(outer);
    tovSubtract(outer.get(), inner.get(), result.get());
    page.add({"Difference of 1-bit images",
              "A bit is set where the first image's is and the second one's is not.",
              "tovSubtract(outer, inner, result);",
              {{"outer", outer}, {"inner", inner}}},
             result);
}

void showTwoMasks(Page& page, const Image& source) {
    const Image left = middleDisc(source, 0.40, 0.42);
    const Image right = middleDisc(source, 0.60, 0.42);
    const Image result = makeLike(source);
    source->maskROI = left.get();
    result->maskROI = right.get();
    tovCopy(source.get(), result.get());
    source->maskROI = nullptr;
    result->maskROI = nullptr;
    page.add({"Two masks",
              "Source and destination have a mask each; what both allow is copied.",
              "source->maskROI = left;\nresult->maskROI = right;\ntovCopy(source, result);",
              {{"source", source}, {"left", left}, {"right", right}}},
             result);
}

void showChannel(Page& page, const Image& source) {
    TovROI region = {3, 0, 0, source->width, source->height};
    const Image result = makeLike(source);
    source->roi = &region;
    result->roi = &region;
    tovCopy(source.get(), result.get());
    source->roi = nullptr;
    result->roi = nullptr;
    page.add({"Channel of interest",
              "The third channel, red, is copied; the others stay black.",
              "region.coi = 3;\nsource->roi = result->roi = &region;\ntovCopy(source, result);",
              {{"source", source}}},
             result);
}

void showSwap(Page& page, const Image& source) {
    TovROI from = {0, 0, 0, source->width, source->height};
    TovROI to = from;
    const Image result = makeLike(source);
    tovCopy(source.get(), result.get());
    source->roi = &from;
    result->roi = &to;
    for (const int32_t channel : {1, 3}) {
        from.coi = channel;
        to.coi = 4 - channel;
        tovCopy(source.get(), result.get());
    }
    source->roi = nullptr;
    result->roi = nullptr;
    page.add(
        {"Channels exchanged",
         "Blue goes to red and red to blue: each image has a channel of interest of its own.",
         "from.coi = 1; to.coi = 3;\ntovCopy(source, result);\nfrom.coi = 3; to.coi = 1;\ntovCopy(source, result);",
         {{"source", source}}},
        result);
}

// A tile server: all tiles in one block, and a count of what was asked for.
struct Tiles {
    static constexpr int32_t kSide = 64;

    explicit Tiles(const TovImage& image)
        : columns((image.width + kSide - 1) / kSide),
          tileBytes(static_cast<size_t>(kSide) * kSide / 8 * (image.depth & ~TOV_DEPTH_SIGN) *
                    static_cast<size_t>(image.nChannels)),
          memory(tileBytes * static_cast<size_t>(columns) * static_cast<size_t>((image.height + kSide - 1) / kSide)) {}

    static void serve(TovImage* image, int32_t xIndex, int32_t yIndex, int32_t mode) {
        if (mode == TOV_TILE_RELEASE) return;
        auto* tiles = static_cast<Tiles*>(image->imageId);
        const size_t index =
            static_cast<size_t>(yIndex) * static_cast<size_t>(tiles->columns) + static_cast<size_t>(xIndex);
        image->tileInfo->tileData = tiles->memory.data() + index * tiles->tileBytes;
        tiles->requests++;
    }

    int32_t columns;
    size_t tileBytes;
    std::vector<uint8_t> memory;
    int requests = 0;
};

void showTiles(Page& page, const Image& source) {
    Tiles tiles(*source.get());
    TovTileInfo info = {Tiles::serve, nullptr, nullptr, Tiles::kSide, Tiles::kSide};
    const Image tiled = makeTiledLike(source, &info, &tiles);
    const Image result = makeLike(source);
    tovAdd(source.get(), source.get(), tiled.get());
    const int written = tiles.requests;
    tovSubtract(tiled.get(), source.get(), result.get());
    page.add({"Tiles",
              "The sum goes to an image in tiles of 64 x 64 (" + std::to_string(written) +
                  " requests), which then stands among plain ones: what saturated is what the picture has lost.",
              "tovAdd(source, source, tiled);\ntovSubtract(tiled, source, result);",
              {{"source", source}}},
             result);
}

// What a source must have for an entry to tell something.
enum Needs { kNothing, kValues, kColors, kColorBytes };

struct Exhibit {
    void (*show)(Page& page, const Image& source);
    Needs needs;
};
constexpr Exhibit kExhibits[] = {
    {showSum, kValues},          {showDifference, kValues},  {showEdges, kNothing},
    {showRegion, kNothing},      {showSpotlight, kNothing},  {showMaskedFill, kNothing},
    {showOr, kNothing},          {showAndNot, kNothing},     {showTwoMasks, kNothing},
    {showChannel, kColors},      {showSwap, kColors},        {showTiles, kValues},
    {showSoftEdge, kColorBytes}, {showOperators, kNothing},  {showTwists, kColorBytes},
    {showSharpening, kValues},   {showEmboss, kValues},      {showEdgeMagnitude, kValues},
    {showCurve, kValues},        {showDithers, kColorBytes}, {showRoundTrips, kColorBytes},
    {showMirrors, kNothing},     {showEnlarged, kValues},    {showReduced, kValues},
    {showBlur, kNothing},        {showErosion, kNothing},    {showErodedBits, kNothing},
};

bool has(const TovImage& source, Needs needs) {
    if (needs == kColorBytes && source.depth != TOV_DEPTH_8U) return false;
    if (needs == kColors || needs == kColorBytes) return source.nChannels >= 3;
    return needs == kNothing || source.depth != TOV_DEPTH_1U;
}

// ---------------------------------------------------------------------------------------------------------------------

std::string describe(const TovImage& image) {
    const std::string bits = std::to_string(image.depth & ~TOV_DEPTH_SIGN);
    std::string text = std::to_string(image.width) + " x " + std::to_string(image.height) + " pixels, " +
                       std::to_string(image.nChannels) + (image.nChannels == 1 ? " channel of " : " channels of ") +
                       bits + (image.depth == TOV_DEPTH_1U ? " bit" : " bits");
    if (image.nChannels > 1) text += image.dataOrder == TOV_DATA_ORDER_PLANE ? " in planes" : " interleaved";
    if (image.alphaChannel != 0) text += ", the last one alpha";
    return text + (image.origin == TOV_ORIGIN_BL ? ", bottom row first" : ", top row first");
}

// `calls` made the source.
void makeGallery(const std::string& folder, const std::string& name, const Image& source, const std::string& calls) {
    std::filesystem::create_directories(folder);
    const TovLibVersion* version = tovGetLibVersion();
    Page page(folder, "tov gallery",
              name + ": " + describe(*source.get()) + ". Made by " + version->name + " " + version->version + ".",
              source);
    page.add({"The picture", "What all other entries work on.", calls, {}}, source);
    for (const Exhibit& exhibit : kExhibits) {
        if (!has(*source.get(), exhibit.needs)) continue;
        exhibit.show(page, source);
        if (tovGetErrStatus() < 0) throw std::runtime_error("an operation has failed");
    }
    page.finish();
    std::printf("%s\n", (std::filesystem::path(folder) / "index.html").string().c_str());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2 && argc != 3) {
        std::fprintf(stderr,
                     "usage: gallery OUTDIR [IMAGE]\nIMAGE is a bitmap file (.bmp); without it a picture is drawn\n");
        return 2;
    }
    tovRedirectError(onError);
    const std::string name = argc == 3 ? argv[2] : "A picture that the program draws itself";
    try {
        if (argc == 2) {
            makeGallery(argv[1], name, drawPicture(),
                        "source = tovCreateImageHeader(3, 0, TOV_DEPTH_8U, ...);\ntovAllocateImage(source, 1, 0);");
        } else {
            Bitmap bitmap(name); // the image may point into it
            makeGallery(argv[1], std::filesystem::path(name).filename().string(), bitmap.translate(),
                        "source = tovTranslateDIB(dib, &cloneData);");
        }
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "gallery: %s: %s\n", name.c_str(), failure.what());
        return 1;
    }
}
