// The kernels of the blur whose sums round, all of them toward zero.
#include "blur/rows.h"
#include "core/memory.h"
#include "core/platform.h"

namespace tov {

namespace {

// Column sums are singles, window sums doubles. A sum that is formed in double precision and stored as a single, both
// toward zero, is what a single addition toward zero gives.
struct Samples32s {
    static double difference(int32_t in, int32_t out) { return static_cast<double>(int64_t{in} - out); }
    static int32_t result(double average) {
        if (average >= 2147483647.0) return INT32_MAX;
        if (average <= -2147483648.0) return INT32_MIN;
        return static_cast<int32_t>(average);
    }
};
struct Samples32f {
    static double difference(float in, float out) { return in - out; }
    static float result(double average) { return static_cast<float>(average); }
};

template <class T, class Samples>
bool blurRounding(const BlurArgs& args) {
    const BlurShape shape(args);
    const ptrdiff_t nColumns = shape.columns(args);
    const ptrdiff_t nOutputs = shape.outputs(args);
    const ptrdiff_t reach = shape.reach(args);
    const AlignedBlock<float> sums(static_cast<size_t>(nColumns));
    const AlignedBlock<T> results(static_cast<size_t>(nOutputs));
    if (!sums || !results) return false;
    const RoundTowardZero rounding;
    float* columns = sums.get();
    const double inverse = args.inverse;
    const BlurOutput<T> output(args, shape);
    for (int32_t plane = 0; plane < shape.nPlanes; plane++) {
        const auto row = [&](ptrdiff_t y) { return reinterpret_cast<const T*>(shape.row(args, plane, y)); };
        for (ptrdiff_t i = 0; i < nColumns; i++) columns[i] = 0;
        for (int32_t y = 0; y < args.nRows; y++) {
            const T* in = row(y);
            for (ptrdiff_t i = 0; i < nColumns; i++) {
                columns[i] = static_cast<float>(static_cast<double>(columns[i]) + static_cast<double>(in[i]));
            }
        }
        for (int32_t y = 0; y < args.size.height; y++) {
            for (ptrdiff_t c = 0; c < shape.nSide; c++) {
                double sum = 0;
                for (ptrdiff_t i = c; i < reach; i += shape.nSide) sum += columns[i];
                for (ptrdiff_t i = c; i < nOutputs; i += shape.nSide) {
                    results[static_cast<size_t>(i)] = Samples::result(sum * inverse);
                    sum += static_cast<double>(columns[i + reach]) - static_cast<double>(columns[i]);
                }
            }
            output.put(results.get(), plane, y);
            const T* in = row(ptrdiff_t{y} + args.nRows);
            const T* out = row(y);
            for (ptrdiff_t i = 0; i < nColumns; i++) {
                columns[i] = static_cast<float>(static_cast<double>(columns[i]) + Samples::difference(in[i], out[i]));
            }
        }
    }
    return true;
}

} // namespace

bool ownBlur_32s(const BlurArgs& args) { return blurRounding<int32_t, Samples32s>(args); }
bool ownBlur_32f(const BlurArgs& args) { return blurRounding<float, Samples32f>(args); }

} // namespace tov
