// The gallery's entries on convolution.
#pragma once

#include "page.h"

void showSharpening(Page& page, const Image& source);
void showEmboss(Page& page, const Image& source);
void showEdgeMagnitude(Page& page, const Image& source);
