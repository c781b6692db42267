// point.cpp - renders the inputs run by run, and applies the functions to each run.
//
// Consecutive images form one stage, a chain of steps that change the pixels of one image: functions, combinations with
// other images, and clearing what lies outside of an extent. Inputs that need neighbors are rendered as whole tiles
// before the runs.

#include "core/point.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace core_image {
namespace {

// Above this many combinations of a chain, those that concern a tile are picked before its runs are rendered.
constexpr std::size_t kMostPerRun = 8;

// What is done to the pixels of a chain.
struct Step {
    // One of the three.
    const PointFunction* function = nullptr;  // owned by an image, which outlives the rendering, or by own
    const CombiningFunction* combination = nullptr;
    Region inside;  // pixels outside of it become transparent

    std::unique_ptr<const PointFunction> own;

    // Of a combination: the images other than the chain's own, and for each image of the function where it is: 0 for
    // the chain's own, otherwise one more than the index of another.
    std::vector<Prepared> others;
    std::vector<std::size_t> places;

    std::size_t SpareRuns() const {
        std::size_t spare = 0;
        for (const Prepared& other : others) spare = std::max(spare, other.SpareRuns());
        return others.size() + spare;
    }
    bool HasTiles() const {
        return std::any_of(others.begin(), others.end(), [](const Prepared& other) { return !other.IsPointwise(); });
    }
    bool IsClear() const { return function == nullptr && combination == nullptr; }
};

// Makes the pixels of a run transparent that lie outside of a region.
void ClearOutside(const Region& inside, const Run& run, float* blocks) {
    if (inside.Contains(run.GetRegion())) return;
    constexpr std::size_t kBlockFloats = kBlockPixels * kFloatsPerPixel;
    for (std::size_t index = 0; index < run.count; ++index) {
        if (inside.Contains(run.x + static_cast<std::int64_t>(index), run.y)) continue;
        float* channel = blocks + index / kBlockPixels * kBlockFloats + index % kBlockPixels;
        for (std::size_t k = 0; k < kFloatsPerPixel; ++k) channel[k * kBlockPixels] = 0;
    }
}

class ChainStage : public Stage {
  public:
    // Continues the chain of an input if nothing else uses that; otherwise begins a chain over the input.
    ChainStage(Prepared input, const Region& region, Step step) {
        if (const auto* below = dynamic_cast<const ChainStage*>(input.OwnStage())) {
            base_ = std::move(below->base_);
            steps_ = std::move(below->steps_);
            const Region inside = Clip(region, input.GetExtent());
            if (inside != region) steps_.push_back({.inside = inside});
            levels_ = below->levels_;
            spareRuns_ = below->spareRuns_;
            combinations_ = below->combinations_;
            isPointwise_ = below->isPointwise_;
        } else {
            base_ = std::move(input);
            levels_ = base_.Levels() + 1;
            spareRuns_ = base_.SpareRuns();
            isPointwise_ = base_.IsPointwise();
        }
        for (const Prepared& other : step.others) levels_ = std::max(levels_, other.Levels() + 1);
        spareRuns_ = std::max(spareRuns_, step.SpareRuns());
        if (step.combination != nullptr) ++combinations_;
        isPointwise_ = isPointwise_ && !step.HasTiles() && combinations_ <= kMostPerRun;
        steps_.push_back(std::move(step));
    }

    bool IsPointwise() const override { return isPointwise_; }

    std::size_t SpareRuns() const override { return spareRuns_; }

    int Levels(int) const override { return levels_; }

