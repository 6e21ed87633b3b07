// The channel walk's positions.
#include "alpha/access.h"

namespace tov {

void ownGetPixelAccess(const TovImage& image, const TovROI* roi, int32_t channel, OwnPixelAccess& access) {
    access.data = image.imageData;
    access.depth = image.depth;
    access.rowStep = ptrdiff_t{image.widthStep} * 8 / depthBits(image.depth);
    const bool planes = image.dataOrder == TOV_DATA_ORDER_PLANE;
    access.channelStep = planes ? image.height * access.rowStep : 1;
    access.pixelStep = planes ? 1 : image.nChannels;
    const Point from = roi != nullptr ? Point{roi->xOffset, roi->yOffset} : Point{0, 0};
    access.start = (channel - 1) * access.channelStep + from.y * access.rowStep + from.x * access.pixelStep;
}

} // namespace tov
