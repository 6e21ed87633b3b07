// Images to bitmaps and back. What these cost depends on the pictures, so they have some of their own.
#include "dib/dib.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "memory_limits.h"
#include "scene.h"

#ifdef TOV_HAVE_LEPTONICA
#include <leptonica/allheaders.h>
#endif

namespace bench {

namespace {

// Smooth shapes and a little noise, or areas of one colour.
std::vector<uint8_t> paint(Size size, int32_t nChannels, bool flat) {
    std::mt19937 random(3);
    std::vector<uint8_t> values;
    for (int32_t y = 0; y < size.height; y++) {
        for (int32_t x = 0; x < size.width; x++) {
            for (int32_t c = 0; c < nChannels; c++) {
                const double light = std::sin(x * 0.011) + std::cos(y * 0.007) + std::sin((x + y) * 0.003);
                const double tint = std::sin(x * 0.004 + 2 * c) + std::cos(y * 0.003 * (c + 1));
                const double noise = flat ? 0 : static_cast<double>(random() % 7);
                const double value = 122 + 32 * light + 12 * tint + noise;
                values.push_back(flat ? static_cast<uint8_t>(static_cast<int>(value) / 64 * 64)
                                      : static_cast<uint8_t>(value));
            }
        }
    }
    return values;
}

// A picture and a bitmap for it.
struct Work {
    Work(Size size, int32_t nChannels, int32_t bits, bool flat) : values(paint(size, nChannels, flat)) {
        image = tovCreateImageHeader(nChannels, 0, TOV_DEPTH_8U, nChannels == 1 ? "GRAY" : "RGB",
                                     nChannels == 1 ? "G" : "BGR", TOV_DATA_ORDER_PIXEL, TOV_ORIGIN_TL,
                                     TOV_ALIGN_4BYTES, size.width, size.height, nullptr, nullptr, nullptr, nullptr);
        image->imageData = values.data();
        const size_t table = bits <= 8 ? size_t{4} << bits : 0;
        const size_t step = (static_cast<size_t>(size.width) * static_cast<size_t>(bits) + 31) / 32 * 4;
        bitmap.resize(sizeof(BITMAPINFOHEADER) + table + step * static_cast<size_t>(size.height));
        header()->biSize = sizeof(BITMAPINFOHEADER);
        header()->biWidth = size.width;
        header()->biHeight = size.height;
        header()->biPlanes = 1;
        header()->biBitCount = static_cast<uint16_t>(bits);
    }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
    ~Work() {
        image->imageData = nullptr;
        tovDeallocate(image, TOV_IMAGE_HEADER);
    }
    BITMAPINFOHEADER* header() { return reinterpret_cast<BITMAPINFOHEADER*>(bitmap.data()); }
    void convert(uint32_t compression, int32_t paletteConversion) {
        header()->biCompression = compression;
        header()->biClrUsed = 0;
        tovConvertToDIB(image, header(), 1, paletteConversion);
    }

    TovImage* image;
    std::vector<uint8_t> values;
    std::vector<uint8_t> bitmap;
};

template <class Use>
Prepare with(Size size, int32_t nChannels, int32_t bits, bool flat, Use use) {
    return [=]() -> Call {
        const auto work = std::make_shared<Work>(size, nChannels, bits, flat);
        return [=] { use(*work); };
    };
}

#ifdef TOV_HAVE_LEPTONICA
std::string leptonicaMedianCut(Items& items, Size size) {
    std::string name = "leptonica pixMedianCutQuant";
    items.add({name, size, pixels(size), "pixel",
               [size]() -> Call {
                   const std::vector<uint8_t> values = paint(size, 3, false);
                   PIX* pix = pixCreate(size.width, size.height, 32);
                   for (int32_t i = 0; i < size.width * size.height; i++) {
                       const uint8_t* pixel = &values[static_cast<size_t>(i) * 3];
                       pixSetRGBPixel(pix, i % size.width, i / size.width, pixel[2], pixel[1], pixel[0]);
                   }
                   const std::shared_ptr<PIX> kept(pix, [](PIX* used) { pixDestroy(&used); });
                   return [kept] {
                       PIX* quantised = pixMedianCutQuant(kept.get(), 0);
                       pixDestroy(&quantised);
                   };
               },
               Kind::kPeer});
    return name;
}
#endif

// A stream of nothing but literals, as photographs mostly have it.
void encodeLiterally(Work& work) {
    std::vector<uint8_t> stream(work.bitmap.begin(), work.bitmap.begin() + 40 + 1024);
    const auto width = static_cast<size_t>(work.image->width);
    for (size_t y = 0; y < static_cast<size_t>(work.image->height); y++) {
        for (size_t x = 0; x < width; x += 254) {
            const size_t n = std::min<size_t>(254, width - x);
            stream.insert(stream.end(), {0, static_cast<uint8_t>(n)});
            const auto from = work.values.begin() + static_cast<ptrdiff_t>(y * width + x);
            stream.insert(stream.end(), from, from + static_cast<ptrdiff_t>(n));
        }
        stream.insert(stream.end(), {0, 0});
    }
    stream.insert(stream.end(), {0, 1});
    work.bitmap = stream;
    work.header()->biCompression = 1;
}

// The codecs alone. Flat pictures are compressed in place, so that each call begins with a copy of their bitmap.
void addRunLengths(Items& items, Size size, bool flat) {
    const std::string kind = flat ? ", flat" : ", photograph";
    const std::string bound = limit(items, Traffic::kOneRead, size, 8);
    const auto aimed = [&](Item& item) {
        if (size == kInCache) return;
        if (flat) {
            item.aim(3, bound);
        } else {
            item.aim(1.5);
        }
    };
    aimed(items.add({"run-length encoding" + kind, size, pixels(size), "pixel", [=]() -> Call {
                         const auto work = std::make_shared<Work>(size, 1, 8, flat);
                         work->convert(0, 1);
                         const std::vector<uint8_t> whole = work->bitmap;
                         return [work, whole, flat] {
                             if (flat) std::memcpy(work->bitmap.data(), whole.data(), whole.size());
                             work->header()->biCompression = 1;
                             tov::ownRLECompress(work->header());
                         };
                     }}));
    aimed(items.add({"run-length decoding" + kind, size, pixels(size), "pixel", [=]() -> Call {
                         const auto work = std::make_shared<Work>(size, 1, 8, flat);
                         work->convert(flat ? 1 : 0, 1);
                         if (!flat) encodeLiterally(*work);
                         return [work] { tov::ownRLEDecompress(tov::bitmapAt(work->header())); };
                     }}));
}

} // namespace

void addDibItems(Items& items) {
    for (const Size size : kSizes) {
        Item& median = items.add({"24 bits to 8 with median cut", size, pixels(size), "pixel",
                                  with(size, 3, 8, false, [](Work& work) { work.convert(0, 2); })});
#ifdef TOV_HAVE_LEPTONICA
        const std::string peer = leptonicaMedianCut(items, size);
        median.peer(peer).aim(1, peer);
#endif
        items.add({"24 bits to 8, fixed table", size, pixels(size), "pixel",
                   with(size, 3, 8, false, [](Work& work) { work.convert(0, 1); })});
        items.add({"24 bits to 24", size, pixels(size), "pixel",
                   with(size, 3, 24, false, [](Work& work) { work.convert(0, 0); })});
        items.add({"gray to an 8-bit bitmap", size, pixels(size), "pixel",
                   with(size, 1, 8, false, [](Work& work) { work.convert(0, 1); })});
        addRunLengths(items, size, false);
        addRunLengths(items, size, true);
    }
}

} // namespace bench
