// CIImageInternal.h - what the classes of this library know of an image that its users do not: the engine's handle.

#pragma once

#import <CoreImage/CIImage.h>

#include "engine/engine.h"

@interface CIImage (Internal)

// An image that owns a handle from now on; autoreleased. nil for null.
+ (CIImage*)imageOwningHandle:(core_image::ImageHandle*)handle;

// The image's handle, lent for as long as the image lives.
- (core_image::ImageHandle*)handle;

@end

namespace core_image {

// How the numbers of a space stand for light: by a curve, or as a profile says, whose bytes live as long as the space.
struct SpaceCoding {
    Transfer transfer;
    Profile profile;
};

// The coding of a space. Without a space numbers are taken as they are.
SpaceCoding CodingOfSpace(CGColorSpaceRef space);

// A rectangle as an extent, rounded outward to whole pixels.
Extent ExtentOfRect(CGRect rect);

}  // namespace core_image
