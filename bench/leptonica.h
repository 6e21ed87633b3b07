// Pictures as leptonica sees them.
#pragma once

#ifdef TOV_HAVE_LEPTONICA

#include <leptonica/allheaders.h>

#include "scene.h"

namespace bench {

// A picture of 1, 8 or 32 bits a pixel over the same memory. Its bytes stand in another order within words, which
// makes no difference to the time.
class PixView {
public:
    explicit PixView(const Picture& picture) {
        const TovImage& image = *picture.get();
        const int32_t bits = static_cast<int32_t>(image.depth & ~TOV_DEPTH_SIGN) * image.nChannels;
        pix_ = pixCreateHeader(image.width, image.height, bits);
        pixSetWpl(pix_, image.widthStep / 4);
        pixSetData(pix_, reinterpret_cast<l_uint32*>(image.imageData));
    }
    PixView(const PixView&) = delete;
    PixView& operator=(const PixView&) = delete;
    ~PixView() {
        pixSetData(pix_, nullptr);
        pixDestroy(&pix_);
    }
    PIX* get() const { return pix_; }

private:
    PIX* pix_ = nullptr;
};

struct PixPair : Pair {
    PixPair(Size size, const Layout& layout, size_t turn) : Pair(size, layout, turn), from(src), to(dst) {}
    PixView from;
    PixView to;
};

// For calls that make an image of their own.
inline void drop(PIX* made) { pixDestroy(&made); }

} // namespace bench

#endif
