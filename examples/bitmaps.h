// The gallery's entries on curves and on bitmaps out.
#pragma once

#include "image.h"
#include "page.h"

// Needs a source of 8 bits.
void showCurve(Page& page, const Image& source);

// Need a source of 8 bits with three colours.
void showDithers(Page& page, const Image& source);
void showRoundTrips(Page& page, const Image& source);
