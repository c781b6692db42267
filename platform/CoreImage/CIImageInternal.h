// CIImageInternal.h - what the classes of this library know of an image and its users do not: the engine's handle.

#pragma once

#import <CoreImage/CIImage.h>

#include "engine/engine.h"

@interface CIImage (Internal)

// An image that takes ownership of a handle; autoreleased. nil for null.
+ (CIImage*)imageOwningHandle:(core_image::ImageHandle*)handle;

// The image's handle; owned by the image.
- (core_image::ImageHandle*)handle;

@end

namespace core_image {

// How the numbers of a space encode light: by a curve, or by a profile, whose bytes are owned by the space.
struct SpaceCoding {
    Transfer transfer;
    Profile profile;
};

// The coding of a space. Without a space numbers are used unchanged.
SpaceCoding CodingOfSpace(CGColorSpaceRef space);

// A rectangle as an extent, rounded outward to whole pixels.
Extent ExtentOfRect(CGRect rect);

}  // namespace core_image
