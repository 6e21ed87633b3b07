// Contrast curves.
#include "memory_limits.h"
#include "scene.h"
#include "vips.h"

namespace bench {

namespace {

// A curve of three segments for each channel.
struct Curve {
    int32_t key[4] = {0, 64, 192, 256};
    int32_t value[4] = {0, 32, 224, 0};
    int32_t factor[4] = {0, 1, 0, 0};
    TovLUT lut = {4, key, value, factor, 1};
};

Prepare stretch(Size size, const Layout& layout, bool masked = false) {
    return inTurns<Pair>(
        size, layout,
        [=](Pair& pair) {
            if (masked) pair.dst.mask(discMask(size));
        },
        [](const Pair& pair) {
            static Curve curve;
            TovLUT* const lut[4] = {&curve.lut, &curve.lut, &curve.lut, &curve.lut};
            tovContrastStretch(pair.src.get(), pair.dst.get(), lut);
        });
}

#ifdef TOV_HAVE_VIPS
std::string vipsMaplut(Items& items, Size size, int32_t nChannels) {
    std::string name = nChannels == 1 ? "libvips vips_maplut" : "libvips vips_maplut x 3";
    items.add({name, size, pixels(size), "pixel",
               inTurns<Pair>(size, {k8U, nChannels}, asTheyAre,
                             [](const Pair& pair) {
                                 runVips(pair.src.get(), pair.dst.get(), [](VipsImage* src, VipsImage** result) {
                                     uint8_t table[256];
                                     for (int32_t i = 0; i < 256; i++) table[i] = static_cast<uint8_t>(255 - i);
                                     VipsImage* lut =
                                         vips_image_new_from_memory(table, 256, 256, 1, 1, VIPS_FORMAT_UCHAR);
                                     const int failed = vips_maplut(src, result, lut, nullptr);
                                     // What is written later still reads the table.
                                     if (failed == 0) {
                                         VipsImage* copy = vips_image_copy_memory(*result);
                                         g_object_unref(*result);
                                         *result = copy;
                                     }
                                     g_object_unref(lut);
                                     return failed;
                                 });
                             }),
               Kind::kPeer});
    return name;
}
#endif

} // namespace

void addHistItems(Items& items) {
    for (const Size size : kSizes) {
        for (const int32_t nChannels : {1, 3}) {
            const std::string name = nChannels == 1 ? "contrast 8U" : "contrast 8U x 3";
            Item& item = items.add({name, size, pixels(size), "pixel", stretch(size, {k8U, nChannels})});
            item.limitedBy(limit(items, Traffic::kOneRead, size, 8, nChannels), nChannels);
#ifdef TOV_HAVE_VIPS
            const std::string peer = vipsMaplut(items, size, nChannels);
            item.peer(peer).aim(1, peer);
#endif
        }
        items.add({"contrast 8U x 3 planes", size, pixels(size), "pixel", stretch(size, {k8U, 3, false, true})})
            .limitedBy(limit(items, Traffic::kOneRead, size, 8, 3), 3);
        items.add({"contrast 8U, disc mask", size, pixels(size), "pixel", stretch(size, {}, true)})
            .aim(0, "contrast 8U");
    }
}

} // namespace bench
