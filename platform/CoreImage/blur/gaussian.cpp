// gaussian.cpp - the Gaussian blur of small radius, and the choice between it and the wide one.
//
// Both are separable. The small blur sums the neighbors of each pixel.

#include <cmath>
#include <utility>
#include <vector>

#include "blur/blur.h"
#include "blur/filters.h"
#include "blur/gaussian_weights.h"
#include "blur/separable.h"
#include "blur/wide_gaussian.h"
#include "core/window.h"

namespace core_image {
namespace {

class SmallGaussianStage : public Stage {
  public:
    SmallGaussianStage(Prepared input, std::vector<float> weights)
        : input_(std::move(input)), weights_(std::move(weights)) {}

    void Render(const Tile& tile) const override {
        const auto reach = static_cast<std::int64_t>(weights_.size() / 2);
        SumAround(Window(input_, tile.region.GrownBy(reach)).GetView(), weights_, tile);
    }

  private:
    Prepared input_;
    std::vector<float> weights_;
};

class GaussianImage : public Image {
  public:
    GaussianImage(ImageRef input, const Extent& extent, double sigma)
        : Image(extent, input->GetDepth()), input_(std::move(input)), sigma_(sigma) {}

    void AddNeeds(const Region& region, Needs& needs) const override {
        if (sigma_ >= kNarrowestWideSigma) {
            needs.AddAtOnce(input_, WideGaussianSource(input_->GetExtent(), sigma_, region));
        } else {
            needs.AddByTiles(input_, region.GrownBy(GaussianReach(sigma_)));
        }
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        if (sigma_ >= kNarrowestWideSigma) return PrepareWideGaussian(input_, sigma_, region);
        Prepared input = Prepare(input_, region.GrownBy(GaussianReach(sigma_)));
        return std::make_unique<SmallGaussianStage>(std::move(input), GaussianWeights(sigma_));
    }

  private:
    ImageRef input_;
    double sigma_;
};

}  // namespace

ImageRef MakeGaussianBlurImage(ImageRef input, double sigma) {
    if (!(sigma > 0) || input->GetExtent().IsEmpty()) return input;
    const Extent extent = input->GetExtent().GrownBy(std::ceil(3 * sigma));
    return std::make_shared<GaussianImage>(std::move(input), extent, sigma);
}

// CIGaussianBlur: inputRadius is the standard deviation.
ImageRef GaussianBlur(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    return input == nullptr ? nullptr : MakeGaussianBlurImage(std::move(input), inputs.GetNumber("inputRadius"));
}

}  // namespace core_image
