// image_output.mm - renders images, and converts the pixels.

#include "companion/image_output.h"

#import <CoreImage/CIEngine.h>
#import <CoreImage/CoreImage.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "bridge/guard.h"
#include "companion/host_bytes.h"
#include "companion/host_text.h"
#include "companion/image_files.h"
#include "companion/rectangle.h"
#include "companion/value_object.h"

namespace {

constexpr std::size_t kComponents = 4;

// A big-endian number of four bytes.
std::size_t CountAt(const std::uint8_t* bytes) {
    std::size_t count = 0;
    for (int index = 0; index < 4; ++index) count = count * 256 + bytes[index];
    return count;
}

// The color space of an object; null for nil.
CGColorSpaceRef SpaceIn(ZEVAobjectStruct* object) {
    CFTypeRef wrapped = object != nullptr ? reinterpret_cast<CoreFoundationObject*>(object)->wrapped : nullptr;
    return static_cast<CGColorSpaceRef>(const_cast<void*>(wrapped));
}

// Whether the profile of a space consists of a curve for each color and a matrix: it has the tag of the matrix's first
// column and no table. The tags of a profile begin after its header: their number, then 12 bytes each.
bool IsMatrixSpace(CGColorSpaceRef space) {
    if (CGColorSpaceGetModel(space) != kCGColorSpaceModelRGB) return false;
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

// Returns why an image cannot be rendered in a color space, null for sRGB; nil when it can, if there is memory.
NSString* ObstacleToRendering(CIImage* image, CGColorSpaceRef space) {
    const CGRect extent = [image extent];
    if (image == nil || CGRectIsEmpty(extent)) return @"the image is empty";
    if (CGRectIsInfinite(extent)) return @"the image is infinite, crop it first";
    const bool isRGB = space == nullptr || CGColorSpaceGetModel(space) == kCGColorSpaceModelRGB;
    return isRGB ? nil : @"the color space is not RGB";
}

NSString* EngineReason() { return [NSString stringWithUTF8String:CIEngineFailure()]; }

// Renders the extent of an image in a color space; null means sRGB. Returns why that failed, or nil, and stores the
// system's error number. The options are those of the context. The caller owns one reference to the bitmap. If
// deferred, a large image is rendered later, row by row.
NSString* Render(CIImage* image, CGColorSpaceRef space, CGImageRef* bitmap, int* errorNumber, bool isDeferred = false,
                 NSDictionary* options = nil) {
    const CGRect extent = [image extent];
    const double pixels = static_cast<double>(extent.size.width) * static_cast<double>(extent.size.height);
    CIContext* context = [CIContext contextWithOptions:options];
    CGColorSpaceRef output =
        space != nullptr ? CGColorSpaceRetain(space) : CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    *bitmap = [context createCGImage:image
                            fromRect:extent
                              format:kCIFormatRGBA8
                          colorSpace:output
                            deferred:isDeferred && pixels >= double{kCGSmallestSequential}];
    CGColorSpaceRelease(output);
    if (*bitmap != nullptr) return nil;
    *errorNumber = errno == EBADMSG ? EBADMSG : ENOMEM;
    if (*errorNumber == EBADMSG) return EngineReason();
    return [@"the image cannot be rendered, " stringByAppendingString:ReasonForMemory(extent.size)];
}

// Returns why a file was not written whose image was rendered meanwhile. The reason is the engine's, if it has one.
NSString* ReasonOfWriting(NSString* reason, int errorNumber) {
    if (reason == nil || *CIEngineFailure() == '\0') return reason;
    return errorNumber == EBADMSG ? EngineReason()
                                  : [@"the image cannot be rendered, " stringByAppendingString:EngineReason()];
}

// Returns why a quality is invalid; nil for 0 to 1 and for nil.
NSString* ObstacleInQuality(NSNumber* quality) {
    const double value = [quality doubleValue];
    if (value >= 0 && value <= 1) return nil;
    return [NSString stringWithFormat:@"the quality %g is outside 0...1", value];
}

void Save(ZEVAobjectStruct* self, ZEVAstringStruct* path, NSNumber* quality, CGColorSpaceRef space, NSString* member,
          NSDictionary* options = nil) {
    NSString* const consequence = @"nothing was written";
    const char* bytes = nullptr;
    NSString* reason = PathOf(path, &bytes);
    if (reason != nil) return RaiseAbout(member, reason, consequence);
    CIImage* image = WrappedIn(self);
    CGImageRef bitmap = nullptr;
    int errorNumber = 0;
    reason = ObstacleInQuality(quality);
    if (reason == nil) reason = ObstacleToWriting(bytes, &errorNumber);
    if (reason == nil) reason = ObstacleToRendering(image, space);
    if (reason == nil && IsJPEG(bytes)) reason = ObstacleToJPEG([image extent].size);
    if (reason == nil) reason = Render(image, space, &bitmap, &errorNumber, /*isDeferred=*/true, options);
    if (reason == nil) {
        CIEngineForgetFailure();
        reason = ReasonOfWriting(WriteImageFile(bytes, bitmap, quality, &errorNumber), errorNumber);
    }
    CGImageRelease(bitmap);
    if (reason != nil) RaiseAbout(TextOfPath(bytes), reason, consequence, errorNumber);
}

ZEVAmemoryBlockStruct* Encoded(ZEVAobjectStruct* self, NSNumber* quality, NSString* member) {
    CIImage* image = WrappedIn(self);
    CGImageRef bitmap = nullptr;
    NSData* file = nil;
    int errorNumber = 0;
    NSString* reason = ObstacleInQuality(quality);
    if (reason == nil) reason = ObstacleToRendering(image, nullptr);
    if (reason == nil && quality != nil) reason = ObstacleToJPEG([image extent].size);
    if (reason == nil) reason = Render(image, nullptr, &bitmap, &errorNumber);
    if (reason == nil) reason = EncodeImage(bitmap, quality, &file, &errorNumber);
    CGImageRelease(bitmap);
    if (reason != nil) RaiseAbout(member, reason, @"nothing was encoded", errorNumber);
    return NewHostBlock(file);
}

// Renders a finite rectangle of whole pixels to premultiplied floats in a color space; null means linear light.
// Returns nil when the data would not fit a MemoryBlock, and when the engine fails.
NSMutableData* Floats(CIImage* image, CGRect rectangle, CGColorSpaceRef space) {
    CIEngineForgetFailure();
    const double pixels = static_cast<double>(rectangle.size.width) * static_cast<double>(rectangle.size.height);
    constexpr double kMaximumPixels = INT32_MAX / (kComponents * sizeof(float));
    if (pixels > kMaximumPixels) return nil;
    NSMutableData* data = [NSMutableData dataWithLength:static_cast<std::size_t>(pixels) * kComponents * sizeof(float)];
    const auto rowBytes =
        static_cast<std::ptrdiff_t>(rectangle.size.width) * static_cast<std::ptrdiff_t>(kComponents * sizeof(float));
    [[CIContext contextWithOptions:nil] render:image
                                      toBitmap:[data mutableBytes]
                                      rowBytes:rowBytes
                                        bounds:rectangle
                                        format:kCIFormatRGBAf
                                    colorSpace:space];
    return *CIEngineFailure() == '\0' ? data : nil;
}

// Like Floats, but straight alpha in sRGB.
NSData* StraightFloats(CIImage* image, CGRect rectangle) {
    CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    NSMutableData* data = Floats(image, rectangle, space);
    CGColorSpaceRelease(space);
    auto* components = static_cast<float*>([data mutableBytes]);
    for (std::size_t i = 0; i < [data length] / sizeof(float); i += kComponents) {
        const float alpha = components[i + 3];
        const float factor = alpha > 0 ? 1 / alpha : 0;
        for (std::size_t c = 0; c < 3; ++c) components[i + c] *= factor;
    }
    return data;
}

// Reads the rectangle argument of a member, rounded outward to whole pixels. Returns why it is invalid, or nil.
NSString* PixelRectangle(ZEVAobjectStruct* vector, CGRect* rectangle) {
    NSString* reason = RectangleIn(vector, rectangle);
    if (reason != nil) return reason;
    *rectangle = CGRectIntegral(*rectangle);
    return CGRectIsEmpty(*rectangle) ? @"the rectangle is empty" : nil;
}

// Returns whether rendering failed, and raises if so.
bool IsMissing(NSData* floats, NSString* reason, NSString* member) {
    if (floats != nil) return false;
    if (reason == nil && *CIEngineFailure() != '\0') reason = EngineReason();
    RaiseAbout(member, reason != nil ? reason : @"the rectangle is too large, at most 134 million pixels can be read",
               @"no pixels were read");
    return true;
}

}  // namespace

void SaveImage(ZEVAobjectStruct* self, ZEVAstringStruct* path) {
    Guarded([&] { Save(self, path, nil, nullptr, @"CIImageQOR.Save"); });
}

void SaveImageWithQuality(ZEVAobjectStruct* self, ZEVAstringStruct* path, double quality) {
    Guarded([&] { Save(self, path, [NSNumber numberWithDouble:quality], nullptr, @"CIImageQOR.SaveWithQuality"); });
}

void SaveImageInSpace(ZEVAobjectStruct* self, ZEVAstringStruct* path, double quality, ZEVAobjectStruct* space) {
    Guarded([&] {
        NSString* const member = @"CIImageQOR.SaveInSpace";
        if (SpaceIn(space) == nullptr) return RaiseAbout(member, @"the color space is nil", @"nothing was written");
        Save(self, path, [NSNumber numberWithDouble:quality], SpaceIn(space), member);
    });
}

void SaveImageInWorkingSpace(ZEVAobjectStruct* self, ZEVAstringStruct* path, ZEVAobjectStruct* workingSpace) {
    Guarded([&] {
        NSString* const member = @"CIImageQOR.SaveInWorkingSpace";
        CGColorSpaceRef space = SpaceIn(workingSpace);
        if (space != nullptr && !IsMatrixSpace(space)) {
            return RaiseAbout(member, @"the working space is not an RGB profile of curves and a matrix",
                              @"nothing was written");
        }
        id working = space != nullptr ? (id)space : [NSNull null];
        Save(self, path, nil, nullptr, member,
             [NSDictionary dictionaryWithObject:working forKey:kCIContextWorkingColorSpace]);
    });
}

ZEVAmemoryBlockStruct* ImageToPNG(ZEVAobjectStruct* self) {
    ZEVAmemoryBlockStruct* result = nullptr;
    Guarded([&] { result = Encoded(self, nil, @"CIImageQOR.ToPNG"); });
    return result;
}

ZEVAmemoryBlockStruct* ImageToJPEG(ZEVAobjectStruct* self, double quality) {
    ZEVAmemoryBlockStruct* result = nullptr;
    Guarded([&] { result = Encoded(self, [NSNumber numberWithDouble:quality], @"CIImageQOR.ToJPEG"); });
    return result;
}

ZEVAmemoryBlockStruct* ImagePixels(ZEVAobjectStruct* self, ZEVAobjectStruct* rectangle) {
    ZEVAmemoryBlockStruct* result = nullptr;
    Guarded([&] {
        CGRect rect = CGRectZero;
        NSString* reason = PixelRectangle(rectangle, &rect);
        NSData* components = reason == nil ? StraightFloats(WrappedIn(self), rect) : nil;
        if (IsMissing(components, reason, @"CIImageQOR.Pixels")) return;
        const auto* floats = static_cast<const float*>([components bytes]);
        NSMutableData* pixels = [NSMutableData dataWithLength:[components length] / sizeof(float)];
        std::transform(
            floats, floats + [pixels length], static_cast<std::uint8_t*>([pixels mutableBytes]),
            [](float component) { return static_cast<std::uint8_t>(std::clamp(component, 0.0f, 1.0f) * 255 + 0.5f); });
        result = NewHostBlock(pixels);
    });
    return result;
}

ZEVAmemoryBlockStruct* ImageValues(ZEVAobjectStruct* self, ZEVAobjectStruct* rectangle) {
    ZEVAmemoryBlockStruct* result = nullptr;
    Guarded([&] {
        CGRect rect = CGRectZero;
        NSString* reason = PixelRectangle(rectangle, &rect);
        NSData* values = reason == nil ? Floats(WrappedIn(self), rect, nullptr) : nil;
        if (!IsMissing(values, reason, @"CIImageQOR.Values")) result = NewHostBlock(values);
    });
    return result;
}

ZEVAobjectStruct* ImageColorAt(ZEVAobjectStruct* self, double x, double y) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] {
        if (!std::isfinite(x) || !std::isfinite(y)) {
            return RaiseAbout(@"CIImageQOR.ColorAt", @"the point is not finite", @"no color was read");
        }
        const CGRect pixel = CGRectMake(static_cast<CGFloat>(std::floor(x)), static_cast<CGFloat>(std::floor(y)), 1, 1);
        NSData* components = StraightFloats(WrappedIn(self), pixel);
        if (IsMissing(components, nil, @"CIImageQOR.ColorAt")) return;
        const auto* color = static_cast<const float*>([components bytes]);
        result = NewValueObject("CIColorQOR", [CIColor colorWithRed:color[0]
                                                              green:color[1]
                                                               blue:color[2]
                                                              alpha:color[3]]);
    });
    return result;
}
