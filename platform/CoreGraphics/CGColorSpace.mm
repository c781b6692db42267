// CGColorSpace.mm - color spaces as objects that own their ICC profile.
//
// Lifetime: a named space is created when it is first asked for, because Little CMS takes a fraction of a millisecond
// for
//           each, and lives as long as the process.
// Adding a named space: declare its name in CGColorSpace.h, define it below, and add a row to kNamedSpaces.

#import <Foundation/Foundation.h>

#include <CoreGraphics/CGColorSpace.h>

#include <cstddef>
#include <iterator>
#include <mutex>

#include "profiles.h"

// A color space as an object.
@interface CGColorSpaceObject : NSObject {
  @public
    NSString* _name;  // nil for a space without a name
    NSData* _profile;
    int _components;
}
@end

@implementation CGColorSpaceObject

- (void)dealloc {
    [_name release];
    [_profile release];
    [super dealloc];
}

- (NSString*)description {
    return [NSString stringWithFormat:@"<CGColorSpace %p> (%@)", (void*)self, _name != nil ? _name : @"ICC based"];
}

@end

const CFStringRef kCGColorSpaceSRGB = CFSTR("kCGColorSpaceSRGB");
const CFStringRef kCGColorSpaceLinearSRGB = CFSTR("kCGColorSpaceLinearSRGB");
const CFStringRef kCGColorSpaceExtendedSRGB = CFSTR("kCGColorSpaceExtendedSRGB");
const CFStringRef kCGColorSpaceExtendedLinearSRGB = CFSTR("kCGColorSpaceExtendedLinearSRGB");
const CFStringRef kCGColorSpaceDisplayP3 = CFSTR("kCGColorSpaceDisplayP3");
const CFStringRef kCGColorSpaceAdobeRGB1998 = CFSTR("kCGColorSpaceAdobeRGB1998");
const CFStringRef kCGColorSpaceGenericRGB = CFSTR("kCGColorSpaceGenericRGB");
const CFStringRef kCGColorSpaceGenericRGBLinear = CFSTR("kCGColorSpaceGenericRGBLinear");
const CFStringRef kCGColorSpaceGenericGray = CFSTR("kCGColorSpaceGenericGray");
const CFStringRef kCGColorSpaceGenericGrayGamma2_2 = CFSTR("kCGColorSpaceGenericGrayGamma2_2");
const CFStringRef kCGColorSpaceLinearGray = CFSTR("kCGColorSpaceLinearGray");

namespace {

using core_graphics::Chromaticity;
using core_graphics::kCurveOfSRGB;
using core_graphics::kD65;
using core_graphics::ProfileBytes;

// The chromaticities of red, green and blue.
using Primaries = Chromaticity[3];
constexpr Primaries kSRGB = {{0.64, 0.33}, {0.30, 0.60}, {0.15, 0.06}};
constexpr Primaries kP3 = {{0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}};
constexpr Primaries kAdobe = {{0.64, 0.33}, {0.21, 0.71}, {0.15, 0.06}};
constexpr Primaries kGeneric = {{0.630, 0.340}, {0.295, 0.605}, {0.155, 0.077}};

struct NamedSpace {
    CFStringRef name;
    const Primaries* primaries;  // null for gray
    double gamma;
};

// clang-format off
const NamedSpace kNamedSpaces[] = {
    // name                            primaries  curve
    {kCGColorSpaceSRGB,                &kSRGB,    kCurveOfSRGB},
    {kCGColorSpaceLinearSRGB,          &kSRGB,    1},
    {kCGColorSpaceExtendedSRGB,        &kSRGB,    kCurveOfSRGB},
    {kCGColorSpaceExtendedLinearSRGB,  &kSRGB,    1},
    {kCGColorSpaceDisplayP3,           &kP3,      kCurveOfSRGB},
    {kCGColorSpaceAdobeRGB1998,        &kAdobe,   563 / 256.0},
    {kCGColorSpaceGenericRGB,          &kGeneric, 1.8},
    {kCGColorSpaceGenericRGBLinear,    &kGeneric, 1},
    {kCGColorSpaceGenericGray,         nullptr,   1.8},
    {kCGColorSpaceGenericGrayGamma2_2, nullptr,   2.2},
    {kCGColorSpaceLinearGray,          nullptr,   1},
};
// clang-format on

CGColorSpaceObject* Object(CGColorSpaceRef space) { return (CGColorSpaceObject*)space; }

// Returns a new space that takes ownership of the profile's bytes; nil when the bytes are null.
CGColorSpaceObject* MakeSpace(NSString* name, const ProfileBytes& profile) {
    if (profile.bytes == nullptr) return nil;
    CGColorSpaceObject* space = [[CGColorSpaceObject alloc] init];
    space->_name = [name copy];
    space->_components = core_graphics::ComponentsOfProfile(profile.bytes, profile.length);
    space->_profile = [[NSData alloc] initWithBytesNoCopy:profile.bytes length:profile.length freeWhenDone:YES];
    return space;
}

CGColorSpaceObject* MakeNamedSpace(const NamedSpace& named) {
    const double gammas[] = {named.gamma, named.gamma, named.gamma};
    return MakeSpace((NSString*)named.name, named.primaries != nullptr
                                                ? core_graphics::MakeRGBProfile(kD65, *named.primaries, gammas)
                                                : core_graphics::MakeGrayProfile(kD65, named.gamma));
}

// Returns the chromaticity of a color given as X, Y and Z.
Chromaticity ChromaticityOf(const CGFloat* color) {
    const double sum = (double)color[0] + (double)color[1] + (double)color[2];
    return {(double)color[0] / sum, (double)color[1] / sum};
}

// Returns whether Little CMS accepts a white point: Y is 1, X and Z are positive and of a plausible size.
bool IsWhitePoint(const CGFloat* color) {
    return color != nullptr && color[0] > 0 && color[1] == 1 && color[2] > 0 && color[0] < 10 && color[2] < 10;
}

}  // namespace

CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name) {
    static CGColorSpaceObject* spaces[std::size(kNamedSpaces)];
    static std::once_flag made[std::size(kNamedSpaces)];
    for (std::size_t index = 0; index < std::size(kNamedSpaces); ++index) {
        if (![(NSString*)kNamedSpaces[index].name isEqual:(id)name]) continue;
        std::call_once(made[index], [&] { spaces[index] = MakeNamedSpace(kNamedSpaces[index]); });
        return CGColorSpaceRetain((CGColorSpaceRef)spaces[index]);
    }
    return nullptr;
}

CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void) { return CGColorSpaceCreateWithName(kCGColorSpaceSRGB); }

CGColorSpaceRef CGColorSpaceCreateDeviceGray(void) {
    return (CGColorSpaceRef)MakeSpace(nil, core_graphics::MakeGrayProfile(kD65, kCurveOfSRGB));
}

CGColorSpaceRef CGColorSpaceCreateWithICCData(CFTypeRef data) {
    NSData* profile = (NSData*)data;
    const int components = core_graphics::ComponentsOfProfile([profile bytes], [profile length]);
    if (components == 0) return nullptr;
    CGColorSpaceObject* space = [[CGColorSpaceObject alloc] init];
    space->_profile = [profile copy];
    space->_components = components;
    return (CGColorSpaceRef)space;
}

CGColorSpaceRef CGColorSpaceCreateCalibratedRGB(const CGFloat whitePoint[3], const CGFloat[3], const CGFloat gamma[3],
                                                const CGFloat matrix[9]) {
    if (!IsWhitePoint(whitePoint)) return nullptr;
    // Written as !(x > 0) so that NaN is refused too.
    for (int channel = 0; channel < 3; ++channel) {
        if (gamma != nullptr && !(gamma[channel] > 0)) return nullptr;
        const CGFloat* color = matrix == nullptr ? whitePoint : matrix + 3 * channel;
        if (!(color[0] + color[1] + color[2] > 0)) return nullptr;
    }
    Chromaticity primaries[3];
    double gammas[3];
    for (int channel = 0; channel < 3; ++channel) {
        primaries[channel] = matrix == nullptr ? kSRGB[channel] : ChromaticityOf(matrix + 3 * channel);
        gammas[channel] = gamma == nullptr ? 1 : (double)gamma[channel];
    }
    return (CGColorSpaceRef)MakeSpace(nil,
                                      core_graphics::MakeRGBProfile(ChromaticityOf(whitePoint), primaries, gammas));
}

CGColorSpaceRef CGColorSpaceCreateCalibratedGray(const CGFloat whitePoint[3], const CGFloat[3], CGFloat gamma) {
    if (!IsWhitePoint(whitePoint) || !(gamma > 0)) return nullptr;
    return (CGColorSpaceRef)MakeSpace(nil, core_graphics::MakeGrayProfile(ChromaticityOf(whitePoint), (double)gamma));
}

CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space) { return (CGColorSpaceRef)[Object(space) retain]; }

void CGColorSpaceRelease(CGColorSpaceRef space) { [Object(space) release]; }

CFStringRef CGColorSpaceCopyName(CGColorSpaceRef space) {
    return space == nullptr ? nullptr : (CFStringRef)[Object(space)->_name copy];
}

CFDataRef CGColorSpaceCopyICCData(CGColorSpaceRef space) {
    return space == nullptr ? nullptr : (CFDataRef)[Object(space)->_profile retain];
}

bool CGColorSpaceSupportsOutput(CGColorSpaceRef space) {
    NSData* profile = space == nullptr ? nil : Object(space)->_profile;
    return profile != nil && core_graphics::SupportsOutput([profile bytes], [profile length]);
}

CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space) {
    if (space == nullptr) return kCGColorSpaceModelUnknown;
    return Object(space)->_components == 1 ? kCGColorSpaceModelMonochrome : kCGColorSpaceModelRGB;
}

size_t CGColorSpaceGetNumberOfComponents(CGColorSpaceRef space) {
    return space == nullptr ? 0 : (size_t)Object(space)->_components;
}
