// stylize.h - the family of filters that redraw a picture: glows, outlines, mosaics, comics, miniatures.

#pragma once

#include "core/inputs.h"

namespace core_image {

// What spreads in a glow.
enum class Glow { kLight, kDarkness };

// An image that moves towards a blurred copy of itself, by an intensity, in every channel where that is more (light) or less
// (darkness). Its extent is the blurred one's.
ImageRef MakeGlowImage(ImageRef input, ImageRef blurred, Glow glow, double intensity);

// CIBloom: every channel, alpha too, moves by inputIntensity towards a Gaussian blur of sigma inputRadius where that is more.
// CIGloom: where that is less. The extent is the blur's. The input itself for an intensity of 0.
ImageRef Bloom(const Inputs& inputs);
ImageRef Gloom(const Inputs& inputs);

// CIEdges: how fast each color changes, times inputIntensity, on black; alpha stays.
ImageRef Edges(const Inputs& inputs);

// An image as a woodcut: black where it, blurred by grain, is darker than blurred by a radius, white elsewhere; alpha stays.
ImageRef MakeWoodcutImage(ImageRef input, double grain, double radius);

// CIEdgeWork: the woodcut by inputRadius.
ImageRef EdgeWork(const Inputs& inputs);

// CICrystallize: convex polygons of one color each, about inputRadius wide, in a pattern that moves with inputCenter. The input
// itself for a radius up to 1.
ImageRef Crystallize(const Inputs& inputs);

// CIDepthOfField: sharp and colorful near the line from inputPoint0 to inputPoint1, blurred by inputRadius away from it.
ImageRef DepthOfField(const Inputs& inputs);

// CIComicEffect: few colors, half of them in dots, and black lines; alpha stays.
ImageRef ComicEffect(const Inputs& inputs);

}  // namespace core_image
