// A contrast curve, and the picture as a bitmap in every form and back.
#include "bitmaps.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

Image makeImage(int32_t nChannels, uint32_t depth, int32_t width, int32_t height) {
    const bool gray = nChannels == 1;
    Image image(tovCreateImageHeader(nChannels, 0, depth, gray ? "GRAY" : "RGB", gray ? "G" : "BGR",
                                     TOV_DATA_ORDER_PIXEL, TOV_ORIGIN_TL, TOV_ALIGN_4BYTES, width, height, nullptr,
                                     nullptr, nullptr, nullptr));
    if (image.get() != nullptr) tovAllocateImage(image.get(), 1, 0);
    if (image.get() == nullptr || image->imageData == nullptr) throw std::bad_alloc();
    return image;
}

// The source with pixels left out until it is at most `most` wide, as 16-bit values of the same range: three colours,
// or their mean.
Image makeDeep(const Image& source, int32_t nChannels, int32_t most) {
    const int32_t step = (source->width - 1) / most + 1;
    Image deep = makeImage(nChannels, TOV_DEPTH_16U, (source->width - 1) / step + 1, (source->height - 1) / step + 1);
    std::vector<uint8_t> row;
    for (int32_t y = 0; y < deep->height; y++) {
        readRow(*source.get(), y * step, row);
        auto* values = reinterpret_cast<uint16_t*>(rowFromTop(*deep.get(), y));
        for (int32_t x = 0; x < deep->width; x++) {
            const uint8_t* pixel = row.data() + ptrdiff_t{x} * step * 3;
            const int32_t mean = (pixel[0] + pixel[1] + pixel[2]) / 3;
            for (int32_t c = 0; c < nChannels; c++) {
                *values++ = static_cast<uint16_t>(257 * (nChannels == 1 ? mean : pixel[c]));
            }
        }
    }
    return deep;
}

// Room for a bitmap of an image: header, colour table and pixels, in words, so that the header is aligned.
class Room {
public:
    explicit Room(const Image& image, uint16_t bits, uint32_t compression = 0) {
        const size_t table = bits <= 8 ? size_t{1} << bits : 0;
        const size_t rowWords = (static_cast<size_t>(image->width) * bits + 31) / 32;
        words_.resize(kHeaderWords + table + rowWords * static_cast<size_t>(image->height));
        header()->biSize = sizeof(BITMAPINFOHEADER);
        header()->biWidth = image->width;
        header()->biHeight = image->height;
        header()->biPlanes = 1;
        header()->biBitCount = bits;
        header()->biCompression = compression;
        // The table that the bitmap comes with goes from dark blue to light yellow.
        for (size_t i = 0; i < table; i++) {
            const auto level = static_cast<uint32_t>(255 * i / (table - 1));
            words_[kHeaderWords + i] = (64 + level * 3 / 8) | level << 8 | level << 16;
        }
    }
    BITMAPINFOHEADER* header() { return reinterpret_cast<BITMAPINFOHEADER*>(words_.data()); }
    // May point into the room.
    Image translate() {
        int32_t cloneData = 0;
        TovImage* image = tovTranslateDIB(header(), &cloneData);
        if (image == nullptr) throw std::runtime_error("the bitmap can't be read back");
        return Image(image);
    }

private:
    static constexpr size_t kHeaderWords = sizeof(BITMAPINFOHEADER) / sizeof(uint32_t);
    std::vector<uint32_t> words_;
};

// Copies the pixels of a 1-bit or 8-bit image to a place in a sheet of three channels.
void paste(const Image& sheet, const Image& image, int32_t left, int32_t top) {
    std::vector<uint8_t> row;
    for (int32_t y = 0; y < image->height; y++) {
        readRow(*image.get(), y, row);
        std::copy_n(row.begin(), ptrdiff_t{image->width} * 3, rowFromTop(*sheet.get(), top + y) + ptrdiff_t{left} * 3);
    }
}

struct Difference {
    int most = 0;
    double mean = 0;
};

