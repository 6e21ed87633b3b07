// Fixed colour tables.
#include "dib/palette.h"

#include <cstring>

#include "dib/dib.h"

namespace tov {

namespace {

// Red, green, blue.
constexpr uint8_t kColors16[16][3] = {{0, 0, 0},       {128, 0, 0},   {0, 128, 0},   {128, 128, 0},
                                      {0, 0, 128},     {128, 0, 128}, {0, 128, 128}, {128, 128, 128},
                                      {192, 192, 192}, {255, 0, 0},   {0, 255, 0},   {255, 255, 0},
                                      {0, 0, 255},     {255, 0, 255}, {0, 255, 255}, {255, 255, 255}};

uint8_t levelOf8(uint32_t level) { return static_cast<uint8_t>(level < 7 ? 32 * level : 255); }
uint8_t levelOf4(uint32_t level) { return static_cast<uint8_t>(level < 3 ? 64 * level : 255); }

RGBQUAD fixedEntry(uint32_t i, uint32_t entries, bool gray) {
    if (gray || entries == 2) {
        const auto value = static_cast<uint8_t>(255 * i / (entries - 1));
        return {value, value, value, 0};
    }
    if (entries == 16) return {kColors16[i][2], kColors16[i][1], kColors16[i][0], 0};
    return {levelOf4(i & 3), levelOf8((i >> 2) & 7), levelOf8(i >> 5), 0};
}

} // namespace

void ownFixedPalette(BITMAPINFOHEADER* dib, bool gray) {
    const Bitmap bitmap = bitmapAt(dib);
    const uint32_t entries = ownPaletteSize(bitmap.header);
    if (entries != 2 && entries != 16 && entries != 256) return;
    uint8_t* table = bitmap.start + bitmap.header.biSize;
    for (uint32_t i = 0; i < entries; i++) {
        const RGBQUAD entry = fixedEntry(i, entries, gray);
        std::memcpy(table + i * sizeof entry, &entry, sizeof entry);
    }
}

} // namespace tov
