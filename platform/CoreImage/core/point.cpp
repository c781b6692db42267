// point.cpp - renders the input into the tile and runs the function over it, row by row.

#include "core/point.h"

#include <utility>

namespace core_image {
namespace {

class PointStage : public Stage {
  public:
    PointStage(Prepared input, const PointFunction& function) : input_(std::move(input)), function_(function) {}

    void render(const Tile& tile) const override {
        input_.render(tile);
        for (std::int64_t y = tile.region.y; y < tile.region.top(); ++y) function_.apply(tile.row(y), tile.width());
    }

  private:
    Prepared input_;
    const PointFunction& function_;  // of the image, which outlives the rendering
};

class PointImage : public Image {
  public:
    PointImage(ImageRef input, std::unique_ptr<const PointFunction> function)
        : Image(input->extent(), input->depth()), input_(std::move(input)), function_(std::move(function)) {}

    std::unique_ptr<const Stage> prepare(const Region& region) const override {
        return std::make_unique<PointStage>(Prepare(input_, region), *function_);
    }

  private:
    ImageRef input_;
    std::unique_ptr<const PointFunction> function_;
};

}  // namespace

ImageRef MakePointImage(ImageRef input, std::unique_ptr<const PointFunction> function) {
    return std::make_shared<PointImage>(std::move(input), std::move(function));
}

}  // namespace core_image
