// halide.cpp - Halide: each operation as a good compiler builds it, with schedules that vectorize, fuse and use all
// threads.
//
// A picture is viewed either as rows of floats, where all channels are treated alike, or as columns, rows and channels.
// Pipelines are compiled when they are first needed, before they are timed.

#include <Halide.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "../parameters.h"
#include "rivals.h"

namespace benchmarks {
namespace {

using Halide::Buffer;
using Halide::Expr;
using Halide::Func;
using Halide::TailStrategy;
using Halide::Var;
using Function = std::function<void(void*)>;

constexpr int kPerPixel = static_cast<int>(kChannels);
constexpr int kLanes = 16;
constexpr int kRowsPerTask = 16;  // for operations in which rows are independent

Var i("i"), x("x"), y("y"), c("c"), yo("yo"), yi("yi"), xo("xo"), xi("xi");

Expr F(double value) { return Expr(static_cast<float>(value)); }

// Returns a picture as rows of floats.
Buffer<float> Flat(const Picture& picture) {
    return Buffer<float>(const_cast<float*>(picture.pixels.data()), static_cast<int>(picture.width * kChannels),
                         static_cast<int>(picture.height));
}

// Returns a picture as columns, rows and channels; the channels of a pixel are adjacent in memory.
Buffer<float> Colors(const Picture& picture) {
    return Buffer<float>::make_interleaved(const_cast<float*>(picture.pixels.data()), static_cast<int>(picture.width),
                                           static_cast<int>(picture.height), kChannels);
}

// Compiles a pipeline whose result has the shape of a buffer; returns the function that runs it.
template <typename Number>
Function Compiled(Func result, const Buffer<Number>& like) {
    result.compile_jit();
    return [result, like](void* to) mutable {
        halide_buffer_t shape = *like.raw_buffer();
        shape.host = static_cast<std::uint8_t*>(to);
        Buffer<Number> output{Halide::Runtime::Buffer<Number>(shape)};
        result.realize(output);
    };
}

bool IsLarge(const Picture& picture) { return picture.width == kWidth; }

// Applies an operation to each float of a picture.
Function Floats(const Picture& picture, const std::function<Expr(Expr)>& operation) {
    Func result;
    result(i, y) = operation(Flat(picture)(i, y));
    result.vectorize(i, kLanes);
    if (IsLarge(picture)) result.split(y, yo, yi, kRowsPerTask).parallel(yo);
    return Compiled(result, Flat(picture));
}

// Applies an operation to each pair of floats of both pictures.
Function Both(const std::function<Expr(Expr, Expr)>& operation) {
    Func result;
    result(i, y) = operation(Flat(First())(i, y), Flat(Second())(i, y));
    result.vectorize(i, kLanes).split(y, yo, yi, kRowsPerTask).parallel(yo);
    return Compiled(result, Flat(First()));
}

// Sets the layout and schedule of a result of columns, rows and channels that uses no neighboring pixels.
template <typename Number>
Function PixelByPixel(Func result, const Buffer<Number>& like) {
    result.output_buffer().dim(0).set_stride(kPerPixel).dim(2).set_stride(1).set_bounds(0, kPerPixel);
    result.reorder(c, x, y).bound(c, 0, kPerPixel).unroll(c).vectorize(x, kLanes);
    if (like.height() > static_cast<int>(kSmallEdge)) result.split(y, yo, yi, kRowsPerTask).parallel(yo);
    return Compiled(result, like);
}

// Returns the red, green and blue of a color matrix times a color.
template <typename Rows>
std::vector<Expr> Times(const Rows& rows, const std::vector<Expr>& color) {
    std::vector<Expr> product;
    for (std::size_t to = 0; to < 3; ++to) {
        product.push_back(F(rows[to][0]) * color[0] + F(rows[to][1]) * color[1] + F(rows[to][2]) * color[2] +
                          F(rows[to][3]));
    }
    return product;
}

// Applies an operation to the color of each pixel and keeps alpha.
using Change = std::function<std::vector<Expr>(const std::vector<Expr>&)>;
Function Pixels(const Picture& picture, const Change& change) {
    const Buffer<float> from = Colors(picture);
    const std::vector<Expr> changed = change({from(x, y, 0), from(x, y, 1), from(x, y, 2)});
    Func result;
    result(x, y, c) = Halide::mux(c, {changed[0], changed[1], changed[2], from(x, y, 3)});
    return PixelByPixel(result, from);
}

std::vector<Expr> FiveSteps(std::vector<Expr> color) {
    for (Expr& channel : color) channel *= F(std::exp2(kExposure));
    color = Times(kMatrix, color);
    for (Expr& channel : color) {
        channel = Halide::fast_pow(channel, F(kGamma));
        channel = 1.0f - Halide::round(channel * F(kPosterizeLevels - 1)) * F(1 / (kPosterizeLevels - 1));
    }
    return color;
}

// Returns a picture as rows of floats, transparent outside. Its callers schedule it as a copy close to its use, so
// that the loops over a kernel need no bounds checks.
Func Surrounded(const Picture& picture) {
    Func padded("padded");
    padded(i, y) = Halide::BoundaryConditions::constant_exterior(Flat(picture), 0.0f)(i, y);
    return padded;
}

// Returns the weighted sum over the neighbors within a kernel of odd width and height, as one expression.
Expr WeightedSum(Func from, const std::vector<double>& weights, int width, int height) {
    Expr sum = 0.0f;
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            const double weight = weights[static_cast<std::size_t>(row * width + column)];
            if (weight == 0) continue;
            sum += F(weight) * from(i + (column - width / 2) * kPerPixel, y + row - height / 2);
        }
    }
    return sum;
}

