// Copying keeps every bit of a value, so it moves raw bits; it is sequential, since memory may overlap.
#include "reference/move.h"

#include <cstring>

#include "reference/arith.h"
#include "reference/walks.h"

namespace tovtest {
namespace {

// Forwards: single bytes until the target's address is a multiple of 4, then words, then the rest.
void copyBytes(const uint8_t* source, uint8_t* target, std::size_t count) {
    const auto byte = [&] {
        *target++ = *source++;
        --count;
    };
    if (count >= 4) {
        while (reinterpret_cast<uintptr_t>(target) % 4 != 0) byte();
    }
    for (; count >= 4; count -= 4, source += 4, target += 4) {
        uint8_t word[4];
        std::memcpy(word, source, 4);
        std::memcpy(target, word, 4);
    }
    while (count > 0) byte();
}

// While it stands, an image has another mask, or none.
class Lend {
public:
    Lend(TestImage& lender, TestImage* mask) : image(lender), before(lender.mask) { image.mask = mask; }
    ~Lend() { image.mask = before; }
    Lend(const Lend&) = delete;
    Lend& operator=(const Lend&) = delete;

private:
    TestImage& image;
    TestImage* before;
};

// Sets or clears the bits of an image under a mask by operations on whole images, which may take their flat runs. The
// mask is inverted in place for the value 0, and back.
void setBits(Scene& scene, TestImage& image, TestImage& mask, bool value) {
    const Lend bare(image, nullptr);
    if (value) return combine(scene, {&image, &mask}, image, logicalOr);
    combine(scene, {&mask}, mask, exclusiveOr, 1);
    combine(scene, {&image, &mask}, image, logicalAnd);
    combine(scene, {&mask}, mask, exclusiveOr, 1);
}

// dst = (dst and not mask) or (src and mask), by way of a temporary mask whose row ends are clear.
void copyMaskedBits(Scene& scene, TestImage& src, TestImage& dst, const Common& common) {
    const TestImage& mask = dst.mask ? *dst.mask : *src.mask;
    Case c;
    c.images.resize(1);
    c.images[0] = mask.form;
    c.images[0].width = common.width;
    c.images[0].height = common.height;
    c.images[0].align = dst.mask && src.mask && dst.mask != src.mask ? 4 : mask.form.align; // merged masks have 4
    c.images[0].slack = 0;
    c.images[0].hasRoi = false;
    c.images[0].fill = Fill::zeros;
    const Scene room(c);
    TestImage& temporary = room.at(0);
    for (int32_t j = 0; j < common.height; ++j) {
        for (int32_t i = 0; i < common.width; ++i) setSample(temporary, i, j, 0, common.allows(i, j));
    }
    setBits(scene, dst, temporary, false);
    {
        const Lend bare(src, nullptr);
        combine(scene, {&src, &temporary}, temporary, logicalAnd);
    }
    const Lend masked(dst, &temporary);
    combine(scene, {&dst, &temporary}, dst, logicalOr);
    ++scene.notes["composed"];
}

} // namespace

void copyImage(Scene& scene, TestImage& src, TestImage& dst) {
    if (&src == &dst) return;
    const Common common({&src, &dst}, masksOf({&src, &dst}));
    if (common.empty()) return;
    const Area from = regionOf(src), to = regionOf(dst);
    const uint32_t depth = src.header.depth;
    if (depth == TOV_DEPTH_1U && common.masked()) return copyMaskedBits(scene, src, dst, common);
    const bool tiled = src.tiled() || dst.tiled();
    if (tiled) logBlocks(scene, &src, dst, common.width, common.height);
    if (common.masked()) ++scene.notes["masked"];

    const std::vector<int> srcChannels = channelsOf(src), dstChannels = channelsOf(dst);
    const std::size_t count = srcChannels.size();
    const bool planes = src.header.dataOrder == TOV_DATA_ORDER_PLANE;
    const auto whole = [&](const TestImage& i) { return channelsOf(i).size() == std::size_t(i.header.nChannels); };
    const bool runs = planes || (src.header.nChannels == dst.header.nChannels && whole(src) && whole(dst));
    if (!tiled && !common.masked() && depth != TOV_DEPTH_1U && runs) {
        const std::size_t pixel = static_cast<std::size_t>(src.form.bits() / 8) * (planes ? 1 : count);
        for (std::size_t c = 0; c < (planes ? count : 1); ++c) {
            for (int32_t j = 0; j < common.height; ++j) {
                copyBytes(placeOf(src, from.x, from.y + j, srcChannels[c]).address,
                          placeOf(dst, to.x, to.y + j, dstChannels[c]).address, common.width * pixel);
            }
        }
        ++scene.notes["runs"];
        return;
    }
    ++scene.notes[tiled ? "tiles" : "pixels"];
    for (int32_t j = 0; j < common.height; ++j) {
        for (int32_t i = 0; i < common.width; ++i) {
            if (!common.allows(i, j)) continue;
            for (std::size_t c = 0; c < count; ++c) {
                const Place a = placeOf(src, from.x + i, from.y + j, srcChannels[c]);
                const Place b = placeOf(dst, to.x + i, to.y + j, dstChannels[c]);
                writeBits(b.address, b.bit, depth, readBits(a.address, a.bit, depth));
            }
        }
    }
}

void setImage(Scene& scene, TestImage& image, int32_t fillValue) {
    const Common common({&image}, masksOf({&image}));
    if (common.empty()) return;
    const uint32_t depth = image.header.depth;
    if (common.masked()) ++scene.notes["masked"];
    if (image.tiled()) ++scene.notes["tiles"];
    if (depth == TOV_DEPTH_1U && common.masked()) return setBits(scene, image, *image.mask, fillValue > 0);
    const Area region = regionOf(image);
    for (int32_t j = 0; j < common.height; ++j) {
        for (int32_t i = 0; i < common.width; ++i) {
            for (int c : channelsOf(image)) {
                if (common.allows(i, j)) setSample(image, region.x + i, region.y + j, c, saturate(fillValue, depth));
            }
        }
    }
    if (image.tiled()) logBlocks(scene, nullptr, image, common.width, common.height);
}

} // namespace tovtest
