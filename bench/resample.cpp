// Reducing and enlarging, beside the libraries that do the like.
#include "resample_peers.h"

namespace bench {

namespace {

struct Form {
    const char* name;
    Layout layout;
};
const Form kForms[] = {{"8U", {k8U, 1}}, {"8U x 3", {k8U, 3}}, {"8U x 4", {k8U, 4}}};
const char* const kModes[] = {"nearest", "linear", "cubic", "area"};

template <int32_t DstPixels, int32_t SrcPixels>
Prepare resize(Size size, const Layout& layout, int32_t mode) {
    return inTurns<Scaled<DstPixels, SrcPixels>>(
        size, layout, asTheyAre, [mode](const Scaled<DstPixels, SrcPixels>& s) {
            tovResize(s.src.get(), s.dst.get(), DstPixels, SrcPixels, DstPixels, SrcPixels, mode);
        });
}

template <int32_t DstPixels, int32_t SrcPixels>
void addReduced(Items& items, Size size, const Form& form, int32_t mode) {
    const std::string what = std::to_string(SrcPixels) + ":" + std::to_string(DstPixels) + " " + form.name;
    Item& item = items.add({std::string("reduce ") + kModes[mode] + " " + what, size, pixels(size), "pixel",
                            mode == TOV_INTER_SUPER
                                ? resize<DstPixels, SrcPixels>(size, form.layout, mode)
                                : inTurns<Scaled<DstPixels, SrcPixels>>(
                                      size, form.layout, asTheyAre, [mode](const Scaled<DstPixels, SrcPixels>& s) {
                                          tovDecimate(s.src.get(), s.dst.get(), DstPixels, SrcPixels, DstPixels,
                                                      SrcPixels, mode);
                                      })});
    for (const std::string& peer : addPeers<DstPixels, SrcPixels>(items, size, form.layout, mode, what)) {
        item.peer(peer);
        if (mode == TOV_INTER_SUPER) item.aim(1.05, peer);
        if (mode == TOV_INTER_NN) item.aim(1, peer);
    }
}

void addEnlarged(Items& items, Size size, const Form& form, int32_t mode) {
    const std::string what = std::string("2 times ") + form.name;
    Item& item = items.add({std::string("enlarge ") + kModes[mode] + " " + what, size, pixels(size), "pixel",
                            resize<2, 1>(size, form.layout, mode)});
    for (const std::string& peer : addPeers<2, 1>(items, size, form.layout, mode, what)) {
        const bool gray = form.layout.nChannels == 1 && peer.find("swscale") != std::string::npos;
        item.peer(peer).aim(gray ? 2 : 1, peer);
    }
}

} // namespace

void addResampleItems(Items& items) {
    for (const Size size : kSizes) {
        for (const Form& form : kForms) {
            addReduced<1, 2>(items, size, form, TOV_INTER_SUPER);
            addReduced<2, 3>(items, size, form, TOV_INTER_SUPER);
            addReduced<1, 2>(items, size, form, TOV_INTER_NN);
            for (const int32_t mode : {TOV_INTER_NN, TOV_INTER_LINEAR, TOV_INTER_CUBIC}) {
                addEnlarged(items, size, form, mode);
            }
        }
        items.add({"reduce area 3:1 8U", size, pixels(size), "pixel", resize<1, 3>(size, {}, TOV_INTER_SUPER)});
        items.add({"reduce area 4:3 8U", size, pixels(size), "pixel", resize<3, 4>(size, {}, TOV_INTER_SUPER)});
        items.add(
            {"enlarge cubic 2 times 16U", size, pixels(size), "pixel", resize<2, 1>(size, {k16U}, TOV_INTER_CUBIC)});
    }
}

} // namespace bench
