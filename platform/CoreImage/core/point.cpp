// point.cpp - renders the inputs run by run, and applies the functions to each run.
//
// Consecutive functions form one stage. Inputs that need neighbors are rendered as whole tiles before the first run.

#include "core/point.h"

#include <algorithm>
#include <utility>

namespace core_image {
namespace {

class PointStage : public Stage {
  public:
    PointStage(Prepared input, std::vector<const PointFunction*> functions)
        : input_(std::move(input)), functions_(std::move(functions)), isPointwise_(input_.IsPointwise()) {}

    PointStage(Prepared input, std::unique_ptr<const PointFunction> function)
        : PointStage(std::move(input), std::vector<const PointFunction*>{function.get()}) {
        own_ = std::move(function);
    }

    bool IsPointwise() const override { return isPointwise_; }

    void Render(const Tile& tile) const override {
        if (isPointwise_) {
            RenderByRuns(*this, tile);
            return;
        }
        input_.Render(tile);
        const RunMemory memory(1);
        ForEachRun(tile.region, [&](const Run& run) {
            float* pixels = tile.Part(run.GetRegion()).pixels;
            ToBlocks(pixels, run.count, memory.Run(0));
            ApplyAll(memory.Run(0), run.count);
            FromBlocks(memory.Run(0), run.count, pixels);
        });
    }

    void RenderRun(const Run& run, float* blocks, float* spare) const override {
        input_.RenderRun(run, blocks, spare);
        ApplyAll(blocks, run.count);
    }

    std::size_t SpareRuns() const override { return input_.SpareRuns(); }

  private:
    void ApplyAll(float* blocks, std::size_t count) const {
        for (const PointFunction* function : functions_) function->ApplyToRun(blocks, count);
    }

    Prepared input_;
    std::vector<const PointFunction*> functions_;  // owned by images, which outlive the rendering, or by own_
    std::unique_ptr<const PointFunction> own_;
    bool isPointwise_;
};

class PointImage : public Image {
  public:
    PointImage(ImageRef input, std::unique_ptr<const PointFunction> function, const Extent& extent)
        : Image(extent, input->GetDepth()), input_(std::move(input)), function_(std::move(function)) {}

    const ImageRef& GetInput() const { return input_; }
    const PointFunction& Function() const { return *function_; }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        std::vector<const PointFunction*> functions = {function_.get()};
        const PointImage* first = this;
        while (const auto* below = dynamic_cast<const PointImage*>(first->input_.get())) {
            functions.push_back(below->function_.get());
            first = below;
        }
        std::reverse(functions.begin(), functions.end());
        return std::make_unique<PointStage>(Prepare(first->input_, region), std::move(functions));
    }

  private:
    ImageRef input_;
    std::unique_ptr<const PointFunction> function_;
};

// Renders an input that is used twice only once.
class CombiningStage : public Stage {
  public:
    // places[i] is image i's index into inputs; places[0] is 0.
    CombiningStage(std::vector<Prepared> inputs, std::vector<std::size_t> places, const CombiningFunction& function)
        : inputs_(std::move(inputs)), places_(std::move(places)), function_(function) {
        for (std::size_t index = 0; index < inputs_.size(); ++index) {
            arePointwise_.push_back(inputs_[index].IsPointwise());
            spareRuns_ = std::max(spareRuns_, index + inputs_[index].SpareRuns());
        }
        isPointwise_ = std::find(arePointwise_.begin(), arePointwise_.end(), false) == arePointwise_.end();
    }

    bool IsPointwise() const override { return isPointwise_; }

    std::size_t SpareRuns() const override { return spareRuns_; }

