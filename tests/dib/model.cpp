// Bitmaps as their parts, drawn at random, and naive models of what becomes of them.
#include "dib/model.h"

#include <algorithm>
#include <cstring>

namespace tovtest {
namespace {

int getIndex(const Dib& dib, int64_t row, int64_t x) {
    const int bits = dib.header.biBitCount, perByte = 8 / bits;
    const auto place = static_cast<std::size_t>(row * dib.step() + x / perByte);
    const int byte = place < dib.pixels.size() ? dib.pixels[place] : 0;
    return byte >> (8 - bits - static_cast<int>(x % perByte) * bits) & ((1 << bits) - 1);
}

void setIndex(const Dib& dib, std::vector<uint8_t>& pixels, int64_t row, int64_t x, int value) {
    uint8_t& byte = pixels.at(static_cast<std::size_t>(row * dib.step() + (dib.header.biBitCount == 8 ? x : x / 2)));
    if (dib.header.biBitCount == 8) {
        byte = static_cast<uint8_t>(value);
    } else {
        byte = static_cast<uint8_t>(x % 2 ? (byte & 0xF0) | value : (byte & 0x0F) | value << 4);
    }
}

uint32_t entryCount(const Dib& dib) {
    return dib.header.biClrUsed ? dib.header.biClrUsed : 1u << dib.header.biBitCount;
}

std::vector<uint32_t> drawTable(uint32_t entries, Rng& rng) {
    std::vector<uint32_t> table;
    const bool ramp = !rng.oneIn(3) && entries > 1;
    for (uint32_t i = 0; i < entries; ++i) {
        const uint32_t junk = static_cast<uint32_t>(rng.next()), gray = ramp ? 255 * i / (entries - 1) : 0;
        table.push_back(ramp ? gray * 0x10101 | (junk & 0xFF000000) : junk);
    }
    // One entry off the ramp, or on it after all.
    if (rng.oneIn(2)) table[rng.between(0, static_cast<int32_t>(entries) - 1)] ^= 1u << rng.between(0, 31);
    return table;
}

std::vector<uint32_t> drawMasks(Rng& rng) {
    using Masks = std::vector<uint32_t>;
    std::vector<Masks> known = {{0xF800, 0x7E0, 0x1F},
                                {0x7C00, 0x3E0, 0x1F},
                                {0x3FF00000, 0xFFC00, 0x3FF},
                                {0xFF, 0xFF00, 0xFF0000},
                                {0xFF000000, 0xFF00, 0xFF},
                                {0xF0F, 0x80000001, 0x5500},
                                {~0u, ~0u, 0xFFFF},
                                {0xC000000, 0x3C000000, 0xFF},
                                {0x3C000000, 0xC000000, 0xFF},
                                {1, 2, 4},
                                {0xFFC00000, 0x3FF800, 0x7FF}};
    if (rng.oneIn(2)) return known[rng.between(0, static_cast<int32_t>(known.size()) - 1)];
    Masks masks;
    while (masks.size() < 3) {
        const uint32_t mask = static_cast<uint32_t>(rng.next());
        if ((mask & 0xFFFF) != 0) masks.push_back(rng.oneIn(2) ? mask : mask & 0xFFFF);
    }
    return masks;
}

// Trailing zeros, and ones above them.
std::array<int, 2> shiftAndWidth(uint32_t mask) {
    int shift = 0, width = 0;
    while (!(mask >> shift & 1)) ++shift;
    while (shift + width < 32 && (mask >> (shift + width) & 1)) ++width;
    return {shift, width};
}

uint8_t scaled(uint32_t pixel, uint32_t mask) {
    if (mask == 0) return 0;
    const auto [shift, width] = shiftAndWidth(mask);
    const uint64_t value = (pixel & mask) >> shift;
    return static_cast<uint8_t>(width >= 8 ? value >> (width - 8) : value << (8 - width));
}

Bytes4 maskedPixel(const Dib& dib, uint32_t pixel) {
    const bool wide = dib.header.biBitCount == 32;
    std::array<uint32_t, 4> masks = {0x7C00, 0x03E0, 0x001F, 0};
    if (wide) masks = {0xFF0000, 0xFF00, 0xFF, 0xFF000000};
    if (dib.header.biCompression == 3) {
        std::array<int, 2> top = {-1, 0};
        for (int c = 0; c < 3; ++c) {
            masks[c] = wide ? dib.words[c] : dib.words[c] & 0xFFFF;
            top = std::max(top, shiftAndWidth(masks[c]));
        }
        const int above = top[0] + top[1];
        masks[3] = !wide ? 0 : above == 32 ? ~0u : ~0u << above;
    }
    return {scaled(pixel, masks[2]), scaled(pixel, masks[1]), scaled(pixel, masks[0]), scaled(pixel, masks[3])};
}

} // namespace

Block Dib::block() const {
    Block block(sizeof header + words.size() * 4 + pixels.size(), Fence::end);
    std::memcpy(block.data(), &header, sizeof header);
    if (!words.empty()) std::memcpy(block.data() + sizeof header, words.data(), words.size() * 4);
    if (!pixels.empty()) std::memcpy(block.data() + sizeof header + words.size() * 4, pixels.data(), pixels.size());
    return block;
}

BITMAPINFOHEADER* headerIn(const Block& block) {
    void* start = block.data();
    return static_cast<BITMAPINFOHEADER*>(start);
}

Dib plainDib(int32_t bits, int32_t width, int32_t height, uint32_t compression) {
    Dib dib;
    dib.header.biSize = sizeof dib.header;
    dib.header.biWidth = width;
    dib.header.biHeight = height;
    dib.header.biPlanes = 1;
    dib.header.biBitCount = static_cast<uint16_t>(bits);
    dib.header.biCompression = compression;
    if (bits <= 8) dib.words.resize(std::size_t{1} << bits);
    if (bits >= 16 && bits != 24 && compression == 3) dib.words = {0xF800, 0x7E0, 0x1F};
    dib.pixels.resize(static_cast<std::size_t>(dib.step() * (dib.rows() - 1) + (int64_t{width} * bits + 7) / 8));
    return dib;
}

Dib drawDib(Rng& rng) {
    const int32_t bits = rng.pick({1, 4, 8, 16, 24, 32}), rle = bits == 8 ? 1 : bits == 4 ? 2 : 0;
    const int32_t width = rng.oneIn(20) ? rng.between(1000, 3100) : rng.between(1, 70);
    Dib dib = plainDib(bits, width, rng.between(1, 6), static_cast<uint32_t>(rng.pick({0, 3, rle})));
    if (rng.oneIn(2) && dib.header.biCompression % 3 == 0) dib.header.biHeight *= -1;
    dib.header.biSizeImage = static_cast<uint32_t>(rng.next());
    if (bits > 8) {
        dib.header.biClrUsed = static_cast<uint32_t>(rng.next()); // not looked at
        if (!dib.words.empty()) dib.words = drawMasks(rng);
        for (uint32_t& mask : dib.words) mask |= bits == 16 && (mask & 0xFFFF) == 0 ? 0x60 : 0;
    } else {
        dib.header.biClrUsed = static_cast<uint32_t>(rng.pick({0, 0, 1 << bits, 1, rng.between(1, 1 << bits), 300}));
        dib.words = drawTable(entryCount(dib), rng);
    }
    for (uint8_t& byte : dib.pixels) byte = static_cast<uint8_t>(rng.next());
    if (dib.header.biCompression % 3 != 0) dib.pixels = drawStream(dib, rng);
    return dib;
}

Bytes4 pixelOf(const Dib& dib, int32_t x, int64_t y) {
    const int bits = dib.header.biBitCount;
    const int64_t row = dib.header.biHeight > 0 ? dib.rows() - 1 - y : y;
    if (bits <= 8) {
        const auto index = static_cast<std::size_t>(getIndex(dib, row, x));
        Bytes4 bytes{};
        if (index < entryCount(dib)) std::memcpy(bytes.data(), &dib.words.at(index), 4);
        return bytes;
    }
    const uint8_t* at = &dib.pixels.at(static_cast<std::size_t>(row * dib.step() + int64_t{x} * bits / 8));
    if (bits == 24) return {at[0], at[1], at[2], 0};
    uint16_t half;
    uint32_t word;
    std::memcpy(&half, at, 2);
    if (bits == 16) return maskedPixel(dib, half);
    std::memcpy(&word, at, 4);
    return maskedPixel(dib, word);
}

bool hasGrayTable(const Dib& dib) {
    const uint32_t n = entryCount(dib);
    for (uint32_t i = 0; n > 1 && i < n; ++i) {
        if ((dib.words.at(i) & 0xFFFFFF) != 255 * i / (n - 1) * 0x10101) return false;
    }
    return n > 1;
}

Decoded decode(const Dib& dib) {
    const std::vector<uint8_t>& stream = dib.pixels;
    const bool is8 = dib.header.biBitCount == 8;
    const int64_t width = dib.header.biWidth, height = dib.header.biHeight;
    Decoded result;
    result.pixels.resize(static_cast<std::size_t>(dib.step() * height));
    int64_t x = 0, y = 0;
    const auto fail = [&](const char* why) { return result.fault = why, result; };
    const auto next = [&] { return stream.at(result.used++); };
    const auto put = [&](int value) {
        return y < height && x < width && (setIndex(dib, result.pixels, y, x++, value), true);
    };
    while (true) {
        const int n = next(), c = next();
        if (n > 0) {
            for (int i = 0; i < n; ++i) {
                if (!put(is8 ? c : i % 2 ? c % 16 : c / 16)) return fail("mismatch biHeight or biWidth");
            }
        } else if (c == 0) {
            if (x != width) return fail("mismatch biWidth");
            x = 0, ++y;
        } else if (c == 1) {
            if (y != height && y != height - 1) return fail("mismatch biHeight");
            return result;
        } else if (c == 2) {
            x += next(), y += next();
            if (x > width || y > height) return fail("bad Delta command");
        } else {
            if (y >= height || x + c > width) return fail("mismatch biHeight or biWidth");
            const std::size_t bytes = is8 ? c : (c + 1) / 2;
            for (int i = 0; i < c; ++i) {
                const int byte = stream.at(result.used + (is8 ? i : i / 2));
                put(is8 ? byte : i % 2 ? byte % 16 : byte / 16);
            }
            result.used += bytes + bytes % 2;
        }
        if (y > height) return fail("mismatch biHeight or biWidth");
    }
}

Dib decoded(const Dib& dib) {
    Dib plain = dib;
    if (dib.header.biCompression % 3 != 0) {
        plain.header.biCompression = 0;
        plain.pixels = decode(dib).pixels;
    }
    return plain;
}

std::vector<uint8_t> encode(const Dib& dib) {
    const bool is8 = dib.header.biBitCount == 8;
    const int64_t width = dib.header.biWidth;
    std::vector<uint8_t> out;
    const auto code = [&](int64_t n, int64_t value) {
        out.push_back(static_cast<uint8_t>(n));
        out.push_back(static_cast<uint8_t>(value));
    };
    for (int64_t row = 0; row < dib.rows(); ++row) {
        const auto p = [&](int64_t i) { return getIndex(dib, row, i); };
        const auto pair = [&](int64_t i) { return p(i) * 16 + p(i + 1); };
        int64_t pos = 0;
        const auto literal = [&](int64_t from, int64_t n) {
            code(0, n);
            const std::size_t start = out.size();
            for (int64_t i = 0; i < n; i += is8 ? 1 : 2) {
                out.push_back(static_cast<uint8_t>(is8 ? p(from + i) : i + 1 < n ? pair(from + i) : p(from + i) * 16));
            }
            if ((out.size() - start) % 2) out.push_back(0);
        };
        while (is8 && pos < width - 3) {
            const int a = p(pos), b = p(pos + 1), c = p(pos + 2), d = p(pos + 3);
            int64_t n = 0;
            if (a == b) {
                n = 2, pos += 2;
                while (pos < width && n < 255 && p(pos - 1) == p(pos)) ++n, ++pos;
                code(n, a);
            } else if (b == c) {
                code(1, a), pos += 1;
            } else if (c != d) {
                n = 3, pos += 3;
                while (pos < width && n < 255 && !(p(pos) == p(pos + 1) && p(pos + 1) == p(pos + 2))) ++n, ++pos;
                literal(pos - n, n);
            } else {
                code(1, a), code(1, b), pos += 2;
            }
        }
        while (!is8 && pos < width - 5) {
            const int a = p(pos), b = p(pos + 1), c = p(pos + 2), d = p(pos + 3), e = p(pos + 4);
            int64_t n = 0;
            if (b == d && a == c) {
                n = 4, pos += 4;
                while (pos < width && n < 255) {
                    if (p(pos) != a) break;
                    ++n, ++pos;
                    if (p(pos) != b) break;
                    ++n, ++pos;
                }
                if (pos > width || n == 256) --n, --pos;
                code(n, a * 16 + b);
            } else if (b == d && c == e) {
                code(1, a * 16), pos += 1;
            } else if (b == d) {
                code(2, a * 16 + b), code(1, c * 16), pos += 3;
            } else if (c == e) {
                code(2, a * 16 + b), pos += 2;
            } else {
                n = 3, pos += 3;
                while (pos < width && n < 255) {
                    if (p(pos + 1) == p(pos + 3) && p(pos + 2) == p(pos + 4)) {
                        if (p(pos) != p(pos + 2)) ++n, ++pos;
                        break;
                    }
                    n += 2, pos += 2;
                }
                if (pos > width) --n, --pos;
                literal(pos - n, n);
            }
        }
        for (; is8 && pos < width; ++pos) code(1, p(pos));
        for (; !is8 && pos < width; pos += 2) code(pos + 1 < width ? 2 : 1, pair(pos));
        code(0, 0);
    }
    code(0, 1);
    return out;
}

std::vector<uint8_t> drawStream(const Dib& dib, Rng& rng) {
    std::vector<uint8_t> out;
    const auto code = [&](int first, int second) {
        out.push_back(static_cast<uint8_t>(first));
        out.push_back(static_cast<uint8_t>(second));
    };
    const auto upTo = [&](int32_t most) { return rng.between(1, std::min(most, rng.pick({3, 20, 255}))); };
    const int32_t width = dib.header.biWidth, height = dib.header.biHeight;
    int32_t x = 0, y = 0;
    while (y < height) {
        const int32_t left = width - x, n = left > 0 ? upTo(left) : 0;
        if (rng.oneIn(12)) {
            const int32_t dx = rng.between(0, std::min(left, 255)), dy = rng.between(0, rng.oneIn(2) ? 0 : height - y);
            code(0, 2), code(dx, dy);
            x += dx, y += dy;
        } else if (left == 0) {
            if (y == height - 1 && rng.oneIn(2)) break;
            code(0, 0);
            x = 0, ++y;
        } else if (n < 3 || rng.oneIn(2)) {
            code(n, static_cast<int>(rng.next() & 255));
            x += n;
        } else {
            code(0, n);
            const int bytes = dib.header.biBitCount == 8 ? n : (n + 1) / 2;
            for (int i = 0; i < bytes + bytes % 2; ++i) out.push_back(static_cast<uint8_t>(rng.next()));
            x += n;
        }
        if (y == height - 1 && rng.oneIn(40)) break;
    }
    code(0, 1);
    return out;
}

} // namespace tovtest
