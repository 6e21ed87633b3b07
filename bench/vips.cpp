// Calls of libvips on the pictures of a scene.
#include "vips.h"

#ifdef TOV_HAVE_VIPS

#include <cstdio>
#include <cstdlib>

namespace bench {

namespace {

VipsImage* viewOf(const TovImage* image) {
    const auto bytes = static_cast<size_t>(image->widthStep) * static_cast<size_t>(image->height);
    return vips_image_new_from_memory(image->imageData, bytes, image->width, image->height, image->nChannels,
                                      VIPS_FORMAT_UCHAR);
}

bool start() {
    if (VIPS_INIT("tov_bench") != 0) return false;
    vips_concurrency_set(1);
    vips_cache_set_max(0);
    return true;
}

} // namespace

void runVips(const TovImage* src, const TovImage* dst,
             const std::function<int(VipsImage* src, VipsImage** result)>& run) {
    static const bool ready = start();
    VipsImage* from = viewOf(src);
    VipsImage* to = viewOf(dst);
    VipsImage* result = nullptr;
    if (!ready || run(from, &result) != 0 || vips_image_write(result, to) != 0) {
        std::fprintf(stderr, "tov_bench: libvips: %s\n", vips_error_buffer());
        std::exit(2);
    }
    g_object_unref(result);
    g_object_unref(to);
    g_object_unref(from);
}

} // namespace bench

#endif
