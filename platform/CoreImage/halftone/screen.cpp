// screen.cpp - renders the input run by run and draws the pattern over each.

#include "halftone/screen.h"

#include <algorithm>
#include <utility>

namespace core_image {
namespace {

constexpr double kSharpest = 1 - 1e-6;

class ScreenStage : public Stage {
  public:
    ScreenStage(Prepared input, std::unique_ptr<const ScreenRows> rows)
        : input_(std::move(input)), rows_(std::move(rows)) {}

    bool isPointwise() const override { return input_.isPointwise(); }

    void render(const Tile& tile) const override {
        if (isPointwise()) {
            RenderByRuns(*this, tile);
            return;
        }
        input_.render(tile);
        const RunMemory memory(1);
        ForEachRun(tile.region, [&](const Run& run) {
            float* pixels = tile.part(run.region()).pixels;
            ToBlocks(pixels, run.count, memory.run(0));
            rows_->apply(run, memory.run(0));
            FromBlocks(memory.run(0), run.count, pixels);
        });
    }

    void renderRun(const Run& run, float* blocks, float* spare) const override {
        input_.renderRun(run, blocks, spare);
        rows_->apply(run, blocks);
    }

    std::size_t spareRuns() const override { return input_.spareRuns(); }

  private:
    Prepared input_;
    std::unique_ptr<const ScreenRows> rows_;
};

class ScreenImage : public Image {
  public:
    ScreenImage(ImageRef input, std::unique_ptr<const Screen> screen)
        : Image(input->extent(), input->depth()), input_(std::move(input)), screen_(std::move(screen)) {}

    std::unique_ptr<const Stage> prepare(const Region& region) const override {
        return std::make_unique<ScreenStage>(Prepare(input_, region), screen_->prepare(region));
    }

  private:
    ImageRef input_;
    std::unique_ptr<const Screen> screen_;
};

}  // namespace

ImageRef MakeScreenImage(ImageRef input, std::unique_ptr<const Screen> screen) {
    if (input == nullptr) return nullptr;
    return std::make_shared<ScreenImage>(std::move(input), std::move(screen));
}

double SharpnessOf(const Inputs& inputs) { return std::clamp(inputs.number("inputSharpness"), 0.0, kSharpest); }

double WidthOf(const Inputs& inputs) { return std::max(1.0, inputs.number("inputWidth")); }

}  // namespace core_image
