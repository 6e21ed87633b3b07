// Building images from their forms, serving their tiles, and comparing two scenes.
#include "support/scene.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>

namespace tovtest {
namespace {

void serveTile(TovImage* header, int32_t x, int32_t y, int32_t mode) {
    static_cast<TestImage*>(header->imageId)->scene.server.serve(header, x, y, mode);
}

float drawFloat(Rng& rng) {
    const float most = std::numeric_limits<float>::max();
    if (rng.oneIn(3)) {
        return rng.pick(
            {0.0f, -0.0f, 1.0f, -1.0f, most, -most, 0.5f, 1e-40f, 16777216.0f, std::numeric_limits<float>::infinity()});
    }
    return std::ldexp(static_cast<float>(rng.between(-(1 << 24), 1 << 24)), rng.between(-30, 8));
}

int32_t drawInteger(Rng& rng, int bits, bool isSigned) {
    const int64_t high = (int64_t{1} << (isSigned ? bits - 1 : bits)) - 1, low = isSigned ? -high - 1 : 0;
    if (rng.oneIn(2))
        return static_cast<int32_t>(rng.pick<int64_t>(
            {0, 0, 1, low, low + 1, high, high, high - 1, high / 2, high / 2 + 1, isSigned ? -1 : 2}));
    return static_cast<int32_t>(rng.next());
}

void fillBlock(const Block& block, uint32_t depth, Fill fill, Rng& rng) {
    uint8_t* data = block.data();
    const std::size_t size = block.size();
    const int bits = static_cast<int>(depth & 0x7FFFFFFF);
    if (fill == Fill::zeros || fill == Fill::ones) {
        std::memset(data, fill == Fill::ones ? 0xFF : 0, size);
    } else if (fill == Fill::runs) {
        std::memset(data, 0, size);
        for (std::size_t bit = 0, set = 0; bit < size * 8; set = !set) {
            const auto end = std::min<std::size_t>(size * 8, bit + rng.between(1, rng.oneIn(2) ? 40 : 6));
            for (; bit < end; ++bit) {
                if (set) data[bit / 8] = static_cast<uint8_t>(data[bit / 8] | (0x80 >> (bit % 8)));
            }
        }
    } else if (fill == Fill::areas) {
        const std::size_t period = rng.oneIn(2) ? size : std::size_t{8} << rng.between(0, 2); // rows may be multiples
        for (std::size_t i = 0, left = 0; i < size; ++i) {
            if (i < period && left == 0) {
                left = rng.between(3, period < size ? 8 : 160);
                data[i] = static_cast<uint8_t>(rng.pick({0, 255, rng.between(0, 255)}));
            } else {
                data[i] = data[i < period ? i - 1 : i - period];
            }
            if (left > 0) --left;
        }
    } else if (fill == Fill::bytes || bits == 1) {
        for (std::size_t i = 0; i < size; ++i) {
            data[i] = bits == 1 && rng.oneIn(4) ? static_cast<uint8_t>(rng.oneIn(2) ? 0 : 255)
                                                : static_cast<uint8_t>(rng.next());
        }
    } else {
        const std::size_t bytes = static_cast<std::size_t>(bits / 8);
        std::memset(data + size / bytes * bytes, 0, size % bytes);
        for (std::size_t i = 0; i + bytes <= size; i += bytes) {
            int32_t value = 0;
            if (depth == TOV_DEPTH_32F) {
                const float real = drawFloat(rng);
                std::memcpy(&value, &real, sizeof value);
            } else {
                value = drawInteger(rng, bits, (depth & TOV_DEPTH_SIGN) != 0);
            }
            const auto low8 = static_cast<uint8_t>(value);
            const auto low16 = static_cast<uint16_t>(value);
            std::memcpy(data + i,
                        bytes == 1   ? static_cast<const void*>(&low8)
                        : bytes == 2 ? static_cast<const void*>(&low16)
                                     : &value,
                        bytes);
        }
    }
}

std::shared_ptr<Store> makeStore(const Case& c, int index) {
    const ImageForm& form = c.images[index];
    auto store = std::make_shared<Store>();
    store->depth = form.depth;
    std::size_t count = 1, size = static_cast<std::size_t>(form.shift + form.dataSize());
    if (form.tileWidth) {
        count = static_cast<std::size_t>((form.width + form.tileWidth - 1) / form.tileWidth) *
                static_cast<std::size_t>((form.height + form.tileHeight - 1) / form.tileHeight);
    }
    for (const ImageForm& other : c.images) {
        if (other.sharesWith == index) size = std::max(size, static_cast<std::size_t>(other.shift + other.dataSize()));
    }
    Rng rng(c.number * 131 + static_cast<uint64_t>(index) + 7);
    for (std::size_t i = 0; i < count; ++i) {
        store->blocks.emplace_back(size, c.fence);
        fillBlock(store->blocks.back(), form.depth, form.fill, rng);
    }
    store->tiles.resize(form.tileWidth ? count : 0);
    return store;
}

} // namespace

TestImage::TestImage(Scene& owner, int number, const ImageForm& s, std::shared_ptr<Store> pixels)
    : scene(owner), index(number), form(s), store(std::move(pixels)) {
    header.headerSize = sizeof(TovImage);
    header.nChannels = s.nChannels;
    header.alphaChannel = s.alpha;
    header.depth = s.depth;
    std::memcpy(header.colorModel, form.channelSeq[0] == 'G' ? "GRAY" : "RGB", 4);
    std::memcpy(header.channelSeq, form.channelSeq, std::min<std::size_t>(4, std::strlen(form.channelSeq)));
    header.dataOrder = s.order;
    header.origin = s.origin;
    header.align = s.align;
    header.width = s.width;
    header.height = s.height;
    header.imageId = this;
    std::copy(std::begin(s.borderMode), std::end(s.borderMode), header.borderMode);
    std::copy(std::begin(s.borderConst), std::end(s.borderConst), header.borderConst);
    roi = s.roi;
    if (s.hasRoi) header.roi = &roi;
    if (s.tileWidth) {
        tiles = {serveTile, nullptr, nullptr, s.tileWidth, s.tileHeight};
        header.tileInfo = &tiles;
    } else {
        header.imageData = store->blocks[0].data() + s.shift;
        header.imageSize = s.dataSize();
        header.widthStep = s.rowStep();
    }
}

void TestImage::remember() {
    headerBefore = header;
    roiBefore = roi;
    tilesBefore = tiles;
}

std::string TestImage::changes() const {
    std::string text;
    if (std::memcmp(&header, &headerBefore, sizeof header) != 0) text += " header";
    if (std::memcmp(&roi, &roiBefore, sizeof roi) != 0) text += " roi";
    TovTileInfo now = tiles;
    now.tileData = tilesBefore.tileData;
    if (std::memcmp(&now, &tilesBefore, sizeof now) != 0) text += " tileInfo";
    return text.empty() ? text : "image " + std::to_string(index) + " has another" + text + "\n";
}

std::ostream& operator<<(std::ostream& out, const TileEvent& event) {
    const char* mode = event.mode == TOV_TILE_READ ? "read" : event.mode == TOV_TILE_WRITE ? "write" : "release";
    return out << "image " << event.image << " " << mode << " (" << event.x << ", " << event.y << ")";
}

void TileServer::serve(TovImage* header, int32_t x, int32_t y, int32_t mode) {
    auto& image = *static_cast<TestImage*>(header->imageId);
    log.push_back({image.index, x, y, mode});
    const auto fault = [&](const char* what) {
        std::ostringstream text;
        text << what << ": " << log.back();
        faults.push_back(text.str());
    };
    if (header->tileInfo != &image.tiles) return fault("not the caller's tile record");
    if (header != &image.header && !acceptsCopies) fault("not the caller's header");
    if (mode != TOV_TILE_RELEASE) image.tiles.tileData = nullptr;
    if (x < 0 || y < 0 || x >= image.tileCols() || y >= image.tileRows()) return fault("outside the grid");
    if (mode == TOV_TILE_RELEASE) {
        if (holds.count({image.index, x, y}) == 0) return fault("not held");
        return release(image, x, y);
    }
    if (mode != TOV_TILE_READ && mode != TOV_TILE_WRITE) return fault("unknown mode");
    if (++requestCount == failAt) return;
    holds.insert({{image.index, x, y}, mode});
    Store::Tile& tile = image.store->tiles[y * image.tileCols() + x];
    (mode == TOV_TILE_WRITE ? tile.writers : tile.readers) += 1;
    protect(image, x, y);
    image.tiles.tileData = image.tileAt(x, y);
}

void TileServer::release(TestImage& image, int32_t x, int32_t y) {
    const auto last = std::prev(holds.upper_bound({image.index, x, y}));
    Store::Tile& tile = image.store->tiles[y * image.tileCols() + x];
    (last->second == TOV_TILE_WRITE ? tile.writers : tile.readers) -= 1;
    holds.erase(last);
    protect(image, x, y);
}

void TileServer::protect(TestImage& image, int32_t x, int32_t y) const {
    if (!strict) return;
    const int i = y * image.tileCols() + x;
    const Store::Tile& tile = image.store->tiles[i];
    image.store->blocks[i].allow(tile.writers ? Access::write : tile.readers ? Access::read : Access::none);
}

void TileServer::setStrict(const Scene& scene, bool on) {
    strict = on;
    for (const auto& image : scene.images) {
        if (!image || image->store->tiles.empty() || image->form.sharesWith >= 0) continue;
        for (const Block& block : image->store->blocks) block.allow(on ? Access::none : Access::write);
    }
}

Scene::Scene(const Case& c) : of(c), images(c.images.size()) {
    const auto storeOf = [&](int i) { return images[i] ? images[i]->store : makeStore(c, i); };
    for (int pass = 0; pass < 2; ++pass) { // owners of memory first
        for (int i = 0; i < static_cast<int>(c.images.size()); ++i) {
            const ImageForm& form = c.images[i];
            if (form.sameAs >= 0 || (form.sharesWith >= 0) != (pass == 1)) continue;
            auto store = storeOf(form.sharesWith >= 0 ? form.sharesWith : i);
            images[i] = std::make_unique<TestImage>(*this, i, form, std::move(store));
        }
    }
    for (auto& image : images) {
        if (!image) continue;
        if (image->form.mask >= 0) {
            image->mask = images[image->form.mask].get();
            image->header.maskROI = &image->mask->header;
        }
        image->remember();
    }
}

Scene::~Scene() { server.setStrict(*this, false); }

std::string Scene::differences(const Scene& expected) const {
    std::ostringstream text;
    int shown = 0;
    for (std::size_t i = 0; i < images.size(); ++i) {
        if (!images[i]) continue;
        text << images[i]->changes();
        const Store& store = *images[i]->store;
        for (std::size_t b = 0; b < store.blocks.size(); ++b) {
            const Block& block = store.blocks[b];
            if (!block.guardIntact()) text << "image " << i << ", block " << b << ": guard bytes overwritten\n";
            const uint8_t *is = block.data(), *want = expected.images[i]->store->blocks[b].data();
            if (std::memcmp(is, want, block.size()) == 0) continue;
            for (std::size_t k = 0; k < block.size(); ++k) {
                if (is[k] == want[k]) continue;
                if (store.depth == TOV_DEPTH_32F && k / 4 * 4 + 4 <= block.size()) {
                    float x, y;
                    std::memcpy(&x, is + k / 4 * 4, 4);
                    std::memcpy(&y, want + k / 4 * 4, 4);
                    if (std::isnan(x) && std::isnan(y)) continue;
                }
                if (++shown <= 5) {
                    text << "image " << i << ", block " << b << ", byte " << k << ": " << int{is[k]} << " instead of "
                         << int{want[k]} << "\n";
                }
            }
        }
    }
    for (const std::string& fault : faults) text << fault << "\n";
    for (const std::string& fault : server.faults) text << "tile server: " << fault << "\n";
    if (server.held() != 0) text << "tile server: " << server.held() << " tiles are still held\n";
    return text.str();
}

} // namespace tovtest
