// CGColorSpace.h - color spaces: what the components of a color mean.
//
// RGB and gray spaces are made from a name, from a white point with primaries and gamma, or from an ICC profile. Every
// space has a profile. There is no device here, so the device spaces are sRGB and gray with the sRGB curve.
//
// Ownership: the caller owns what Create and Copy return. Named spaces are shared: the same name gives the same object.
// Failure:   Create returns null for unknown names and unusable values.
// Threads:   spaces are immutable and may be used on any thread.

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

// The names of the known spaces. Components in an extended space may lie outside 0...1; here they may in every space.
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

// Returns the space with this name, owned by the caller; null for an unknown name.
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name);

// Return sRGB, and gray with the sRGB curve; owned by the caller.
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void);
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateDeviceGray(void);

// Returns a space without a name, made from an ICC profile and owned by the caller; null unless the data is an RGB or
// gray profile.
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateWithICCData(CFTypeRef data);

// Return a space made from its parameters, owned by the caller; null for unusable values.
//
// whitePoint: X, Y and Z, with Y = 1.
// blackPoint: ignored.
// gamma:      one exponent per channel; null means 1.
// matrix:     X, Y and Z of the red, then the green, then the blue primary; null means the primaries of sRGB.
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateCalibratedRGB(const CGFloat whitePoint[3], const CGFloat blackPoint[3],
                                                          const CGFloat gamma[3], const CGFloat matrix[9]);
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateCalibratedGray(const CGFloat whitePoint[3], const CGFloat blackPoint[3],
                                                           CGFloat gamma);

// Retain and release a space. Null is allowed.
CG_EXTERN CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space);
CG_EXTERN void CGColorSpaceRelease(CGColorSpaceRef space);

// Returns the name of a space, owned by the caller; null for null and for a space without a name.
CG_EXTERN CFStringRef CGColorSpaceCopyName(CGColorSpaceRef space);

// Returns the ICC profile of a space, owned by the caller; null for null.
CG_EXTERN CFDataRef CGColorSpaceCopyICCData(CGColorSpaceRef space);

// Whether colors can be converted to a space: some profiles only tell what their numbers stand for.
CG_EXTERN bool CGColorSpaceSupportsOutput(CGColorSpaceRef space);

// Return the family of a space, and its number of color components (without alpha).
CG_EXTERN CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space);
CG_EXTERN size_t CGColorSpaceGetNumberOfComponents(CGColorSpaceRef space);
