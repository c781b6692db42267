// depth_of_field.cpp - a miniature: everything near a line stays, sharper and more colorful; the rest is out of
// focus.
//
// In focus, a pixel v with Gaussian blur b becomes v + intensity (v - b), and its distance from its luminance is
// multiplied by the saturation; nothing is clipped. Away from the line the picture is blurred by a disc, farther away
// by one three times as wide. With the distance in steps, a quarter of the picture's height each, a smooth step leads
// from focus to the first blur at 1, and another from there to the second blur at 2.

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

// Writes how far pixels are from near to middle, and from middle to far, 0 to 1 each. The first pixel is at (x, y)
// relative to the line's first point.
HWY_ATTR void FocusRow(const FocusLine& line, double x, double y, float* middle, float* far, std::size_t count) {
    const hn::Half<WideTag> half;
    const hn::Rebind<double, decltype(half)> d;
    const auto alongX = hn::Set(d, line.alongX), alongY = hn::Set(d, line.alongY), rowY = hn::Set(d, y);
    const auto smooth = [&](auto step) HWY_ATTR {
        const auto t = hn::Max(hn::Min(step, hn::Set(d, 1.0)), hn::Zero(d));
        return hn::DemoteTo(half, hn::Mul(hn::Mul(t, t), hn::NegMulAdd(hn::Set(d, 2.0), t, hn::Set(d, 3.0))));
    };
    for (std::size_t index = 0; index < count; index += hn::Lanes(d)) {
        const auto columnX = hn::Add(hn::Set(d, x + static_cast<double>(index)), hn::Iota(d, 0));
        const auto along = hn::MulAdd(columnX, alongX, hn::Mul(rowY, alongY));
        const auto share = hn::Mul(along, hn::Set(d, line.perSquare));
        const auto dx = hn::NegMulAdd(share, alongX, columnX), dy = hn::NegMulAdd(share, alongY, rowY);
        const auto distance = hn::Sqrt(hn::MulAdd(dx, dx, hn::Mul(dy, dy)));
        const auto steps = hn::Mul(distance, hn::Set(d, line.perStep));
        hn::StoreU(smooth(steps), half, middle + index);
        hn::StoreU(smooth(hn::Sub(steps, hn::Set(d, 1.0))), half, far + index);
    }
}

HWY_ATTR void ClipRow(float* pixels, std::size_t count) {
    ForEachPixel(pixels, count, [](Colors& c) HWY_ATTR { Clip(c); });
}

// Sharpens and saturates pixels with the help of blurred ones.
HWY_ATTR void InFocusRow(float* pixels, const float* const* others, float sharpening, float saturation,
                         std::size_t count) {
    ForEachPlace<1>(pixels, others, count, [&](Colors& c, const auto& soft) HWY_ATTR {
        const auto sharpened = [&](Wide own, Wide blurred) HWY_ATTR {
            return Finite(hn::MulAdd(hn::Sub(own, blurred), Constant(sharpening), own));
        };
        const Colors sharp = {sharpened(c.red, soft[0].red), sharpened(c.green, soft[0].green),
                              sharpened(c.blue, soft[0].blue), c.alpha};
        const Wide gray = Luminance(sharp);
        const auto saturated = [&](Wide value)
                                   HWY_ATTR { return hn::MulAdd(hn::Sub(value, gray), Constant(saturation), gray); };
        c = {saturated(sharp.red), saturated(sharp.green), saturated(sharp.blue), c.alpha};
    });
}

