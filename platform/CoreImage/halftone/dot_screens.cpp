// dot_screens.cpp - dots of light on black, and dots of four inks on white.
//
// The pattern is k times that of dots.h, with k = (sharpness - 0.005) / 4, at least 0: so black stays black and
// white stays white at every sharpness, and a screen with a sharpness of 0 is the picture in gray.

#include <algorithm>
#include <cmath>
#include <utility>

#include "halftone/dots.h"
#include "halftone/filters.h"
#include "halftone/screen.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "halftone/dot_screens.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// The share of a tone that passes the pattern: 0 to 1.
HWY_INLINE Wide Covered(Wide tone, const DotRow& row, std::size_t index, const DotContrast& contrast) {
    const WideTag d;
    Wide pattern = Constant(0);
    for (std::size_t wave = 0; wave < 2; ++wave) {
        pattern = hn::MulAdd(hn::LoadU(d, row.columnSines[wave] + index), Constant(row.cosines[wave]), pattern);
        pattern = hn::MulAdd(hn::LoadU(d, row.columnCosines[wave] + index), Constant(row.sines[wave]), pattern);
    }
    const Wide above = hn::NegMulAdd(pattern, Constant(contrast.amplitude), hn::Sub(tone, Constant(0.5f)));
    return Clamp01(hn::MulAdd(above, Constant(contrast.slope), Constant(0.5f)));
}

HWY_ATTR void DotScreenRow(const DotRow& row, const DotContrast& contrast, float* pixels, std::size_t count) {
    ForEachIndexedPlace<0>(pixels, nullptr, count, [&](Colors& c, const auto&, std::size_t index) HWY_ATTR {
        Clip(c);
        const Wide light = Covered(DivideOrZero(Luminance(c), c.alpha), row, index, contrast);
        c.red = c.green = c.blue = hn::Mul(light, c.alpha);
    });
}

HWY_ATTR void HalftoneRow(const DotRow* inks, const DotContrast& contrast, const BlackInk& black, float* pixels,
                          std::size_t count) {
    ForEachIndexedPlace<0>(pixels, nullptr, count, [&](Colors& c, const auto&, std::size_t index) HWY_ATTR {
        Clip(c);
        Unpremultiply(c);
        const Wide one = Constant(1);
        const Wide cyan = hn::Sub(one, c.red), magenta = hn::Sub(one, c.green), yellow = hn::Sub(one, c.blue);
        const Wide gray = hn::Min(hn::Min(cyan, magenta), yellow);
        const Wide key = hn::Mul(hn::Mul(gray, gray), Constant(black.replaced));
        const Wide paper = hn::Sub(one, Covered(key, inks[3], index, contrast));
        const auto printed = [&](Wide ink, std::size_t screen) HWY_ATTR {
            const Wide rest = hn::Max(hn::NegMulAdd(key, Constant(black.removed), ink), Constant(0));
            return hn::NegMulAdd(Covered(rest, inks[screen], index, contrast), paper, paper);
        };
        c = {printed(cyan, 0), printed(magenta, 1), printed(yellow, 2), c.alpha};
        Premultiply(c);
    });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(DotScreenRow);
HWY_EXPORT(HalftoneRow);

constexpr double kDegree = 3.141592653589793 / 180;

DotContrast ContrastOf(double givenSharpness) {
    const double sharpness = LimitedSharpness(givenSharpness);
    return {static_cast<float>(std::max(sharpness - 0.005, 0.0) / 4), static_cast<float>(1 / (1 - sharpness))};
}

class DotScreenRows : public ScreenRows {
  public:
    DotScreenRows(const Region& region, const DotGrid& grid, const DotContrast& contrast)
        : dots_(region, grid), contrast_(contrast) {}

    void ApplyToRun(const Run& run, float* blocks) const override {
        HWY_DYNAMIC_DISPATCH(DotScreenRow)(dots_.Row(run), contrast_, blocks, run.count);
    }

  private:
    Dots dots_;
    DotContrast contrast_;
};

class LightDots : public Screen {
  public:
    explicit LightDots(const Inputs& inputs)
        : grid_{inputs.GetElement("inputCenter", 0), inputs.GetElement("inputCenter", 1),
                inputs.GetNumber("inputAngle"), WidthOf(inputs)},
          contrast_(ContrastOf(inputs.GetNumber("inputSharpness"))) {}

    std::unique_ptr<const ScreenRows> MakeRows(const Region& region) const override {
        return std::make_unique<DotScreenRows>(region, grid_, contrast_);
    }

  private:
    DotGrid grid_;
    DotContrast contrast_;
};

// Cyan, magenta, yellow and black.
using InkGrids = std::array<DotGrid, 4>;

class InkRows : public ScreenRows {
  public:
    InkRows(const Region& region, const InkGrids& grids, const DotContrast& contrast, const BlackInk& black)
        : inks_{Dots(region, grids[0]), Dots(region, grids[1]), Dots(region, grids[2]), Dots(region, grids[3])},
          contrast_(contrast),
          black_(black) {}

    void ApplyToRun(const Run& run, float* blocks) const override {
        const DotRow rows[] = {inks_[0].Row(run), inks_[1].Row(run), inks_[2].Row(run), inks_[3].Row(run)};
        HWY_DYNAMIC_DISPATCH(HalftoneRow)(rows, contrast_, black_, blocks, run.count);
    }

  private:
    std::array<Dots, 4> inks_;
    DotContrast contrast_;
    BlackInk black_;
};

class InkDots : public Screen {
  public:
    explicit InkDots(const Inputs& inputs) : contrast_(ContrastOf(inputs.GetNumber("inputSharpness"))) {
        const double width = std::max(1.0, std::abs(inputs.GetNumber("inputWidth")));
        const double x = inputs.GetElement("inputCenter", 0), y = inputs.GetElement("inputCenter", 1);
        const auto share = [&](const char* key) {
            return static_cast<float>(std::clamp(inputs.GetNumber(key), 0.0, 1.0));
        };
        black_ = {share("inputGCR"), share("inputUCR")};
        const double degrees[] = {75, 15, 0, 45};
        for (std::size_t ink = 0; ink < 4; ++ink) {
            grids_[ink] = {x, y, inputs.GetNumber("inputAngle") + degrees[ink] * kDegree, width};
        }
    }

    std::unique_ptr<const ScreenRows> MakeRows(const Region& region) const override {
        return std::make_unique<InkRows>(region, grids_, contrast_, black_);
    }

  private:
    InkGrids grids_;
    DotContrast contrast_;
    BlackInk black_;
};

}  // namespace

// CIDotScreen: dots inputWidth apart in rows along inputAngle, aligned to inputCenter.
ImageRef DotScreen(const Inputs& inputs) {
    return MakeScreenImage(inputs.GetImage("inputImage"), std::make_unique<LightDots>(inputs));
}

// CICMYKHalftone: a screen of dots for each of four inks on white paper. Of the gray m that the other inks have in
// common, black prints inputGCR m m; a share inputUCR of that black is removed from them.
//
// Measured at the default settings: the angles of 75, 15, 0 and 45 degrees from inputAngle, the square of the gray and
// the tone curve of the dot screen. How the curve follows the sharpness is taken from there too.
ImageRef CMYKHalftone(const Inputs& inputs) {
    return MakeScreenImage(inputs.GetImage("inputImage"), std::make_unique<InkDots>(inputs));
}

}  // namespace core_image
#endif
