// The gallery's entries on windows around pixels.
#pragma once

#include "image.h"
#include "page.h"

void showBlur(Page& page, const Image& source);
void showErosion(Page& page, const Image& source);

// Draws its own image, of the source's size.
void showErodedBits(Page& page, const Image& source);
