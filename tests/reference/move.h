// Naive models of copying and filling.
#pragma once

#include "reference/samples.h"

namespace tovtest {

// Both write pixels and tile requests of the scene, and its reports and status where the operation refuses.
void copyImage(Scene& scene, TestImage& src, TestImage& dst);
void setImage(Scene& scene, TestImage& image, int32_t fillValue);

} // namespace tovtest
