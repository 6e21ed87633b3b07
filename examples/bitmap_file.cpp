// Bitmap files: read into the one block that tovTranslateDIB takes, and written from images.
#include "bitmap_file.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <stdexcept>

namespace {

constexpr size_t kFileHeader = 14;
constexpr size_t kInfoHeader = 40;
enum Compression : uint32_t { kPlain = 0, kRLE8 = 1, kRLE4 = 2, kMasks = 3 };

using Bytes = std::vector<uint8_t>;

[[noreturn]] void refuse(const std::string& reason) { throw std::runtime_error(reason); }

uint32_t number(const Bytes& bytes, size_t at, size_t nBytes) {
    uint32_t value = 0;
    for (size_t i = 0; i < nBytes; i++) value |= uint32_t{bytes[at + i]} << (8 * i);
    return value;
}
uint32_t word(const Bytes& bytes, size_t at) { return number(bytes, at, 4); }

Bytes readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    Bytes bytes;
    char piece[1 << 16];
    while (file.read(piece, sizeof piece) || file.gcount() > 0) bytes.insert(bytes.end(), piece, piece + file.gcount());
    if (!file.eof()) refuse("it can't be read");
    return bytes;
}

// Where the parts of a file lie.
struct Parts {
    BITMAPINFOHEADER header;
    size_t headerSize; // in the file
    size_t pixels;
};

Parts findParts(const Bytes& file) {
    if (file.size() < kFileHeader + 4 || file[0] != 'B' || file[1] != 'M') refuse("it is no bitmap file");
    Parts parts{};
    parts.headerSize = word(file, kFileHeader);
    parts.pixels = word(file, 10);
    constexpr size_t kKnown[] = {40, 52, 56, 64, 108, 124};
    if (std::find(std::begin(kKnown), std::end(kKnown), parts.headerSize) == std::end(kKnown)) {
        refuse("its information header has " + std::to_string(parts.headerSize) + " bytes; 40 or more are needed");
    }
    if (file.size() < kFileHeader + parts.headerSize) refuse("it ends inside its header");
    if (parts.pixels < kFileHeader + parts.headerSize || parts.pixels > file.size()) {
        refuse("its pixels would lie outside the file");
    }
    BITMAPINFOHEADER& header = parts.header;
    header.biSize = kInfoHeader;
    header.biWidth = static_cast<int32_t>(word(file, 18));
    header.biHeight = static_cast<int32_t>(word(file, 22));
    header.biPlanes = static_cast<uint16_t>(number(file, 26, 2));
    header.biBitCount = static_cast<uint16_t>(number(file, 28, 2));
    header.biCompression = word(file, 30);
    header.biSizeImage = word(file, 34);
    header.biXPelsPerMeter = static_cast<int32_t>(word(file, 38));
    header.biYPelsPerMeter = static_cast<int32_t>(word(file, 42));
    header.biClrUsed = word(file, 46);
    header.biClrImportant = word(file, 50);
    return parts;
}

bool isIndexed(const BITMAPINFOHEADER& header) {
    return header.biBitCount == 1 || header.biBitCount == 4 || header.biBitCount == 8;
}

// The bits above the highest colour mask, all of them where there are none: what the library takes for alpha.
uint32_t bitsAbove(uint32_t colors) {
    uint32_t above = ~uint32_t{0};
    while ((colors & above) != 0) above <<= 1;
    return above == 0 ? ~uint32_t{0} : above;
}

// The colour table or the masks, as many as the library expects between header and pixels; biClrUsed tells it.
std::vector<uint32_t> tableOf(const Bytes& file, Parts& parts) {
    BITMAPINFOHEADER& header = parts.header;
    size_t at = kFileHeader + parts.headerSize;
    size_t count = 0;
    if (isIndexed(header)) {
        const size_t most = size_t{1} << header.biBitCount;
        count = header.biClrUsed == 0 ? most : std::min<size_t>(header.biClrUsed, most);
        count = std::min(count, (parts.pixels - at) / 4);
        if (count == 0) refuse("it has no colour table");
    } else if (header.biCompression == kMasks && (header.biBitCount == 16 || header.biBitCount == 32)) {
        if (parts.headerSize == 64) refuse("its compression is not known");
        // The larger headers hold the masks themselves.
        if (parts.headerSize > kInfoHeader) at = kFileHeader + kInfoHeader;
        if (at + 12 > parts.pixels) refuse("its colour masks are missing");
        count = 3;
        const uint32_t alpha = parts.headerSize >= 56 ? word(file, at + 12) : 0;
        const uint32_t served =
            header.biBitCount == 16 ? 0 : bitsAbove(word(file, at) | word(file, at + 4) | word(file, at + 8));
        if (alpha != 0 && alpha != served) refuse("its alpha mask has no place in a 40-byte header");
    }
    header.biClrUsed = isIndexed(header) ? static_cast<uint32_t>(count) : 0;
    std::vector<uint32_t> table(count);
    if (count == 3 && !isIndexed(header)) {
        for (size_t i = 0; i < count; i++) table[i] = word(file, at + 4 * i);
    } else if (count != 0) {
        std::memcpy(table.data(), file.data() + at, count * 4);
    }
    return table;
}

