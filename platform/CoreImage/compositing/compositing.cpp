// compositing.cpp - the filters: which images they take, how far they reach, and the blend (blend.h) that they are.

#include "compositing/compositing.h"

#include <utility>

#include "compositing/blend.h"
#include "core/point.h"
#include "geometry/geometry.h"

namespace core_image {
namespace {

using Blend = void (*)(float* pixels, const float* const* others, std::size_t count);

class BlendFunction : public CombiningFunction {
  public:
    explicit BlendFunction(Blend blend) : blend_(blend) {}

    void ApplyToRun(float* pixels, const float* const* others, std::size_t count) const override {
        blend_(pixels, others, count);
    }

  private:
    Blend blend_;
};

ImageRef Compose(const Inputs& inputs, Blend blend) {
    ImageRef source = inputs.GetImage("inputImage"), background = inputs.GetImage("inputBackgroundImage");
    if (source == nullptr) return background;
    if (background == nullptr) return source;
    const Extent extent = source->GetExtent().UnionWith(background->GetExtent());
    return MakeCombinedImage({std::move(background), std::move(source)}, std::make_unique<BlendFunction>(blend),
                             extent);
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

ImageRef SourceOver(const Inputs& inputs) { return Compose(inputs, OverRow); }
ImageRef AdditionCompositing(const Inputs& inputs) { return Compose(inputs, AddRow); }
ImageRef ColorBlendMode(const Inputs& inputs) { return Compose(inputs, ColoriseRow); }
ImageRef ColorBurnBlendMode(const Inputs& inputs) { return Compose(inputs, BurnRow); }
ImageRef ColorDodgeBlendMode(const Inputs& inputs) { return Compose(inputs, DodgeRow); }
ImageRef DarkenBlendMode(const Inputs& inputs) { return Compose(inputs, DarkenRow); }
ImageRef DifferenceBlendMode(const Inputs& inputs) { return Compose(inputs, DifferenceRow); }
ImageRef ExclusionBlendMode(const Inputs& inputs) { return Compose(inputs, ExcludeRow); }

ImageRef BlendWithMask(const Inputs& inputs) { return ComposeUnderMask(inputs, MaskGreenRow); }
ImageRef BlendWithAlphaMask(const Inputs& inputs) { return ComposeUnderMask(inputs, MaskAlphaRow); }

}  // namespace core_image
