// Colour tables for bitmaps.
#pragma once

#include "tov.h"

namespace tov {

// Fills the table of a bitmap with 2, 16 or 256 entries: black and white, or steps of gray or of colours. Writes
// nothing for another number of entries.
void ownFixedPalette(BITMAPINFOHEADER* dib, bool gray);

// Fills the table of a bitmap of at most 8 bits with the image's own values where they fit, or else with the means of
// as many boxes as there are entries, by median cut, and sets biClrUsed. Colours lose their two low bits. False for
// what isn't served, an image without pixels included, and for lack of memory; reports nothing.
bool ownMedcutPalette(BITMAPINFOHEADER* dib, const TovImage& image);

} // namespace tov