// Blends pixels towards others, each by its share.
HWY_ATTR void BlendRow(float* pixels, const float* const* others, const float* shares, std::size_t count) {
    ForEachIndexedPlace<1>(pixels, others, count, [&](Colors& c, const auto& given, std::size_t index) HWY_ATTR {
        const Wide share = hn::LoadU(WideTag(), shares + index);
        // Written so that a share of 1 gives exactly the other pixel.
        const Wide rest = hn::Sub(Constant(1), share);
        const auto mix = [&](Wide from, Wide to) HWY_ATTR { return hn::MulAdd(from, rest, hn::Mul(to, share)); };
        c = {mix(c.red, given[0].red), mix(c.green, given[0].green), mix(c.blue, given[0].blue),
             mix(c.alpha, given[0].alpha)};
    });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(FocusRow);
HWY_EXPORT(ClipRow);
HWY_EXPORT(InFocusRow);
HWY_EXPORT(BlendRow);

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

// The images that a miniature is blended from.
template <class T>
struct Layers {
    T sharp, soft, middle, far;
};

class MiniatureStage : public Stage {
  public:
    MiniatureStage(Layers<Prepared> layers, const Miniature& miniature)
        : layers_(std::move(layers)), miniature_(miniature) {}

    void Render(const Tile& tile) const override {
        const Shares shares(tile.region, miniature_.line);
        // Most tiles show one or two of the layers.
        const bool isFar = shares.AreAll(shares.far, 1), isPastNear = shares.AreAll(shares.middle, 1);
        if (isFar) {
            layers_.far.Render(tile);
            return;
        }
        if (isPastNear) {
            layers_.middle.Render(tile);
        } else {
            RenderInFocus(tile);
            if (!shares.AreAll(shares.middle, 0)) Blend(tile, layers_.middle, shares, shares.middle);
        }
        if (!shares.AreAll(shares.far, 0)) Blend(tile, layers_.far, shares, shares.far);
    }

  private:
    // The shares of the blurs in each pixel of a region, row by row.
    struct Shares {
        Shares(const Region& all, const FocusLine& line)
            : region(all),
              stride(static_cast<std::size_t>(all.width) + kBlockPixels),
              middle(stride * static_cast<std::size_t>(all.height)),
              far(middle.size()) {
            for (std::int64_t y = all.y; y < all.Top(); ++y) {
                const std::size_t start = Start(y);
                HWY_DYNAMIC_DISPATCH(FocusRow)
                (line, static_cast<double>(all.x) + 0.5 - line.startX, static_cast<double>(y) + 0.5 - line.startY,
                 &middle[start], &far[start], static_cast<std::size_t>(all.width));
            }
        }

        std::size_t Start(std::int64_t y) const { return stride * static_cast<std::size_t>(y - region.y); }

        bool AreAll(const std::vector<float>& numbers, float value) const {
            for (std::int64_t y = region.y; y < region.Top(); ++y) {
                const float* row = &numbers[Start(y)];
                if (!std::all_of(row, row + region.width, [=](float number) { return number == value; })) return false;
            }
            return true;
        }

        Region region;
        std::size_t stride;
        std::vector<float> middle, far;
    };

    void RenderInFocus(const Tile& tile) const {
        layers_.sharp.Render(tile);
        const PixelBlock soft(tile.region);
        layers_.soft.Render(soft.GetTile());
        Combine(tile, soft, [&](float* pixels, const float* const* others, const Run& run) {
            HWY_DYNAMIC_DISPATCH(InFocusRow)
            (pixels, others, miniature_.sharpening, miniature_.saturation, run.count);
        });
    }

    static void Blend(const Tile& tile, const Prepared& layer, const Shares& shares,
                      const std::vector<float>& numbers) {
        const PixelBlock other(tile.region);
        layer.Render(other.GetTile());
        Combine(tile, other, [&](float* pixels, const float* const* others, const Run& run) {
            const float* row = &numbers[shares.Start(run.y)] + (run.x - tile.region.x);
            HWY_DYNAMIC_DISPATCH(BlendRow)(pixels, others, row, run.count);
        });
    }

    // Calls a function with the runs of a tile and those of a block of the same region.
    template <class Function>
    static void Combine(const Tile& tile, const PixelBlock& block, const Function& function) {
        const RunMemory memory(2);
        const float* others[] = {memory.Run(1)};
        ForEachRun(tile.region, [&](const Run& run) {
            float* pixels = tile.Part(run.GetRegion()).pixels;
            ToBlocks(pixels, run.count, memory.Run(0));
            ToBlocks(block.GetTile().Part(run.GetRegion()).pixels, run.count, memory.Run(1));
            function(memory.Run(0), others, run);
            FromBlocks(memory.Run(0), run.count, pixels);
        });
    }

    Layers<Prepared> layers_;
    const Miniature& miniature_;  // owned by the image, which outlives the rendering
};

class MiniatureImage : public Image {
  public:
    MiniatureImage(const Extent& extent, Layers<ImageRef> layers, const Miniature& miniature)
        : Image(extent, layers.sharp->GetDepth()
                            .With(layers.soft->GetDepth())
                            .With(layers.middle->GetDepth())
                            .With(layers.far->GetDepth())),
          layers_(std::move(layers)),
          miniature_(miniature) {}

    void AddNeeds(const Region& region, Needs& needs) const override {
        for (const ImageRef* input : {&layers_.sharp, &layers_.soft, &layers_.middle, &layers_.far}) {
            needs.AddByTiles(*input, region);
        }
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<MiniatureStage>(
            Layers<Prepared>{Prepare(layers_.sharp, region), Prepare(layers_.soft, region),
                             Prepare(layers_.middle, region), Prepare(layers_.far, region)},
            miniature_);
    }

  private:
    Layers<ImageRef> layers_;
    Miniature miniature_;
};

// The part of an image's height in which focus is lost to the first blur, and again to the second.
constexpr double kStep = 0.25;

FocusLine LineOf(const Inputs& inputs, const Extent& extent) {
    FocusLine line = {};
    line.startX = inputs.GetElement("inputPoint0", 0);
    line.startY = inputs.GetElement("inputPoint0", 1);
    line.alongX = inputs.GetElement("inputPoint1", 0) - line.startX;
    line.alongY = inputs.GetElement("inputPoint1", 1) - line.startY;
    const double square = line.alongX * line.alongX + line.alongY * line.alongY;
    line.perSquare = square > 0 ? std::min(1 / square, kLargestNumber) : 0;
    // In an infinite image everything is near.
    const double height = extent.top - extent.bottom;
    if (height < kLargestNumber) line.perStep = 1 / (kStep * height);
    return line;
}

}  // namespace

