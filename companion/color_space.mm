// color_space.mm - CGColorSpaceQOR, what the numbers of a colour mean.
//
//   CGColorSpaceQOR.Named("sRGB")      Name
//
// A space is named as the platform names it, "kCGColorSpaceLinearSRGB", or by what comes after "kCGColorSpace", whose
// first letter may be small: "sRGB".

#include "bridge/guard.h"
#include "bridge/host_objects.h"
#include "companion/class_record.h"
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

// Raises for a name that is not known.
ZEVAobjectStruct* NewNamed(ZEVAstringStruct* name) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] {
        NSString* text = TextOf(name);
        CGColorSpaceRef space = text != nil ? NewColorSpace(text) : nullptr;
        if (space == nullptr) {
            return RaiseWithMessage([NSString
                stringWithFormat:@"CGColorSpaceQOR.Named: no colour space is called \"%@\"", text != nil ? text : @""]);
        }
        ZEVAobjectStruct* object = ZEVAnewInstance("CGColorSpaceQOR");
        if (object == nullptr) return CGColorSpaceRelease(space);
        reinterpret_cast<CoreFoundationObject*>(object)->wrapped = space;
        result = object;
    });
    return result;
}

// The platform's name of the space; nil for a space without name.
ZEVAstringStruct* GetName(ZEVAobjectStruct* self) {
    ZEVAstringStruct* result = nullptr;
    Guarded([&] {
        CFTypeRef space = reinterpret_cast<CoreFoundationObject*>(self)->wrapped;
        if (space == nullptr) return;
        CFStringRef name = CGColorSpaceCopyName(static_cast<CGColorSpaceRef>(const_cast<void*>(space)));
        result = NewHostString([reinterpret_cast<NSString*>(const_cast<__CFString*>(name)) autorelease]);
    });
    return result;
}

ZEVAmethod methods[] = {
    COMPANION_METHOD("Name as string", GetName),
};

ZEVAmethod sharedMethods[] = {
    COMPANION_METHOD("Named(name as string) as CGColorSpaceQOR", NewNamed),
};

}  // namespace

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
