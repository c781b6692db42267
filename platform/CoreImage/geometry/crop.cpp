// crop.cpp - part of an image. Nothing is computed: the input is asked for less.

#include <utility>

#include "geometry/geometry.h"

namespace core_image {
namespace {

class CroppedImage : public Image {
  public:
    CroppedImage(ImageRef input, const Extent& extent) : Image(extent, input->depth()), input_(std::move(input)) {}

    std::unique_ptr<const Stage> prepare(const Region& region) const override { return input_->prepare(region); }

    ImageRef encoded() const override {
        ImageRef input = input_->encoded();
        return input == nullptr ? nullptr : std::make_shared<CroppedImage>(std::move(input), extent());
    }

  private:
    ImageRef input_;
};

}  // namespace

ImageRef MakeCroppedImage(ImageRef input, const Extent& extent) {
    const Extent shared = input->extent().intersection(extent);
    if (shared == input->extent()) return input;
    return std::make_shared<CroppedImage>(std::move(input), shared);
}

ImageRef Crop(const Inputs& inputs) {
    ImageRef input = inputs.image("inputImage");
    return input == nullptr ? nullptr : MakeCroppedImage(std::move(input), inputs.rectangle("inputRectangle"));
}

}  // namespace core_image