// CIDepthOfField: sharp and colorful near the line through inputPoint0 and inputPoint1, blurred by discs of inputRadius
// and three times that away from it. Between two equal points there is no line: they give a round spot.
//
// Measured at the default settings in an image 512 pixels high. That the steps grow with the image's height is chosen,
// so that a photo of any size keeps its look. The picture is extended by its outermost pixels, so that its frame stays
// opaque.
ImageRef DepthOfField(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr || input->GetExtent().IsEmpty()) return input;
    const double radius = inputs.GetNumber("inputRadius"), saturation = inputs.GetNumber("inputSaturation");
    const double intensity = inputs.GetNumber("inputUnsharpMaskIntensity");
    if (radius <= 0 && saturation == 1 && intensity == 0) return input;
    const Extent extent = input->GetExtent();
    const auto framedRadius = [&](double given) { return FramedRadius(given, extent); };
    const ImageRef framed = MakePointImage(MakeClampedImage(std::move(input)), std::make_unique<ClipFunction>());
    return std::make_shared<MiniatureImage>(
        extent,
        Layers<ImageRef>{
            framed, MakeGaussianBlurImage(framed, framedRadius(inputs.GetNumber("inputUnsharpMaskRadius"))),
            MakeDiscBlurImage(framed, framedRadius(radius)), MakeDiscBlurImage(framed, framedRadius(3 * radius))},
        Miniature{LineOf(inputs, extent), FiniteFloat(intensity), FiniteFloat(saturation)});
}

}  // namespace core_image
#endif