// The pixels as far as the library reads them. Headers that it refuses get none.
Bytes pixelsOf(const Bytes& file, const Parts& parts) {
    const BITMAPINFOHEADER& header = parts.header;
    const auto begin = file.begin() + static_cast<ptrdiff_t>(parts.pixels);
    const int64_t rows = header.biHeight < 0 ? -int64_t{header.biHeight} : header.biHeight;
    const bool knownBits =
        isIndexed(header) || header.biBitCount == 16 || header.biBitCount == 24 || header.biBitCount == 32;
    if (header.biWidth <= 0 || rows == 0 || !knownBits) return {};
    if (header.biCompression == kRLE8 || header.biCompression == kRLE4) {
        // Where a stream lacks its end code, these bytes end it: the longest literal, an end of line, and what fails.
        Bytes stream(begin, file.end());
        stream.insert(stream.end(), {0, 1});
        stream.resize(stream.size() + 300);
        return stream;
    }
    if (header.biCompression != kPlain && header.biCompression != kMasks) return {};
    const uint64_t rowBytes = (uint64_t{header.biBitCount} * static_cast<uint64_t>(header.biWidth) + 31) / 32 * 4;
    const uint64_t available = file.size() - parts.pixels;
    if (available / rowBytes < static_cast<uint64_t>(rows)) refuse("it ends before its pixels do");
    return {begin, begin + static_cast<ptrdiff_t>(rowBytes * static_cast<uint64_t>(rows))};
}

} // namespace

Bitmap::Bitmap(const std::string& path) {
    const Bytes file = readFile(path);
    Parts parts = findParts(file);
    const std::vector<uint32_t> table = tableOf(file, parts);
    const Bytes pixels = pixelsOf(file, parts);
    block_.resize(kInfoHeader / 4 + table.size() + (pixels.size() + 3) / 4);
    uint32_t* at = block_.data();
    std::memcpy(at, &parts.header, kInfoHeader);
    std::copy(table.begin(), table.end(), at + kInfoHeader / 4);
    if (!pixels.empty()) std::memcpy(at + kInfoHeader / 4 + table.size(), pixels.data(), pixels.size());
}

Image Bitmap::translate() {
    constexpr int64_t kMostPixels = int64_t{1} << 26;
    const int64_t rows = header()->biHeight < 0 ? -int64_t{header()->biHeight} : header()->biHeight;
    if (header()->biWidth > 0 && rows > kMostPixels / header()->biWidth) refuse("it is larger than this program shows");
    int32_t cloned = 0;
    tovSetErrStatus(TOV_STS_OK);
    Image image(tovTranslateDIB(header(), &cloned));
    if (image.get() == nullptr || tovGetErrStatus() < 0) refuse("the library does not serve this bitmap");
    return image;
}

void writeBitmapFile(const std::string& path, const TovImage& image) {
    const size_t rowBytes = (static_cast<size_t>(image.width) * 3 + 3) / 4 * 4;
    const size_t pixelBytes = rowBytes * static_cast<size_t>(image.height);
    Bytes header = {'B', 'M'};
    const auto put = [&header](size_t value, size_t nBytes) {
        for (size_t i = 0; i < nBytes; i++) header.push_back(static_cast<uint8_t>(value >> (8 * i)));
    };
    put(kFileHeader + kInfoHeader + pixelBytes, 4);
    put(0, 4);
    put(kFileHeader + kInfoHeader, 4);
    put(kInfoHeader, 4);
    put(static_cast<size_t>(image.width), 4);
    put(static_cast<size_t>(image.height), 4);
    put(1, 2);
    put(24, 2);
    put(kPlain, 4);
    put(pixelBytes, 4);
    put(2835, 4); // 72 pixels an inch
    put(2835, 4);
    put(0, 8);
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(header.data()), static_cast<std::streamsize>(header.size()));
    Bytes row;
    for (int32_t y = image.height - 1; y >= 0; y--) { // the bottom row comes first
        readRow(image, y, row);
        row.resize(rowBytes);
        file.write(reinterpret_cast<const char*>(row.data()), static_cast<std::streamsize>(rowBytes));
    }
    file.close();
    if (!file) refuse(path + " can't be written");
}