Function Convolved(const std::vector<double>& weights, int width, int height) {
    constexpr int kColumns = 4096, kRows = 32;
    Func padded = Surrounded(First()), result;
    result(i, y) = WeightedSum(padded, weights, width, height);
    result.tile(i, y, xo, yo, xi, yi, kColumns, kRows).vectorize(xi, kLanes).unroll(xi, 2).parallel(yo);
    padded.compute_at(result, xo).vectorize(i, kLanes);
    return Compiled(result, Flat(First()));
}

// Convolves horizontally, then vertically. Each row of the first pass is computed once per strip and kept for the
// second.
Func Separable(const Picture& picture, const std::vector<double>& weights) {
    const int size = static_cast<int>(weights.size());
    Func padded = Surrounded(picture), across("across"), result("down");
    across(i, y) = WeightedSum(padded, weights, size, 1);
    result(i, y) = WeightedSum(across, weights, 1, size);
    if (IsLarge(picture)) {
        constexpr int kColumns = 4000, kRows = 375;
        result.tile(i, y, xo, yo, xi, yi, kColumns, kRows).vectorize(xi, kLanes).unroll(xi, 2).parallel(yo);
        across.store_at(result, xo).compute_at(result, yi).vectorize(i, kLanes).unroll(i, 2);
        padded.compute_at(across, y).vectorize(i, kLanes);
    } else {
        result.vectorize(i, kLanes).unroll(i, 2);
        across.compute_root().vectorize(i, kLanes).unroll(i, 2);
        padded.compute_root().vectorize(i, kLanes);
    }
    return result;
}

Function Separated(const Picture& picture, const std::vector<double>& weights) {
    return Compiled(Separable(picture, weights), Flat(picture));
}

