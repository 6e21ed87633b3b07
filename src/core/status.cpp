// What a status says, and which version of the library says it.
#include "tov.h"

namespace {

// Applications may compare these texts, so they stay as they are spelled.
//
// The faults of a header, from -9 down to -21, then -24 and -25, each with the prefix of its mask form. The plain text
// is the same text behind the prefix.
constexpr int kPrefixLength = 6;
const char* const kHeaderTexts[15] = {
    "Mask. Null pointer to an image header",
    "Mask. Incorrect image size",
    "Mask. Incorrect offset of ROI of the image",
    "Mask. One from two pointers should be null, and other should be not null, imageData or tileInfo ",
    "Mask. Incorrect widthStep of the image",
    "Mask. Incorrect Color model or channel sequence of the image",
    "Mask. Incorrect number of channels in the image",
    "Mask. Number of channels for 1U depth image must be one",
    "Mask. Incorrect depth value in the image header",
    "Mask. Incorrect alpha channel number in the image header",
    "Mask. Incorrect data order value in the image header",
    "Mask. Incorrect data origin value in the image header",
    "Mask. Incorrect data alignment value in the image header",
    "Mask. Incorrect COI of the image",
    "Mask. Incorrect size of ROI in the image header",
};

// The texts of 0 down to -8.
const char* const kPlainTexts[9] = {
    "No Error",
    "Backtrace",
    nullptr,
    "Internal error (bad state)",
    "Out of memory",
    "Bad argument",
    "Unsupported function",
    "Iteration convergence failed",
    "Autotrace call",
};

// The header text of a fault, or null.
const char* headerText(TovStatus fault) {
    if (fault <= TOV_STS_NULL_IMAGE && fault >= TOV_STS_BAD_ALIGN) return kHeaderTexts[TOV_STS_NULL_IMAGE - fault];
    if (fault == TOV_STS_BAD_COI) return kHeaderTexts[13];
    if (fault == TOV_STS_BAD_ROI_SIZE) return kHeaderTexts[14];
    return nullptr;
}

const char* textOf(TovStatus status) {
    if (status > 0 || status < -125) return nullptr;
    if (status > TOV_STS_NULL_IMAGE) return kPlainTexts[-status];
    if (status == TOV_STS_NULL_CALLBACK) return "Null pointer to callback function";
    if (status == TOV_STS_BAD_TILE_SIZE) return "Incorrect size of the tile";
    if (status == TOV_STS_TILED_MASK) return "Mask image is taled";
    // A missing mask is no mask, and a mask of several channels has no text of its own.
    if (status == TOV_STS_NULL_IMAGE - 100 || status == TOV_STS_BAD_1U_CHANNELS - 100) return nullptr;
    if (status <= -100) return headerText(status + 100);
    const char* text = headerText(status);
    return text != nullptr ? text + kPrefixLength : nullptr;
}

// The record is part of the interface, its names and dates included; only the first three numbers follow a release.
const TovLibVersion kVersion = {2, 1, 58, "tovP5l.lib", "2.1", "[2.1.058, 02/02/99]", "Feb  6 1999", "Microsoft*"};

} // namespace

const char* tovErrorStr(TovStatus status) {
    const char* text = textOf(status);
    return text != nullptr ? text : "Unknown error or status code";
}

const TovLibVersion* tovGetLibVersion(void) { return &kVersion; }
