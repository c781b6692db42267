// vips.cpp - libvips. It renders tiles on its own threads, directly into the memory of the result.

#include <vips/vips.h>

#include <cmath>
#include <cstddef>
#include <functional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "../parameters.h"
#include "rivals.h"

namespace benchmarks {
namespace {

using Function = std::function<void(void*)>;

struct Size {
    std::size_t width, height;
};

VipsImage* Opened(const Picture& picture) {
    return vips_image_new_from_memory(picture.pixels.data(), picture.width * picture.height * kChannels * sizeof(float),
                                      static_cast<int>(picture.width), static_cast<int>(picture.height), kChannels,
                                      VIPS_FORMAT_FLOAT);
}

// Throws when an operation failed.
void Check(int status) {
    if (status != 0) throw std::runtime_error(vips_error_buffer());
}

// A pipeline makes an image from the picture's image. The caller unreferences both after rendering.
using Pipeline = std::function<VipsImage*(VipsImage*)>;

Function Rendered(const Picture& picture, const Pipeline& pipeline, const Size& size) {
    return [&picture, pipeline, size](void* to) {
        VipsImage* from = Opened(picture);
        VipsImage* result = pipeline(from);
        VipsImage* memory = vips_image_new_from_memory(to, size.width * size.height * kChannels * sizeof(float),
                                                       static_cast<int>(size.width), static_cast<int>(size.height),
                                                       kChannels, VIPS_FORMAT_FLOAT);
        Check(vips_image_write(result, memory));
        g_object_unref(memory);
        g_object_unref(result);
        g_object_unref(from);
    };
}

// Unreferences an image that is no longer needed and returns its replacement.
VipsImage* Replace(VipsImage* old, VipsImage* made) {
    g_object_unref(old);
    return made;
}

VipsImage* Matrix(VipsImage* from) {
    double weights[16] = {}, added[4] = {}, ones[4] = {1, 1, 1, 1};
    for (int to = 0; to < 3; ++to) {
        for (int channel = 0; channel < 3; ++channel) weights[4 * to + channel] = kMatrix[to][channel];
        added[to] = kMatrix[to][3];
    }
    weights[15] = 1;
    VipsImage* matrix = vips_image_new_matrix_from_array(4, 4, weights, 16);
    VipsImage *product = nullptr, *result = nullptr;
    Check(vips_recomb(from, &product, matrix, nullptr));
    g_object_unref(matrix);
    Check(vips_linear(product, &result, ones, added, 4, nullptr));
    return Replace(product, result);
}

// Returns the image with each component multiplied by scale, plus added.
VipsImage* Linear(VipsImage* from, double scale, double added) {
    VipsImage* result = nullptr;
    Check(vips_linear1(from, &result, scale, added, nullptr));
    return result;
}

VipsImage* Power(VipsImage* from) {
    VipsImage* result = nullptr;
    Check(vips_pow_const1(from, &result, kGamma, nullptr));
    return result;
}

VipsImage* FiveSteps(VipsImage* from) {
    VipsImage* image = Linear(from, std::exp2(kExposure), 0);
    image = Replace(image, Matrix(image));
    image = Replace(image, Power(image));
    image = Replace(image, Linear(image, kPosterizeLevels - 1, 0));
    VipsImage* rounded = nullptr;
    Check(vips_rint(image, &rounded, nullptr));
    image = Replace(image, rounded);
    return Replace(image, Linear(image, -1 / (kPosterizeLevels - 1), 1));
}

VipsImage* Gaussian(VipsImage* from) {
    VipsImage* result = nullptr;
    // min_ampl is the weight at three sigmas; smaller weights are dropped.
    Check(vips_gaussblur(from, &result, kSigma, "min_ampl", 0.0111, "precision", VIPS_PRECISION_FLOAT, nullptr));
    return result;
}

VipsImage* Convolved(VipsImage* from, const std::vector<double>& weights, int width) {
    VipsImage* kernel = vips_image_new_matrix_from_array(width, static_cast<int>(weights.size()) / width,
                                                         weights.data(), static_cast<int>(weights.size()));
    VipsImage* result = nullptr;
    Check(vips_conv(from, &result, kernel, "precision", VIPS_PRECISION_FLOAT, nullptr));
    g_object_unref(kernel);
    return result;
}

VipsImage* Turned(VipsImage* from) {
    // The forward transform, with pixel centers at integers.
    const double a = kScale * std::cos(kRotation), b = kScale * std::sin(kRotation);
    const double x = (kWidth - 1) / 2.0, y = (kHeight - 1) / 2.0;
    VipsInterpolate* bilinear = vips_interpolate_new("bilinear");
    VipsArrayInt* area = vips_array_int_newv(4, 0, 0, static_cast<int>(kWidth), static_cast<int>(kHeight));
    VipsImage* result = nullptr;
    Check(vips_affine(from, &result, a, b, -b, a, "interpolate", bilinear, "oarea", area, "odx", x - a * x - b * y,
                      "ody", y + b * x - a * y, nullptr));
    vips_area_unref(VIPS_AREA(area));
    g_object_unref(bilinear);
    return result;
}

VipsImage* Resized(VipsImage* from) {
    VipsImage* result = nullptr;
    Check(vips_reduce(from, &result, static_cast<double>(kWidth) / kResizedWidth,
                      static_cast<double>(kHeight) / kResizedHeight, "kernel", VIPS_KERNEL_LANCZOS3, nullptr));
    return result;
}

// Returns the pipeline that combines an image with the second picture.
Pipeline With(const std::function<int(VipsImage*, VipsImage*, VipsImage**)>& operation) {
    return [operation](VipsImage* from) {
        VipsImage *second = Opened(Second()), *result = nullptr;
        Check(operation(from, second, &result));
        return Replace(second, result);
    };
}

int Add(VipsImage* first, VipsImage* second, VipsImage** sum) { return vips_add(first, second, sum, nullptr); }

int AbsoluteDifference(VipsImage* first, VipsImage* second, VipsImage** result) {
    VipsImage* difference = nullptr;
    Check(vips_subtract(first, second, &difference, nullptr));
    const int status = vips_abs(difference, result, nullptr);
    g_object_unref(difference);
    return status;
}

VipsImage* BlurAddTurn(VipsImage* from) {
    VipsImage* image = Gaussian(from);
    image = Replace(image, With(Add)(image));
    return Replace(image, Turned(image));
}

}  // namespace

std::vector<Rival> VipsRivals() {
    Check(vips_init("engine_benchmark"));
    vips_concurrency_set(2);
    // Disables the cache of results, so that each run renders again.
    vips_cache_set_max(0);
    const auto named = [](const char* operation, const Pipeline& pipeline, const Size& size = {kWidth, kHeight}) {
        return Rival{operation, "libvips", [=] { return Rendered(First(), pipeline, size); }};
    };
    const auto convolved = [](std::size_t count, int width) -> Pipeline {
        return [=](VipsImage* from) { return Convolved(from, Kernel(count), width); };
    };
    return {
        named("12 MP/gaussian blur, sigma 10", Gaussian),
        named("12 MP/color matrix", Matrix),
        named("12 MP/invert", [](VipsImage* from) { return Linear(from, -1, 1); }),
        named("12 MP/exposure", [](VipsImage* from) { return Linear(from, std::exp2(kExposure), 0); }),
        named("12 MP/gamma", Power),
        named("12 MP/blur 10, add, affine, crop", BlurAddTurn),
        named("12 MP/addition", With(Add)),
        named("12 MP/difference", With(AbsoluteDifference)),
        named("12 MP/affine, bilinear", Turned),
        named("12 MP/resize to 1024, Lanczos", Resized, {kResizedWidth, kResizedHeight}),
        named("12 MP/convolution 3x3", convolved(9, 3)),
        named("12 MP/convolution 5x5", convolved(25, 5)),
        named("12 MP/convolution 7x7", convolved(49, 7)),
        named("12 MP/convolution 9 across", convolved(9, 9)),
        named("12 MP/five pointwise steps", FiveSteps),
    };
}

}  // namespace benchmarks
