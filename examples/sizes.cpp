// Mirrors, a detail enlarged and a picture reduced.
#include "sizes.h"

#include <algorithm>
#include <string>

void showMirrors(Page& page, const Image& source) {
    struct Mirror {
        int32_t flipAxis;
        const char* title;
        const char* caption;
    };
    constexpr Mirror mirrors[] = {
        {1, "Columns reversed", "Left and right change places."},
        {0, "Rows reversed", "Top and bottom change places."},
        {-1, "Both reversed", "The picture is turned by half."},
    };
    for (const Mirror& mirror : mirrors) {
        const Image result = makeLike(source);
        tovMirror(source.get(), result.get(), mirror.flipAxis);
        page.add({mirror.title,
                  mirror.caption,
                  "tovMirror(source, result, " + std::to_string(mirror.flipAxis) + ");",
                  {{"source", source}}},
                 result);
    }
}

void showEnlarged(Page& page, const Image& source) {
    const int32_t side = std::min({60, source->width, source->height});
    TovROI detail = {0, 0, 0, side, side};
    detail.xOffset = std::min(source->width / 12, source->width - side);
    detail.yOffset = std::min(source->height * 7 / 10, source->height - side);
    const Image result = makeSized(source, 3 * 4 * side, 4 * side);
    source->roi = &detail;
    for (const int32_t mode : {TOV_INTER_NN, TOV_INTER_LINEAR, TOV_INTER_CUBIC}) {
        TovROI place = {0, mode * 4 * side, 0, 4 * side, 4 * side};
        result->roi = &place;
        tovZoom(source.get(), result.get(), 4, 1, 4, 1, mode);
        result->roi = nullptr;
    }
    source->roi = nullptr;
    page.add({"A detail, four times as large",
              "By the nearest pixel, by lines between pixels, and by cubics, which are sharper.",
              "source->roi = &detail;\nresult->roi = &place; /* one third after the other */\n"
              "tovZoom(source, result, 4, 1, 4, 1, TOV_INTER_NN); /* TOV_INTER_LINEAR, TOV_INTER_CUBIC */",
              {{"source", source}}},
             result);
}

void showReduced(Page& page, const Image& source) {
    const int32_t width = std::max(source->width / 3, 1);
    const int32_t height = std::max(source->height / 3, 1);
    const Image result = makeSized(source, 2 * width, 2 * height);
    for (const int32_t mode : {TOV_INTER_NN, TOV_INTER_LINEAR, TOV_INTER_CUBIC, TOV_INTER_SUPER}) {
        TovROI place = {0, mode % 2 * width, mode / 2 * height, width, height};
        result->roi = &place;
        tovResize(source.get(), result.get(), 1, 3, 1, 3, mode);
        result->roi = nullptr;
    }
    page.add({"A third of the size",
              "By the nearest pixel and by lines above, by cubics and by the average of areas below. Only the average "
              "keeps fine detail from breaking up.",
              "tovResize(source, result, 1, 3, 1, 3, TOV_INTER_NN); /* and the other modes */",
              {{"source", source}}},
             result);
}
