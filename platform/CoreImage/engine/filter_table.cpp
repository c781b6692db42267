// filter_table.cpp - one row for each filter that renders.

#include "engine/filter_table.h"

#include "blur/blur.h"
#include "color/color.h"
#include "compositing/compositing.h"
#include "convolution/convolution.h"
#include "distortion/distortion.h"
#include "generator/generator.h"
#include "geometry/geometry.h"
#include "halftone/halftone.h"
#include "reduction/reduction.h"
#include "stylize/stylize.h"
#include "tile/tiles.h"
#include "transition/transition.h"

namespace core_image {
namespace {

struct Row {
    std::string_view name;
    FilterFunction function;
};

// clang-format off
constexpr Row kRows[] = {
    // name                              function
    {"CIAdditionCompositing",            AdditionCompositing},
    {"CIAffineClamp",                    AffineClamp},
    {"CIAffineTile",                     AffineTile},
    {"CIAffineTransform",                AffineTransform},
    {"CIAreaAverage",                    AreaAverage},
    {"CIAreaHistogram",                  AreaHistogram},
    {"CIAreaMaximum",                    AreaMaximum},
    {"CIAreaMaximumAlpha",               AreaMaximumAlpha},
    {"CIAreaMinimum",                    AreaMinimum},
    {"CIAreaMinimumAlpha",               AreaMinimumAlpha},
    {"CIBarsSwipeTransition",            BarsSwipeTransition},
    {"CIBlendWithAlphaMask",             BlendWithAlphaMask},
    {"CIBlendWithMask",                  BlendWithMask},
    {"CIBloom",                          Bloom},
    {"CIBoxBlur",                        BoxBlur},
    {"CIBumpDistortion",                 BumpDistortion},
    {"CIBumpDistortionLinear",           BumpDistortionLinear},
    {"CICMYKHalftone",                   CMYKHalftone},
    {"CICheckerboardGenerator",          CheckerboardGenerator},
    {"CICircleSplashDistortion",         CircleSplashDistortion},
    {"CICircularScreen",                 CircularScreen},
    {"CICircularWrap",                   CircularWrap},
    {"CIColorBlendMode",                 ColorBlendMode},
    {"CIColorBurnBlendMode",             ColorBurnBlendMode},
    {"CIColorClamp",                     ColorClamp},
    {"CIColorControls",                  ColorControls},
    {"CIColorCrossPolynomial",           ColorCrossPolynomial},
    {"CIColorCube",                      ColorCube},
    {"CIColorCubeWithColorSpace",        ColorCubeWithColorSpace},
    {"CIColorDodgeBlendMode",            ColorDodgeBlendMode},
    {"CIColorInvert",                    ColorInvert},
    {"CIColorMap",                       ColorMap},
    {"CIColorMatrix",                    ColorMatrixFilter},
    {"CIColorMonochrome",                ColorMonochrome},
    {"CIColorPolynomial",                ColorPolynomial},
    {"CIColorPosterize",                 ColorPosterize},
    {"CIColumnAverage",                  ColumnAverage},
    {"CIComicEffect",                    ComicEffect},
    {"CIConstantColorGenerator",         ConstantColor},
    {"CIConvolution3X3",                 Convolution3X3},
    {"CIConvolution5X5",                 Convolution5X5},
    {"CIConvolution7X7",                 Convolution7X7},
    {"CIConvolution9Horizontal",         Convolution9Horizontal},
    {"CIConvolution9Vertical",           Convolution9Vertical},
    {"CICopyMachineTransition",          CopyMachineTransition},
    {"CICrop",                           Crop},
    {"CICrystallize",                    Crystallize},
    {"CIDarkenBlendMode",                DarkenBlendMode},
    {"CIDepthOfField",                   DepthOfField},
    {"CIDifferenceBlendMode",            DifferenceBlendMode},
    {"CIDiscBlur",                       DiscBlur},
    {"CIDisintegrateWithMaskTransition", DisintegrateWithMaskTransition},
    {"CIDisplacementDistortion",         DisplacementDistortion},
    {"CIDissolveTransition",             DissolveTransition},
    {"CIDotScreen",                      DotScreen},
    {"CIDroste",                         Droste},
    {"CIEdgeWork",                       EdgeWork},
    {"CIEdges",                          Edges},
    {"CIEightfoldReflectedTile",         EightfoldReflectedTile},
    {"CIExclusionBlendMode",             ExclusionBlendMode},
    {"CIExposureAdjust",                 ExposureAdjust},
    {"CIFalseColor",                     FalseColor},
    {"CIFlashTransition",                FlashTransition},
    {"CIFourfoldReflectedTile",          FourfoldReflectedTile},
    {"CIFourfoldRotatedTile",            FourfoldRotatedTile},
    {"CIFourfoldTranslatedTile",         FourfoldTranslatedTile},
    {"CIGammaAdjust",                    GammaAdjust},
    {"CIGaussianBlur",                   GaussianBlur},
    {"CIGaussianGradient",               GaussianGradientGenerator},
    {"CIGlassDistortion",                GlassDistortion},
    {"CIGlassLozenge",                   GlassLozenge},
    {"CIGlideReflectedTile",             GlideReflectedTile},
    {"CIGloom",                          Gloom},
};
// clang-format on

}  // namespace

FilterFunction FindFilter(std::string_view name) {
    for (const Row& row : kRows) {
        if (row.name == name) return row.function;
    }
    return nullptr;
}

}  // namespace core_image
