// Calls of libvips on the pictures of a scene.
#pragma once

#ifdef TOV_HAVE_VIPS

#include <vips/vips.h>

#include <functional>

#include "tov.h"

namespace bench {

// Runs one operation from a plain 8U image in pixel order into the memory of another, on one thread and with nothing
// kept from call to call. A failure ends the program.
void runVips(const TovImage* src, const TovImage* dst,
             const std::function<int(VipsImage* src, VipsImage** result)>& run);

} // namespace bench

#endif
