// comic_effect.cpp - a comic: four flat tones on white paper, under lines of black ink.
//
// Tones and lines are found in encoded numbers. The brightest color of a pixel decides between black, red and tan; what
// is blue enough stays white, whatever its brightness. The plates are printed one over the other: tan, red, black. A
// line is where brightness is steep: the length of half the differences of the neighbors to the right and left, and
// above and below. Transparent surroundings make the outermost pixels a black frame.

#include <memory>
#include <utility>
#include <vector>

#include "core/color_matching.h"
#include "core/window.h"
#include "stylize/filters.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stylize/comic_effect.cpp"
#include <hwy/foreach_target.h>

#include "core/power-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// Replaces pixels by their colors, encoded and not premultiplied, and writes their premultiplied brightness, which has
// room for one block more than count.
HWY_ATTR void EncodedRow(float* pixels, bool isLinear, float* brightness, std::size_t count) {
    ForEachIndexedPlace<0>(pixels, nullptr, count, [&](Colors& c, const auto&, std::size_t index) HWY_ATTR {
        Clip(c);
        Unpremultiply(c);
        if (isLinear) c = {Encoded(c.red), Encoded(c.green), Encoded(c.blue), c.alpha};
        hn::StoreU(hn::Mul(Luminance(c), c.alpha), WideTag(), brightness + index);
    });
}

// A smooth step from 0 at one value to 1 at another.
HWY_INLINE Wide Step(Wide value, float from, float to) {
    return SmoothStep(Clamp01(hn::Mul(hn::Sub(value, Constant(from)), Constant(1 / (to - from)))));
}

// Covers colors with a share of an ink, given in bytes.
HWY_INLINE void Print(Colors& c, float red, float green, float blue, Wide share) {
    const auto over = [&](Wide paper, float ink)
                          HWY_ATTR { return hn::MulAdd(hn::Sub(Constant(ink / 255), paper), share, paper); };
    c = {over(c.red, red), over(c.green, green), over(c.blue, blue), c.alpha};
}

// Makes a comic of colors that are encoded. The rows of brightness begin one pixel to the left.
HWY_ATTR void ComicRow(float* pixels, const float* above, const float* row, const float* below, bool isLinear,
                       std::size_t count) {
    ForEachIndexedPlace<0>(pixels, nullptr, count, [&](Colors& c, const auto&, std::size_t index) HWY_ATTR {
        const WideTag d;
        const Wide one = Constant(1), brightest = hn::Max(hn::Max(c.red, c.green), c.blue);
        const Wide colored = hn::Sub(one, Step(c.blue, 0.51f, 0.63f));
        const Wide tan = hn::Mul(colored, Step(brightest, 0.55f, 0.71f));
        const Wide red = hn::Mul(colored, hn::Sub(one, Step(brightest, 0.54f, 0.68f)));
        const Wide lightness = Step(brightest, 0.325f, 0.465f);
        const Wide dx = hn::Sub(hn::LoadU(d, row + index + 2), hn::LoadU(d, row + index));
        const Wide dy = hn::Sub(hn::LoadU(d, above + index + 1), hn::LoadU(d, below + index + 1));
        const Wide steepness = hn::Mul(hn::Sqrt(hn::MulAdd(dx, dx, hn::Mul(dy, dy))), Constant(0.5f));
        const Wide ink = hn::NegMulAdd(lightness, hn::Sub(one, Step(steepness, 0, 0.2f)), one);
        c = {one, one, one, c.alpha};
        Print(c, 231, 158, 72, tan);
        Print(c, 235, 58, 42, red);
        Print(c, 33, 20, 19, ink);
        if (isLinear) c = {Decoded(c.red), Decoded(c.green), Decoded(c.blue), c.alpha};
        Premultiply(c);
    });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(EncodedRow);
HWY_EXPORT(ComicRow);

class ComicStage : public Stage {
  public:
    ComicStage(Prepared input, bool isLinear) : input_(std::move(input)), isLinear_(isLinear) {}

    void Render(const Tile& tile) const override {
        const Region around = tile.region.GrownBy(1);
        const Window window(input_, around);
        const PixelBlock colors(around);
        const std::size_t stride = static_cast<std::size_t>(around.width) + kBlockPixels;
        std::vector<float> brightness(stride * static_cast<std::size_t>(around.height));
        const auto row = [&](std::int64_t y) { return &brightness[stride * static_cast<std::size_t>(y - around.y)]; };
        const RunMemory memory(1);
        ForEachRun(around, [&](const Run& run) {
            ToBlocks(window.GetView().PixelAt(run.x, run.y), run.count, memory.Run(0));
            HWY_DYNAMIC_DISPATCH(EncodedRow)(memory.Run(0), isLinear_, row(run.y) + (run.x - around.x), run.count);
            FromBlocks(memory.Run(0), run.count, colors.GetTile().Part(run.GetRegion()).pixels);
        });
        ForEachRun(tile.region, [&](const Run& run) {
            ToBlocks(colors.GetTile().Part(run.GetRegion()).pixels, run.count, memory.Run(0));
            const std::int64_t left = run.x - tile.region.x;
            HWY_DYNAMIC_DISPATCH(ComicRow)
            (memory.Run(0), row(run.y + 1) + left, row(run.y) + left, row(run.y - 1) + left, isLinear_, run.count);
            FromBlocks(memory.Run(0), run.count, tile.Part(run.GetRegion()).pixels);
        });
    }

  private:
    Prepared input_;
    bool isLinear_;  // whether the pixels are linear light, not encoded
};

class ComicImage : public Image {
  public:
    explicit ComicImage(ImageRef input) : Image(input->GetExtent(), input->GetDepth()), input_(std::move(input)) {}

    void AddNeeds(const Region& region, Needs& needs) const override { needs.AddByTiles(input_, region.GrownBy(1)); }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<ComicStage>(Prepare(input_, region.GrownBy(1)), IsMatching());
    }

  private:
    ImageRef input_;
};

}  // namespace

// CIComicEffect: black, red, tan and white, and black lines. Alpha is unchanged.
//
// Measured in one picture of warm colors under a pale sky: the tones, where they begin, and the lines. The specks of
// the paper are not drawn, because their texture is unknown; other hues may have tones that the picture does not show.
ImageRef ComicEffect(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr || input->GetExtent().IsEmpty()) return input;
    return std::make_shared<ComicImage>(std::move(input));
}

}  // namespace core_image
#endif
