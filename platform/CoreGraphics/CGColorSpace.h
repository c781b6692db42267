// CGColorSpace.h - what the numbers of a colour mean.
//
// The RGB spaces with the primaries of sRGB are known: encoded with its curve or linear, each plain or extended beyond 0...1.
// Ownership: Create and Copy give one reference. A space is shared: asking twice for a name gives the same object.
// Threads:   spaces never change and may be used on any thread.

#pragma once

#include <CoreGraphics/CGBase.h>

// A colour space; an Objective-C object, so that key-value coding can hold it.
typedef struct CGColorSpace* CGColorSpaceRef;

// The families of colour spaces.
typedef int32_t CGColorSpaceModel;
enum {
    kCGColorSpaceModelUnknown = -1,
    kCGColorSpaceModelMonochrome = 0,
    kCGColorSpaceModelRGB = 1,
};

// The names of the known spaces.
CG_EXTERN const CFStringRef kCGColorSpaceSRGB;
CG_EXTERN const CFStringRef kCGColorSpaceLinearSRGB;
CG_EXTERN const CFStringRef kCGColorSpaceExtendedSRGB;
CG_EXTERN const CFStringRef kCGColorSpaceExtendedLinearSRGB;

// The space of a name, with one reference for the caller; null for a name that is not known.
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name);

// The RGB space of the machine, which here is sRGB; one reference for the caller.
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void);

// One reference more, and one less; null is allowed.
CG_EXTERN CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space);
CG_EXTERN void CGColorSpaceRelease(CGColorSpaceRef space);

// The name of a space, with one reference for the caller; null for null.
CG_EXTERN CFStringRef CGColorSpaceCopyName(CGColorSpaceRef space);

// The family of a space, and how many numbers make a colour in it (without alpha).
CG_EXTERN CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space);
CG_EXTERN size_t CGColorSpaceGetNumberOfComponents(CGColorSpaceRef space);