// Samples a picture at mapped positions, bilinearly and transparent outside. A function returns the picture's value
// for a pixel and a channel.
//
// The source pixels and their weights are the same for all channels and are computed for 16 positions at once. The
// channels of a pixel are then one vector.
Function Mapped(const std::function<Expr(Expr, Expr, Expr)>& from, const Expr& column, const Expr& row) {
    const int right = static_cast<int>(kWidth) - 1, bottom = static_cast<int>(kHeight) - 1;
    const Expr left = Halide::cast<int>(Halide::floor(column)), top = Halide::cast<int>(Halide::floor(row));
    const Expr across = column - left, down = row - top;
    const Expr isInside = column > -1.0f && column < F(right + 1) && row > -1.0f && row < F(bottom + 1);
    const auto weight = [&](const Expr& value) { return Halide::select(isInside, value, 0.0f); };
    Func samples("samples"), result;
    samples(x, y) = {Halide::clamp(left, 0, right),           Halide::clamp(left + 1, 0, right),
                     Halide::clamp(top, 0, bottom),           Halide::clamp(top + 1, 0, bottom),
                     weight((1.0f - across) * (1.0f - down)), weight(across * (1.0f - down)),
                     weight((1.0f - across) * down),          weight(across * down)};
    const auto sample = [&](int index) { return Expr(samples(x, y)[index]); };
    result(x, y, c) = sample(4) * from(sample(0), sample(2), c) + sample(5) * from(sample(1), sample(2), c) +
                      sample(6) * from(sample(0), sample(3), c) + sample(7) * from(sample(1), sample(3), c);
    result.output_buffer().dim(0).set_stride(kPerPixel).dim(2).set_stride(1).set_bounds(0, kPerPixel);
    result.split(x, xo, xi, 4 * kLanes).reorder(c, xi, xo, y).bound(c, 0, kPerPixel).vectorize(c).unroll(xi, 4);
    result.split(y, yo, yi, kRowsPerTask).parallel(yo);
    samples.compute_at(result, xo).vectorize(x, kLanes);
    return Compiled(result, Colors(First()));
}

// Returns a function that reads a picture. It reads rows of floats, because the compiler knows that these are adjacent.
std::function<Expr(Expr, Expr, Expr)> Reading(const Picture& picture) {
    return [from = Flat(picture)](const Expr& column, const Expr& row, const Expr& channel) {
        return from(column * kPerPixel + channel, row);
    };
}

Expr TurnedColumn() {
    const SourceMap map = TransformedSource();
    return F(map.a) * x + F(map.b) * y + F(map.c);
}
Expr TurnedRow() {
    const SourceMap map = TransformedSource();
    return F(map.d) * x + F(map.e) * y + F(map.f);
}

Function Bump() {
    const Expr across = x - F((kWidth - 1) / 2.0), down = y - F((kHeight - 1) / 2.0);
    const Expr share = Halide::min(1.0f, Halide::sqrt(across * across + down * down) * F(1 / kBumpRadius));
    const Expr scale = 1.0f - F(kBumpScale) * (1.0f - share * share * (3.0f - 2.0f * share));
    return Mapped(Reading(First()), F((kWidth - 1) / 2.0) + across * scale, F((kHeight - 1) / 2.0) + down * scale);
}

Function BlurAddTurn() {
    Func sum("sum");
    const Func blurred = Separable(First(), GaussianKernel());
    sum(i, y) = blurred(i, y) + Flat(Second())(i, y);
    sum.compute_root().vectorize(i, kLanes).split(y, yo, yi, kRowsPerTask).parallel(yo);
    Func(blurred).compute_root();
    const auto from = [sum](const Expr& column, const Expr& row, const Expr& channel) {
        return sum(column * kPerPixel + channel, row);
    };
    return Mapped(from, TurnedColumn(), TurnedRow());
}

