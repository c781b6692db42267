// convolution.cpp - sums of a padded tile's rows, each shifted and weighed. Weights of zero cost nothing.

#include "convolution/convolution.h"

#include <utility>
#include <vector>

#include "blur/kernels.h"
#include "core/window.h"

namespace core_image {
namespace {

// A weight and the neighbour that it is for.
struct Tap {
    std::int64_t x;
    std::int64_t y;
    float weight;
};

// The neighbours that have weights, and how far away they are at most.
struct Kernel {
    std::vector<Tap> taps;
    std::int64_t reachX;
    std::int64_t reachY;
    float bias;
};

Region Grown(const Region& region, const Kernel& kernel) {
    return {region.x - kernel.reachX, region.y - kernel.reachY, region.width + 2 * kernel.reachX,
            region.height + 2 * kernel.reachY};
}

class ConvolutionStage : public Stage {
  public:
    ConvolutionStage(Prepared input, const Kernel& kernel) : input_(std::move(input)), kernel_(kernel) {
        for (const Tap& tap : kernel.taps) weights_.push_back(tap.weight);
    }

    void render(const Tile& tile) const override {
        const Window window(input_, Grown(tile.region, kernel_));
        const View& source = window.view();
        std::vector<const float*> rows(weights_.size());
        for (std::int64_t y = tile.region.y; y < tile.region.top(); ++y) {
            for (std::size_t index = 0; index < rows.size(); ++index) {
                const Tap& tap = kernel_.taps[index];
                rows[index] = source.pixel(tile.region.x + tap.x, y + tap.y);
            }
            SumRowsLimited(rows.data(), weights_.data(), rows.size(), kernel_.bias, tile.row(y),
                           tile.width() * kFloatsPerPixel);
        }
    }

  private:
    Prepared input_;
    const Kernel& kernel_;  // of the image, which outlives the rendering
    std::vector<float> weights_;
};

class ConvolvedImage : public Image {
  public:
    ConvolvedImage(ImageRef input, const Extent& extent, Kernel kernel)
        : Image(extent, input->depth()), input_(std::move(input)), kernel_(std::move(kernel)) {}

    std::unique_ptr<const Stage> prepare(const Region& region) const override {
        return std::make_unique<ConvolutionStage>(Prepare(input_, Grown(region, kernel_)), kernel_);
    }

  private:
    ImageRef input_;
    Kernel kernel_;
};

// The image under a kernel of odd width and height. The input itself when only the middle counts, and that as one.
ImageRef Convolution(const Inputs& inputs, std::int64_t width, std::int64_t height) {
    ImageRef input = inputs.image("inputImage");
    if (input == nullptr) return nullptr;
    Kernel kernel = {{}, width / 2, height / 2, static_cast<float>(inputs.number("inputBias"))};
    for (std::int64_t index = 0; index < width * height; ++index) {
        const double weight = inputs.element("inputWeights", static_cast<std::size_t>(index));
        if (weight == 0) continue;
        kernel.taps.push_back(
            {index % width - kernel.reachX, kernel.reachY - index / width, static_cast<float>(weight)});
    }
    const auto isIdentity = [](const Tap& tap) { return tap.x == 0 && tap.y == 0 && tap.weight == 1; };
    if (kernel.bias == 0) {
        if (kernel.taps.size() == 1 && isIdentity(kernel.taps[0])) return input;
        if (input->extent().isEmpty()) return input;
    }
    Extent extent = input->extent();
    extent.left -= static_cast<double>(kernel.reachX);
    extent.right += static_cast<double>(kernel.reachX);
    extent.bottom -= static_cast<double>(kernel.reachY);
    extent.top += static_cast<double>(kernel.reachY);
    if (kernel.bias != 0) extent = Extent::infinite();
    return std::make_shared<ConvolvedImage>(std::move(input), extent, std::move(kernel));
}

}  // namespace

ImageRef Convolution3X3(const Inputs& inputs) { return Convolution(inputs, 3, 3); }
ImageRef Convolution5X5(const Inputs& inputs) { return Convolution(inputs, 5, 5); }
ImageRef Convolution7X7(const Inputs& inputs) { return Convolution(inputs, 7, 7); }
ImageRef Convolution9Horizontal(const Inputs& inputs) { return Convolution(inputs, 9, 1); }
ImageRef Convolution9Vertical(const Inputs& inputs) { return Convolution(inputs, 1, 9); }

}  // namespace core_image
