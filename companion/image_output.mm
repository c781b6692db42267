// image_output.mm - renders images, and converts the pixels.

#include "companion/image_output.h"

#import <CoreImage/CIEngine.h>
#import <CoreImage/CoreImage.h>
#include <ImageIO/ImageIO.h>

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "companion/color_space.h"
#include "companion/host_bytes.h"
#include "companion/host_text.h"
#include "companion/image_files.h"
#include "companion/image_object.h"
#include "companion/rectangle.h"
#include "companion/save_options.h"
#include "companion/value_object.h"
#include "plugin/host_services.h"

namespace {

constexpr std::size_t kComponents = 4;

// The color space of an object; null for nil.
CGColorSpaceRef SpaceIn(ZEVAobjectStruct* object) {
    CFTypeRef wrapped = object != nullptr ? reinterpret_cast<CoreFoundationObject*>(object)->wrapped : nullptr;
    return static_cast<CGColorSpaceRef>(const_cast<void*>(wrapped));
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

// The options of a context whose bytes have straight alpha.
NSDictionary* StraightAlpha() {
    return [NSDictionary dictionaryWithObject:[NSNumber numberWithBool:YES] forKey:kCIContextStraightAlpha];
}

// How to render an image for a file.
struct Rendering {
    CGColorSpaceRef space = nullptr;  // null for sRGB
    std::size_t depth = 8;            // the bits of a component
    NSDictionary* options = nil;      // of the context
};

// Renders the extent of an image. Returns why that failed, or nil, and stores the system's error number. The caller
// owns one reference to the bitmap. If deferred, a large image is rendered later, row by row.
NSString* Render(CIImage* image, const Rendering& rendering, bool isDeferred, CGImageRef* bitmap, int* errorNumber) {
    const CGRect extent = [image extent];
    const double pixels = static_cast<double>(extent.size.width) * static_cast<double>(extent.size.height);
    const CIFormat format = rendering.depth == 8    ? kCIFormatRGBA8
                            : rendering.depth == 16 ? kCIFormatRGBA16
                                                    : kCIFormatRGBAf;
    CGColorSpaceRef space = CGColorSpaceRetain(rendering.space);
    if (space == nullptr) space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    // A larger result would take hours and fill the disk; it fails for lack of memory instead.
    constexpr double kMostDeferred = 1e10;
    const bool isTooLarge = isDeferred && pixels > kMostDeferred;
    isDeferred = isDeferred && pixels >= double{kCGSmallestSequential};
    NSMutableDictionary* options = [NSMutableDictionary dictionaryWithDictionary:StraightAlpha()];
    if (rendering.options != nil) [options addEntriesFromDictionary:rendering.options];
    CIContext* context = [CIContext contextWithOptions:options];
    if (!isTooLarge) {
        *bitmap = [context createCGImage:image fromRect:extent format:format colorSpace:space deferred:isDeferred];
    }
    CGColorSpaceRelease(space);
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

// The properties of a file with a quality; nil for nil.
NSDictionary* PropertiesOf(NSNumber* quality) {
    if (quality == nil) return nil;
    return [NSDictionary dictionaryWithObject:quality forKey:(id)kCGImageDestinationLossyCompressionQuality];
}

// Renders an image and writes it to a path. Returns why that failed, or nil.
NSString* Write(CIImage* image, const char* path, const CGImageFormat& format, const Rendering& rendering,
                NSDictionary* properties, int* errorNumber) {
    CGImageRef bitmap = nullptr;
    NSString* reason = ObstacleToWriting(path, errorNumber);
    if (reason == nil) reason = ObstacleToRendering(image, rendering.space);
    if (reason == nil) reason = ObstacleToSize(format, [image extent].size);
    if (reason == nil) reason = Render(image, rendering, /*isDeferred=*/true, &bitmap, errorNumber);
    if (reason == nil) {
        CIEngineForgetFailure();
        reason = ReasonOfWriting(WriteImageFile(path, format, bitmap, properties, errorNumber), *errorNumber);
    }
    CGImageRelease(bitmap);
    return reason;
}

void Save(ZEVAobjectStruct* self, ZEVAstringStruct* path, NSNumber* quality, const Rendering& rendering,
          NSString* member) {
    NSString* const consequence = @"nothing was written";
    const char* bytes = nullptr;
    NSString* reason = PathOf(path, &bytes);
    if (reason != nil) return RaiseAbout(member, reason, consequence);
    CGImageFormat format;
    int errorNumber = 0;
    reason = ObstacleInQuality(quality);
    if (reason == nil) reason = ObstacleToFormat(bytes, nullptr, &format);
    if (reason == nil) reason = Write(WrappedIn(self), bytes, format, rendering, PropertiesOf(quality), &errorNumber);
    if (reason != nil) RaiseAbout(TextOfPath(bytes), reason, consequence, errorNumber);
}

// What the members about options read: a path, and how to save a file there.
struct SaveRequest {
    const char* path = nullptr;
    SaveOptions options;
    CGImageFormat format = {};  // of a path that is not empty
};

// Reads and checks a request, and raises what is wrong. Returns whether nothing is. Only a path that may be empty is
// allowed to be empty.
bool ReadRequest(ZEVAstringStruct* path, ZEVAstringStruct* options, bool mayBeEmpty, NSString* member,
                 SaveRequest* request) {
    const char* text = nullptr;
    // Options without any text are no obstacle.
    if (PathOf(options, &text) != nil) text = "";
    NSString* place = member;
    NSString* reason = PathOf(path, &request->path);
    const bool isEmpty = request->path == nullptr || *request->path == '\0';
    if (isEmpty && mayBeEmpty) reason = nil;
    if (reason == nil) reason = ReadSaveOptions(text, &request->options, &place);
    if (reason == nil && !isEmpty) {
        place = TextOfPath(request->path);
        reason = ObstacleToFormat(request->path, request->options.format, &request->format);
    }
    if (reason == nil && !isEmpty && request->options.depth != 0 &&
        (request->format.depths & request->options.depth) == 0) {
        reason = [NSString stringWithFormat:@"%s files do not have %zu bits per component", request->format.name,
                                            request->options.depth];
    }
    if (reason != nil) RaiseAbout(place, reason, @"nothing was written");
    return reason == nil;
}

// The most bits that a format can hold of a depth.
std::size_t DepthWithin(const CGImageFormat& format, std::size_t depth) {
    while (depth > 8 && (format.depths & depth) == 0) depth /= 2;
    return depth;
}

// Adds the data about a picture to the properties of a file.
void AddMetadata(NSDictionary* source, bool dropsLocation, NSMutableDictionary* properties) {
    for (CFStringRef key : {kCGImagePropertyExifBlock, kCGImagePropertyXMPBlock, kCGImagePropertyIPTCBlock}) {
        id block = [source objectForKey:(id)key];
        if (block != nil) [properties setObject:block forKey:(id)key];
    }
    [properties setObject:[NSNumber numberWithBool:dropsLocation] forKey:(id)kCGImageDestinationDropsLocation];
}

// Returns why a result must not replace the picture that it is made from: the file would lose its other pictures.
NSString* ObstacleToReplacing(const OpenedImageObject* opened, const char* path) {
    if (opened == nullptr || opened->file == FileIdentity{} || !(opened->file == IdentityOf(path))) return nil;
    NSNumber* count = [opened->properties objectForKey:(id)kCGImagePropertyImageCount];
    if ([count unsignedLongValue] <= 1) return nil;
    return [NSString stringWithFormat:@"the file has %@ pictures, and only the first would be left", count];
}

ZEVAmemoryBlockStruct* Encoded(ZEVAobjectStruct* self, const char* formatName, NSNumber* quality, NSString* member) {
    CIImage* image = WrappedIn(self);
    CGImageRef bitmap = nullptr;
    NSData* file = nil;
    int errorNumber = 0;
    CGImageFormat format;
    NSString* reason = ObstacleInQuality(quality);
    if (reason == nil) reason = ObstacleToFormat("", formatName, &format);
    if (reason == nil) reason = ObstacleToRendering(image, nullptr);
    if (reason == nil) reason = ObstacleToSize(format, [image extent].size);
    if (reason == nil) reason = Render(image, {}, /*isDeferred=*/false, &bitmap, &errorNumber);
    if (reason == nil) reason = EncodeImage(format, bitmap, PropertiesOf(quality), &file, &errorNumber);
    CGImageRelease(bitmap);
    if (reason != nil) RaiseAbout(member, reason, @"nothing was encoded", errorNumber);
    return NewHostBlock(file);
}

// The number of pixels whose floats fit a MemoryBlock.
constexpr double kMaximumPixels = INT32_MAX / (kComponents * sizeof(float));

// The number of pixels of a rectangle.
double PixelCount(CGRect rectangle) {
    return static_cast<double>(rectangle.size.width) * static_cast<double>(rectangle.size.height);
}

// Renders a finite rectangle of whole pixels in a color space; null means linear light. Pixels are premultiplied,
// except bytes that are to have straight alpha. Returns whether the engine succeeded.
bool RenderTo(void* pixels, CIFormat format, CIImage* image, CGRect rectangle, CGColorSpaceRef space,
              NSDictionary* options = nil) {
    CIEngineForgetFailure();
    const std::size_t size = format == kCIFormatRGBAf ? sizeof(float) : sizeof(std::uint8_t);
    const auto rowBytes =
        static_cast<std::ptrdiff_t>(rectangle.size.width) * static_cast<std::ptrdiff_t>(kComponents * size);
    [[CIContext contextWithOptions:options] render:image
                                          toBitmap:pixels
                                          rowBytes:rowBytes
                                            bounds:rectangle
                                            format:format
                                        colorSpace:space];
    return *CIEngineFailure() == '\0';
}

// Reads the rectangle argument of a member, rounded outward to whole pixels. Returns why it is invalid, or nil.
NSString* PixelRectangle(ZEVAobjectStruct* vector, CGRect* rectangle) {
    NSString* reason = RectangleIn(vector, rectangle);
    if (reason != nil) return reason;
    *rectangle = CGRectIntegral(*rectangle);
    return CGRectIsEmpty(*rectangle) ? @"the rectangle is empty" : nil;
}

// Raises why no pixels were read: the reason, or else what the engine says.
void RaiseMissing(NSString* reason, NSString* member) {
    if (reason == nil && *CIEngineFailure() != '\0') reason = EngineReason();
    RaiseAbout(member, reason != nil ? reason : @"the rectangle is too large, at most 134 million pixels can be read",
               @"no pixels were read");
}

// Returns a block with the pixels of a rectangle. Raises when there are none.
ZEVAmemoryBlockStruct* NewBlockOfPixels(ZEVAobjectStruct* self, ZEVAobjectStruct* rectangle, CIFormat format,
                                        CGColorSpaceRef space, NSDictionary* options, NSString* member) {
    CGRect rect = CGRectZero;
    NSString* reason = PixelRectangle(rectangle, &rect);
    CIEngineForgetFailure();
    if (reason != nil || PixelCount(rect) > kMaximumPixels) {
        RaiseMissing(reason, member);
        return nullptr;
    }
    // The engine renders into the block: a large picture is neither copied nor in memory twice.
    const std::size_t size = kComponents * (format == kCIFormatRGBAf ? sizeof(float) : sizeof(std::uint8_t));
    void* pixels = nullptr;
    ZEVAmemoryBlockStruct* block = NewHostBlockOfSize(static_cast<NSUInteger>(PixelCount(rect)) * size, &pixels);
    if (block == nullptr || RenderTo(pixels, format, WrappedIn(self), rect, space, options)) return block;
    ZEVAUnlockObject(reinterpret_cast<ZEVAobjectStruct*>(block));
    RaiseMissing(nil, member);
    return nullptr;
}

// The same with bytes in sRGB.
ZEVAmemoryBlockStruct* NewBlockOfBytes(ZEVAobjectStruct* self, ZEVAobjectStruct* rectangle, NSDictionary* options,
                                       NSString* member) {
    CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    ZEVAmemoryBlockStruct* block = NewBlockOfPixels(self, rectangle, kCIFormatRGBA8, space, options, member);
    CGColorSpaceRelease(space);
    return block;
}

}  // namespace

void SaveImage(ZEVAobjectStruct* self, ZEVAstringStruct* path) { Save(self, path, nil, {}, @"CIImageQOR.Save"); }

void SaveImageWithQuality(ZEVAobjectStruct* self, ZEVAstringStruct* path, double quality) {
    Save(
        self, path, [NSNumber numberWithDouble : quality], {}, @"CIImageQOR.SaveWithQuality");
}

void SaveImageInSpace(ZEVAobjectStruct* self, ZEVAstringStruct* path, double quality, ZEVAobjectStruct* space) {
    NSString* const member = @"CIImageQOR.SaveInSpace";
    if (SpaceIn(space) == nullptr) return RaiseAbout(member, @"the color space is nil", @"nothing was written");
    Save(
        self, path, [NSNumber numberWithDouble : quality], { .space = SpaceIn(space) }, member);
}

void SaveImageInWorkingSpace(ZEVAobjectStruct* self, ZEVAstringStruct* path, ZEVAobjectStruct* workingSpace) {
    NSString* const member = @"CIImageQOR.SaveInWorkingSpace";
    CGColorSpaceRef space = SpaceIn(workingSpace);
    if (space != nullptr && !IsWorkingSpace(space)) {
        return RaiseAbout(member, @"the working space is not an RGB profile of curves and a matrix",
                          @"nothing was written");
    }
    id working = space != nullptr ? (id)space : [NSNull null];
    NSDictionary* options = [NSDictionary dictionaryWithObject:working forKey:kCIContextWorkingColorSpace];
    Save(self, path, nil, {.options = options}, member);
}

void SaveImageLike(ZEVAobjectStruct* self, ZEVAstringStruct* path, ZEVAobjectStruct* source,
                   ZEVAstringStruct* options) {
    SaveRequest request;
    if (!ReadRequest(path, options, /*mayBeEmpty=*/false, @"CIImageQOR.SaveLike", &request)) return;
    const SaveOptions& wanted = request.options;
    const auto* opened = reinterpret_cast<const OpenedImageObject*>(source);
    CGImageRef original = opened != nullptr ? opened->shared.cgImage : nullptr;
    Rendering rendering = {.space = wanted.space, .depth = wanted.depth};
    const bool keepsSpace = wanted.space == nullptr && wanted.strip != Strip::kAll;
    if (keepsSpace && CGColorSpaceSupportsOutput(CGImageGetColorSpace(original))) {
        rendering.space = CGImageGetColorSpace(original);
    }
    if (rendering.depth == 0) {
        const std::size_t depth = original != nullptr ? CGImageGetBitsPerComponent(original) : 8;
        rendering.depth = DepthWithin(request.format, depth);
    }
    if (wanted.workingSpace != nil) {
        rendering.options = [NSDictionary dictionaryWithObject:wanted.workingSpace forKey:kCIContextWorkingColorSpace];
    }
    if (opened != nullptr && wanted.strip != Strip::kAll) {
        AddMetadata(opened->properties, wanted.strip == Strip::kLocation, wanted.properties);
    }
    int errorNumber = 0;
    NSString* reason = ObstacleToReplacing(opened, request.path);
    if (reason == nil) {
        reason = Write(WrappedIn(self), request.path, request.format, rendering, wanted.properties, &errorNumber);
    }
    if (reason != nil) RaiseAbout(TextOfPath(request.path), reason, @"nothing was written", errorNumber);
}

void CheckSave(ZEVAstringStruct* path, ZEVAstringStruct* options) {
    SaveRequest request;
    static_cast<void>(ReadRequest(path, options, /*mayBeEmpty=*/true, @"CIImageQOR.CheckSave", &request));
}

ZEVAmemoryBlockStruct* ImageToPNG(ZEVAobjectStruct* self) { return Encoded(self, "png", nil, @"CIImageQOR.ToPNG"); }

ZEVAmemoryBlockStruct* ImageToJPEG(ZEVAobjectStruct* self, double quality) {
    return Encoded(self, "jpg", [NSNumber numberWithDouble:quality], @"CIImageQOR.ToJPEG");
}

ZEVAmemoryBlockStruct* ImagePixels(ZEVAobjectStruct* self, ZEVAobjectStruct* rectangle) {
    return NewBlockOfBytes(self, rectangle, StraightAlpha(), @"CIImageQOR.Pixels");
}

ZEVAmemoryBlockStruct* ImageValues(ZEVAobjectStruct* self, ZEVAobjectStruct* rectangle) {
    return NewBlockOfPixels(self, rectangle, kCIFormatRGBAf, nullptr, nil, @"CIImageQOR.Values");
}

ZEVAmemoryBlockStruct* ImageScreenPixels(ZEVAobjectStruct* self, ZEVAobjectStruct* rectangle) {
    return NewBlockOfBytes(self, rectangle, nil, @"CIImageQOR.ScreenPixels");
}

ZEVAobjectStruct* ImageColorAt(ZEVAobjectStruct* self, double x, double y) {
    if (!std::isfinite(x) || !std::isfinite(y)) {
        return Refused(@"CIImageQOR.ColorAt", @"the point is not finite", @"no color was read");
    }
    const CGRect pixel = CGRectMake(static_cast<CGFloat>(std::floor(x)), static_cast<CGFloat>(std::floor(y)), 1, 1);
    float color[kComponents] = {};
    CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    const bool isRendered = RenderTo(color, kCIFormatRGBAf, WrappedIn(self), pixel, space);
    CGColorSpaceRelease(space);
    if (!isRendered) {
        RaiseMissing(nil, @"CIImageQOR.ColorAt");
        return nullptr;
    }
    const float factor = color[3] > 0 ? 1 / color[3] : 0;
    return NewValueObject("CIColorQOR", [CIColor colorWithRed:color[0] * factor
                                                        green:color[1] * factor
                                                         blue:color[2] * factor
                                                        alpha:color[3]]);
}