Function CubeOf(const Picture& picture) {
    const int edge = static_cast<int>(kCubeEdge);
    const Buffer<float> cube(const_cast<float*>(Cube().data()), {4, edge, edge, edge});
    const Buffer<float> from = Colors(picture);
    Func result;
    std::vector<Expr> first, second, share;
    for (int channel = 0; channel < 3; ++channel) {
        const Expr place = Halide::clamp(from(x, y, channel), 0.0f, 1.0f) * F(edge - 1);
        first.push_back(Halide::clamp(Halide::cast<int>(place), 0, edge - 1));
        second.push_back(Halide::min(first.back() + 1, edge - 1));
        share.push_back(place - first.back());
    }
    const auto along = [&](const Expr& green, const Expr& blue) {
        return Halide::lerp(cube(c, first[0], green, blue), cube(c, second[0], green, blue), share[0]);
    };
    const auto plane = [&](const Expr& blue) {
        return Halide::lerp(along(first[1], blue), along(second[1], blue), share[1]);
    };
    result(x, y, c) = Halide::lerp(plane(first[2]), plane(second[2]), share[2]);
    result.output_buffer().dim(0).set_stride(kPerPixel).dim(2).set_stride(1).set_bounds(0, kPerPixel);
    result.reorder(c, x, y).bound(c, 0, kPerPixel).vectorize(c).unroll(x, 4);
    if (IsLarge(picture)) result.split(y, yo, yi, kRowsPerTask).parallel(yo);
    return Compiled(result, from);
}

Function Average() {
    const Buffer<float> from = Flat(First());
    const int parts = 100, rows = static_cast<int>(kHeight) / parts;
    Var part("part"), lane("lane");
    Func sums("sums"), mean("mean");
    const Halide::RDom all(0, static_cast<int>(kWidth * kChannels) / 64, 0, rows);
    sums(lane, part) = 0.0f;
    sums(lane, part) += from(all.x * 64 + lane, part * rows + all.y);
    sums.compute_root().bound(lane, 0, 64).vectorize(lane).parallel(part);
    sums.update().reorder(lane, all.x, all.y, part).vectorize(lane).parallel(part);
    const Halide::RDom rest(0, 64 / kPerPixel, 0, parts);
    mean(c) = 0.0f;
    mean(c) += sums(rest.x * kPerPixel + c, rest.y) * F(1.0 / (kWidth * kHeight));
    return Compiled(mean, Buffer<float>(nullptr, kPerPixel));
}

Function Histogram() {
    const Buffer<float> from = Flat(First());
    const int parts = 10, rows = static_cast<int>(kHeight) / parts, channels = kPerPixel;
    Var part("part"), bin("bin"), channel("channel");
    Func counts("counts"), result("result");
    const Halide::RDom all(0, channels, 0, static_cast<int>(kWidth), 0, rows);
    const Expr value = from(all.y * channels + all.x, part * rows + all.z);
    counts(channel, bin, part) = 0;
    counts(all.x, Halide::clamp(Halide::cast<int>(value * F(kBins)), 0, kBins - 1), part) += 1;
    counts.compute_root().parallel(part).update().unroll(all.x).parallel(part);
    const Halide::RDom rest(0, parts);
    Func sum("sum");
    sum(channel, bin) = 0;
    sum(channel, bin) += counts(channel, bin, rest);
    result(channel, bin) = Halide::cast<float>(sum(channel, bin)) * F(1.0 / (kWidth * kHeight));
    return Compiled(result, Buffer<float>(nullptr, channels, kBins));
}

Function BytesIn() {
    Buffer<float> table(256, kPerPixel);
    table.for_each_element([&](int code, int channel) {
        const double value = code / 255.0;
        table(code, channel) = static_cast<float>(channel == 3       ? value
                                                  : value <= 0.04045 ? value / 12.92
                                                                     : std::pow((value + 0.055) / 1.055, 2.4));
    });
    const Buffer<std::uint8_t> from(const_cast<std::uint8_t*>(FirstAsBytes().data()),
                                    static_cast<int>(kWidth * kChannels), static_cast<int>(kHeight));
    Func result;
    result(i, y) = table(Halide::cast<int>(from(i, y)), i % kPerPixel);
    result.unroll(i, kLanes).split(y, yo, yi, kRowsPerTask).parallel(yo);
    return Compiled(result, Flat(First()));
}

