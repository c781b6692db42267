// color_space.mm - CGColorSpaceQOR, a color space: it defines what color the numbers of a pixel stand for.
//
//   CGColorSpaceQOR.Named("sRGB")
//   CGColorSpaceQOR.FromProfile(block)      Name  Profile  CanBeWorkingSpace
//
// A space has the platform's name, "kCGColorSpaceLinearSRGB". The prefix "kCGColorSpace" may be omitted, and the first
// letter may then be lower case: "linearSRGB". Spaces do not count: "Display P3".

#include "companion/color_space.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

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

// A big-endian number of four bytes.
std::size_t CountAt(const std::uint8_t* bytes) {
    std::size_t count = 0;
    for (int index = 0; index < 4; ++index) count = count * 256 + bytes[index];
    return count;
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

std::int32_t CanBeWorkingSpace(ZEVAobjectStruct* self) { return IsWorkingSpace(SpaceOf(self)) ? 1 : 0; }

ZEVAmethod colorSpaceMethods[] = {
    COMPANION_METHOD("Name as string", GetName),
    COMPANION_METHOD("Profile as memoryblock", GetProfile),
    COMPANION_METHOD("CanBeWorkingSpace as boolean", CanBeWorkingSpace),
};

ZEVAmethod colorSpaceSharedMethods[] = {
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

bool IsWorkingSpace(CGColorSpaceRef space) {
    // The profile has the tag of the matrix's first column and no table. The tags of a profile begin after its header:
    // their number, then 12 bytes each.
    if (space == nullptr || CGColorSpaceGetModel(space) != kCGColorSpaceModelRGB) return false;
    NSData* profile = [(NSData*)CGColorSpaceCopyICCData(space) autorelease];
    constexpr std::size_t kHeader = 128, kEntry = 12;
    const auto* bytes = static_cast<const std::uint8_t*>([profile bytes]);
    bool hasMatrix = false, hasTable = false;
    for (std::size_t entry = kHeader + 4; entry + kEntry <= [profile length]; entry += kEntry) {
        if (entry >= kHeader + 4 + kEntry * CountAt(bytes + kHeader)) break;
        hasMatrix = hasMatrix || std::memcmp(bytes + entry, "rXYZ", 4) == 0;
        hasTable = hasTable || std::memcmp(bytes + entry, "A2B", 3) == 0;
    }
    return hasMatrix && !hasTable;
}

ZEVAclassDefinition CGColorSpaceClass = {
    .record = {.version = kRecordVersion,
               .className = "CGColorSpaceQOR",
               .superclassName = "CFObjectQOR",
               .methods = colorSpaceMethods,
               .methodCount = std::size(colorSpaceMethods),
               .flags = kHostFlags,
               .sharedMethods = colorSpaceSharedMethods,
               .sharedMethodCount = std::size(colorSpaceSharedMethods)},
};