    void Render(const Tile& tile) const override {
        if (isPointwise_) {
            if (!RenderPixels(tile)) RenderByRuns(*this, tile);
            return;
        }
        const Picked picked = StepsFor(tile.region);
        const bool isBaseByRuns = !picked.isCleared && base_.IsPointwise();
        std::optional<View> held;
        if (picked.isCleared) {
            Clear(tile);
        } else if (!isBaseByRuns) {
            held = base_.Held(tile.region);
            if (!held) base_.Render(tile);
        }
        const RunMemory runs(1 + spareRuns_);
        // At most one step of each pass over the tile has images that are rendered as tiles.
        auto from = picked.steps.begin();
        do {
            auto to = from;
            const Step* withTiles = nullptr;
            for (; to != picked.steps.end(); ++to) {
                if (!(*to)->HasTiles()) continue;
                if (withTiles != nullptr) break;
                withTiles = *to;
            }
            std::vector<PixelBlock> memory;
            if (withTiles != nullptr) {
                for (const Prepared& other : withTiles->others) {
                    if (other.IsPointwise()) continue;
                    other.Render(memory.emplace_back(tile.region).GetTile());
                }
            }
            ForEachRun(tile.region, [&](const Run& run) {
                float* const pixels = tile.Part(run.GetRegion()).pixels;
                const bool isFirst = from == picked.steps.begin();
                if (isFirst && isBaseByRuns) {
                    base_.RenderRun(run, runs.Run(0), runs.Run(1));
                } else {
                    ToBlocks(isFirst && held ? held->PixelAt(run.x, run.y) : pixels, run.count, runs.Run(0));
                }
                for (auto step = from; step != to; ++step) {
                    Apply(**step, run, runs.Run(0), runs.Run(1), *step == withTiles ? memory.data() : nullptr);
                }
                FromBlocks(runs.Run(0), run.count, pixels);
            });
            from = to;
        } while (from != picked.steps.end());
    }

    void RenderRun(const Run& run, float* blocks, float* spare) const override {
        base_.RenderRun(run, blocks, spare);
        for (const Step& step : steps_) Apply(step, run, blocks, spare, /*tiles=*/nullptr);
    }

  private:
    // Renders a single function of an image in memory, if it needs no blocks.
    bool RenderPixels(const Tile& tile) const {
        const PointFunction* const function = steps_.size() == 1 ? steps_[0].function : nullptr;
        const std::optional<View> held = function != nullptr ? base_.Held(tile.region) : std::nullopt;
        if (!held) return false;
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            if (!function->ApplyToPixels(held->Row(y), tile.Row(y), tile.Width())) return false;
        }
        return true;
    }

    // The steps that concern a region, in order. The first ones are left out if their result is cleared.
    struct Picked {
        bool isCleared = false;
        std::vector<const Step*> steps;
    };

    Picked StepsFor(const Region& region) const {
        Picked picked;
        // Whether the last step combined the pixels with transparent ones: doing that again would change nothing.
        bool isCombined = false;
        for (const Step& step : steps_) {
            if (step.IsClear()) {
                const Region inside = region.Intersection(step.inside);
                if (inside == region) continue;
                if (inside.IsEmpty()) {
                    picked = {/*isCleared=*/true, {}};
                    isCombined = false;
                    continue;
                }
            }
            const bool isAlone = step.combination != nullptr && step.others.size() == 1 &&
                                 step.combination->KeepsPixelsAlone() &&
                                 Clip(region, step.others[0].GetExtent()).IsEmpty();
            if (isAlone && isCombined) continue;
            isCombined = isAlone;
            picked.steps.push_back(&step);
        }
        return picked;
    }

    // Applies a step to a run of the chain's pixels. The tiles are those of its others that are not pointwise.
    static void Apply(const Step& step, const Run& run, float* blocks, float* spare, const PixelBlock* tiles) {
        if (step.function != nullptr) {
            step.function->ApplyToRun(blocks, run.count);
        } else if (step.combination != nullptr) {
            Combine(step, run, blocks, spare, tiles);
        } else {
            ClearOutside(step.inside, run, blocks);
        }
    }

