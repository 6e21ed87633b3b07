// Scaled products, composition and the colour twist, beside the libraries that do the like.
#include "memory_limits.h"
#include "scene.h"

#ifdef TOV_HAVE_PIXMAN
#include <pixman.h>
#endif
#ifdef TOV_HAVE_YUV
#include <libyuv.h>
#endif

namespace bench {

namespace {

constexpr const char* kOperatorNames[] = {"over", "in", "out", "atop", "xor", "plus"};

void addProducts(Items& items, Size size) {
    const std::string two = limit(items, Traffic::kTwoReads, size, 8);
    const std::string one = limit(items, Traffic::kOneRead, size, 8);
    Item& product =
        items
            .add({"product 8U", size, pixels(size), "value",
                  inTurns<Trio>(size, {}, asTheyAre,
                                [](const Trio& t) { tovMultiplyScale(t.a.get(), t.b.get(), t.dst.get()); })})
            .limitedBy(two);
    Item& scaled = items
                       .add({"scaled product 8U", size, pixels(size), "value",
                             inTurns<Pair>(size, {}, asTheyAre,
                                           [](const Pair& p) { tovMultiplySScale(p.src.get(), p.dst.get(), 200); })})
                       .limitedBy(one);
    // In cache there is more to do than to move.
    if (size == kOutOfCache) {
        product.aim(1.3, two);
        scaled.aim(1.3, one);
    }
}

// Calls with the destination as B, as the peers work.
Prepare composite(Size size, const Layout& layout, int32_t type, int32_t premultiplied, int32_t divide) {
    return inTurns<Pair>(size, layout, asTheyAre, [=](const Pair& p) {
        tovAlphaComposite(p.src.get(), p.dst.get(), p.dst.get(), type, nullptr, nullptr, nullptr, premultiplied,
                          divide);
    });
}

#ifdef TOV_HAVE_PIXMAN
class PixmanImage {
public:
    explicit PixmanImage(const Picture& picture)
        : image_(pixman_image_create_bits(PIXMAN_a8r8g8b8, picture.get()->width, picture.get()->height,
                                          reinterpret_cast<uint32_t*>(picture.get()->imageData),
                                          picture.get()->widthStep)) {}
    PixmanImage(const PixmanImage&) = delete;
    PixmanImage& operator=(const PixmanImage&) = delete;
    ~PixmanImage() { pixman_image_unref(image_); }
    pixman_image_t* get() const { return image_; }

private:
    pixman_image_t* image_;
};

struct PixmanPair : Pair {
    PixmanPair(Size size, const Layout& layout, size_t turn) : Pair(size, layout, turn), from(src), to(dst) {}
    PixmanImage from;
    PixmanImage to;
};

std::string pixmanPeer(Items& items, Size size, int32_t type) {
    static constexpr pixman_op_t operators[] = {PIXMAN_OP_OVER, PIXMAN_OP_IN,  PIXMAN_OP_OUT,
                                                PIXMAN_OP_ATOP, PIXMAN_OP_XOR, PIXMAN_OP_ADD};
    const pixman_op_t op = operators[type];
    std::string name = std::string("pixman ") + kOperatorNames[type];
    const auto arrange = [](const PixmanPair&) {};
    items.add({name, size, pixels(size), "pixel",
               inTurns<PixmanPair>(size, {k8U, 4, true}, arrange,
                                   [=](const PixmanPair& p) {
                                       pixman_image_composite32(op, p.from.get(), nullptr, p.to.get(), 0, 0, 0, 0, 0, 0,
                                                                size.width, size.height);
                                   }),
               Kind::kPeer});
    return name;
}
#endif

#ifdef TOV_HAVE_YUV
std::string yuvBlend(Items& items, Size size) {
    std::string name = "libyuv ARGBBlend";
    items.add({name, size, pixels(size), "pixel",
               inTurns<Pair>(size, {k8U, 4, true}, asTheyAre,
                             [](const Pair& p) {
                                 TovImage* a = p.src.get();
                                 TovImage* dst = p.dst.get();
                                 libyuv::ARGBBlend(a->imageData, a->widthStep, dst->imageData, dst->widthStep,
                                                   dst->imageData, dst->widthStep, dst->width, dst->height);
                             }),
               Kind::kPeer});
    return name;
}

std::string yuvMatrix(Items& items, Size size) {
    std::string name = "libyuv ARGBColorMatrix";
    items.add({name, size, pixels(size), "pixel",
               inTurns<Pair>(
                   size, {k8U, 4, true}, asTheyAre,
                   [](const Pair& p) {
                       static constexpr int8_t matrix[16] = {17, 34, 22, 0, 22, 45, 25, 0, 24, 50, 17, 0, 0, 0, 0, 64};
                       libyuv::ARGBColorMatrix(p.src.get()->imageData, p.src.get()->widthStep, p.dst.get()->imageData,
                                               p.dst.get()->widthStep, matrix, p.dst.get()->width, p.dst.get()->height);
                   }),
               Kind::kPeer});
    return name;
}
#endif

void addComposites(Items& items, Size size) {
    const Layout layout = {k8U, 4, true};
    const std::string bound = limit(items, Traffic::kInPlace, size, 8, 4);
    for (int32_t type = TOV_COMPOSITE_OVER; type <= TOV_COMPOSITE_PLUS; type++) {
        const std::string name = kOperatorNames[type];
        const bool fast = type == TOV_COMPOSITE_OVER || type == TOV_COMPOSITE_PLUS;
        Item& item =
            items.add({name, size, pixels(size), "pixel", composite(size, layout, type, 1, 0)}).limitedBy(bound, 4);
        const bool judged = size == kOutOfCache;
#ifdef TOV_HAVE_PIXMAN
        const std::string pixman = pixmanPeer(items, size, type);
        item.peer(pixman);
        if (judged) item.aim(fast ? 1.05 : 0.5, pixman);
#endif
#ifdef TOV_HAVE_YUV
        if (type == TOV_COMPOSITE_OVER) {
            const std::string yuv = yuvBlend(items, size);
            item.peer(yuv);
            if (judged) item.aim(1.05, yuv);
        }
#endif
        Item& plain = items.add({name + ", plain", size, pixels(size), "pixel", composite(size, layout, type, 0, 0)})
                          .limitedBy(bound, 4);
        if (judged && type == TOV_COMPOSITE_OVER) plain.aim(1.5, name);
        items.add({name + ", planes", size, pixels(size), "pixel", composite(size, {k8U, 4, true, true}, type, 1, 0)})
            .limitedBy(bound, 4);
        Item& divided =
            items.add({name + ", divided", size, pixels(size), "pixel", composite(size, layout, type, 1, 1)});
        if (judged) divided.aim(4, name);
    }
    items.add({"over 16U", size, pixels(size), "pixel", composite(size, {k16U, 4, true}, 0, 1, 0)});
    const auto masked = [size](Pair& p) { p.dst.mask(discMask(size)); };
    items
        .add({"over, disc mask", size, pixels(size), "pixel",
              inTurns<Pair>(size, layout, masked,
                            [](const Pair& p) {
                                tovAlphaComposite(p.src.get(), p.dst.get(), p.dst.get(), TOV_COMPOSITE_OVER, nullptr,
                                                  nullptr, nullptr, 1, 0);
                            })})
        .aim(1.3, "over");
}

// A sepia, whose weights are small.
const TovColorTwist kSepia = {{17426, 50594, 12451, 0, 22937, 44957, 11010, 0, 25756, 50397, 12386, 0, 0, 0, 0, 65536},
                              16};

void addTwists(Items& items, Size size) {
    const auto twist = [size](const Layout& layout) {
        return inTurns<Pair>(size, layout, asTheyAre,
                             [](const Pair& p) { tovApplyColorTwist(p.src.get(), p.dst.get(), &kSepia, 0); });
    };
    Item& four = items.add({"twist 8U x 3 + alpha", size, pixels(size), "pixel", twist({k8U, 4, true})})
                     .limitedBy(limit(items, Traffic::kOneRead, size, 8, 4), 4);
    Item& three = items.add({"twist 8U x 3", size, pixels(size), "pixel", twist({k8U, 3})})
                      .limitedBy(limit(items, Traffic::kOneRead, size, 8, 3), 3);
#ifdef TOV_HAVE_YUV
    const std::string yuv = yuvMatrix(items, size);
    four.peer(yuv);
    three.peer(yuv);
    if (size == kOutOfCache) {
        four.aim(1.05, yuv);
        three.aim(1.05, yuv);
    }
#endif
    items.add({"twist 8U planes", size, pixels(size), "pixel", twist({k8U, 3, false, true})})
        .limitedBy(limit(items, Traffic::kOneRead, size, 8, 3), 3);
    items.add({"twist 16U x 3", size, pixels(size), "pixel", twist({k16U, 3})})
        .limitedBy(limit(items, Traffic::kOneRead, size, 16, 3), 3);
    items.add({"twist 16U x 3 + alpha", size, pixels(size), "pixel", twist({k16U, 4, true})})
        .limitedBy(limit(items, Traffic::kOneRead, size, 16, 4), 4);
}

} // namespace

void addAlphaItems(Items& items) {
    for (const Size size : kSizes) {
        addProducts(items, size);
        addComposites(items, size);
        addTwists(items, size);
    }
}

} // namespace bench
