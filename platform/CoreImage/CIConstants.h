// CIConstants.h - the strings that name attributes, their types, categories and keys.
//
// Adding one: a line in the list, which is both the declaration here and the definition in CIConstants.mm.

#pragma once

#import <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

// clang-format off
//       constant                            string
#define CI_CONSTANTS(CONSTANT) \
CONSTANT(kCIAttributeFilterName,            "CIAttributeFilterName") \
CONSTANT(kCIAttributeFilterDisplayName,     "CIAttributeFilterDisplayName") \
CONSTANT(kCIAttributeFilterCategories,      "CIAttributeFilterCategories") \
CONSTANT(kCIAttributeFilterAvailable_Mac,   "CIAttributeFilterAvailable_Mac") \
CONSTANT(kCIAttributeClass,                 "CIAttributeClass") \
CONSTANT(kCIAttributeType,                  "CIAttributeType") \
CONSTANT(kCIAttributeDefault,               "CIAttributeDefault") \
CONSTANT(kCIAttributeIdentity,              "CIAttributeIdentity") \
CONSTANT(kCIAttributeMin,                   "CIAttributeMin") \
CONSTANT(kCIAttributeMax,                   "CIAttributeMax") \
CONSTANT(kCIAttributeSliderMin,             "CIAttributeSliderMin") \
CONSTANT(kCIAttributeSliderMax,             "CIAttributeSliderMax") \
CONSTANT(kCIAttributeDisplayName,           "CIAttributeDisplayName") \
CONSTANT(kCIUIParameterSet,                 "CIUIParameterSet") \
CONSTANT(kCIAttributeTypeTime,              "CIAttributeTypeTime") \
CONSTANT(kCIAttributeTypeScalar,            "CIAttributeTypeScalar") \
CONSTANT(kCIAttributeTypeDistance,          "CIAttributeTypeDistance") \
CONSTANT(kCIAttributeTypeAngle,             "CIAttributeTypeAngle") \
CONSTANT(kCIAttributeTypeCount,             "CIAttributeTypeCount") \
CONSTANT(kCIAttributeTypePosition,          "CIAttributeTypePosition") \
CONSTANT(kCIAttributeTypeOffset,            "CIAttributeTypeOffset") \
CONSTANT(kCIAttributeTypeRectangle,         "CIAttributeTypeRectangle") \
CONSTANT(kCIAttributeTypeOpaqueColor,       "CIAttributeTypeOpaqueColor") \
CONSTANT(kCIAttributeTypeColor,             "CIAttributeTypeColor") \
CONSTANT(kCIAttributeTypeGradient,          "CIAttributeTypeGradient") \
CONSTANT(kCIAttributeTypeImage,             "CIAttributeTypeImage") \
CONSTANT(kCIAttributeTypeTransform,         "CIAttributeTypeTransform") \
CONSTANT(kCICategoryBlur,                   "CICategoryBlur") \
CONSTANT(kCICategoryColorAdjustment,        "CICategoryColorAdjustment") \
CONSTANT(kCICategoryColorEffect,            "CICategoryColorEffect") \
CONSTANT(kCICategoryCompositeOperation,     "CICategoryCompositeOperation") \
CONSTANT(kCICategoryDistortionEffect,       "CICategoryDistortionEffect") \
CONSTANT(kCICategoryGeometryAdjustment,     "CICategoryGeometryAdjustment") \
CONSTANT(kCICategoryGenerator,              "CICategoryGenerator") \
CONSTANT(kCICategoryGradient,               "CICategoryGradient") \
CONSTANT(kCICategoryHalftoneEffect,         "CICategoryHalftoneEffect") \
CONSTANT(kCICategoryReduction,              "CICategoryReduction") \
CONSTANT(kCICategoryStylize,                "CICategoryStylize") \
CONSTANT(kCICategoryTileEffect,             "CICategoryTileEffect") \
CONSTANT(kCICategoryTransition,             "CICategoryTransition") \
CONSTANT(kCICategoryVideo,                  "CICategoryVideo") \
CONSTANT(kCICategoryStillImage,             "CICategoryStillImage") \
CONSTANT(kCICategoryInterlaced,             "CICategoryInterlaced") \
CONSTANT(kCICategoryNonSquarePixels,        "CICategoryNonSquarePixels") \
CONSTANT(kCICategoryHighDynamicRange,       "CICategoryHighDynamicRange") \
CONSTANT(kCICategoryBuiltIn,                "CICategoryBuiltIn") \
CONSTANT(kCIInputImageKey,                  "inputImage") \
CONSTANT(kCIInputBackgroundImageKey,        "inputBackgroundImage") \
CONSTANT(kCIInputTargetImageKey,            "inputTargetImage") \
CONSTANT(kCIInputMaskImageKey,              "inputMaskImage") \
CONSTANT(kCIInputGradientImageKey,          "inputGradientImage") \
CONSTANT(kCIInputExtentKey,                 "inputExtent") \
CONSTANT(kCIInputCenterKey,                 "inputCenter") \
CONSTANT(kCIInputRadiusKey,                 "inputRadius") \
CONSTANT(kCIInputAngleKey,                  "inputAngle") \
CONSTANT(kCIInputWidthKey,                  "inputWidth") \
CONSTANT(kCIInputScaleKey,                  "inputScale") \
CONSTANT(kCIInputSharpnessKey,              "inputSharpness") \
CONSTANT(kCIInputIntensityKey,              "inputIntensity") \
CONSTANT(kCIInputSaturationKey,             "inputSaturation") \
CONSTANT(kCIInputBrightnessKey,             "inputBrightness") \
CONSTANT(kCIInputContrastKey,               "inputContrast") \
CONSTANT(kCIInputColorKey,                  "inputColor") \
CONSTANT(kCIInputEVKey,                     "inputEV") \
CONSTANT(kCIInputTimeKey,                   "inputTime") \
CONSTANT(kCIInputTransformKey,              "inputTransform") \
CONSTANT(kCIInputBiasKey,                   "inputBias") \
CONSTANT(kCIInputWeightsKey,                "inputWeights") \
CONSTANT(kCIOutputImageKey,                 "outputImage")
// clang-format on

#define CI_DECLARE_CONSTANT(constant, string) CG_EXTERN NSString* const constant;
CI_CONSTANTS(CI_DECLARE_CONSTANT)
#undef CI_DECLARE_CONSTANT
