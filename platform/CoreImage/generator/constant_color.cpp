// constant_color.cpp - the same pixel everywhere.

#include "generator/filters.h"
#include "generator/generator.h"

namespace core_image {
namespace {

class ConstantStage : public Stage {
  public:
    explicit ConstantStage(const Pixel& pixel) : pixel_(pixel) {}

    bool IsPointwise() const override { return true; }

    void Render(const Tile& tile) const override {
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            float* to = tile.Row(y);
            for (std::size_t index = 0; index < tile.Width(); ++index, to += kFloatsPerPixel) {
                to[0] = pixel_.red;
                to[1] = pixel_.green;
                to[2] = pixel_.blue;
                to[3] = pixel_.alpha;
            }
        }
    }

  private:
    Pixel pixel_;
};

class ConstantImage : public Image {
  public:
    explicit ConstantImage(const Pixel& pixel) : Image(Extent::Infinite(), /*depthBelow=*/{}), pixel_(pixel) {}

    std::unique_ptr<const Stage> MakeStage(const Region&) const override {
        return std::make_unique<ConstantStage>(pixel_);
    }

  private:
    Pixel pixel_;
};

}  // namespace

ImageRef MakeConstantImage(const Pixel& pixel) { return std::make_shared<ConstantImage>(pixel); }

// CIConstantColorGenerator: inputColor everywhere.
ImageRef ConstantColorGenerator(const Inputs& inputs) { return MakeConstantImage(inputs.GetColor("inputColor")); }

}  // namespace core_image