    void Render(const Tile& tile) const override {
        if (isPointwise_) {
            RenderByRuns(*this, tile);
            return;
        }
        std::vector<PixelBlock> memory;
        Tile tiles[kMostCombined] = {tile};
        for (std::size_t index = 0; index < inputs_.size(); ++index) {
            if (arePointwise_[index]) continue;
            if (index != 0) tiles[index] = memory.emplace_back(tile.region).GetTile();
            inputs_[index].Render(tiles[index]);
        }
        const RunMemory runs(1 + spareRuns_);
        ForEachRun(tile.region, [&](const Run& run) {
            Combine(run, runs.Run(0), runs.Run(1), tiles);
            FromBlocks(runs.Run(0), run.count, tile.Part(run.GetRegion()).pixels);
        });
    }

    void RenderRun(const Run& run, float* blocks, float* spare) const override {
        Combine(run, blocks, spare, /*tiles=*/nullptr);
    }

  private:
    // Inputs that are not pointwise are in tiles.
    void Combine(const Run& run, float* blocks, float* spare, const Tile* tiles) const {
        float* runs[kMostCombined] = {blocks};
        for (std::size_t index = 0; index < inputs_.size(); ++index) {
            if (index != 0) {
                runs[index] = spare;
                spare += kRunFloats;
            }
            if (arePointwise_[index]) {
                inputs_[index].RenderRun(run, runs[index], spare);
            } else {
                ToBlocks(tiles[index].Part(run.GetRegion()).pixels, run.count, runs[index]);
            }
        }
        const float* others[kMostCombined] = {};
        for (std::size_t image = 1; image < places_.size(); ++image) others[image - 1] = runs[places_[image]];
        function_.ApplyToRun(blocks, others, run.count);
    }

    std::vector<Prepared> inputs_;
    std::vector<std::size_t> places_;
    std::vector<bool> arePointwise_;
    std::size_t spareRuns_ = 0;
    bool isPointwise_ = false;
    const CombiningFunction& function_;  // owned by the image, which outlives the rendering
};

// The combined depth of several images.
Depth DepthOf(const std::vector<ImageRef>& images) {
    Depth depth;
    for (const ImageRef& image : images) depth = depth.With(image->GetDepth());
    return depth;
}

class CombinedImage : public Image {
  public:
    CombinedImage(std::vector<ImageRef> inputs, std::unique_ptr<const CombiningFunction> function, const Extent& extent)
        : Image(extent, DepthOf(inputs)), inputs_(std::move(inputs)), function_(std::move(function)) {}

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        std::vector<Prepared> prepared;
        std::vector<std::size_t> places;
        for (std::size_t index = 0; index < inputs_.size(); ++index) {
            const auto same = std::find(inputs_.begin(), inputs_.end(), inputs_[index]) - inputs_.begin();
            const auto earlier = static_cast<std::size_t>(same);
            places.push_back(earlier < index ? places[earlier] : prepared.size());
            if (earlier == index) prepared.push_back(Prepare(inputs_[index], region));
        }
        return std::make_unique<CombiningStage>(std::move(prepared), std::move(places), *function_);
    }

  private:
    std::vector<ImageRef> inputs_;
    std::unique_ptr<const CombiningFunction> function_;
};

}  // namespace

std::unique_ptr<const Stage> MakePointStage(Prepared input, std::unique_ptr<const PointFunction> function) {
    return std::make_unique<PointStage>(std::move(input), std::move(function));
}

ImageRef MakePointImage(ImageRef input, std::unique_ptr<const PointFunction> function) {
    const Extent extent = input->GetExtent();
    return MakePointImage(std::move(input), std::move(function), extent);
}

ImageRef MakePointImage(ImageRef input, std::unique_ptr<const PointFunction> function, const Extent& extent) {
    if (const auto* below = dynamic_cast<const PointImage*>(input.get())) {
        if (auto both = function->After(below->Function())) {
            return std::make_shared<PointImage>(below->GetInput(), std::move(both), extent);
        }
    }
    return std::make_shared<PointImage>(std::move(input), std::move(function), extent);
}

ImageRef MakeCombinedImage(std::vector<ImageRef> inputs, std::unique_ptr<const CombiningFunction> function,
                           const Extent& extent) {
    return std::make_shared<CombinedImage>(std::move(inputs), std::move(function), extent);
}

}  // namespace core_image
