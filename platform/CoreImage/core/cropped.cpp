// cropped.cpp - part of an image. Nothing is computed: the input is only asked for less.

#include "core/cropped.h"

#include <memory>
#include <utility>

namespace core_image {
namespace {

class CroppedImage : public Image {
  public:
    CroppedImage(ImageRef input, const Extent& extent) : Image(extent, input->GetDepth()), input_(std::move(input)) {}

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override { return input_->MakeStage(region); }

    ImageRef Encoded() const override {
        ImageRef input = input_->Encoded();
        return input == nullptr ? nullptr : std::make_shared<CroppedImage>(std::move(input), GetExtent());
    }

  private:
    ImageRef input_;
};

}  // namespace

ImageRef MakeCroppedImage(ImageRef input, const Extent& extent) {
    const Extent shared = input->GetExtent().Intersection(extent);
    if (shared == input->GetExtent()) return input;
    return std::make_shared<CroppedImage>(std::move(input), shared);
}

}  // namespace core_image
