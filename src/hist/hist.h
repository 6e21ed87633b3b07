// Mapping of values through tables.
#pragma once

#include "tov.h"

namespace tov {

// dstImage = the entries of `tables` at the values of srcImage, under the masks of both. The tables follow each other
// in the order of the processed channels, with an entry for each value of the depth: 256 bytes, or 65536 words. The
// images, which may be the same, are sound and agree in depth (8U or 16U), origin and data order.
void tovMap(TovImage* srcImage, TovImage* dstImage, const void* tables);

} // namespace tov
