// color_space.mm - CGColorSpaceQOR, a color space: it defines what color the numbers of a pixel stand for.
//
//   CGColorSpaceQOR.Named("sRGB")
//   CGColorSpaceQOR.FromProfile(block)      Name  Profile
//
// A space has the platform's name, "kCGColorSpaceLinearSRGB". The prefix "kCGColorSpace" may be omitted, and the first
// letter may then be lower case: "linearSRGB". Spaces do not count: "Display P3".

#include "companion/color_space.h"
#include "bridge/host_objects.h"
#include "companion/class_record.h"
#include "companion/host_bytes.h"
#include "companion/host_text.h"
#include "plugin/host_services.h"

namespace {

CGColorSpaceRef SpaceOf(ZEVAobjectStruct* self) {
    CFTypeRef wrapped = reinterpret_cast<CoreFoundationObject*>(self)->wrapped;
    return static_cast<CGColorSpaceRef>(const_cast<void*>(wrapped));
}

// Raises for bytes that are not an RGB or gray ICC profile.
ZEVAobjectStruct* NewFromProfile(ZEVAmemoryBlockStruct* profile) {
    CGColorSpaceRef space = CGColorSpaceCreateWithICCData(reinterpret_cast<CFTypeRef>(DataOf(profile)));
    if (space == nullptr) {
        RaiseAbout(@"CGColorSpaceQOR.FromProfile", @"the bytes are not an RGB or gray ICC profile",
                   @"no color space was created");
        return nullptr;
    }
    ZEVAobjectStruct* object = NewColorSpaceObject(space);
    CGColorSpaceRelease(space);
    return object;
}

// Returns the ICC profile; nil for an object without a value.
ZEVAmemoryBlockStruct* GetProfile(ZEVAobjectStruct* self) {
    return NewHostBlock([(NSData*)CGColorSpaceCopyICCData(SpaceOf(self)) autorelease]);
}

// Raises for an unknown name.
ZEVAobjectStruct* NewNamed(ZEVAstringStruct* name) {
    NSString* text = TextOf(name);
    CGColorSpaceRef space = text != nil ? NewNamedColorSpace(text) : nullptr;
    if (space == nullptr) {
        RaiseWithMessage([NSString
            stringWithFormat:@"CGColorSpaceQOR.Named: no color space is called \"%@\"", text != nil ? text : @""]);
        return nullptr;
    }
    ZEVAobjectStruct* object = NewColorSpaceObject(space);
    CGColorSpaceRelease(space);
    return object;
}

// Returns the platform's name; nil for a space without a name.
ZEVAstringStruct* GetName(ZEVAobjectStruct* self) {
    CFStringRef name = CGColorSpaceCopyName(SpaceOf(self));
    return NewHostString([reinterpret_cast<NSString*>(const_cast<__CFString*>(name)) autorelease]);
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

CGColorSpaceRef NewNamedColorSpace(NSString* name) {
    CGColorSpaceRef space = CGColorSpaceCreateWithName(reinterpret_cast<CFStringRef>(name));
    NSString* letters = [name stringByReplacingOccurrencesOfString:@" " withString:@""];
    if (space != nullptr || [letters length] == 0) return space;
    NSString* first = [[letters substringToIndex:1] uppercaseString];
    NSString* fullName = [NSString stringWithFormat:@"kCGColorSpace%@%@", first, [letters substringFromIndex:1]];
    return CGColorSpaceCreateWithName(reinterpret_cast<CFStringRef>(fullName));
}

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
