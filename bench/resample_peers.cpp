// The libraries that reduce and enlarge, each on one thread.
#include "resample_peers.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "vips.h"

#ifdef TOV_HAVE_LEPTONICA
#include <leptonica/allheaders.h>
#endif
#ifdef TOV_HAVE_PIXMAN
#include <pixman.h>
#endif
#ifdef TOV_HAVE_SWSCALE
extern "C" {
#include <libswscale/swscale.h>
}
#endif
#ifdef TOV_HAVE_YUV
#include <libyuv.h>
#endif

namespace bench {

namespace {

[[maybe_unused]] [[noreturn]] void failed(const char* what) {
    std::fprintf(stderr, "tov_bench: %s has failed\n", what);
    std::exit(2);
}

// For peers that keep nothing.
[[maybe_unused]] Peer plain(std::string name, PeerCall call) {
    return {std::move(name), [call = std::move(call)](const TovImage&, const TovImage&) { return call; }};
}

#ifdef TOV_HAVE_YUV
void addYuv(std::vector<Peer>& peers, int32_t nChannels, int32_t mode, bool enlarges) {
    if (nChannels == 3 || mode == TOV_INTER_CUBIC) return;
    const libyuv::FilterMode filter = mode == TOV_INTER_NN       ? libyuv::kFilterNone
                                      : mode == TOV_INTER_LINEAR ? libyuv::kFilterBilinear
                                                                 : libyuv::kFilterBox;
    if (mode == TOV_INTER_LINEAR && enlarges) return; // it samples elsewhere, and in 7 bits
    const std::string name = mode == TOV_INTER_NN ? ", nearest" : ", box";
    if (nChannels == 1) {
        peers.push_back(plain("libyuv ScalePlane" + name, [filter](const TovImage& src, const TovImage& dst) {
            libyuv::ScalePlane(src.imageData, src.widthStep, src.width, src.height, dst.imageData, dst.widthStep,
                               dst.width, dst.height, filter);
        }));
    } else {
        peers.push_back(plain("libyuv ARGBScale" + name, [filter](const TovImage& src, const TovImage& dst) {
            libyuv::ARGBScale(src.imageData, src.widthStep, src.width, src.height, dst.imageData, dst.widthStep,
                              dst.width, dst.height, filter);
        }));
    }
}
#endif

#ifdef TOV_HAVE_VIPS
void addVips(std::vector<Peer>& peers, int32_t mode, bool enlarges) {
    if (!enlarges && mode != TOV_INTER_SUPER) return;
    const char* name = mode == TOV_INTER_SUPER    ? "libvips vips_shrink"
                       : mode == TOV_INTER_NN     ? "libvips vips_resize, nearest"
                       : mode == TOV_INTER_LINEAR ? "libvips vips_resize, linear"
                                                  : "libvips vips_resize, cubic";
    startVips();
    peers.push_back(plain(name, [mode](const TovImage& src, const TovImage& dst) {
        const double scale = static_cast<double>(dst.width) / src.width;
        const VipsKernel kernel = mode == TOV_INTER_NN       ? VIPS_KERNEL_NEAREST
                                  : mode == TOV_INTER_LINEAR ? VIPS_KERNEL_LINEAR
                                                             : VIPS_KERNEL_CUBIC;
        runVips(&src, &dst, [&](VipsImage* in, VipsImage** result) {
            if (mode == TOV_INTER_SUPER) return vips_shrink(in, result, 1 / scale, 1 / scale, nullptr);
            return vips_resize(in, result, scale, "kernel", kernel, nullptr);
        });
    }));
}
#endif

#ifdef TOV_HAVE_SWSCALE
void addSwscale(std::vector<Peer>& peers, int32_t nChannels, int32_t mode, bool enlarges) {
    if (!enlarges || mode == TOV_INTER_NN) return;
    const int flags = mode == TOV_INTER_LINEAR ? SWS_BILINEAR : SWS_BICUBIC;
    const AVPixelFormat format = nChannels == 1   ? AV_PIX_FMT_GRAY8
                                 : nChannels == 3 ? AV_PIX_FMT_BGR24
                                                  : AV_PIX_FMT_BGRA;
    const char* name = mode == TOV_INTER_LINEAR ? "libswscale bilinear" : "libswscale bicubic";
    peers.push_back({name, [flags, format](const TovImage& src, const TovImage& dst) -> PeerCall {
                         const std::shared_ptr<SwsContext> context(
                             sws_getContext(src.width, src.height, format, dst.width, dst.height, format, flags,
                                            nullptr, nullptr, nullptr),
                             sws_freeContext);
                         if (!context) failed("libswscale");
                         return [context](const TovImage& from, const TovImage& to) {
                             const uint8_t* const planes[] = {from.imageData};
                             uint8_t* const results[] = {to.imageData};
                             sws_scale(context.get(), planes, &from.widthStep, 0, from.height, results, &to.widthStep);
                         };
                     }});
}
#endif

#ifdef TOV_HAVE_LEPTONICA
// Its colours are 32 bits a pixel, which stand for images of three and of four channels.
void addLeptonica(std::vector<Peer>& peers, int32_t nChannels, int32_t mode, bool enlarges) {
    if (mode == TOV_INTER_CUBIC) return;
    const char* name = mode == TOV_INTER_SUPER ? "leptonica pixScaleAreaMap"
                       : mode == TOV_INTER_NN  ? "leptonica pixScaleBySampling"
                       : nChannels == 1        ? "leptonica pixScaleGrayLI"
                                               : "leptonica pixScaleColorLI";
    if (enlarges && mode == TOV_INTER_SUPER) return;
    peers.push_back({std::string(name) + (nChannels == 3 ? " on 32 bits" : ""),
                     [nChannels, mode](const TovImage& src, const TovImage& dst) -> PeerCall {
                         const std::shared_ptr<Pix> pix(pixCreate(src.width, src.height, nChannels == 1 ? 8 : 32),
                                                        [](Pix* p) { pixDestroy(&p); });
                         if (!pix) failed("leptonica");
                         const size_t bytes = static_cast<size_t>(pixGetWpl(pix.get())) * 4;
                         for (int32_t y = 0; y < src.height; y++) {
                             std::memcpy(pixGetData(pix.get()) + y * ptrdiff_t{pixGetWpl(pix.get())}, src.imageData,
                                         std::min(bytes, static_cast<size_t>(src.widthStep)));
                         }
                         const float scale = static_cast<float>(dst.width) / static_cast<float>(src.width);
                         const auto run = mode == TOV_INTER_SUPER ? pixScaleAreaMap
                                          : mode == TOV_INTER_NN  ? pixScaleBySampling
                                          : nChannels == 1        ? pixScaleGrayLI
                                                                  : pixScaleColorLI;
                         return [pix, scale, run](const TovImage&, const TovImage&) {
                             Pix* result = run(pix.get(), scale, scale);
                             if (result == nullptr) failed("leptonica");
                             pixDestroy(&result);
                         };
                     }});
}
#endif

#ifdef TOV_HAVE_PIXMAN
void addPixman(std::vector<Peer>& peers, int32_t nChannels, int32_t mode, bool enlarges) {
    if (nChannels != 4 || (mode != TOV_INTER_NN && (mode != TOV_INTER_LINEAR || !enlarges))) return;
    const pixman_filter_t filter = mode == TOV_INTER_NN ? PIXMAN_FILTER_NEAREST : PIXMAN_FILTER_BILINEAR;
    peers.push_back({mode == TOV_INTER_NN ? "pixman, nearest" : "pixman, bilinear",
                     [filter](const TovImage& src, const TovImage& dst) -> PeerCall {
                         const auto view = [](const TovImage& image) {
                             return std::shared_ptr<pixman_image_t>(
                                 pixman_image_create_bits(PIXMAN_a8r8g8b8, image.width, image.height,
                                                          reinterpret_cast<uint32_t*>(image.imageData),
                                                          image.widthStep),
                                 pixman_image_unref);
                         };
                         const auto from = view(src);
                         const auto to = view(dst);
                         pixman_transform_t transform;
                         pixman_transform_init_scale(&transform, pixman_double_to_fixed(1.0 * src.width / dst.width),
                                                     pixman_double_to_fixed(1.0 * src.height / dst.height));
                         pixman_image_set_transform(from.get(), &transform);
                         pixman_image_set_filter(from.get(), filter, nullptr, 0);
                         pixman_image_set_repeat(from.get(), PIXMAN_REPEAT_PAD);
                         return [from, to](const TovImage&, const TovImage& image) {
                             pixman_image_composite32(PIXMAN_OP_SRC, from.get(), nullptr, to.get(), 0, 0, 0, 0, 0, 0,
                                                      image.width, image.height);
                         };
                     }});
}
#endif

} // namespace

std::vector<Peer> resamplePeers([[maybe_unused]] int32_t nChannels, [[maybe_unused]] int32_t mode,
                                [[maybe_unused]] bool enlarges) {
    std::vector<Peer> peers;
#ifdef TOV_HAVE_YUV
    addYuv(peers, nChannels, mode, enlarges);
#endif
#ifdef TOV_HAVE_VIPS
    addVips(peers, mode, enlarges);
#endif
#ifdef TOV_HAVE_SWSCALE
    addSwscale(peers, nChannels, mode, enlarges);
#endif
#ifdef TOV_HAVE_LEPTONICA
    addLeptonica(peers, nChannels, mode, enlarges);
#endif
#ifdef TOV_HAVE_PIXMAN
    addPixman(peers, nChannels, mode, enlarges);
#endif
    return peers;
}

} // namespace bench
