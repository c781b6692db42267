// convolution.cpp - a padded tile under a kernel, several rows at a time.

#include "convolution/filters.h"

#include <utility>
#include <vector>

#include "convolution/kernels.h"
#include "core/window.h"

namespace core_image {
namespace {

// The weights of a neighborhood of odd width and height.
struct Kernel {
    std::int64_t width;
    std::int64_t height;
    std::vector<float> weights;  // column by column, each from the lowest up
    float bias;

    std::int64_t ReachX() const { return width / 2; }
    std::int64_t ReachY() const { return height / 2; }
    bool IsIdentity() const {
        std::vector<float> identity(weights.size());
        identity[weights.size() / 2] = 1;
        return bias == 0 && weights == identity;
    }
};

Region Grown(const Region& region, const Kernel& kernel) {
    return {region.x - kernel.ReachX(), region.y - kernel.ReachY(), region.width + kernel.width - 1,
            region.height + kernel.height - 1};
}

class ConvolutionStage : public Stage {
  public:
    ConvolutionStage(Prepared input, const Kernel& kernel) : input_(std::move(input)), kernel_(kernel) {}

    void Render(const Tile& tile) const override {
        const Window window(input_, Grown(tile.region, kernel_));
        const View& source = window.GetView();
        const KernelView kernel = {kernel_.weights.data(), static_cast<std::size_t>(kernel_.width),
                                   static_cast<std::size_t>(kernel_.height), kernel_.bias};
        const float* in[kMostConvolved + kHighestKernel - 1];
        float* out[kMostConvolved];
        constexpr auto kMost = static_cast<std::int64_t>(kMostConvolved);
        for (std::int64_t y = tile.region.y; y < tile.region.Top();) {
            const std::int64_t count = tile.region.Top() - y >= kMost ? kMost : 1;
            for (std::int64_t k = 0; k < count; ++k) out[k] = tile.Row(y + k);
            for (std::int64_t k = 0; k < count + kernel_.height - 1; ++k) in[k] = source.Row(y - kernel_.ReachY() + k);
            Convolve(kernel, in, out, static_cast<std::size_t>(count), tile.Width());
            y += count;
        }
    }

  private:
    Prepared input_;
    const Kernel& kernel_;  // owned by the image, which outlives the rendering
};

class ConvolvedImage : public Image {
  public:
    ConvolvedImage(ImageRef input, const Extent& extent, Kernel kernel)
        : Image(extent, input->GetDepth()), input_(std::move(input)), kernel_(std::move(kernel)) {}

    void AddNeeds(const Region& region, Needs& needs) const override {
        needs.AddByTiles(input_, Grown(region, kernel_));
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<ConvolutionStage>(Prepare(input_, Grown(region, kernel_)), kernel_);
    }

  private:
    ImageRef input_;
    Kernel kernel_;
};

// The image under a kernel of odd width and height. Returns the input itself when the middle weight is 1 and all
// others, and the bias, are 0.
ImageRef Convolution(const Inputs& inputs, std::int64_t width, std::int64_t height) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    Kernel kernel = {width, height, {}, static_cast<float>(inputs.GetNumber("inputBias"))};
    for (std::int64_t x = 0; x < width; ++x) {
        for (std::int64_t y = height - 1; y >= 0; --y) {
            const double weight = inputs.GetElement("inputWeights", static_cast<std::size_t>(y * width + x));
            kernel.weights.push_back(static_cast<float>(weight));
        }
    }
    if (kernel.IsIdentity() || (kernel.bias == 0 && input->GetExtent().IsEmpty())) return input;
    Extent extent = input->GetExtent();
    extent.left -= static_cast<double>(kernel.ReachX());
    extent.right += static_cast<double>(kernel.ReachX());
    extent.bottom -= static_cast<double>(kernel.ReachY());
    extent.top += static_cast<double>(kernel.ReachY());
    if (kernel.bias != 0) extent = Extent::Infinite();
    return std::make_shared<ConvolvedImage>(std::move(input), extent, std::move(kernel));
}

}  // namespace

// CIConvolution3X3, 5X5, 7X7, 9Horizontal and 9Vertical.
ImageRef Convolution3X3(const Inputs& inputs) { return Convolution(inputs, 3, 3); }
ImageRef Convolution5X5(const Inputs& inputs) { return Convolution(inputs, 5, 5); }
ImageRef Convolution7X7(const Inputs& inputs) { return Convolution(inputs, 7, 7); }
ImageRef Convolution9Horizontal(const Inputs& inputs) { return Convolution(inputs, 9, 1); }
ImageRef Convolution9Vertical(const Inputs& inputs) { return Convolution(inputs, 1, 9); }

}  // namespace core_image
