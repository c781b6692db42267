// platform_side.mm - reads and replaces the platform objects inside host objects.

#include "tests/companion/platform_side.h"

#import <CoreImage/CoreImage.h>

#include "bridge/host_objects.h"

@interface NSException (HostException)
// Defined by the companion.
+ (ZEVAobjectStruct*)NewNSExceptionQOR:(NSException*)exception;
@end

namespace {

id WrappedOf(const ZEVAobjectStruct* object) { return reinterpret_cast<const ValueObject*>(object)->wrapped; }

void SetWrapped(ZEVAobjectStruct* object, id value) {
    auto* holder = reinterpret_cast<ValueObject*>(object);
    [value retain];
    [holder->wrapped release];
    holder->wrapped = value;
}

}  // namespace

std::size_t RetainCountOfWrapped(const ZEVAobjectStruct* object) { return [WrappedOf(object) retainCount]; }

void* RetainWrapped(const ZEVAobjectStruct* object) { return [WrappedOf(object) retain]; }

void* RetainFilter(const ZEVAobjectStruct* object) {
    return [reinterpret_cast<const FilterObject*>(object)->filter retain];
}

void* RetainAttributes(const ZEVAobjectStruct* object) {
    return [reinterpret_cast<const FilterObject*>(object)->attributeCache retain];
}

std::size_t RetainCount(const void* object) { return [static_cast<id>(const_cast<void*>(object)) retainCount]; }

void Release(void* object) { [static_cast<id>(object) release]; }

bool HasBitmap(const ZEVAobjectStruct* image) {
    return reinterpret_cast<const ImageObject*>(image)->cgImage != nullptr;
}

std::uint32_t CoreFoundationTag(const ZEVAobjectStruct* object) {
    return reinterpret_cast<const CoreFoundationObject*>(object)->cfTag;
}

std::array<int, 4> PixelOf(const ZEVAobjectStruct* image, int x, int y) {
    unsigned char pixel[4] = {};
    CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    [[CIContext contextWithOptions:nil] render:WrappedOf(image)
                                      toBitmap:pixel
                                      rowBytes:4
                                        bounds:CGRectMake(x, y, 1, 1)
                                        format:kCIFormatRGBA8
                                    colorSpace:space];
    CGColorSpaceRelease(space);
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

ZEVAobjectStruct* NewHostExceptionFrom(const char* name, const char* reason, bool withInfo) {
    NSDictionary* info = withInfo ? [NSDictionary dictionaryWithObject:@"value" forKey:@"key"] : nil;
    NSException* exception = [NSException exceptionWithName:[NSString stringWithUTF8String:name]
                                                     reason:[NSString stringWithUTF8String:reason]
                                                   userInfo:info];
    return [NSException NewNSExceptionQOR:exception];
}

void MakeInfinite(ZEVAobjectStruct* image) {
    SetWrapped(image, [CIImage imageWithColor:[CIColor colorWithRed:1 green:0 blue:0]]);
}

void MakeEmpty(ZEVAobjectStruct* image) { SetWrapped(image, [CIImage emptyImage]); }
