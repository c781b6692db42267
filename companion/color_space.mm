// color_space.mm - CGColorSpaceQOR, what the numbers of a color mean.
//
//   CGColorSpaceQOR.Named("sRGB")
//   CGColorSpaceQOR.FromProfile(block)      Name  Profile
//
// A space is named as the platform names it, "kCGColorSpaceLinearSRGB", or by what comes after "kCGColorSpace", whose
// first letter may be small: "sRGB".

#include "companion/color_space.h"
#include "bridge/guard.h"
#include "bridge/host_objects.h"
#include "companion/class_record.h"
#include "companion/host_bytes.h"
#include "companion/host_text.h"
#include "plugin/host_services.h"

namespace {

// A color space of the name with one reference; null for a name that is not known.
CGColorSpaceRef NewColorSpace(NSString* name) {
    CGColorSpaceRef space = CGColorSpaceCreateWithName(reinterpret_cast<CFStringRef>(name));
    if (space != nullptr || [name length] == 0) return space;
    NSString* first = [[name substringToIndex:1] uppercaseString];
    NSString* fullName = [NSString stringWithFormat:@"kCGColorSpace%@%@", first, [name substringFromIndex:1]];
    return CGColorSpaceCreateWithName(reinterpret_cast<CFStringRef>(fullName));
}

CGColorSpaceRef SpaceOf(ZEVAobjectStruct* self) {
    CFTypeRef wrapped = reinterpret_cast<CoreFoundationObject*>(self)->wrapped;
    return static_cast<CGColorSpaceRef>(const_cast<void*>(wrapped));
}

// Raises for bytes that are no ICC profile of red, green and blue or of gray.
ZEVAobjectStruct* NewFromProfile(ZEVAmemoryBlockStruct* profile) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] {
        CGColorSpaceRef space = CGColorSpaceCreateWithICCData(reinterpret_cast<CFTypeRef>(DataOf(profile)));
        if (space == nullptr) {
            return RaiseAbout(@"CGColorSpaceQOR.FromProfile", @"the bytes are no ICC profile of colors or of gray",
                              @"no color space is made");
        }
        result = NewColorSpaceObject(space);
        CGColorSpaceRelease(space);
    });
    return result;
}

// The ICC profile of the space; nil for an empty object.
ZEVAmemoryBlockStruct* GetProfile(ZEVAobjectStruct* self) {
    ZEVAmemoryBlockStruct* result = nullptr;
    Guarded([&] { result = NewHostBlock([(NSData*)CGColorSpaceCopyICCData(SpaceOf(self)) autorelease]); });
    return result;
}

// Raises for a name that is not known.
ZEVAobjectStruct* NewNamed(ZEVAstringStruct* name) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] {
        NSString* text = TextOf(name);
        CGColorSpaceRef space = text != nil ? NewColorSpace(text) : nullptr;
        if (space == nullptr) {
            return RaiseWithMessage([NSString
                stringWithFormat:@"CGColorSpaceQOR.Named: no color space is called \"%@\"", text != nil ? text : @""]);
        }
        result = NewColorSpaceObject(space);
        CGColorSpaceRelease(space);
    });
    return result;
}

// The platform's name of the space; nil for a space without name.
ZEVAstringStruct* GetName(ZEVAobjectStruct* self) {
    ZEVAstringStruct* result = nullptr;
    Guarded([&] {
        CFStringRef name = CGColorSpaceCopyName(SpaceOf(self));
        result = NewHostString([reinterpret_cast<NSString*>(const_cast<__CFString*>(name)) autorelease]);
    });
    return result;
}

ZEVAmethod methods[] = {
    COMPANION_METHOD("Name as string", GetName),
    COMPANION_METHOD("Profile as memoryblock", GetProfile),
};

ZEVAmethod sharedMethods[] = {
    COMPANION_METHOD("Named(name as string) as CGColorSpaceQOR", NewNamed),
    COMPANION_METHOD("FromProfile(profile as memoryblock) as CGColorSpaceQOR", NewFromProfile),
};

}  // namespace

ZEVAobjectStruct* NewColorSpaceObject(CGColorSpaceRef space) {
    ZEVAobjectStruct* object = space != nullptr ? ZEVAnewInstance("CGColorSpaceQOR") : nullptr;
    if (object != nullptr) reinterpret_cast<CoreFoundationObject*>(object)->wrapped = CFRetain((CFTypeRef)space);
    return object;
}

ZEVAclassDefinition CGColorSpaceClass = {
    .record = {.version = kRecordVersion,
               .className = "CGColorSpaceQOR",
               .superclassName = "CFObjectQOR",
               .methods = methods,
               .methodCount = std::size(methods),
               .flags = kHostFlags,
               .sharedMethods = sharedMethods,
               .sharedMethodCount = std::size(sharedMethods)},
};
