// compositing.cpp - the filters: their images, extents and blends (blend.h).

#include "compositing/compositing.h"

#include <memory>
#include <utility>

#include "compositing/blend.h"
#include "compositing/filters.h"
#include "core/cropped.h"
#include "core/point.h"

namespace core_image {
namespace {

using Blend = void (*)(float* pixels, const float* const* others, std::size_t count);

class BlendFunction : public CombiningFunction {
  public:
    explicit BlendFunction(Blend blend) : blend_(blend) {}

    void ApplyToRun(float* pixels, const float* const* others, std::size_t count) const override {
        blend_(pixels, others, count);
    }

    bool KeepsPixelsAlone() const override { return blend_ == OverRow || blend_ == AddRow; }

  private:
    Blend blend_;
};

ImageRef MakeBlendedImage(ImageRef source, ImageRef background, Blend blend) {
    if (source == nullptr) return background;
    if (background == nullptr) return source;
    const Extent extent = source->GetExtent().UnionWith(background->GetExtent());
    return MakeCombinedImage({std::move(background), std::move(source)}, std::make_unique<BlendFunction>(blend),
                             extent);
}

ImageRef Compose(const Inputs& inputs, Blend blend) {
    return MakeBlendedImage(inputs.GetImage("inputImage"), inputs.GetImage("inputBackgroundImage"), blend);
}

ImageRef ComposeUnderMask(const Inputs& inputs, Blend blend) {
    ImageRef source = inputs.GetImage("inputImage"), background = inputs.GetImage("inputBackgroundImage");
    ImageRef mask = inputs.GetImage("inputMaskImage");
    if (source == nullptr || mask == nullptr) return background;
    const Extent shown = source->GetExtent().Intersection(mask->GetExtent());
    if (background == nullptr) background = MakeCroppedImage(source, Extent{});
    const Extent extent = background->GetExtent().UnionWith(shown);
    return MakeCombinedImage({std::move(background), std::move(source), std::move(mask)},
                             std::make_unique<BlendFunction>(blend), extent);
}

}  // namespace

ImageRef MakeSourceOverImage(ImageRef source, ImageRef background) {
    return MakeBlendedImage(std::move(source), std::move(background), OverRow);
}

// CIAdditionCompositing: the sum. Alpha is added too, and may then exceed 1.
ImageRef AdditionCompositing(const Inputs& inputs) { return Compose(inputs, AddRow); }

// The blend modes: inside both images the mode's own color, elsewhere the one image there. See blend.h.
ImageRef ColorBlendMode(const Inputs& inputs) { return Compose(inputs, ColorizeRow); }
ImageRef ColorBurnBlendMode(const Inputs& inputs) { return Compose(inputs, BurnRow); }
ImageRef ColorDodgeBlendMode(const Inputs& inputs) { return Compose(inputs, DodgeRow); }
ImageRef DarkenBlendMode(const Inputs& inputs) { return Compose(inputs, DarkenRow); }
ImageRef DifferenceBlendMode(const Inputs& inputs) { return Compose(inputs, DifferenceRow); }
ImageRef ExclusionBlendMode(const Inputs& inputs) { return Compose(inputs, ExcludeRow); }

// CIBlendWithMask, CIBlendWithAlphaMask: from the background to the image as inputMaskImage's green, or alpha, goes
// from 0 to 1. The extent covers the background and the part of the image inside the mask. Without a mask the
// background is returned.
ImageRef BlendWithMask(const Inputs& inputs) { return ComposeUnderMask(inputs, MaskGreenRow); }
ImageRef BlendWithAlphaMask(const Inputs& inputs) { return ComposeUnderMask(inputs, MaskAlphaRow); }

}  // namespace core_image
