// Reading and writing single values of any image by the plain rules of addressing, one at a time.
#pragma once

#include <cstdint>
#include <vector>

#include "support/scene.h"

namespace tovtest {

struct Area {
    int32_t x, y, width, height;
    bool empty() const { return width <= 0 || height <= 0; }
};

// The image's region, clipped; empty if it begins beyond the image.
Area regionOf(const TestImage& image);
// Zero-based channels that an operation processes: that of interest, or all but alpha.
std::vector<int> channelsOf(const TestImage& image);

// A value of the given depth at an address; bit counts pixels from the most significant bit on (1-bit depth only).
double readValue(const uint8_t* address, int bit, uint32_t depth);
void writeValue(uint8_t* address, int bit, uint32_t depth, double value); // integers keep their low bits
uint32_t readBits(const uint8_t* address, int bit, uint32_t depth);
void writeBits(uint8_t* address, int bit, uint32_t depth, uint32_t value);
// The nearest value that the depth can hold.
double saturate(double value, uint32_t depth);

// Where value (x, y, c) of an image lies, tiles included.
struct Place {
    uint8_t* address;
    int bit;
};
Place placeOf(const TestImage& image, int32_t x, int32_t y, int c);
double getSample(const TestImage& image, int32_t x, int32_t y, int c);
void setSample(const TestImage& image, int32_t x, int32_t y, int c, double value);

// What several images and masks have in common, each from the first pixel of its region on.
class Common {
public:
    Common(std::vector<TestImage*> images, std::vector<TestImage*> masks);

    bool empty() const { return width <= 0 || height <= 0; }
    bool masked() const { return !masks.empty(); }
    // Every mask allows column i, row j of the rectangle.
    bool allows(int32_t i, int32_t j) const;

    int32_t width = INT32_MAX, height = INT32_MAX;

private:
    std::vector<TestImage*> masks;
};

// The masks of some images, each once.
std::vector<TestImage*> masksOf(const std::vector<TestImage*>& images);

} // namespace tovtest
