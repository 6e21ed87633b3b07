// The picture that the gallery shows when it is given none.
#pragma once

#include "image.h"

// Draws a landscape of soft gradients and edges, with lettering and fine lines: 8-bit blue, green, red.
Image drawPicture();
