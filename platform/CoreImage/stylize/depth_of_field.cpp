// depth_of_field.cpp - a miniature: everything near a line stays, sharper and more colorful; the rest is out of
// focus.
//
// The line is a segment between two points. Up to a distance of a tenth of the image's shorter side everything is in
// focus; from three tenths on nothing is; between them lies a smooth step. In focus, a pixel v with Gaussian blur b
// becomes v + intensity (v - b), its distance from its luminance multiplied by the saturation, clipped to 0...alpha.
// Out of focus it is blurred by a disc.

#include <utility>
#include <vector>

#include "blur/blur.h"
#include "core/luminance.h"
#include "core/point.h"
#include "sampling/repeat.h"
#include "stylize/filters.h"
#include "stylize/focus.h"
#include "stylize/framed.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stylize/depth_of_field.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// Writes how far out of focus pixels are, 0 to 1. The first pixel is at (x, y) relative to the segment's first
// point.
HWY_ATTR void FocusRow(const FocusLine& line, double x, double y, float* blurs, std::size_t count) {
    const hn::Half<WideTag> half;
    const hn::Rebind<double, decltype(half)> d;
    const auto alongX = hn::Set(d, line.alongX), alongY = hn::Set(d, line.alongY);
    const auto zero = hn::Zero(d), one = hn::Set(d, 1.0), rowY = hn::Set(d, y);
    for (std::size_t index = 0; index < count; index += hn::Lanes(d)) {
        const auto columnX = hn::Add(hn::Set(d, x + static_cast<double>(index)), hn::Iota(d, 0));
        const auto along = hn::MulAdd(columnX, alongX, hn::Mul(rowY, alongY));
        const auto share = hn::Max(hn::Min(hn::Mul(along, hn::Set(d, line.perSquare)), one), zero);
        const auto dx = hn::NegMulAdd(share, alongX, columnX), dy = hn::NegMulAdd(share, alongY, rowY);
        const auto distance = hn::Sqrt(hn::MulAdd(dx, dx, hn::Mul(dy, dy)));
        const auto step = hn::Mul(hn::Sub(distance, hn::Set(d, line.near)), hn::Set(d, line.perStep));
        const auto t = hn::Max(hn::Min(step, one), zero);
        const auto smooth = hn::Mul(hn::Mul(t, t), hn::NegMulAdd(hn::Set(d, 2.0), t, hn::Set(d, 3.0)));
        hn::StoreU(hn::DemoteTo(half, smooth), half, blurs + index);
    }
}

HWY_ATTR void ClipRow(float* pixels, std::size_t count) {
    ForEachPixel(pixels, count, [](Colors& c) HWY_ATTR { Clip(c); });
}

