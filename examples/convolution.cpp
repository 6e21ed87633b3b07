// Sharpening, an emboss, and edges by two kernels.
#include "convolution.h"

#include <memory>
#include <new>
#include <vector>

namespace {

using Kernel = std::unique_ptr<TovConvKernel, void (*)(TovConvKernel*)>;

// Three by three coefficients, whose sums are shifted right.
Kernel makeKernel(const std::vector<int8_t>& values, int32_t shift) {
    Kernel kernel(tovCreateConvKernelChar(3, 3, 1, 1, values.data(), shift), tovDeleteConvKernel);
    if (kernel == nullptr) throw std::bad_alloc();
    return kernel;
}

// The source by some kernels, its edge pixels standing for what lies beyond.
Image convolve(const Image& source, const std::vector<TovConvKernel*>& kernels, int32_t combineMethod) {
    Image result = makeLike(source);
    tovSetBorderMode(source.get(), TOV_BORDER_REPLICATE, TOV_SIDES_ALL, 0);
    tovConvolve2D(source.get(), result.get(), kernels.data(), static_cast<int32_t>(kernels.size()), combineMethod);
    tovSetBorderMode(source.get(), TOV_BORDER_CONSTANT, TOV_SIDES_ALL, 0);
    return result;
}

} // namespace

void showSharpening(Page& page, const Image& source) {
    const Kernel kernel = makeKernel({0, -1, 0, -1, 5, -1, 0, -1, 0}, 0);
    const Image result = convolve(source, {kernel.get()}, TOV_COMBINE_SUM);
    page.add({"Sharpening",
              "Every pixel five times, less its four neighbours: what stands out from them stands out more.",
              "/* 0 -1 0, -1 5 -1, 0 -1 0 */\nkernel = tovCreateConvKernelChar(3, 3, 1, 1, values, 0);\n"
              "tovConvolve2D(source, result, &kernel, 1, TOV_COMBINE_SUM);",
              {{"source", source}}},
             result);
}

void showEmboss(Page& page, const Image& source) {
    const Kernel kernel = makeKernel({9, 6, 0, 6, 4, -6, 0, -6, -9}, 2);
    const Image result = convolve(source, {kernel.get()}, TOV_COMBINE_SUM);
    page.add({"Emboss",
              "What rises along a diagonal is lit, what falls lies in shadow. The coefficients have the sum 4, "
              "and the shift by 2 bits keeps plain areas as bright as they are.",
              "/* 9 6 0, 6 4 -6, 0 -6 -9 */\nkernel = tovCreateConvKernelChar(3, 3, 1, 1, values, 2);\n"
              "tovConvolve2D(source, result, &kernel, 1, TOV_COMBINE_SUM);",
              {{"source", source}}},
             result);
}

void showEdgeMagnitude(Page& page, const Image& source) {
    const Kernel across = makeKernel({1, 0, -1, 2, 0, -2, 1, 0, -1}, 0);
    const Kernel down = makeKernel({1, 2, 1, 0, 0, 0, -1, -2, -1}, 0);
    const Image result = convolve(source, {across.get(), down.get()}, TOV_COMBINE_SUMSQROOT);
    page.add({"Edge magnitude",
              "Two kernels measure the slope across and down; the root of the sum of their squares is how steep it is, "
              "whatever its direction.",
              "kernels[0] = tovCreateConvKernelChar(3, 3, 1, 1, across, 0);\n"
              "kernels[1] = tovCreateConvKernelChar(3, 3, 1, 1, down, 0);\n"
              "tovConvolve2D(source, result, kernels, 2, TOV_COMBINE_SUMSQROOT);",
              {{"source", source}}},
             result);
}
