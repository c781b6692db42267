// gaussian.cpp - the Gaussian blur of small radius, and the choice between it and the wide one.
//
// Both are separable. The small blur sums the neighbors of each pixel in a padded tile.

#include <cmath>
#include <utility>
#include <vector>

#include "blur/blur.h"
#include "blur/filters.h"
#include "blur/gaussian_weights.h"
#include "blur/kernels.h"
#include "blur/wide_gaussian.h"
#include "core/window.h"
#include "sampling/weighted_sums.h"

namespace core_image {
namespace {

class SmallGaussianStage : public Stage {
  public:
    SmallGaussianStage(Prepared input, std::vector<float> weights)
        : input_(std::move(input)), weights_(std::move(weights)) {}

    void Render(const Tile& tile) const override {
        const auto reach = static_cast<std::int64_t>(weights_.size() / 2);
        const Window window(input_, tile.region.GrownBy(reach));
        const View& source = window.GetView();
        const PixelBlock line(Region{source.region.x, 0, source.region.width, 1});
        std::vector<const float*> rows(weights_.size());
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            for (std::size_t k = 0; k < rows.size(); ++k)
                rows[k] = source.Row(y - reach + static_cast<std::int64_t>(k));
            SumRows(rows.data(), weights_.data(), rows.size(), line.GetTile().pixels,
                    line.GetTile().Width() * kFloatsPerPixel);
            SumNeighbors(line.Row(0), weights_.data(), weights_.size(), tile.Row(y), tile.Width());
        }
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
            needs.AddByTiles(input_, region.GrownBy(static_cast<std::int64_t>(GaussianWeights(sigma_).size() / 2)));
        }
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        if (sigma_ >= kNarrowestWideSigma) return PrepareWideGaussian(input_, sigma_, region);
        std::vector<float> weights = GaussianWeights(sigma_);
        const auto reach = static_cast<std::int64_t>(weights.size() / 2);
        return std::make_unique<SmallGaussianStage>(Prepare(input_, region.GrownBy(reach)), std::move(weights));
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
