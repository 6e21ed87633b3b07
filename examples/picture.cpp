// The picture that the gallery shows when it is given none.
#include "picture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>

namespace {

constexpr int32_t kWidth = 480;
constexpr int32_t kHeight = 320;
constexpr double kHorizon = 205;
constexpr double kPi = 3.14159265358979;

struct Color {
    double red;
    double green;
    double blue;
};

Color mixed(Color a, Color b, double share) {
    const double t = std::clamp(share, 0.0, 1.0);
    return {a.red + (b.red - a.red) * t, a.green + (b.green - a.green) * t, a.blue + (b.blue - a.blue) * t};
}

// 0 below `low`, 1 above `high`, and soft between them.
double rise(double low, double high, double value) {
    const double t = std::clamp((value - low) / (high - low), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

Color sky(double x, double y) {
    Color color = mixed({24, 40, 110}, {244, 150, 92}, y / kHorizon);
    color = mixed(color, {255, 214, 140}, 0.8 * rise(60, 240, y) * rise(330, 60, std::abs(x - 330)));
    const double sun = std::hypot(x - 330, y - 138);
    color = mixed(color, {255, 226, 160}, 0.7 * std::exp(-sun / 45));
    return mixed(color, {255, 248, 222}, rise(31, 28, sun));
}

// The three ridges, from the far one on: the height at which each begins.
double ridge(int number, double x) {
    switch (number) {
    case 0: return 158 + 16 * std::sin(x / 61) + 7 * std::sin(x / 17 + 1);
    case 1: return 176 + 19 * std::sin(x / 83 + 2) + 6 * std::sin(x / 23);
    default: return 192 + 14 * std::sin(x / 47 + 4) + 3 * std::sin(x / 9);
    }
}

Color land(double x, double y) {
    constexpr Color kRidges[] = {{150, 96, 128}, {88, 66, 112}, {38, 44, 78}};
    Color color = sky(x, y);
    for (int i = 0; i < 3; i++) color = mixed(color, kRidges[i], rise(-1, 1, y - ridge(i, x)));
    return color;
}

Color water(double x, double y) {
    const double depth = y - kHorizon;
    const double wave = 2.5 * std::sin(depth * depth / 90 + x / 60) * (0.3 + depth / 60);
    const Color mirrored = land(x + wave, std::max(kHorizon - depth * 1.35, 0.0));
    return mixed(mirrored, {16, 30, 74}, 0.25 + depth / 220);
}

// Fine detail: a star of rays that grow closer towards its middle, and three glasses of colour that overlap.
Color withFigures(Color color, double x, double y) {
    const double starX = x - 70;
    const double starY = y - 255;
    const double radius = std::hypot(starX, starY);
    const double ray = std::sin(18 * std::atan2(starY, starX));
    const Color star = mixed({20, 22, 30}, {246, 246, 240}, rise(-0.3, 0.3, ray));
    color = mixed(color, star, rise(49, 47, radius));
    constexpr Color kGlasses[] = {{232, 48, 64}, {48, 190, 92}, {52, 108, 240}};
    for (int i = 0; i < 3; i++) {
        const double angle = 2 * kPi * i / 3 - kPi / 2;
        const double distance = std::hypot(x - 400 - 22 * std::cos(angle), y - 258 - 22 * std::sin(angle));
        color = mixed(color, kGlasses[i], 0.62 * rise(36, 34, distance));
    }
    return color;
}

// Letters of 5 by 7 points, a row in each number.
struct Letter {
    char name;
    uint8_t rows[7];
};
constexpr Letter kLetters[] = {
    {'t', {8, 8, 28, 8, 8, 9, 6}},     {'o', {0, 0, 14, 17, 17, 17, 14}},   {'v', {0, 0, 17, 17, 17, 10, 4}},
    {'e', {0, 0, 14, 17, 31, 16, 14}}, {'x', {0, 0, 17, 10, 4, 10, 17}},    {'a', {0, 0, 14, 1, 15, 17, 15}},
    {'c', {0, 0, 14, 16, 16, 17, 14}}, {'h', {16, 16, 22, 25, 17, 17, 17}}, {'b', {16, 16, 30, 17, 17, 17, 30}},
    {'i', {4, 0, 12, 4, 4, 4, 14}},
};

// True where a line of lettering that begins at the origin has ink.
bool hasInk(const char* text, int32_t scale, int32_t x, int32_t y) {
    if (x < 0 || y < 0 || y >= 7 * scale) return false;
    for (int32_t at = x / scale; *text != 0; text++, at -= 6) {
        if (at >= 6) continue;
        for (const Letter& letter : kLetters) {
            if (letter.name == *text) return at < 5 && (letter.rows[y / scale] >> (4 - at) & 1) != 0;
        }
        return false;
    }
    return false;
}

Color picture(int32_t column, int32_t row) {
    const double x = column + 0.5;
    const double y = row + 0.5;
    Color color = withFigures(y < kHorizon ? land(x, y) : water(x, y), x, y);
    if (hasInk("tov", 9, column - 26, row - 26)) color = {255, 250, 236};
    if (hasInk("exact to the bit", 2, column - 28, row - 98)) color = {255, 226, 170};
    if (hasInk("exact to the bit", 1, column - 28, row - 119)) color = {255, 226, 170};
    return color;
}

uint8_t byte(double value) { return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0, 255.0))); }

} // namespace

Image drawPicture() {
    Image image(tovCreateImageHeader(3, 0, TOV_DEPTH_8U, "RGB", "BGR", TOV_DATA_ORDER_PIXEL, TOV_ORIGIN_TL,
                                     TOV_ALIGN_4BYTES, kWidth, kHeight, nullptr, nullptr, nullptr, nullptr));
    if (image.get() == nullptr) throw std::bad_alloc();
    tovAllocateImage(image.get(), 1, 0);
    if (image->imageData == nullptr) throw std::bad_alloc();
    for (int32_t y = 0; y < kHeight; y++) {
        uint8_t* pixel = rowFromTop(*image.get(), y);
        for (int32_t x = 0; x < kWidth; x++, pixel += 3) {
            const Color color = picture(x, y);
            pixel[0] = byte(color.blue);
            pixel[1] = byte(color.green);
            pixel[2] = byte(color.red);
        }
    }
    return image;
}
