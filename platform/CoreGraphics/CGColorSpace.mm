// CGColorSpace.mm - the known colour spaces, one object each, made on first use and kept for good.
//
// Adding a space: a name in CGColorSpace.h and a line in the list below; every space so far is RGB.

#import <Foundation/Foundation.h>

#include <CoreGraphics/CGColorSpace.h>

// A colour space as an object: its name is all there is to tell them apart.
@interface CGColorSpaceObject : NSObject {
  @public
    NSString* _name;
}
@end

@implementation CGColorSpaceObject

- (NSString*)description {
    return [NSString stringWithFormat:@"<CGColorSpace %p> (%@)", (void*)self, _name];
}

@end

const CFStringRef kCGColorSpaceSRGB = CFSTR("kCGColorSpaceSRGB");
const CFStringRef kCGColorSpaceLinearSRGB = CFSTR("kCGColorSpaceLinearSRGB");
const CFStringRef kCGColorSpaceExtendedSRGB = CFSTR("kCGColorSpaceExtendedSRGB");
const CFStringRef kCGColorSpaceExtendedLinearSRGB = CFSTR("kCGColorSpaceExtendedLinearSRGB");

namespace {

CGColorSpaceObject* MakeSpace(CFStringRef name) {
    CGColorSpaceObject* space = [[CGColorSpaceObject alloc] init];
    space->_name = (NSString*)name;
    return space;
}

CGColorSpaceObject* Object(CGColorSpaceRef space) { return (CGColorSpaceObject*)space; }

}  // namespace

CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name) {
    static CGColorSpaceObject* const spaces[] = {
        MakeSpace(kCGColorSpaceSRGB),
        MakeSpace(kCGColorSpaceLinearSRGB),
        MakeSpace(kCGColorSpaceExtendedSRGB),
        MakeSpace(kCGColorSpaceExtendedLinearSRGB),
    };
    for (CGColorSpaceObject* space : spaces) {
        if ([space->_name isEqual:(id)name]) return CGColorSpaceRetain((CGColorSpaceRef)space);
    }
    return nullptr;
}

CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void) { return CGColorSpaceCreateWithName(kCGColorSpaceSRGB); }

CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space) { return (CGColorSpaceRef)[Object(space) retain]; }

void CGColorSpaceRelease(CGColorSpaceRef space) { [Object(space) release]; }

CFStringRef CGColorSpaceCopyName(CGColorSpaceRef space) {
    return space == nullptr ? nullptr : (CFStringRef)[Object(space)->_name copy];
}

CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space) {
    return space == nullptr ? kCGColorSpaceModelUnknown : kCGColorSpaceModelRGB;
}

size_t CGColorSpaceGetNumberOfComponents(CGColorSpaceRef space) { return space == nullptr ? 0 : 3; }
