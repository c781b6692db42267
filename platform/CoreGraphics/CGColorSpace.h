// CGColorSpace.h - what the numbers of a color mean.
//
// Spaces of red, green and blue and of gray: by name, of white point, primaries and curve, or of an ICC profile. Every space has a
// profile. Device spaces are those of sRGB: there is no device here.
// Ownership: Create and Copy give one reference. A named space is shared: asking twice for a name gives the same object.
// Threads:   spaces never change and may be used on any thread.

#pragma once

#include <CoreGraphics/CGBase.h>

// A color space; an Objective-C object, so that key-value coding can hold it.
typedef struct CGColorSpace* CGColorSpaceRef;

// The families of color spaces.
typedef int32_t CGColorSpaceModel;
enum {
    kCGColorSpaceModelUnknown = -1,
    kCGColorSpaceModelMonochrome = 0,
    kCGColorSpaceModelRGB = 1,
};

// The names of the known spaces. Numbers of an extended space may lie beyond 0...1; here those of any space may.
CG_EXTERN const CFStringRef kCGColorSpaceSRGB;
CG_EXTERN const CFStringRef kCGColorSpaceLinearSRGB;
CG_EXTERN const CFStringRef kCGColorSpaceExtendedSRGB;
CG_EXTERN const CFStringRef kCGColorSpaceExtendedLinearSRGB;
CG_EXTERN const CFStringRef kCGColorSpaceDisplayP3;
CG_EXTERN const CFStringRef kCGColorSpaceAdobeRGB1998;
CG_EXTERN const CFStringRef kCGColorSpaceGenericRGB;
CG_EXTERN const CFStringRef kCGColorSpaceGenericRGBLinear;
CG_EXTERN const CFStringRef kCGColorSpaceGenericGray;
CG_EXTERN const CFStringRef kCGColorSpaceGenericGrayGamma2_2;
CG_EXTERN const CFStringRef kCGColorSpaceLinearGray;

// The space of a name, with one reference for the caller; null for a name that is not known.
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name);

// The spaces of the machine, which here are sRGB and gray with its curve; one reference for the caller.
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void);
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateDeviceGray(void);

// A space of an ICC profile, with one reference for the caller; it has no name. Null for what is no profile of red, green and blue
// or of gray.
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateWithICCData(CFTypeRef data);

// Spaces of a white point (X, Y, Z with Y of 1), a power for each channel, and for color the X, Y, Z of each primary, one after
// the other; one reference for the caller. Powers are 1 and the primaries those of sRGB where null is given; a black point is
// not acted upon. Null when the numbers make no space.
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateCalibratedRGB(const CGFloat whitePoint[3], const CGFloat blackPoint[3],
                                                          const CGFloat gamma[3], const CGFloat matrix[9]);
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateCalibratedGray(const CGFloat whitePoint[3], const CGFloat blackPoint[3],
                                                           CGFloat gamma);

// One reference more, and one less; null is allowed.
CG_EXTERN CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space);
CG_EXTERN void CGColorSpaceRelease(CGColorSpaceRef space);

// The name of a space, with one reference for the caller; null for null and for a space without a name.
CG_EXTERN CFStringRef CGColorSpaceCopyName(CGColorSpaceRef space);

// The ICC profile of a space, with one reference for the caller; null for null.
CG_EXTERN CFDataRef CGColorSpaceCopyICCData(CGColorSpaceRef space);

// The family of a space, and how many numbers make a color in it (without alpha).
CG_EXTERN CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space);
CG_EXTERN size_t CGColorSpaceGetNumberOfComponents(CGColorSpaceRef space);
