// cropped.cpp - part of an image. Nothing is computed: the input is only asked for less.

#include "core/cropped.h"

#include <memory>
#include <utility>

namespace core_image {
namespace {

class CroppedImage : public Image {
  public:
    CroppedImage(ImageRef input, const Extent& extent) : Image(extent, input->GetDepth()), input_(std::move(input)) {
        if (input_->Encoded() != nullptr) SetEncoded(std::make_shared<CroppedImage>(input_->Encoded(), extent));
    }

    const ImageRef& GetInput() const { return input_; }

    const Image* Shown() const override { return input_.Get(); }
    std::unique_ptr<const Stage> MakeStage(const Region&) const override { return nullptr; }
    bool IsPlain() const override { return input_->IsPlain(); }

  private:
    ImageRef input_;
};

}  // namespace

ImageRef MakeCroppedImage(ImageRef input, const Extent& extent) {
    const Extent shared = input->GetExtent().Intersection(extent);
    if (shared == input->GetExtent()) return input;
    if (const auto* cropped = dynamic_cast<const CroppedImage*>(input.Get())) input = ImageRef(cropped->GetInput());
    return std::make_shared<CroppedImage>(std::move(input), shared);
}

}  // namespace core_image
