// comic_effect.cpp - a comic: few colors, printed in dots, under lines of ink.
//
// The smoothed picture is reduced to six levels per color, spaced evenly to the eye. Half of the light comes from
// these flat colors, half from their four-ink halftone. The lines are the woodcut of the smoothed picture: the dark
// side of every edge.

#include <utility>

#include "blur/blur.h"
#include "color/cube_kernels.h"
#include "color/formulas.h"
#include "core/point.h"
#include "halftone/halftone.h"
#include "sampling/repeat.h"
#include "stylize/filters.h"
#include "stylize/stylize.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stylize/comic_effect.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// Takes the colors of the blurred pixels and keeps alpha.
HWY_ATTR void SmoothRow(float* pixels, const float* const* others, std::size_t count) {
    ForEachPlace<1>(pixels, others, count, [](Colors& c, const auto& given) HWY_ATTR {
        Clip(c);
        Colors blurred = given[0];
        Clip(blurred);
        Unpremultiply(blurred);
        c = {blurred.red, blurred.green, blurred.blue, c.alpha};
        Premultiply(c);
    });
}

// The mean of the pixels and their halftone, darkened by the lines.
HWY_ATTR void ComicRow(float* pixels, const float* const* others, std::size_t count) {
    ForEachPlace<2>(pixels, others, count, [](Colors& c, const auto& given) HWY_ATTR {
        const Colors &dots = given[0], &lines = given[1];
        const Wide tone = hn::Mul(DivideOrZero(lines.red, lines.alpha), Constant(0.5f));
        const auto printed = [&](Wide flat, Wide dotted) HWY_ATTR { return hn::Mul(hn::Add(flat, dotted), tone); };
        c = {printed(c.red, dots.red), printed(c.green, dots.green), printed(c.blue, dots.blue), c.alpha};
    });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(SmoothRow);
HWY_EXPORT(ComicRow);

constexpr double kSmoothing = 2;
constexpr float kSteps = 5;  // between six levels
constexpr double kLineRadius = 2.5;
constexpr double kDotWidth = 7;
constexpr double kDotSharpness = 0.7;

// Posterizes encoded colors, whose levels are even to the eye.
class FewColors : public PointFunction {
  public:
    void ApplyToRun(float* pixels, std::size_t count) const override {
        EncodeClipped(pixels, count);
        Apply(PosterizeFormula{kSteps}, pixels, count);
        DecodeClipped(pixels, count);
    }
};

class SmoothColors : public CombiningFunction {
  public:
    void ApplyToRun(float* pixels, const float* const* others, std::size_t count) const override {
        HWY_DYNAMIC_DISPATCH(SmoothRow)(pixels, others, count);
    }
};

class Comic : public CombiningFunction {
  public:
    void ApplyToRun(float* pixels, const float* const* others, std::size_t count) const override {
        HWY_DYNAMIC_DISPATCH(ComicRow)(pixels, others, count);
    }
};

}  // namespace

// CIComicEffect: few colors, half of them in dots, and black lines. Alpha is unchanged.
//
// Black replaces all of the gray of the other inks: the picture stays bright and its dots colorful. Edges are found
// as in the woodcut, whose lines are black on one side only and leave even areas alone.
ImageRef ComicEffect(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr || input->GetExtent().IsEmpty()) return input;
    const Extent extent = input->GetExtent();
    ImageRef blurred = MakeGaussianBlurImage(MakeClampedImage(input), kSmoothing);
    const ImageRef smooth =
        MakeCombinedImage({std::move(input), std::move(blurred)}, std::make_unique<SmoothColors>(), extent);
    ImageRef flat = MakePointImage(smooth, std::make_unique<FewColors>());
    InkPrint print;
    print.width = kDotWidth;
    print.sharpness = kDotSharpness;
    print.blackReplaced = 1;
    print.blackRemoved = 1;
    ImageRef dots = MakeInkImage(flat, print);
    ImageRef lines = MakeWoodcutImage(smooth, 0, kLineRadius);
    return MakeCombinedImage({std::move(flat), std::move(dots), std::move(lines)}, std::make_unique<Comic>(), extent);
}

}  // namespace core_image
#endif
