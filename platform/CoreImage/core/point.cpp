// point.cpp - renders the inputs strip by strip and runs the function over each.

#include "core/point.h"

#include <algorithm>
#include <utility>

namespace core_image {
namespace {

class PointStage : public Stage {
  public:
    PointStage(Prepared input, const PointFunction& function) : input_(std::move(input)), function_(function) {}

    bool isPointwise() const override { return input_.isPointwise(); }

    void render(const Tile& tile) const override {
        ForEachStrip(tile, isPointwise(), [this](const Tile& strip) {
            input_.render(strip);
            for (std::int64_t y = strip.region.y; y < strip.region.top(); ++y)
                function_.apply(strip.row(y), strip.width());
        });
    }

  private:
    Prepared input_;
    const PointFunction& function_;  // of the image, which outlives the rendering
};

class PointImage : public Image {
  public:
    PointImage(ImageRef input, std::unique_ptr<const PointFunction> function, const Extent& extent)
        : Image(extent, input->depth()), input_(std::move(input)), function_(std::move(function)) {}

    std::unique_ptr<const Stage> prepare(const Region& region) const override {
        return std::make_unique<PointStage>(Prepare(input_, region), *function_);
    }

  private:
    ImageRef input_;
    std::unique_ptr<const PointFunction> function_;
};

class CombiningStage : public Stage {
  public:
    CombiningStage(std::vector<Prepared> inputs, const CombiningFunction& function)
        : inputs_(std::move(inputs)), function_(function) {}

    bool isPointwise() const override {
        return std::all_of(inputs_.begin(), inputs_.end(), [](const Prepared& input) { return input.isPointwise(); });
    }

    void render(const Tile& tile) const override {
        ForEachStrip(tile, isPointwise(), [this](const Tile& strip) { renderStrip(strip); });
    }

  private:
    void renderStrip(const Tile& strip) const {
        inputs_[0].render(strip);
        std::vector<PixelBlock> blocks;
        for (std::size_t index = 1; index < inputs_.size(); ++index) {
            blocks.emplace_back(strip.region);
            inputs_[index].render(blocks.back().tile());
        }
        const float* others[kMostCombined] = {};
        for (std::int64_t y = strip.region.y; y < strip.region.top(); ++y) {
            for (std::size_t index = 0; index < blocks.size(); ++index) others[index] = blocks[index].row(y);
            function_.apply(strip.row(y), others, strip.width());
        }
    }

    std::vector<Prepared> inputs_;
    const CombiningFunction& function_;  // of the image, which outlives the rendering
};

// How large the recipes of some images are together.
Depth DepthOf(const std::vector<ImageRef>& images) {
    Depth depth;
    for (const ImageRef& image : images) depth = depth.with(image->depth());
    return depth;
}

class CombinedImage : public Image {
  public:
    CombinedImage(std::vector<ImageRef> inputs, std::unique_ptr<const CombiningFunction> function, const Extent& extent)
        : Image(extent, DepthOf(inputs)), inputs_(std::move(inputs)), function_(std::move(function)) {}

    std::unique_ptr<const Stage> prepare(const Region& region) const override {
        std::vector<Prepared> prepared;
        for (const ImageRef& input : inputs_) prepared.push_back(Prepare(input, region));
        return std::make_unique<CombiningStage>(std::move(prepared), *function_);
    }

  private:
    std::vector<ImageRef> inputs_;
    std::unique_ptr<const CombiningFunction> function_;
};

}  // namespace

ImageRef MakePointImage(ImageRef input, std::unique_ptr<const PointFunction> function) {
    const Extent extent = input->extent();
    return MakePointImage(std::move(input), std::move(function), extent);
}

ImageRef MakePointImage(ImageRef input, std::unique_ptr<const PointFunction> function, const Extent& extent) {
    return std::make_shared<PointImage>(std::move(input), std::move(function), extent);
}

ImageRef MakeCombinedImage(std::vector<ImageRef> inputs, std::unique_ptr<const CombiningFunction> function,
                           const Extent& extent) {
    return std::make_shared<CombinedImage>(std::move(inputs), std::move(function), extent);
}

}  // namespace core_image
