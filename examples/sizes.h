// The gallery's entries on mirrors and sizes.
#pragma once

#include "image.h"
#include "page.h"

void showMirrors(Page& page, const Image& source);

// Both need a source of 8 bits or more.
void showEnlarged(Page& page, const Image& source);
void showReduced(Page& page, const Image& source);
