// Convolution over kernel sizes, beside the libraries that do the like.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "memory_limits.h"
#include "scene.h"

#ifdef TOV_HAVE_VIPS
#include <vips/vips.h>
#endif
#ifdef TOV_HAVE_LEPTONICA
#include <leptonica/allheaders.h>
#endif

namespace bench {

namespace {

// A dense kernel of a side: the product of two triangles, scaled to 1 by a shift as nearly as that goes.
struct Weights {
    explicit Weights(int32_t length) : side(length), values(static_cast<size_t>(length * length)) {
        const auto triangle = [length](int32_t i) { return std::min(i, length - 1 - i) + 1; };
        int32_t sum = 0;
        for (size_t i = 0; i < values.size(); i++) {
            const auto at = static_cast<int32_t>(i);
            values[i] = triangle(at / length) * triangle(at % length);
            sum += values[i];
        }
        while (sum > 1 << shift) shift++;
    }

    int32_t side;
    std::vector<int32_t> values;
    int32_t shift = 0;
};

using Kernel = std::shared_ptr<TovConvKernel>;
Kernel kernelOf(int32_t nCols, int32_t nRows, const std::vector<int32_t>& values, int32_t shift) {
    return {tovCreateConvKernel(nCols, nRows, nCols / 2, nRows / 2, values.data(), shift), tovDeleteConvKernel};
}
Kernel dense(int32_t side) {
    const Weights weights(side);
    return kernelOf(side, side, weights.values, weights.shift);
}

Prepare convolve(Size size, const Layout& layout, const std::vector<Kernel>& kernels, int32_t method,
                 bool masked = false) {
    const auto arrange = [=](Pair& pair) {
        if (masked) pair.dst.mask(discMask(size));
    };
    std::vector<TovConvKernel*> list(kernels.size());
    std::transform(kernels.begin(), kernels.end(), list.begin(), [](const Kernel& kernel) { return kernel.get(); });
    return inTurns<Pair>(size, layout, arrange, [=](const Pair& pair) {
        tovConvolve2D(pair.src.get(), pair.dst.get(), list.data(), static_cast<int32_t>(kernels.size()), method);
    });
}

std::string label(const char* form, int32_t side) {
    return std::string("convolve ") + form + ", " + std::to_string(side) + " x " + std::to_string(side);
}

#ifdef TOV_HAVE_VIPS
// One image to another with integer precision, on one thread and with nothing kept from call to call.
std::string vipsConv(Items& items, Size size, int32_t nChannels, int32_t side) {
    static const bool ready = VIPS_INIT("tov_bench") == 0;
    vips_concurrency_set(1);
    vips_cache_set_max(0);
    std::string name = "libvips vips_conv" + std::string(nChannels == 3 ? " x 3" : "") + ", " + std::to_string(side);
    const Weights weights(side);
    const std::vector<double> values(weights.values.begin(), weights.values.end());
    const auto mask = std::shared_ptr<VipsImage>(
        vips_image_new_matrix_from_array(side, side, values.data(), static_cast<int>(values.size())),
        [](VipsImage* image) { g_object_unref(image); });
    vips_image_set_double(mask.get(), "scale", 1 << weights.shift);
    const auto use = [mask](const Pair& pair) {
        const auto viewOf = [](const TovImage* image) {
            const auto bytes = static_cast<size_t>(image->widthStep) * static_cast<size_t>(image->height);
            return vips_image_new_from_memory(image->imageData, bytes, image->width, image->height, image->nChannels,
                                              VIPS_FORMAT_UCHAR);
        };
        VipsImage* src = viewOf(pair.src.get());
        VipsImage* dst = viewOf(pair.dst.get());
        VipsImage* result = nullptr;
        if (!ready || vips_conv(src, &result, mask.get(), "precision", VIPS_PRECISION_INTEGER, nullptr) != 0 ||
            vips_image_write(result, dst) != 0) {
            std::fprintf(stderr, "tov_bench: libvips: %s\n", vips_error_buffer());
            std::exit(2);
        }
        g_object_unref(result);
        g_object_unref(dst);
        g_object_unref(src);
    };
    items.add({name, size, pixels(size), "pixel", inTurns<Pair>(size, {k8U, nChannels}, asTheyAre, use), Kind::kPeer});
    return name;
}
#endif

#ifdef TOV_HAVE_LEPTONICA
// Three channels are the colours of 32-bit pixels there.
std::string leptonicaConvolve(Items& items, Size size, int32_t nChannels, int32_t side) {
    const char* function = nChannels == 3 ? "leptonica pixConvolveRGB, " : "leptonica pixConvolve, ";
    std::string name = function + std::to_string(side);
    const Weights weights(side);
    const auto kernel = std::shared_ptr<L_KERNEL>(kernelCreate(side, side), [](L_KERNEL* k) { kernelDestroy(&k); });
    kernelSetOrigin(kernel.get(), side / 2, side / 2);
    for (int32_t i = 0; i < side * side; i++) {
        kernelSetElement(kernel.get(), i / side, i % side, static_cast<float>(weights.values[static_cast<size_t>(i)]));
    }
    const auto use = [kernel](const Pair& pair) {
        const TovImage* image = pair.src.get();
        PIX* src = pixCreateHeader(image->width, image->height, 8 * image->nChannels);
        pixSetData(src, reinterpret_cast<l_uint32*>(image->imageData));
        const bool colours = image->nChannels == 4;
        PIX* dst = colours ? pixConvolveRGB(src, kernel.get()) : pixConvolve(src, kernel.get(), 8, 1);
        pixDestroy(&dst);
        pixSetData(src, nullptr);
        pixDestroy(&src);
    };
    items.add({name, size, pixels(size), "pixel",
               inTurns<Pair>(size, {k8U, nChannels == 3 ? 4 : nChannels}, asTheyAre, use), Kind::kPeer});
    return name;
}
#endif

// The peers of an item, ahead of which it is to be.
void addPeers([[maybe_unused]] Items& items, [[maybe_unused]] Item& item, [[maybe_unused]] int32_t nChannels,
              [[maybe_unused]] int32_t side) {
#ifdef TOV_HAVE_VIPS
    const std::string vips = vipsConv(items, item.size, nChannels, side);
    item.peer(vips).aim(1, vips);
#endif
#ifdef TOV_HAVE_LEPTONICA
    const std::string leptonica = leptonicaConvolve(items, item.size, nChannels, side);
    item.peer(leptonica).aim(1, leptonica);
#endif
}

void addCombined(Items& items, Size size) {
    const std::vector<Kernel> sobel = {kernelOf(3, 3, {1, 0, -1, 2, 0, -2, 1, 0, -1}, 0),
                                       kernelOf(3, 3, {1, 2, 1, 0, 0, 0, -1, -2, -1}, 0)};
    const std::string one = "convolve 8U, 3 x 3, one edge";
    items.add({one, size, pixels(size), "pixel", convolve(size, {}, {sobel[0]}, TOV_COMBINE_SUM)});
    items
        .add({"convolve 8U, 3 x 3, two edges, root of squares", size, pixels(size), "pixel",
              convolve(size, {}, sobel, TOV_COMBINE_SUMSQROOT)})
        .aim(2.2, one);
    items
        .add({"convolve 8U, 3 x 3, two, sum", size, pixels(size), "pixel",
              convolve(size, {}, {dense(3), dense(3)}, TOV_COMBINE_SUM)})
        .aim(2.2, label("8U", 3));
}

} // namespace

void addConvItems(Items& items) {
    for (const Size size : kSizes) {
        for (const int32_t nChannels : {1, 3}) {
            const Layout layout = {k8U, nChannels};
            const char* form = nChannels == 3 ? "8U x 3" : "8U";
            const std::string bound = limit(items, Traffic::kOneRead, size, 8, nChannels);
            for (const int32_t side : {3, 5, 15}) {
                Item& item = items.add({label(form, side), size, pixels(size), "pixel",
                                        convolve(size, layout, {dense(side)}, TOV_COMBINE_SUM)});
                item.limitedBy(bound, nChannels);
                if (side == 15) item.aim(1.1 * 15 * 15 / (5 * 5), label(form, 5));
                addPeers(items, item, nChannels, side);
                if (side != 3) continue;
                items
                    .add({label(form, side) + ", disc", size, pixels(size), "pixel",
                          convolve(size, layout, {dense(side)}, TOV_COMBINE_SUM, true)})
                    .aim(1.3, label(form, side));
            }
        }
        addCombined(items, size);
        items.add({label("16U", 3), size, pixels(size), "pixel", convolve(size, {k16U}, {dense(3)}, TOV_COMBINE_SUM)});
        items.add(
            {label("16U", 15), size, pixels(size), "pixel", convolve(size, {k16U}, {dense(15)}, TOV_COMBINE_SUM)});
    }
}

} // namespace bench
