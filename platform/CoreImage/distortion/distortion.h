// distortion.h - the family of filters that pull a picture out of shape.
//
// Each is a warp (geometry/warp.h) and reaches as far as its input unless it says otherwise. Without inputImage, or another image
// that it needs, there is none. Settings that move nothing give the input itself.

#pragma once

#include "core/inputs.h"

namespace core_image {

// CIBumpDistortion: a bump of inputRadius around inputCenter; outward where inputScale is above 0.
ImageRef BumpDistortion(const Inputs& inputs);

// CIBumpDistortionLinear: a ridge on both sides of the line through inputCenter that is turned by inputAngle.
ImageRef BumpDistortionLinear(const Inputs& inputs);

// CICircleSplashDistortion: from the circle of inputRadius around inputCenter on, outward, the colors on the circle; endless.
ImageRef CircleSplashDistortion(const Inputs& inputs);

// CICircularWrap: the image bent around the circle of inputRadius around inputCenter. Its middle stands on top, or where
// inputAngle turns that to. Reaches as far as the bent image; without end there is nothing to bend, and no image.
ImageRef CircularWrap(const Inputs& inputs);

// CIDisplacementDistortion: moved by up to half inputScale in both directions, by the luminance of inputDisplacementImage.
ImageRef DisplacementDistortion(const Inputs& inputs);

// CIDroste: the image within itself, again and again, from inputInsetPoint0 to inputInsetPoint1; endless.
ImageRef Droste(const Inputs& inputs);

// CIGlassDistortion: seen through glass whose height is the luminance of inputTexture, repeated from inputCenter on.
ImageRef GlassDistortion(const Inputs& inputs);

// CIGlassLozenge: seen through a rod of glass with round ends, of inputRadius, from inputPoint0 to inputPoint1.
ImageRef GlassLozenge(const Inputs& inputs);

}  // namespace core_image
