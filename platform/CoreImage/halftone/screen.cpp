// screen.cpp - renders the input run by run and applies the pattern to each run.

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

    bool IsPointwise() const override { return input_.IsPointwise(); }

    void Render(const Tile& tile) const override {
        if (IsPointwise()) {
            RenderByRuns(*this, tile);
            return;
        }
        input_.Render(tile);
        const RunMemory memory(1);
        ForEachRun(tile.region, [&](const Run& run) {
            float* pixels = tile.Part(run.GetRegion()).pixels;
            ToBlocks(pixels, run.count, memory.Run(0));
            rows_->ApplyToRun(run, memory.Run(0));
            FromBlocks(memory.Run(0), run.count, pixels);
        });
    }

    void RenderRun(const Run& run, float* blocks, float* spare) const override {
        input_.RenderRun(run, blocks, spare);
        rows_->ApplyToRun(run, blocks);
    }

    std::size_t SpareRuns() const override { return input_.SpareRuns(); }

  private:
    Prepared input_;
    std::unique_ptr<const ScreenRows> rows_;
};

class ScreenImage : public Image {
  public:
    ScreenImage(ImageRef input, std::unique_ptr<const Screen> screen)
        : Image(input->GetExtent(), input->GetDepth()), input_(std::move(input)), screen_(std::move(screen)) {}

    void AddNeeds(const Region& region, Needs& needs) const override { needs.AddByTiles(input_, region); }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<ScreenStage>(Prepare(input_, region), screen_->MakeRows(region));
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

double LimitedSharpness(double given) { return std::clamp(given, 0.0, kSharpest); }

double WidthOf(const Inputs& inputs) { return std::max(1.0, inputs.GetNumber("inputWidth")); }

}  // namespace core_image
