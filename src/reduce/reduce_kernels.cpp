// The kernels of bit reduction.
#include "kernel/bitpack.h"
#include "kernel/walk.h"
#include "reduce/reduction.h"

namespace tov {

namespace {

template <class D, class S, class Formula>
OWN_INLINE void reduce(const Reduction& r, Formula formula) {
    const Lane<const S> src = {reinterpret_cast<const S*>(r.src), r.srcStep, r.srcPlaneStep, 1};
    const Lane<D> dst = {reinterpret_cast<D*>(r.dst), r.dstStep, r.dstPlaneStep, 1};
    walkLanes<false>({r.size.width, r.size.height, r.nPlanes, 1}, {}, formula, dst, src);
}

template <class S>
OWN_INLINE void reduceToBits(const Reduction& r, S most) {
    const auto above = [most](S value) OWN_INLINE_LAMBDA { return value > most; };
    for (int32_t y = 0; y < r.size.height; y++) {
        packBits(above, r.size.width, reinterpret_cast<const S*>(r.src + y * r.srcStep), 1, r.dst + y * r.dstStep);
    }
}

// The signed range becomes the unsigned one.
OWN_KERNEL void ownReduce_32s16u(const Reduction& reduction) {
    reduce<uint16_t, int32_t>(reduction, [](int32_t value) OWN_INLINE_LAMBDA {
        return static_cast<uint16_t>((static_cast<uint32_t>(value) >> 16) ^ 0x8000);
    });
}
OWN_KERNEL void ownReduce_32s8u(const Reduction& reduction) {
    reduce<uint8_t, int32_t>(reduction, [](int32_t value) OWN_INLINE_LAMBDA {
        return static_cast<uint8_t>((static_cast<uint32_t>(value) >> 24) ^ 0x80);
    });
}
OWN_KERNEL void ownReduce_16u8u(const Reduction& reduction) {
    reduce<uint8_t, uint16_t>(reduction,
                              [](uint16_t value) OWN_INLINE_LAMBDA { return static_cast<uint8_t>(value >> 8); });
}
OWN_KERNEL void ownReduce_32s1u(const Reduction& reduction) { reduceToBits<int32_t>(reduction, 0); }
OWN_KERNEL void ownReduce_16u1u(const Reduction& reduction) { reduceToBits<uint16_t>(reduction, 32767); }
OWN_KERNEL void ownReduce_8u1u(const Reduction& reduction) { reduceToBits<uint8_t>(reduction, 127); }

struct Pair {
    uint32_t src;
    uint32_t dst;
    ReduceKernel kernel;
};
const Pair kPairs[] = {
    {TOV_DEPTH_32S, TOV_DEPTH_16U, ownReduce_32s16u}, {TOV_DEPTH_32S, TOV_DEPTH_8U, ownReduce_32s8u},
    {TOV_DEPTH_32S, TOV_DEPTH_1U, ownReduce_32s1u},   {TOV_DEPTH_16U, TOV_DEPTH_8U, ownReduce_16u8u},
    {TOV_DEPTH_16U, TOV_DEPTH_1U, ownReduce_16u1u},   {TOV_DEPTH_8U, TOV_DEPTH_1U, ownReduce_8u1u},
};

} // namespace

ReduceKernel reduceKernel(uint32_t srcDepth, uint32_t dstDepth) {
    for (const Pair& pair : kPairs) {
        if (pair.src == srcDepth && pair.dst == dstDepth) return pair.kernel;
    }
    return nullptr;
}

} // namespace tov