Function BytesOut() {
    const Buffer<float> from = Colors(First());
    const auto encoded = [](const Expr& value) {
        return Halide::select(value <= 0.0031308f, value * 12.92f,
                              Halide::fast_pow(value, F(1 / 2.4)) * 1.055f - 0.055f);
    };
    const auto byte = [](const Expr& value) {
        return Halide::cast<std::uint8_t>(Halide::clamp(value * 255.0f + 0.5f, 0.0f, 255.0f));
    };
    Func result;
    result(x, y, c) =
        byte(Halide::mux(c, {encoded(from(x, y, 0)), encoded(from(x, y, 1)), encoded(from(x, y, 2)), from(x, y, 3)}));
    return PixelByPixel(result, Buffer<std::uint8_t>::make_interleaved(nullptr, static_cast<int>(kWidth),
                                                                       static_cast<int>(kHeight), kChannels));
}

}  // namespace

std::vector<Rival> HalideRivals() {
    const auto named = [](const char* operation, const std::function<Function()>& prepare) {
        return Rival{operation, "Halide", prepare};
    };
    const auto matrix = [](const std::vector<Expr>& color) { return Times(kMatrix, color); };
    const auto controls = [](const std::vector<Expr>& color) { return Times(ControlsMatrix(), color); };
    return {
        named("12 MP/gaussian blur, sigma 10", [] { return Separated(First(), GaussianKernel()); }),
        named("12 MP/box blur, 21 wide",
              [] { return Separated(First(), std::vector<double>(kBoxWidth, 1.0 / kBoxWidth)); }),
        named("12 MP/disc blur, radius 8",
              [] { return Convolved(DiscKernel(), 2 * kDiscRadius + 1, 2 * kDiscRadius + 1); }),
        named("12 MP/color matrix", [=] { return Pixels(First(), matrix); }),
        named("12 MP/invert", [] { return Floats(First(), [](const Expr& value) { return 1.0f - value; }); }),
        named("12 MP/exposure",
              [] { return Floats(First(), [](const Expr& value) { return value * F(std::exp2(kExposure)); }); }),
        named("12 MP/color cube 32", [] { return CubeOf(First()); }),
        named("12 MP/gamma",
              [] { return Floats(First(), [](const Expr& value) { return Halide::fast_pow(value, F(kGamma)); }); }),
        named("12 MP/color controls", [=] { return Pixels(First(), controls); }),
        named("12 MP/blur 10, add, affine, crop", BlurAddTurn),
        named("12 MP/dissolve",
              [] {
                  return Both([](const Expr& first, const Expr& second) {
                      return first * F(1 - kTransitionTime) + second * F(kTransitionTime);
                  });
              }),
        named("12 MP/addition",
              [] { return Both([](const Expr& first, const Expr& second) { return first + second; }); }),
        named("12 MP/difference",
              [] { return Both([](const Expr& first, const Expr& second) { return Halide::abs(first - second); }); }),
        named("12 MP/affine, bilinear", [] { return Mapped(Reading(First()), TurnedColumn(), TurnedRow()); }),
        named("12 MP/convolution 3x3", [] { return Convolved(Kernel(9), 3, 3); }),
        named("12 MP/convolution 5x5", [] { return Convolved(Kernel(25), 5, 5); }),
        named("12 MP/convolution 7x7", [] { return Convolved(Kernel(49), 7, 7); }),
        named("12 MP/convolution 9 across", [] { return Convolved(Kernel(9), 9, 1); }),
        named("12 MP/area average", Average),
        named("12 MP/histogram, 256 bins", Histogram),
        named("12 MP/five pointwise steps", [] { return Pixels(First(), FiveSteps); }),
        named("12 MP/sRGB bytes in", BytesIn),
        named("12 MP/sRGB bytes out", BytesOut),
        named("12 MP/bump", Bump),
        named("64 x 64/color matrix", [=] { return Pixels(Small(), matrix); }),
        named("64 x 64/five pointwise steps", [] { return Pixels(Small(), FiveSteps); }),
        named("64 x 64/color cube 32", [] { return CubeOf(Small()); }),
        named("64 x 64/gaussian blur, sigma 10", [] { return Separated(Small(), GaussianKernel()); }),
    };
}

}  // namespace benchmarks
