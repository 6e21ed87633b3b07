// The band walk of the convolution.
#include "conv/bands.h"

#include <cstring>

#include "core/lifecycle.h"

namespace tov {

namespace {

// The most rows of results that are made from one filling of the band.
constexpr int32_t kBandHeight = 65;

// How pixels become rows of samples, and what of a row of results is kept.
struct ConvLayout {
    int32_t nSide;     // samples of a pixel in a row
    ptrdiff_t stride;  // from sample to sample in the source
    int32_t nValues;   // results of a pixel that are stored
    ptrdiff_t dstStep; // from pixel to pixel in the destination
};

// All channels of a pixel are worked side by side, alpha too, whose results are left out.
ConvLayout layoutOf(const TovImage& src, const TovImage& dst) {
    if (src.dataOrder == TOV_DATA_ORDER_PLANE || src.depth == TOV_DEPTH_1U) return {1, 1, 1, 1};
    if (src.roi->coi != 0) return {1, src.nChannels, 1, dst.nChannels};
    return {src.nChannels, 1, channelsOf(src).count, dst.nChannels};
}

// The rows of samples of a band, and the way of results to the destination.
class Bands {
public:
    Bands(const TovImage& src, const TovImage& dst, int32_t plane, const OwnConvPlan& plan)
        : plan_(plan),
          layout_(layoutOf(src, dst)),
          isBits_(src.depth == TOV_DEPTH_1U),
          size_{src.roi->width, src.roi->height} {
        const ConvMargins& margins = plan.margins;
        ImageView around(src);
        around.place(src.roi->xOffset - margins.leftMargin, src.roi->yOffset - margins.topMargin, size_);
        from_ = ownRoiStart(around.header, channelsOf(src).offset + plane);
        fromStep_ = src.widthStep;
        const RoiStart to = ownRoiStart(dst, channelsOf(dst).offset + plane);
        toStep_ = dst.widthStep;
        store_ = {to.address, to.bitOffset, layout_.dstStep, nullptr, 0, size_.width, layout_.nSide, layout_.nValues};
        Size any = kUnlimited;
        if (dst.maskROI != nullptr) mask_ = roiMask(*dst.maskROI, any);
        nSamples_ = (size_.width + margins.columns()) * layout_.nSide;
        rowStep_ = (nSamples_ * kConvSampleBytes[plan.band] + 31) & -ptrdiff_t{32};
    }

    int32_t pixelStep() const { return layout_.nSide; }

    // False when memory runs out.
    bool allocate() {
        const int64_t rows = smaller(size_.height, kBandHeight) + plan_.margins.rows();
        if (rows > PTRDIFF_MAX / rowStep_) return false;
        band_ = AlignedBlock<uint8_t>(static_cast<size_t>(rows * rowStep_));
        results_ =
            AlignedBlock<uint8_t>(static_cast<size_t>(ptrdiff_t{size_.width} * layout_.nSide * plan_.valueBytes));
        return band_ && results_;
    }

    // Band by band: rows that the next one needs too are moved to its beginning.
    void run() {
        const ptrdiff_t kept = plan_.margins.rows();
        for (ptrdiff_t done = 0; done < size_.height; done += kBandHeight) {
            const ptrdiff_t left = size_.height - done;
            const ptrdiff_t height = left < kBandHeight ? left : kBandHeight;
            if (done != 0) {
                std::memmove(band_.get(), band_.get() + kBandHeight * rowStep_, static_cast<size_t>(kept * rowStep_));
            }
            for (ptrdiff_t y = done == 0 ? 0 : kept; y < height + kept; y++) {
                plan_.readRow(from_.address + (done + y) * fromStep_, from_.bitOffset, layout_.stride,
                              band_.get() + y * rowStep_, nSamples_);
            }
            for (ptrdiff_t y = 0; y < height; y++) makeRow(done + y, y);
        }
    }

private:
    void makeRow(ptrdiff_t y, ptrdiff_t inBand) {
        ConvStore to = store_;
        to.row += y * toStep_;
        ptrdiff_t first = 0;
        if (mask_.first != nullptr) {
            to.mask = mask_.first + y * mask_.rowStep;
            first = narrow(to);
        }
        const ptrdiff_t column = (plan_.margins.leftMargin + first) * layout_.nSide;
        const uint8_t* position = band_.get() + (inBand + plan_.margins.topMargin) * rowStep_;
        const ConvPlace place = {position + column * kConvSampleBytes[plan_.band], rowStep_, layout_.nSide};
        const bool asTheyAre = !isBits_ && to.mask == nullptr && to.nValues == to.nSide && to.pixelStep == to.nSide;
        ownConvRow(plan_, place, asTheyAre ? to.row : results_.get(), ptrdiff_t{to.width} * layout_.nSide);
        if (!asTheyAre) plan_.storeRow(to, results_.get());
    }

    // What the mask clears at both ends of a row isn't worked; gives the first pixel that is.
    ptrdiff_t narrow(ConvStore& to) const {
        const BitStretch ones = stretchOfOnes(to.mask, mask_.bitOffset, to.width);
        const ptrdiff_t maskBit = ptrdiff_t{mask_.bitOffset} + ones.start;
        to.mask += maskBit >> 3;
        to.maskBit = static_cast<int32_t>(maskBit & 7);
        const ptrdiff_t bit = ptrdiff_t{to.bit} + ones.start;
        to.row += isBits_ ? bit >> 3 : ones.start * to.pixelStep * plan_.valueBytes;
        to.bit = static_cast<int32_t>(bit & 7);
        to.width = ones.length;
        return ones.start;
    }

    const OwnConvPlan& plan_;
    ConvLayout layout_;
    bool isBits_;
    Size size_;
    RoiStart from_{};
    ptrdiff_t fromStep_;
    ptrdiff_t toStep_;
    ConvStore store_{};
    MaskLane mask_;
    ptrdiff_t nSamples_;
    ptrdiff_t rowStep_;
    AlignedBlock<uint8_t> band_;
    AlignedBlock<uint8_t> results_;
};

} // namespace

bool ownConvolveRect(const TovImage& src, const TovImage& dst, OwnConvPlan& plan) {
    const bool planes = src.dataOrder == TOV_DATA_ORDER_PLANE;
    const int32_t nPlanes = planes ? channelsOf(src).count : 1;
    for (int32_t plane = 0; plane < nPlanes; plane++) {
        Bands bands(src, dst, plane, plan);
        if (!bands.allocate()) return false;
        ownConvSelectStages(plan, bands.pixelStep());
        bands.run();
    }
    return true;
}

} // namespace tov
