// images.h - the pictures as images, the filters' values as objects, and rendering to memory.
//
// Lifetime: the pictures' images are kept for the life of the process; everything else is autoreleased.
// Threads:  one at a time.

#pragma once

#import <CoreImage/CoreImage.h>

#include <cstddef>
#include <initializer_list>
#include <utility>
#include <vector>

namespace benchmarks {

struct Images {
    CIImage* first;
    CIImage* second;
    CIImage* bytes;
    CIImage* photo;
    CIImage* small;
};
const Images& AllImages();

// Return an image of the upper left part of pixels that stay where they are; retained.
CIImage* ImageOfFloats(const float* pixels, std::size_t pixelsPerRow, std::size_t width, std::size_t height);
CIImage* ImageOfBytes(const void* pixels, std::size_t pixelsPerRow, std::size_t width, std::size_t height);

using Values = std::initializer_list<std::pair<NSString*, id>>;

// Returns the output of a new filter with the given values; of an input image unless that is nil.
CIImage* Filtered(NSString* name, CIImage* image, Values values = {});

// The name of the last filter that Filtered() made, and how many it has made.
struct Made {
    NSString* last;
    int count;
};
Made& FiltersMade();

NSNumber* Number(double value);
CIVector* Vector(const std::vector<double>& numbers);

// Returns a rotation and a scale about the center of a picture.
NSAffineTransform* RotationAbout(double x, double y);

// Returns the color cube's texels.
NSData* CubeTexels();

// Writes a rectangle of an image to memory: as linear floats, or as sRGB bytes.
void Render(CIImage* image, CGRect bounds, bool asBytes, void* to);

}  // namespace benchmarks
