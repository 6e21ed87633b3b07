// Bitmap files: read into the one block that tovTranslateDIB takes, and written from images.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image.h"
#include "tov.h"

// A bitmap in memory: header, colour table or masks, and pixels, one behind the other.
class Bitmap {
public:
    // Reads a file; throws std::runtime_error with the reason when it isn't a bitmap, isn't whole, or has a form that
    // can't be brought into such a block without loss.
    explicit Bitmap(const std::string& path);

    BITMAPINFOHEADER* header() { return reinterpret_cast<BITMAPINFOHEADER*>(block_.data()); }

    // An image of the bitmap, which may point into it; throws std::runtime_error when the library refuses the bitmap,
    // after the error handler has told why.
    Image translate();

private:
    std::vector<uint32_t> block_; // words, so that the header is aligned
};

// Writes a 1-bit or 8-bit image as a 24-bit bitmap; throws std::runtime_error when the file can't be written.
void writeBitmapFile(const std::string& path, const TovImage& image);