// How far the values of two pictures of a size lie apart.
Difference differenceOf(const Image& a, const Image& b) {
    Difference difference;
    std::vector<uint8_t> rowA;
    std::vector<uint8_t> rowB;
    int64_t sum = 0;
    for (int32_t y = 0; y < a->height; y++) {
        readRow(*a.get(), y, rowA);
        readRow(*b.get(), y, rowB);
        for (size_t i = 0; i < rowA.size(); i++) {
            const int apart = std::abs(int{rowA[i]} - rowB[i]);
            difference.most = std::max(difference.most, apart);
            sum += apart;
        }
    }
    difference.mean = static_cast<double>(sum) / a->width / a->height / 3;
    return difference;
}

} // namespace

void showCurve(Page& page, const Image& source) {
    int32_t key[] = {0, 64, 192, 256};
    int32_t value[] = {0, 0, 255, 0};
    int32_t factor[] = {0, 2, 0, 0};
    TovLUT curve = {4, key, value, factor, 1};
    TovLUT* const lut[] = {&curve, &curve, &curve, &curve};
    const Image result = makeLike(source);
    tovContrastStretch(source.get(), result.get(), lut);
    page.add({"Contrast curve",
              "Values below 64 become 0, those from 192 on 255; between them the picture has twice its contrast.",
              "key = {0, 64, 192, 256}; value = {0, 0, 255}; factor = {0, 2, 0};\n"
              "tovContrastStretch(source, result, lut); /* a curve for each channel */",
              {{"source", source}}},
             result);
}

void showDithers(Page& page, const Image& source) {
    constexpr int32_t dithers[] = {1, 2, 4, 8, 16};
    for (const uint16_t bits : {1, 4, 8}) {
        const Image deep = makeDeep(source, bits == 1 ? 1 : 3, 180);
        const Image sheet = makeImage(3, TOV_DEPTH_8U, 5 * deep->width, 3 * deep->height);
        for (int32_t palette = 0; palette < 3; palette++) {
            for (int32_t i = 0; i < 5; i++) {
                Room room(deep, bits);
                tovConvertToDIB(deep.get(), room.header(), dithers[i], palette);
                paste(sheet, room.translate(), i * deep->width, palette * deep->height);
            }
        }
        page.add(
            {"Bitmaps of " + std::to_string(bits) + (bits == 1 ? " bit" : " bits"),
             "From left to right: no dithering, Floyd, Jarvis, Stucki, ordered. From top to bottom: with the colour "
             "table that the bitmap has, here from blue to yellow, with a fixed one, and with one made by median "
             "cut.",
             "tovConvertToDIB(image, dib, dither, paletteConversion);\nresult = tovTranslateDIB(dib, &cloneData);",
             {{"source", source}}},
            sheet);
    }
}

void showRoundTrips(Page& page, const Image& source) {
    struct Form {
        const char* name;
        uint16_t bits;
        uint32_t compression;
        int32_t palette;
    };
    constexpr Form forms[] = {{"1 bit, median cut", 1, 0, 2},
                              {"4 bits, fixed table", 4, 0, 1},
                              {"4 bits, median cut", 4, 0, 2},
                              {"4 bits, run lengths", 4, 2, 2},
                              {"8 bits, fixed table", 8, 0, 1},
                              {"8 bits, median cut", 8, 0, 2},
                              {"8 bits, run lengths", 8, 1, 2},
                              {"16 bits", 16, 0, 0},
                              {"24 bits", 24, 0, 0},
                              {"32 bits", 32, 0, 0}};
    // The rows of the source as they are, in the form that bitmaps are made of.
    const Image plain = makeImage(3, TOV_DEPTH_8U, source->width, source->height);
    paste(plain, source, 0, 0);
    const Image result = makeLike(plain);
    std::string caption = "Written as a bitmap and read back. The largest and the mean difference of the values: ";
    for (const Form& form : forms) {
        Room room(plain, form.bits, form.compression);
        tovConvertToDIB(plain.get(), room.header(), 1, form.palette);
        const Image back = room.translate();
        const Difference difference = differenceOf(plain, back);
        char text[80];
        std::snprintf(text, sizeof text, "%s %d and %.2f; ", form.name, difference.most, difference.mean);
        caption += text;
        if (form.bits == 4 && form.palette == 2) paste(result, back, 0, 0);
    }
    page.add({"There and back",
              caption + "the picture is that of 4 bits with median cut.",
              "tovConvertToDIB(source, dib, 1, paletteConversion);\nresult = tovTranslateDIB(dib, &cloneData);",
              {{"source", source}}},
             result);
}
