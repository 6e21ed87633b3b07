// The sums of the convolution: products of samples and weights, group by group of taps.
#include <cstring>
#include <utility>

#include "conv/kernels.h"
#include "kernel/kernel.h"

namespace tov {

namespace {

// The arithmetics. `stored` is the sum of the groups before.
struct Rounded {
    using Sample = float;
    using Sum = double;
    OWN_INLINE static Sum weight(const ConvTap& tap) { return tap.weight; }
    OWN_INLINE static Sum begin(const ConvGroup&, float stored) { return stored; }
    OWN_INLINE static Sum add(Sum sum, Sample sample, Sum weight) { return sum + sample * weight; }
    OWN_INLINE static float end(const ConvGroup&, Sum sum, float) { return static_cast<float>(sum); }
};

// Sums of whole numbers whose magnitudes all stay below 2^24.
struct Exact {
    using Sample = float;
    using Sum = float;
    OWN_INLINE static Sum weight(const ConvTap& tap) { return tap.weight; }
    OWN_INLINE static Sum begin(const ConvGroup&, float stored) { return stored; }
    OWN_INLINE static Sum add(Sum sum, Sample sample, Sum weight) { return sum + sample * weight; }
    OWN_INLINE static float end(const ConvGroup&, Sum sum, float) { return sum; }
};

// The same, where the sums of each group span less than 2^16: counted from the least one they fit 16 bits, and so it
// doesn't matter that on the way there products and sums are known but for multiples of 2^16.
struct Exact16 {
    using Sample = uint16_t;
    using Sum = uint16_t;
    OWN_INLINE static Sum weight(const ConvTap& tap) { return static_cast<Sum>(static_cast<int32_t>(tap.weight)); }
    OWN_INLINE static Sum begin(const ConvGroup& group, float) { return static_cast<Sum>(-group.low); }
    OWN_INLINE static Sum add(Sum sum, Sample sample, Sum weight) {
        return static_cast<Sum>(sum + uint32_t{sample} * weight);
    }
    OWN_INLINE static float end(const ConvGroup& group, Sum sum, float stored) {
        return stored + static_cast<float>(int32_t{sum} + group.low);
    }
};

// A pass over a stretch: one group, the sums before it, its own sums so far, and the sums with it.
template <class Arithmetic>
struct Pass {
    const ConvPlace& place;
    ConvGroup group;
    const float* before;
    typename Arithmetic::Sum* inGroup;
    float* after;
    ptrdiff_t count;
};

// Adds the products of some taps of a group in their order, its first ones with Begin and its last ones with End.
template <class A, bool Begin, bool End, size_t... I>
OWN_INLINE void addTaps(const Pass<A>& pass, const ConvTap* taps, std::index_sequence<I...>) {
    using Sample = typename A::Sample;
    const auto samplesOf = [&pass](const ConvTap& tap) OWN_INLINE_LAMBDA {
        const uint8_t* row = pass.place.position + tap.row * pass.place.rowStep;
        return reinterpret_cast<const Sample*>(row) + tap.col * pass.place.pixelStep;
    };
    const Sample* const s[] = {samplesOf(taps[I])...};
    const typename A::Sum w[] = {A::weight(taps[I])...};
    OWN_EACH
    for (ptrdiff_t e = 0; e < pass.count; e++) {
        typename A::Sum sum = Begin ? A::begin(pass.group, pass.before[e]) : pass.inGroup[e];
        ((sum = A::add(sum, s[I][e], w[I])), ...);
        if (End) {
            pass.after[e] = A::end(pass.group, sum, pass.before[e]);
        } else {
            pass.inGroup[e] = sum;
        }
    }
}

template <size_t N, class A>
OWN_INLINE void addSome(const Pass<A>& pass, const ConvTap* taps, bool begin, bool end) {
    const auto some = std::make_index_sequence<N>{};
    if (begin && end) return addTaps<A, true, true>(pass, taps, some);
    if (begin) return addTaps<A, true, false>(pass, taps, some);
    return end ? addTaps<A, false, true>(pass, taps, some) : addTaps<A, false, false>(pass, taps, some);
}

template <class A>
OWN_INLINE void addGroup(const Pass<A>& pass, const ConvTap* taps) {
    for (int32_t done = 0, some = 0; done < pass.group.nTaps; done += some) {
        const int32_t left = pass.group.nTaps - done;
        some = left >= 9 ? 9 : left >= 6 ? 6 : left >= 3 ? 3 : left;
        const bool begin = done == 0;
        const bool end = some == left;
        switch (some) {
        case 9: addSome<9>(pass, taps + done, begin, end); break;
        case 6: addSome<6>(pass, taps + done, begin, end); break;
        case 3: addSome<3>(pass, taps + done, begin, end); break;
        case 2: addSome<2>(pass, taps + done, begin, end); break;
        default: addSome<1>(pass, taps + done, begin, end); break;
        }
    }
}

constexpr float kZeros[kConvStretch] = {};

template <class A>
OWN_INLINE void sumRow(const ConvTaps& list, const ConvPlace& place, float* sums, ptrdiff_t count) {
    typename A::Sum inGroup[kConvStretch];
    const ConvTap* taps = list.taps.get();
    for (ptrdiff_t g = 0; g < list.nGroups; g++) {
        const ConvGroup& group = list.groups[static_cast<size_t>(g)];
        addGroup<A>({place, group, g == 0 ? kZeros : sums, inGroup, sums, count}, taps);
        taps += group.nTaps;
    }
    if (list.nGroups == 0) std::memset(sums, 0, static_cast<size_t>(count) * sizeof *sums);
}

OWN_KERNEL void ownConvSums(const ConvTaps& taps, const ConvPlace& place, float* sums, ptrdiff_t count) {
    sumRow<Rounded>(taps, place, sums, count);
}
OWN_KERNEL void ownConvSumsExact(const ConvTaps& taps, const ConvPlace& place, float* sums, ptrdiff_t count) {
    sumRow<Exact>(taps, place, sums, count);
}
OWN_KERNEL void ownConvSumsExact16(const ConvTaps& taps, const ConvPlace& place, float* sums, ptrdiff_t count) {
    sumRow<Exact16>(taps, place, sums, count);
}

} // namespace

const ConvSumRow kConvSumRows[kConvArithmetics] = {ownConvSums, ownConvSumsExact, ownConvSumsExact16};

} // namespace tov
