// depth_of_field.cpp - a miniature: everything near a line stays, sharper and more colorful; the rest is out of
// focus.
//
// In focus, a pixel v with Gaussian blur b becomes v + intensity (v - b), and its distance from its luminance is
// multiplied by the saturation; nothing is clipped. Away from the line the picture is blurred by a disc, farther away
// by one three times as wide. With the distance in steps, a quarter of the picture's height each, a smooth step leads
// from focus to the first blur at 1, and another from there to the second blur at 2.

#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

#include "blur/blur.h"
#include "blur/disc.h"
#include "blur/gaussian_weights.h"
#include "blur/planes.h"
#include "blur/wide_gaussian.h"
#include "core/luminance.h"
#include "core/point.h"
#include "core/window.h"
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
        return hn::DemoteTo(half, SmoothStep(t));
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

HWY_ATTR void ClipPlanes(float* const* rows, std::size_t count) {
    const WideTag d;
    for (std::size_t i = 0; i < count; i += hn::MaxLanes(d)) {
        Colors c = {hn::LoadU(d, rows[0] + i), hn::LoadU(d, rows[1] + i), hn::LoadU(d, rows[2] + i),
                    hn::LoadU(d, rows[3] + i)};
        Clip(c);
        hn::StoreU(c.red, d, rows[0] + i);
        hn::StoreU(c.green, d, rows[1] + i);
        hn::StoreU(c.blue, d, rows[2] + i);
        hn::StoreU(c.alpha, d, rows[3] + i);
    }
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

// Blends pixels toward others, each by its share.
HWY_ATTR void BlendRow(float* pixels, const float* const* others, const float* shares, std::size_t count) {
    ForEachIndexedPlace<1>(pixels, others, count, [&](Colors& c, const auto& given, std::size_t index) HWY_ATTR {
        c = Mix(c, given[0], hn::LoadU(WideTag(), shares + index));
    });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(FocusRow);
HWY_EXPORT(ClipRow);
HWY_EXPORT(ClipPlanes);
HWY_EXPORT(InFocusRow);
HWY_EXPORT(BlendRow);

class ClipFunction : public PointFunction {
  public:
    void ApplyToRun(float* pixels, std::size_t count) const override { HWY_DYNAMIC_DISPATCH(ClipRow)(pixels, count); }
};

ImageRef Clipped(ImageRef image) { return MakePointImage(std::move(image), std::make_unique<ClipFunction>()); }

// What becomes of a miniature's pixels.
struct Miniature {
    FocusLine line;
    float sharpening;
    float saturation;
};

// The layers that a miniature is blended from, apart from the sharp picture.
enum Layer : std::size_t { kSoft, kMiddle, kFar, kLayerCount };

// A blur of the framed picture. A narrow one is made of a tile's planes, a wide one is an image of its own.
struct LayerBlur {
    std::vector<float> weights;  // of a Gaussian
    std::optional<Disc> disc;
    ImageRef wide;

    std::int64_t Reach() const { return disc ? disc->Reach() : static_cast<std::int64_t>(weights.size() / 2); }
};
using LayerBlurs = std::array<LayerBlur, kLayerCount>;

class MiniatureStage : public Stage {
  public:
    MiniatureStage(Prepared framed, std::array<Prepared, kLayerCount> wide, const LayerBlurs& blurs,
                   const Miniature& miniature)
        : framed_(std::move(framed)), wide_(std::move(wide)), blurs_(blurs), miniature_(miniature) {}

    void Render(const Tile& tile) const override {
        const Shares shares(tile.region, miniature_.line);
        // Most tiles show one or two of the layers.
        bool isShown[kLayerCount];
        isShown[kSoft] = !AreAll(shares.middle, 1);
        isShown[kMiddle] = !AreAll(shares.middle, 0) && !AreAll(shares.far, 1);
        isShown[kFar] = !AreAll(shares.far, 0);
        // Far away there is nothing to blend.
        if (!isShown[kSoft] && !isShown[kMiddle] && blurs_[kFar].wide != nullptr) {
            wide_[kFar].Render(tile);
            return;
        }
        std::int64_t reach = 0;
        for (std::size_t layer = 0; layer < kLayerCount; ++layer) {
            if (isShown[layer]) reach = std::max(reach, blurs_[layer].Reach());
        }
        const Window window(framed_, tile.region.GrownBy(reach));
        RisingPlanes sharp(window.GetView());
        ForEachBand(tile.region, [&](const Region& band) {
            sharp.MakeUpTo(band.Top() + reach, [&](const PlaneRows& rows) {
                HWY_DYNAMIC_DISPATCH(ClipPlanes)(rows.data(), window.GetView().Width());
            });
            std::array<RowsAhead, kRowsOfBand> ahead = sharp.Ahead(band, tile);
            std::array<std::optional<Planes>, kLayerCount> layers;
            for (std::size_t layer = 0; layer < kLayerCount; ++layer) {
                if (isShown[layer]) layers[layer] = Blurred(layer, sharp, band, ahead.data());
            }
            Blend(sharp.Get(), layers, shares, tile.Part(band));
        });
    }

  private:
    // The shares of the blurs in each pixel of a region.
    struct Shares {
        Shares(const Region& region, const FocusLine& line) : middle(region), far(region) {
            for (std::int64_t y = region.y; y < region.Top(); ++y) {
                HWY_DYNAMIC_DISPATCH(FocusRow)
                (line, static_cast<double>(region.x) + 0.5 - line.startX, static_cast<double>(y) + 0.5 - line.startY,
                 middle.Row(y), far.Row(y), middle.Width());
            }
        }

        Plane middle, far;
    };

    Planes Blurred(std::size_t layer, const RisingPlanes& framed, const Region& region, RowsAhead* ahead) const {
        const LayerBlur& blur = blurs_[layer];
        if (blur.wide != nullptr) {
            const Window window(wide_[layer], region);
            return PlanesOf(window.GetView());
        }
        Planes blurred = MakePlanes(region);
        if (blur.disc) {
            blur.disc->Blur(framed.Get(), framed.AreOpaqueFrom(region.y - blur.Reach()), blurred, ahead);
        } else {
            // Sharpening changes only colors.
            for (std::size_t color = 0; color < kAlpha; ++color) {
                BlurPlane(framed.Get()[color], blur.weights, blurred[color], ahead);
            }
        }
        return blurred;
    }

    // Writes a tile. A layer that does not show in it has no planes.
    void Blend(const Planes& sharp, const std::array<std::optional<Planes>, kLayerCount>& layers, const Shares& shares,
               const Tile& tile) const {
        const RunMemory memory(2);
        float *const pixels = memory.Run(0), *const others[] = {memory.Run(1)};
        ForEachRun(tile.region, [&](const Run& run) {
            const auto blend = [&](const Planes& layer, const Plane& share) {
                FromPlanes(layer, run, others[0]);
                HWY_DYNAMIC_DISPATCH(BlendRow)
                (pixels, others, share.Row(run.y) + (run.x - tile.region.x), run.count);
            };
            if (layers[kSoft]) {
                FromPlanes(sharp, run, pixels);
                FromPlanes(*layers[kSoft], run, others[0]);
                HWY_DYNAMIC_DISPATCH(InFocusRow)
                (pixels, others, miniature_.sharpening, miniature_.saturation, run.count);
                if (layers[kMiddle]) blend(*layers[kMiddle], shares.middle);
            } else {
                FromPlanes(*layers[layers[kMiddle] ? kMiddle : kFar], run, pixels);
            }
            if (layers[kFar]) blend(*layers[kFar], shares.far);
            FromBlocks(pixels, run.count, tile.Part(run.GetRegion()).pixels);
        });
    }

    Prepared framed_;
    std::array<Prepared, kLayerCount> wide_;
    const LayerBlurs& blurs_;     // owned by the image, which outlives the rendering
    const Miniature& miniature_;  // likewise
};

class MiniatureImage : public Image {
  public:
    MiniatureImage(const Extent& extent, ImageRef framed, LayerBlurs blurs, const Miniature& miniature)
        : Image(extent, DepthOf(framed, blurs)),
          framed_(std::move(framed)),
          blurs_(std::move(blurs)),
          miniature_(miniature) {}

    void AddNeeds(const Region& region, Needs& needs) const override {
        needs.AddByTiles(framed_, Source(region));
        for (const LayerBlur& blur : blurs_) {
            if (blur.wide != nullptr) needs.AddByTiles(blur.wide, region);
        }
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        std::array<Prepared, kLayerCount> wide;
        for (std::size_t layer = 0; layer < kLayerCount; ++layer) {
            if (blurs_[layer].wide != nullptr) wide[layer] = Prepare(blurs_[layer].wide, region);
        }
        return std::make_unique<MiniatureStage>(Prepare(framed_, Source(region)), std::move(wide), blurs_, miniature_);
    }

  private:
    static Depth DepthOf(const ImageRef& framed, const LayerBlurs& blurs) {
        Depth depth = framed->GetDepth();
        for (const LayerBlur& blur : blurs) {
            if (blur.wide != nullptr) depth = depth.With(blur.wide->GetDepth());
        }
        return depth;
    }

    Region Source(const Region& region) const {
        std::int64_t reach = 0;
        for (const LayerBlur& blur : blurs_) reach = std::max(reach, blur.Reach());
        return region.GrownBy(reach);
    }

    ImageRef framed_;
    LayerBlurs blurs_;
    Miniature miniature_;
};

LayerBlur GaussianLayer(const ImageRef& framed, double sigma) {
    if (sigma >= kNarrowestWideSigma) return {{}, {}, MakeGaussianBlurImage(Clipped(framed), sigma)};
    return {sigma > 0 ? GaussianWeights(sigma) : std::vector<float>{1}, {}, nullptr};
}

// A miniature is out of focus where it shows discs, so that their rims need not be exact beyond this radius.
constexpr double kLargestExactLayer = 12;

LayerBlur DiscLayer(const ImageRef& framed, double radius) {
    if (radius > kLargestExactLayer) {
        return {{}, {}, MakeDiscBlurImage(Clipped(framed), radius, kLargestExactLayer)};
    }
    return {{}, Disc(std::max(radius, 0.0)), nullptr};
}

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
    const ImageRef framed = MakeClampedImage(std::move(input));
    return std::make_shared<MiniatureImage>(
        extent, framed,
        LayerBlurs{GaussianLayer(framed, framedRadius(inputs.GetNumber("inputUnsharpMaskRadius"))),
                   DiscLayer(framed, framedRadius(radius)), DiscLayer(framed, framedRadius(3 * radius))},
        Miniature{LineOf(inputs, extent), FiniteFloat(intensity), FiniteFloat(saturation)});
}

}  // namespace core_image
#endif