    static void Combine(const Step& step, const Run& run, float* blocks, float* spare, const PixelBlock* tiles) {
        float* runs[kMostCombined] = {blocks};
        float* const left = spare + step.others.size() * kRunFloats;
        for (std::size_t index = 0; index < step.others.size(); ++index) {
            runs[index + 1] = spare + index * kRunFloats;
            if (step.others[index].IsPointwise()) {
                step.others[index].RenderRun(run, runs[index + 1], left);
            } else {
                ToBlocks((tiles++)->GetTile().Part(run.GetRegion()).pixels, run.count, runs[index + 1]);
            }
        }
        const float* others[kMostCombined] = {};
        for (std::size_t image = 1; image < step.places.size(); ++image) others[image - 1] = runs[step.places[image]];
        float* const first = runs[step.places[0]];
        step.combination->ApplyToRun(first, others, run.count);
        if (first != blocks) std::memcpy(blocks, first, kRunFloats * sizeof(float));
    }

    // Taken by the stage that continues the chain.
    mutable Prepared base_;
    mutable std::vector<Step> steps_;
    std::size_t spareRuns_ = 0;
    std::size_t combinations_ = 0;
    int levels_ = 0;
    bool isPointwise_ = false;
};

class PointImage : public Image {
  public:
    PointImage(ImageRef input, std::unique_ptr<const PointFunction> function, const Extent& extent)
        : Image(extent, input->GetDepth()),
          input_(std::move(input)),
          function_(std::move(function)),
          isPlain_(input_->IsPlain() && GetDepth().levels <= kMostPlainLevels) {}

    const ImageRef& GetInput() const { return input_; }
    const PointFunction& Function() const { return *function_; }

    void AddNeeds(const Region& region, Needs& needs) const override { needs.AddByTiles(input_, region); }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        function_->Expect(PixelCount(region));
        return std::make_unique<ChainStage>(PrepareLast(input_, region), region, Step{.function = function_.get()});
    }

    // Preparing a plain image walks down to its source.
    bool IsPlain() const override { return isPlain_; }

  private:
    static constexpr int kMostPlainLevels = 8;

    ImageRef input_;
    std::unique_ptr<const PointFunction> function_;
    bool isPlain_;
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

    void AddNeeds(const Region& region, Needs& needs) const override {
        for (std::size_t index = 0; index < inputs_.size(); ++index) {
            if (FirstPlace(index) == index) needs.AddByTiles(inputs_[index], region);
        }
    }

    // An input that is used twice is prepared only once. The chain goes on with the deepest input.
    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        const auto deepest =
            std::ranges::max_element(inputs_, {}, [](const ImageRef& input) { return input->GetDepth().levels; });
        const std::size_t own = FirstPlace(static_cast<std::size_t>(deepest - inputs_.begin()));
        Step step = {.combination = function_.get()};
        for (std::size_t index = 0; index < inputs_.size(); ++index) {
            const std::size_t first = FirstPlace(index);
            if (first == own) {
                step.places.push_back(0);
            } else if (first < index) {
                step.places.push_back(step.places[first]);
            } else {
                step.others.push_back(Prepare(inputs_[index], region));
                step.places.push_back(step.others.size());
            }
        }
        return std::make_unique<ChainStage>(PrepareLast(inputs_[own], region), region, std::move(step));
    }

  private:
    // The first place among the inputs of the one at a place.
    std::size_t FirstPlace(std::size_t index) const {
        return static_cast<std::size_t>(std::find(inputs_.begin(), inputs_.end(), inputs_[index]) - inputs_.begin());
    }

    std::vector<ImageRef> inputs_;
    std::unique_ptr<const CombiningFunction> function_;
};

}  // namespace

std::unique_ptr<const Stage> MakePointStage(Prepared input, const Region& region,
                                            std::unique_ptr<const PointFunction> function) {
    const PointFunction* const borrowed = function.get();
    return std::make_unique<ChainStage>(std::move(input), region,
                                        Step{.function = borrowed, .own = std::move(function)});
}

ImageRef MakePointImage(ImageRef input, std::unique_ptr<const PointFunction> function) {
    const Extent extent = input->GetExtent();
    return MakePointImage(std::move(input), std::move(function), extent);
}

ImageRef MakePointImage(ImageRef input, std::unique_ptr<const PointFunction> function, const Extent& extent) {
    if (const auto* below = dynamic_cast<const PointImage*>(input.Get())) {
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
