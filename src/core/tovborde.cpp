// Border settings: what operations on neighbourhoods read beyond an image's edges.
#include "core/lifecycle.h"

void tovSetBorderMode(TovImage* image, int32_t mode, int32_t sides, int32_t constVal) {
    const int32_t limited = tov::limitToDepth(constVal, image->depth);
    for (int32_t side = TOV_SIDE_TOP; side <= TOV_SIDE_RIGHT; side++) {
        if ((sides & TOV_SIDE_BIT(side)) == 0) continue;
        image->borderMode[side] = mode;
        image->borderConst[side] = limited;
    }
}
