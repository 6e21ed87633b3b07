// The gallery's entries on alpha and colour.
#pragma once

#include "image.h"
#include "page.h"

// Both need a source of 8 bits with three colours.
void showSoftEdge(Page& page, const Image& source);
void showTwists(Page& page, const Image& source);

// Draws its own images.
void showOperators(Page& page, const Image& source);
