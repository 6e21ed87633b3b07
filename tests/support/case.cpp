// Drawing and printing of random cases.
#include "support/case.h"

#include <algorithm>

namespace tovtest {
namespace {

const char* depthName(uint32_t depth) {
    switch (depth) {
    case TOV_DEPTH_1U: return "1U";
    case TOV_DEPTH_8U: return "8U";
    case TOV_DEPTH_8S: return "8S";
    case TOV_DEPTH_16U: return "16U";
    case TOV_DEPTH_16S: return "16S";
    case TOV_DEPTH_32S: return "32S";
    default: return "32F";
    }
}

void drawRoi(ImageForm& form, Rng& rng) {
    form.hasRoi = true;
    TovROI& roi = form.roi;
    roi = {0, 0, 0, form.width, form.height};
    if (rng.oneIn(4)) { // the whole image, or more
        if (rng.oneIn(2)) roi.width += rng.between(0, 9);
        if (rng.oneIn(2)) roi.height += rng.between(0, 9);
        return;
    }
    roi.xOffset = rng.between(0, rng.oneIn(2) ? std::min(9, form.width - 1) : form.width - 1);
    roi.yOffset = rng.between(0, std::min(5, form.height - 1));
    roi.width = rng.oneIn(3) ? form.width - roi.xOffset : rng.between(1, form.width + 4);
    roi.height = rng.oneIn(2) ? form.height : rng.between(1, form.height + 2);
    if (rng.oneIn(40)) roi.xOffset = form.width + rng.between(0, 40);
    if (rng.oneIn(40)) roi.yOffset = form.height + rng.between(0, 40);
}

// Channels of interest, alpha and numbers of channels such that every role contributes the same number.
void drawChannels(Case& c, int roles, uint32_t depth, Rng& rng) {
    const int32_t order = rng.between(0, 1);
    const int32_t processed = rng.between(1, 4);
    for (int i = 0; i < roles; ++i) {
        ImageForm& form = c.images[i];
        form.depth = depth;
        form.order = depth == TOV_DEPTH_1U ? rng.between(0, 1) : order;
        if (depth == TOV_DEPTH_1U) {
            if (form.hasRoi) form.roi.coi = rng.between(0, 1);
            continue;
        }
        if (processed == 1 && rng.oneIn(2)) {
            form.nChannels = rng.between(1, 4);
            if (!form.hasRoi) drawRoi(form, rng);
            form.roi.coi = rng.between(1, form.nChannels);
            if (rng.oneIn(4)) form.alpha = form.nChannels;
        } else {
            form.nChannels = processed;
            if (rng.oneIn(4)) form.alpha = ++form.nChannels;
        }
    }
}

void drawTiles(Case& c, int roles, bool alike, Rng& rng) {
    const int32_t width = rng.pick({8, 8, 16, 24, 32}), height = rng.pick({8, 8, 16, 24});
    const bool oneGrid = alike || rng.oneIn(3);
    const bool all = rng.oneIn(2);
    for (int i = 0; i < roles; ++i) {
        ImageForm& form = c.images[i];
        if (alike) { // whole tiles, so that views take flat runs
            form.width = std::max(width, form.width / width * width);
            form.height = std::max(height, form.height / height * height);
            if (form.hasRoi) form.roi = {form.roi.coi, 0, 0, form.width, form.height};
        }
        if (!all && rng.oneIn(2)) continue;
        form.tileWidth = oneGrid ? width : rng.pick({8, 8, 16, 24, 32});
        form.tileHeight = oneGrid ? height : rng.pick({8, 8, 16, 24});
        form.slack = 0;
    }
}

// The destination gets a header of its own over a source's memory. Values are processed one after the other, which
// tells the result; bits are so only from row to row.
void drawOverlap(Case& c, int source, int dst, Rng& rng) {
    ImageForm& from = c.images[source];
    ImageForm& to = c.images[dst];
    if (from.depth == TOV_DEPTH_1U || rng.oneIn(2)) {
        const ImageForm before = to;
        to = from;
        to.hasRoi = before.hasRoi && from.hasRoi;
        if (from.depth != TOV_DEPTH_1U && before.hasRoi && before.roi.coi == 0 && from.roi.coi == 0) {
            to.hasRoi = true;
            to.roi = before.roi;
        } else {
            to.hasRoi = from.hasRoi;
            to.roi = from.roi;
        }
    }
    const int32_t bytes = std::max(1, from.bits() / 8);
    const int32_t unit = from.depth == TOV_DEPTH_1U ? from.rowStep() * (from.rowStep() % 4 ? 4 : 1) : bytes;
    const int32_t most = from.depth == TOV_DEPTH_1U ? 3 : rng.pick({1, 1, 3, 8, from.rowStep() / bytes * 2});
    const int32_t shift = unit * rng.between(0, most);
    if (rng.oneIn(2)) {
        to.sharesWith = source;
        to.shift = shift;
    } else {
        from.sharesWith = dst;
        from.shift = shift;
    }
}

} // namespace

int32_t ImageForm::packedRow(int32_t pixels) const {
    return (pixels * (order == TOV_DATA_ORDER_PIXEL ? nChannels : 1) * bits() + 7) / 8;
}

int32_t ImageForm::rowStep() const {
    const int32_t packed = packedRow(tileWidth ? tileWidth : width);
    return slack < 0 ? packed : (packed + align - 1) / align * align + slack;
}

void drawGeometry(ImageForm& form, Rng& rng) {
    form.width = rng.oneIn(4)   ? rng.pick({31, 32, 33, 63, 64, 65, 96, 127, 128, 129, 130})
                 : rng.oneIn(4) ? rng.between(1, 8)
                                : rng.between(1, 40);
    form.height = rng.oneIn(6) ? rng.between(1, 40) : rng.between(1, 12);
    form.align = rng.pick({4, 8, 16, 32});
    form.slack = rng.oneIn(5) ? -1 : rng.oneIn(5) ? form.align * rng.between(1, 2) : 0;
    form.origin = rng.between(0, 1);
    if (rng.oneIn(2)) drawRoi(form, rng);
}

int addMask(Case& c, int owner, Rng& rng) {
    const ImageForm& image = c.images[owner];
    ImageForm mask;
    drawGeometry(mask, rng);
    mask.depth = TOV_DEPTH_1U;
    mask.order = rng.between(0, 1);
    const int32_t x = rng.between(0, 20), y = rng.between(0, 3);
    mask.width = std::max(1, (image.hasRoi ? std::min(image.roi.width, image.width) : image.width) +
                                 (rng.oneIn(3) ? rng.between(-5, 5) : 0)) +
                 x;
    mask.height = std::max(1, image.height + (rng.oneIn(4) ? rng.between(-2, 3) : 0)) + y;
    mask.hasRoi = rng.oneIn(2);
    mask.roi = {rng.between(0, 1), x, y, mask.width - x + (rng.oneIn(3) ? 7 : 0), mask.height};
    if (rng.oneIn(40)) mask.roi.xOffset = mask.width;
    mask.fill = rng.pick({Fill::zeros, Fill::ones, Fill::runs, Fill::runs, Fill::bytes, Fill::bytes, Fill::values});
    c.images.push_back(mask);
    return static_cast<int>(c.images.size()) - 1;
}

Case drawCase(uint64_t number, const Family& family) {
    Rng rng(number * 0x2545F4914F6CDD1Du + 1);
    Case c;
    c.number = number;
    c.fence = rng.oneIn(2) ? Fence::end : Fence::begin;
    c.images.resize(family.roles);
    const uint32_t depth = family.depths[rng.between(0, static_cast<int32_t>(family.depths.size()) - 1)];
    const int dst = family.roles - 1;

    const bool alike = rng.oneIn(3);
    for (int i = 0; i < family.roles; ++i) {
        ImageForm& form = c.images[i];
        if (i == 0 || !alike) {
            drawGeometry(form, rng);
        } else {
            form = c.images[0];
        }
        if (alike && form.hasRoi && rng.oneIn(2)) {
            form.hasRoi = rng.oneIn(2);
            form.roi = {0, 0, 0, form.width, form.height + rng.between(0, 3)};
        }
        if (alike && rng.oneIn(8)) form.align = rng.pick({4, 8, 16, 32}); // which alone forbids a flat run
        if (family.oneOrigin) form.origin = c.images[0].origin;
    }
    drawChannels(c, family.roles, depth, rng);
    const bool tiled = rng.oneIn(3);
    if (tiled) drawTiles(c, family.roles, alike && rng.oneIn(2), rng);
    if (family.roles > 2 && rng.oneIn(12)) c.images[1].sameAs = 0;
    if (family.roles > 1 && rng.oneIn(6)) c.images[dst].sameAs = c.resolve(rng.between(0, dst - 1));
    if (family.roles > 1 && family.overlaps && !tiled && c.images[dst].sameAs < 0 && rng.oneIn(5)) {
        drawOverlap(c, c.resolve(rng.between(0, dst - 1)), dst, rng);
    }
    const int masked = rng.oneIn(2) ? 0 : rng.between(1, 2); // 1: few, 2: most
    for (int i = 0; masked && i < family.roles; ++i) {
        if (c.images[i].sameAs >= 0 || (masked == 1 ? !rng.oneIn(family.roles) : rng.oneIn(4))) continue;
        const int earlier = i > 0 ? c.at(0).mask : -1;
        const int mask = earlier >= 0 && rng.oneIn(4) ? earlier : addMask(c, i, rng);
        c.images[i].mask = mask;
    }
    for (ImageForm& form : c.images) {
        for (int side = 0; side < 4; ++side) {
            form.borderMode[side] = rng.between(0, 3);
            form.borderConst[side] = rng.pick({0, 1, 255, -1, rng.between(-70000, 70000)});
        }
    }
    c.value = rng.pick({0,
                        1,
                        -1,
                        2,
                        7,
                        127,
                        128,
                        255,
                        256,
                        -128,
                        -129,
                        32767,
                        32768,
                        65535,
                        65536,
                        -32769,
                        INT32_MAX,
                        INT32_MIN,
                        rng.between(-300, 300),
                        rng.between(-70000, 70000)});
    if (family.adjust) family.adjust(c, rng);
    return c;
}

void shiftImages(Case& c, Rng& rng) {
    const auto shares = [](const ImageForm& form) { return form.sharesWith >= 0; };
    if (std::any_of(c.images.begin(), c.images.end(), shares)) return;
    for (ImageForm& form : c.images) {
        const bool wide = form.bits() > 8 && form.depth != TOV_DEPTH_32F;
        if (wide && form.tileWidth == 0 && rng.oneIn(3)) form.shift = rng.between(1, 3);
    }
}

Case alike(int roles, uint32_t depth, int32_t nChannels, int32_t width, int32_t height) {
    Case c;
    c.images.resize(roles);
    for (ImageForm& form : c.images) {
        form.depth = depth;
        form.nChannels = nChannels;
        form.width = width;
        form.height = height;
    }
    return c;
}

int giveMask(Case& c, int role) {
    ImageForm mask;
    mask.depth = TOV_DEPTH_1U;
    mask.width = c.images[role].width;
    mask.height = c.images[role].height;
    c.images.push_back(mask);
    return c.images[role].mask = static_cast<int>(c.images.size()) - 1;
}

std::ostream& operator<<(std::ostream& out, const ImageForm& s) {
    if (s.sameAs >= 0) return out << "the header of image " << s.sameAs;
    out << depthName(s.depth) << " " << s.width << "x" << s.height << " channels " << s.nChannels;
    if (s.alpha) out << " (alpha)";
    out << (s.order == TOV_DATA_ORDER_PLANE ? " planes" : " pixels") << " origin " << s.origin << " align " << s.align
        << " step " << s.rowStep() << " fill " << static_cast<int>(s.fill);
    if (s.hasRoi) {
        out << " roi " << s.roi.width << "x" << s.roi.height << " at (" << s.roi.xOffset << ", " << s.roi.yOffset
            << ") coi " << s.roi.coi;
    }
    if (s.tileWidth) out << " tiles " << s.tileWidth << "x" << s.tileHeight;
    if (s.mask >= 0) out << " mask: image " << s.mask;
    if (s.sharesWith >= 0) out << " in the memory of image " << s.sharesWith;
    if (s.shift) out << " shift " << s.shift;
    return out;
}

std::ostream& operator<<(std::ostream& out, const Case& c) {
    out << "case " << c.number << " (fence at the " << (c.fence == Fence::end ? "end" : "beginning") << ", value "
        << c.value << ")";
    for (std::size_t i = 0; i < c.images.size(); ++i) out << "\n  image " << i << ": " << c.images[i];
    return out;
}

} // namespace tovtest
