// Encoding of bitmaps as run-length streams.
#include <cstddef>
#include <cstring>

#include "core/context.h"
#include "dib/dib.h"
#include "kernel/word.h"

namespace tov {

namespace {

constexpr Reporter report{"tovConvertToDIB", "ownrle"};

constexpr int64_t kLongest = 255; // pixels of a run or a literal
constexpr int64_t kLookAhead = 4; // pixels behind a row's end that may be looked at

// Where codes are written to.
struct Stream {
    uint8_t* end;

    void put(int64_t first, int32_t second) {
        *end++ = static_cast<uint8_t>(first);
        *end++ = static_cast<uint8_t>(second);
    }
    // Closes a literal of data bytes that stand behind its code.
    void pad(int64_t bytes) {
        if ((bytes & 1) != 0) *end++ = 0;
    }
};

uint64_t wordAt(const uint8_t* p) {
    uint64_t word = 0;
    std::memcpy(&word, p, sizeof word);
    return word;
}

// How many of the `left` pixels a run takes; the first two are known to fit it. Words are compared as long as no byte
// behind the row is touched.
int64_t runLength(const uint8_t* p, int64_t left) {
    const int64_t most = left < kLongest ? left : kLongest;
    const uint64_t same = p[0] * UINT64_C(0x0101010101010101);
    int64_t n = 2;
    for (; n + 8 <= most; n += 8) {
        const uint64_t differing = wordAt(p + n) ^ same;
        if (differing != 0) return n + leadingZeroBytes(differing);
    }
    while (n < most && p[n] == p[0]) n++;
    return n;
}

// How many of the `left` pixels a literal takes: up to the next three that are equal.
int64_t literalLength(const uint8_t* p, int64_t left) {
    const int64_t most = left < kLongest ? left : kLongest;
    int64_t n = 3;
    for (; n + 10 <= most; n += 8) {
        const uint64_t first = wordAt(p + n);
        const uint64_t equal = zeroBytes((first ^ wordAt(p + n + 1)) | (first ^ wordAt(p + n + 2)));
        if (equal != 0) return n + leadingZeroBytes(equal);
    }
    while (n < most && !(p[n] == p[n + 1] && p[n] == p[n + 2])) n++;
    return n;
}

void encodeRow8(const uint8_t* row, int64_t width, Stream& out) {
    int64_t pos = 0;
    while (pos < width - 3) {
        const uint8_t* p = row + pos;
        int64_t n = 1;
        if (p[0] == p[1]) {
            n = runLength(p, width - pos);
            out.put(n, p[0]);
        } else if (p[1] == p[2]) {
            out.put(1, p[0]);
        } else if (p[2] != p[3]) {
            n = literalLength(p, width - pos);
            out.put(0, static_cast<int32_t>(n));
            std::memcpy(out.end, p, static_cast<size_t>(n));
            out.end += n;
            out.pad(n);
        } else {
            n = 2;
            out.put(1, p[0]);
            out.put(1, p[1]);
        }
        pos += n;
    }
    for (; pos < width; pos++) out.put(1, row[pos]);
}

// Pixels of half bytes from one of them on.
struct Nibbles {
    const uint8_t* row;
    int64_t first;

    int32_t operator[](int64_t i) const {
        i += first;
        return (i & 1) != 0 ? row[i >> 1] & 0x0F : row[i >> 1] >> 4;
    }
    int32_t pair(int64_t i) const { return (*this)[i] << 4 | (*this)[i + 1]; }
};

// How many of the `left` pixels a run of pairs takes; the first four are known to fit it.
int64_t pairRun(const Nibbles& p, int64_t left) {
    int64_t n = 4;
    while (n < left && n < kLongest && p[n] == p[n & 1]) n++;
    return n;
}

// How many of the `left` pixels a literal takes: up to the next pattern of pairs.
int64_t literalLength(const Nibbles& p, int64_t left) {
    int64_t n = 3;
    while (n < left && n < kLongest) {
        if (p[n + 1] == p[n + 3] && p[n + 2] == p[n + 4]) return p[n] != p[n + 2] ? n + 1 : n;
        n += 2;
    }
    return n < left ? n : left;
}

void encodeRow4(const uint8_t* row, int64_t width, Stream& out) {
    int64_t pos = 0;
    while (pos < width - 5) {
        const Nibbles p = {row, pos};
        int64_t n = 2;
        if (p[1] == p[3] && p[0] == p[2]) {
            n = pairRun(p, width - pos);
            out.put(n, p.pair(0));
        } else if (p[2] == p[4]) {
            // A pattern of pairs begins at the second pixel, or at the third.
            if (p[1] == p[3]) n = 1;
            out.put(n, n == 1 ? p[0] << 4 : p.pair(0));
        } else if (p[1] == p[3]) {
            n = 3;
            out.put(2, p.pair(0));
            out.put(1, p[2] << 4);
        } else {
            n = literalLength(p, width - pos);
            out.put(0, static_cast<int32_t>(n));
            for (int64_t i = 0; i + 1 < n; i += 2) *out.end++ = static_cast<uint8_t>(p.pair(i));
            if ((n & 1) != 0) *out.end++ = static_cast<uint8_t>(p[n - 1] << 4);
            out.pad((n + 1) / 2);
        }
        pos += n;
    }
    for (; pos < width; pos += 2) out.put(width - pos < 2 ? 1 : 2, Nibbles{row, pos}.pair(0));
}

} // namespace

bool ownRLECompress(BITMAPINFOHEADER* dib) {
    Bitmap bitmap = bitmapAt(dib);
    BITMAPINFOHEADER& header = bitmap.header;
    const bool is8 = header.biCompression == kBitmapRLE8;
    const int64_t width = header.biWidth;
    const int64_t step = bitmapRowBytes(header);
    const int64_t arraySize = step * header.biHeight;
    const int64_t longest = (2 * width + 2) * header.biHeight + 2;

    // The codes, and behind them the last row, where looking ahead would leave the array: it finds zeros there.
    const int64_t workSize = longest + step + kLookAhead;
    AlignedBlock<uint8_t> work;
    if (workSize <= PTRDIFF_MAX) work = AlignedBlock<uint8_t>(static_cast<size_t>(workSize));
    if (!work) {
        report(TOV_STS_NO_MEMORY, is8 ? "Not enough memory to compress DIB at BI_RLE8 DIB"
                                      : "Not enough memory to compress DIB at BI_RLE4 DIB");
        return false;
    }
    uint8_t* const array = ownDIBPixels(bitmap);
    uint8_t* const lastRow = work.get() + longest;
    std::memcpy(lastRow, array + static_cast<ptrdiff_t>(arraySize - step), static_cast<size_t>(step));
    std::memset(lastRow + step, 0, static_cast<size_t>(kLookAhead));

    Stream stream = {work.get()};
    for (int32_t y = 0; y < header.biHeight; y++) {
        const uint8_t* row = y + 1 < header.biHeight ? array + static_cast<ptrdiff_t>(step) * y : lastRow;
        is8 ? encodeRow8(row, width, stream) : encodeRow4(row, width, stream);
        stream.put(0, 0);
    }
    stream.put(0, 1);
    const int64_t size = stream.end - work.get();
    if (size < arraySize && size <= UINT32_MAX) {
        std::memcpy(array, work.get(), static_cast<size_t>(size));
        header.biSizeImage = static_cast<uint32_t>(size);
    } else {
        header.biCompression = kBitmapRGB;
    }
    std::memcpy(bitmap.start, &header, sizeof header);
    return true;
}

} // namespace tov