// Sharpens and saturates pixels with the help of blurred ones, and blends towards the pixels out of focus.
HWY_ATTR void MiniatureRow(float* pixels, const float* const* others, const float* blurs, float sharpening,
                           float saturation, std::size_t count) {
    ForEachIndexedPlace<2>(pixels, others, count, [&](Colors& c, const auto& given, std::size_t index) HWY_ATTR {
        const Colors &soft = given[0], &away = given[1];
        const Wide share = hn::LoadU(WideTag(), blurs + index);
        const auto sharpened = [&](Wide own, Wide blurred) HWY_ATTR {
            return Finite(hn::MulAdd(hn::Sub(own, blurred), Constant(sharpening), own));
        };
        Colors focused = {sharpened(c.red, soft.red), sharpened(c.green, soft.green), sharpened(c.blue, soft.blue),
                          c.alpha};
        const Wide gray = Luminance(focused);
        const auto saturated = [&](Wide value)
                                   HWY_ATTR { return hn::MulAdd(hn::Sub(value, gray), Constant(saturation), gray); };
        focused = {saturated(focused.red), saturated(focused.green), saturated(focused.blue), c.alpha};
        Clip(focused);
        // Written so that a pixel wholly out of focus is exactly the blurred one.
        const Wide rest = hn::Sub(Constant(1), share);
        const auto mix = [&](Wide in, Wide out) HWY_ATTR { return hn::MulAdd(in, rest, hn::Mul(out, share)); };
        c = {mix(focused.red, away.red), mix(focused.green, away.green), mix(focused.blue, away.blue),
             mix(focused.alpha, away.alpha)};
    });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(FocusRow);
HWY_EXPORT(ClipRow);
HWY_EXPORT(MiniatureRow);

class ClipFunction : public PointFunction {
  public:
    void ApplyToRun(float* pixels, std::size_t count) const override { HWY_DYNAMIC_DISPATCH(ClipRow)(pixels, count); }
};

// What becomes of a miniature's pixels.
struct Miniature {
    FocusLine line;
    float sharpening;
    float saturation;
};

class MiniatureStage : public Stage {
  public:
    MiniatureStage(Prepared sharp, Prepared soft, Prepared away, const Miniature& miniature)
        : sharp_(std::move(sharp)), soft_(std::move(soft)), away_(std::move(away)), miniature_(miniature) {}

    void Render(const Tile& tile) const override {
        const Region& region = tile.region;
        const std::size_t stride = tile.Width() + kBlockPixels;
        std::vector<float> blurs(stride * static_cast<std::size_t>(region.height));
        const FocusLine& line = miniature_.line;
        bool isAllAway = true;
        for (std::int64_t y = region.y; y < region.Top(); ++y) {
            float* row = &blurs[stride * static_cast<std::size_t>(y - region.y)];
            HWY_DYNAMIC_DISPATCH(FocusRow)
            (line, static_cast<double>(region.x) + 0.5 - line.startX, static_cast<double>(y) + 0.5 - line.startY, row,
             tile.Width());
            isAllAway = isAllAway && std::all_of(row, row + tile.Width(), [](float blur) { return blur == 1; });
        }
        // Most tiles are far from the line.
        if (isAllAway) {
            away_.Render(tile);
            return;
        }
        sharp_.Render(tile);
        const PixelBlock soft(region), away(region);
        soft_.Render(soft.GetTile());
        away_.Render(away.GetTile());
        const RunMemory memory(3);
        ForEachRun(region, [&](const Run& run) {
            float* pixels = tile.Part(run.GetRegion()).pixels;
            const float* others[] = {memory.Run(1), memory.Run(2)};
            ToBlocks(pixels, run.count, memory.Run(0));
            ToBlocks(soft.GetTile().Part(run.GetRegion()).pixels, run.count, memory.Run(1));
            ToBlocks(away.GetTile().Part(run.GetRegion()).pixels, run.count, memory.Run(2));
            const float* row = &blurs[stride * static_cast<std::size_t>(run.y - region.y)];
            HWY_DYNAMIC_DISPATCH(MiniatureRow)
            (memory.Run(0), others, row + (run.x - region.x), miniature_.sharpening, miniature_.saturation, run.count);
            FromBlocks(memory.Run(0), run.count, pixels);
        });
    }

  private:
    Prepared sharp_, soft_, away_;
    const Miniature& miniature_;  // owned by the image, which outlives the rendering
};

class MiniatureImage : public Image {
  public:
    MiniatureImage(const Extent& extent, ImageRef sharp, ImageRef soft, ImageRef away, const Miniature& miniature)
        : Image(extent, sharp->GetDepth().With(soft->GetDepth()).With(away->GetDepth())),
          sharp_(std::move(sharp)),
          soft_(std::move(soft)),
          away_(std::move(away)),
          miniature_(miniature) {}

    void AddNeeds(const Region& region, Needs& needs) const override {
        for (const ImageRef* input : {&sharp_, &soft_, &away_}) needs.AddByTiles(*input, region);
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<MiniatureStage>(Prepare(sharp_, region), Prepare(soft_, region), Prepare(away_, region),
                                                miniature_);
    }

  private:
    ImageRef sharp_, soft_, away_;
    Miniature miniature_;
};

FocusLine LineOf(const Inputs& inputs, const Extent& extent) {
    FocusLine line = {};
    line.startX = inputs.GetElement("inputPoint0", 0);
    line.startY = inputs.GetElement("inputPoint0", 1);
    line.alongX = inputs.GetElement("inputPoint1", 0) - line.startX;
    line.alongY = inputs.GetElement("inputPoint1", 1) - line.startY;
    const double square = line.alongX * line.alongX + line.alongY * line.alongY;
    line.perSquare = square > 0 ? std::min(1 / square, kLargestNumber) : 0;
    const double side = std::min(extent.right - extent.left, extent.top - extent.bottom);
    // In an infinite image everything is near.
    if (side < kLargestNumber) {
        line.near = 0.1 * side;
        line.perStep = 1 / (0.2 * side);
    }
    return line;
}

}  // namespace

// CIDepthOfField: sharp and colorful near the segment from inputPoint0 to inputPoint1, blurred by inputRadius away
// from it.
//
// The blur out of focus is a disc, as a lens produces, not a Gaussian. The segment ends at its points, so that two
// equal points give a round spot. The picture is extended by its outermost pixels, so that its frame stays opaque.
ImageRef DepthOfField(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr || input->GetExtent().IsEmpty()) return input;
    const double radius = inputs.GetNumber("inputRadius"), saturation = inputs.GetNumber("inputSaturation");
    const double intensity = inputs.GetNumber("inputUnsharpMaskIntensity");
    if (radius <= 0 && saturation == 1 && intensity == 0) return input;
    const Extent extent = input->GetExtent();
    const ImageRef framed = MakePointImage(MakeClampedImage(std::move(input)), std::make_unique<ClipFunction>());
    return std::make_shared<MiniatureImage>(
        extent, framed, MakeGaussianBlurImage(framed, FramedRadius(inputs.GetNumber("inputUnsharpMaskRadius"), extent)),
        MakeDiscBlurImage(framed, FramedRadius(radius, extent)),
        Miniature{LineOf(inputs, extent), FiniteFloat(intensity), FiniteFloat(saturation)});
}

}  // namespace core_image
#endif
