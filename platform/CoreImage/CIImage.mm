// CIImage.mm - the Objective-C face of an engine image.
//
// Why handles and plain values: an exception may leave by longjmp, so no C++ object with a destructor may be alive
// where messages are sent.

#import <CoreImage/CIImage.h>
#import <ImageIO/ImageIO.h>

#import "CIEngine.h"
#import "CIImageInternal.h"

#include <cerrno>
#include <cmath>
#include <cstdio>

CIFormat kCIFormatRGBA8 = 24;
CIFormat kCIFormatRGBA16 = 27;
CIFormat kCIFormatRGBAf = 34;
NSString* const kCIImageColorSpace = @"CIImageColorSpace";
NSString* const kCIImageName = @"CIImageName";
NSString* const kCIImageReducedImages = @"CIImageReducedImages";

namespace core_image {

SpaceCoding CodingOfSpace(CGColorSpaceRef space) {
    if (space == nullptr) return {Transfer::kLinear, {}};
    NSString* name = [(NSString*)CGColorSpaceCopyName(space) autorelease];
    if ([name isEqual:(id)kCGColorSpaceSRGB] || [name isEqual:(id)kCGColorSpaceExtendedSRGB]) {
        return {Transfer::kSRGB, {}};
    }
    if ([name isEqual:(id)kCGColorSpaceLinearSRGB] || [name isEqual:(id)kCGColorSpaceExtendedLinearSRGB]) {
        return {Transfer::kLinear, {}};
    }
    // The space keeps its data.
    NSData* data = [(NSData*)CGColorSpaceCopyICCData(space) autorelease];
    return {Transfer::kSRGB, {[data bytes], [data length]}};
}

Extent ExtentOfRect(CGRect rect) {
    return ExtentOfRectangle(rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
}

}  // namespace core_image

// The rows of a bitmap with a sequential provider, and what is wrong with them.
@interface CIImageRows : NSObject {
  @public
    CGImageRef _image;
    NSString* _name;
    char _failure[200];
}
@end

@implementation CIImageRows

- (void)dealloc {
    CGImageRelease(_image);
    [_name release];
    [super dealloc];
}

@end

namespace {

const char* ReadRows(void* object, void* rows, std::size_t count) {
    auto* reader = static_cast<CIImageRows*>(object);
    const std::size_t bytes = count * CGImageGetBytesPerRow(reader->_image);
    if (CGDataProviderGetBytes(CGImageGetDataProvider(reader->_image), rows, bytes) == bytes) return nullptr;
    const char* reason = errno == ENODATA  ? "the file is truncated"
                         : errno == ENOMEM ? "there is not enough memory to read it"
                                           : "the picture is damaged";
    const char* name = reader->_name != nil ? [reader->_name UTF8String] : "a picture";
    std::snprintf(reader->_failure, sizeof reader->_failure, "%s: %s", name, reason);
    return reader->_failure;
}

void RewindRows(void* object) {
    CGDataProviderRewind(CGImageGetDataProvider(static_cast<CIImageRows*>(object)->_image));
}

void ReleaseRows(void* object) { [static_cast<CIImageRows*>(object) release]; }

// The reader of a bitmap with a sequential provider.
core_image::RowReader ReaderOf(CGImageRef bitmap, NSString* name) {
    CIImageRows* rows = [[CIImageRows alloc] init];
    rows->_image = CGImageRetain(bitmap);
    rows->_name = [name retain];
    return {rows, ReadRows, RewindRows, ReleaseRows};
}

// An image over the rows of a bitmap with a sequential provider.
CIImage* ImageOverRows(CGImageRef bitmap, NSDictionary* options, core_image::BitmapSource& source,
                       CGColorSpaceRef space) {
    const core_image::SpaceCoding coding = core_image::CodingOfSpace(space);
    source.transfer = coding.transfer;
    NSString* name = [options objectForKey:kCIImageName];
    core_image::RowReaders readers = {ReaderOf(bitmap, name)};
    NSArray* reduced = [options objectForKey:kCIImageReducedImages];
    for (NSUInteger index = 0; index < [reduced count] && index + 1 < readers.size(); ++index) {
        id image = [reduced objectAtIndex:index];
        if (image != [NSNull null]) readers[index + 1] = ReaderOf((CGImageRef)image, name);
    }
    return [CIImage imageOwningHandle:core_image::MakeStreamed(source, coding.profile, readers)];
}

void ReleaseObject(const void* object) { CFRelease(object); }

// An image over bytes of a data object, in a space; retains the data.
CIImage* ImageOverData(NSData* data, core_image::BitmapSource& source, CGColorSpaceRef space) {
    const core_image::SpaceCoding coding = core_image::CodingOfSpace(space);
    source.pixels = [data bytes];
    source.transfer = coding.transfer;
    return [CIImage
        imageOwningHandle:core_image::MakeBitmap(source, coding.profile, {CFRetain((CFTypeRef)data), ReleaseObject})];
}

// The space named by options, null for NSNull; without such an option the bitmap's own.
CGColorSpaceRef SpaceOfOptions(NSDictionary* options, CGImageRef image) {
    id space = [options objectForKey:kCIImageColorSpace];
    if (space == nil) return CGImageGetColorSpace(image);
    return space == [NSNull null] ? nullptr : (CGColorSpaceRef)space;
}

// The image in a source; releases the source.
CIImage* ImageOutOfSource(CGImageSourceRef source, NSDictionary* options) {
    if (source == nullptr) return nil;
    CGImageRef bitmap = CGImageSourceCreateImageAtIndex(source, 0, nullptr);
    CIImage* image = [CIImage imageWithCGImage:bitmap options:options];
    CGImageRelease(bitmap);
    CFRelease(source);
    return image;
}

}  // namespace

@implementation CIImage

+ (CIImage*)imageWithContentsOfURL:(NSURL*)url {
    return [self imageWithContentsOfURL:url options:nil];
}

+ (CIImage*)imageWithContentsOfURL:(NSURL*)url options:(NSDictionary*)options {
    return ImageOutOfSource(CGImageSourceCreateWithURL((CFURLRef)url, nullptr), options);
}

+ (CIImage*)imageWithData:(NSData*)data {
    return [self imageWithData:data options:nil];
}

+ (CIImage*)imageWithData:(NSData*)data options:(NSDictionary*)options {
    return ImageOutOfSource(CGImageSourceCreateWithData((CFDataRef)data, nullptr), options);
}

+ (CIImage*)imageWithCGImage:(CGImageRef)image {
    return [self imageWithCGImage:image options:nil];
}

+ (CIImage*)imageWithCGImage:(CGImageRef)image options:(NSDictionary*)options {
    if (image == nullptr) return nil;
    core_image::BitmapSource source = {};
    source.width = CGImageGetWidth(image);
    source.height = CGImageGetHeight(image);
    source.bytesPerRow = CGImageGetBytesPerRow(image);
    const size_t bits = CGImageGetBitsPerComponent(image);
    source.format = bits == 8    ? core_image::PixelFormat::kBytes
                    : bits == 16 ? core_image::PixelFormat::kWords
                                 : core_image::PixelFormat::kFloats;
    switch (CGImageGetAlphaInfo(image)) {
        case kCGImageAlphaPremultipliedLast:
            source.alpha = core_image::Alpha::kPremultiplied;
            break;
        case kCGImageAlphaLast:
            source.alpha = core_image::Alpha::kStraight;
            break;
        default:
            source.alpha = core_image::Alpha::kIgnored;
            break;
    }
    if (CGDataProviderIsSequential(CGImageGetDataProvider(image))) {
        return ImageOverRows(image, options, source, SpaceOfOptions(options, image));
    }
    NSData* data = (NSData*)CGDataProviderCopyData(CGImageGetDataProvider(image));
    CIImage* result = ImageOverData(data, source, SpaceOfOptions(options, image));
    [data release];
    return result;
}

+ (CIImage*)imageWithColor:(CIColor*)color {
    if (color == nil) return nil;
    const double components[] = {[color red], [color green], [color blue], [color alpha]};
    return [self imageOwningHandle:core_image::MakeConstant(components)];
}

+ (CIImage*)imageWithBitmapData:(NSData*)data
                    bytesPerRow:(size_t)bytesPerRow
                           size:(CGSize)size
                         format:(CIFormat)format
                     colorSpace:(CGColorSpaceRef)colorSpace {
    if (data == nil || (format != kCIFormatRGBA8 && format != kCIFormatRGBAf)) return nil;
    // Larger sizes cannot be sizes of bytes in memory; the comparison also refuses NaN.
    constexpr CGFloat kLargestSize = 1 << 30;
    if (!(size.width >= 1 && size.width <= kLargestSize && size.height >= 1 && size.height <= kLargestSize)) return nil;
    core_image::BitmapSource source = {};
    source.width = (size_t)size.width;
    source.height = (size_t)size.height;
    source.bytesPerRow = bytesPerRow;
    source.format = format == kCIFormatRGBA8 ? core_image::PixelFormat::kBytes : core_image::PixelFormat::kFloats;
    source.alpha = core_image::Alpha::kPremultiplied;
    const size_t pixelSize = core_image::kFloatsPerPixel * (format == kCIFormatRGBA8 ? 1 : sizeof(float));
    const size_t length = [data length];
    if (source.width > bytesPerRow / pixelSize || length < source.width * pixelSize) return nil;
    if ((length - source.width * pixelSize) / bytesPerRow < source.height - 1) return nil;
    return ImageOverData(data, source, colorSpace);
}

+ (CIImage*)emptyImage {
    const double transparent[] = {0, 0, 0, 0};
    return [[CIImage imageOwningHandle:core_image::MakeConstant(transparent)] imageByCroppingToRect:CGRectZero];
}

+ (CIImage*)imageOwningHandle:(core_image::ImageHandle*)handle {
    if (handle == nullptr) return nil;
    CIImage* image = [[[CIImage alloc] init] autorelease];
    image->_handle = const_cast<core_image::ImageRef*>(handle);
    return image;
}

- (core_image::ImageHandle*)handle {
    return static_cast<core_image::ImageHandle*>(_handle);
}

- (void)dealloc {
    core_image::DisposeImage([self handle]);
    [super dealloc];
}

- (id)copyWithZone:(NSZone*)zone {
    (void)zone;
    return [self retain];
}

- (CGRect)extent {
    if (_handle == nullptr) return CGRectZero;
    const core_image::Extent extent = core_image::ExtentOfImage([self handle]);
    // An infinite edge is drawn in to the edge of CGRectInfinite.
    const double far = CGFLOAT_MAX / 2;
    const double left = std::max(extent.left, -far);
    const double bottom = std::max(extent.bottom, -far);
    return CGRectMake((CGFloat)left, (CGFloat)bottom, (CGFloat)(std::min(extent.right, far) - left),
                      (CGFloat)(std::min(extent.top, far) - bottom));
}

- (CIImage*)imageByCroppingToRect:(CGRect)rect {
    if (_handle == nullptr) return nil;
    return [CIImage imageOwningHandle:core_image::MakeCropped([self handle], core_image::ExtentOfRect(rect))];
}

- (CIImage*)imageByApplyingTransform:(CGAffineTransform)transform {
    if (_handle == nullptr) return nil;
    const double numbers[] = {transform.a, transform.b, transform.c, transform.d, transform.tx, transform.ty};
    return [CIImage imageOwningHandle:core_image::MakeTransformed([self handle], numbers)];
}

- (CIImage*)imageByCompositingOverImage:(CIImage*)background {
    if (_handle == nullptr || background == nil) return self;
    return [CIImage imageOwningHandle:core_image::MakeSourceOver([self handle], [background handle])];
}

- (CIImage*)imageByApplyingOrientation:(int)orientation {
    // An infinite image has no corner that could come to the origin; it turns around the origin.
    core_image::Region region;
    const CGRect whole = [self extent];
    const CGRect extent = core_image::RegionOfExtent(core_image::ExtentOfRect(whole), &region) ? whole : CGRectZero;
    const CGFloat left = extent.origin.x, right = left + extent.size.width;
    const CGFloat bottom = extent.origin.y, top = bottom + extent.size.height;
    // clang-format off
    const CGAffineTransform transforms[] = {
        // a   b   c   d    tx       ty
        {  1,  0,  0,  1,  -left,   -bottom },
        { -1,  0,  0,  1,   right,  -bottom },
        { -1,  0,  0, -1,   right,   top    },
        {  1,  0,  0, -1,  -left,    top    },
        {  0, -1, -1,  0,   top,     right  },
        {  0, -1,  1,  0,  -bottom,  right  },
        {  0,  1,  1,  0,  -bottom, -left   },
        {  0,  1, -1,  0,   top,    -left   },
    };
    // clang-format on
    return [self imageByApplyingTransform:transforms[orientation >= 1 && orientation <= 8 ? orientation - 1 : 0]];
}

- (NSString*)description {
    const CGRect extent = [self extent];
    return [NSString stringWithFormat:@"<CIImage %p extent [%g %g %g %g]>", (void*)self, (double)extent.origin.x,
                                      (double)extent.origin.y, (double)extent.size.width, (double)extent.size.height];
}

@end

static_assert(static_cast<int>(core_image::ResizeMode::kStretch) == kCIEngineResizeStretch);
static_assert(static_cast<int>(core_image::ResizeMode::kFit) == kCIEngineResizeFit);
static_assert(static_cast<int>(core_image::ResizeMode::kFill) == kCIEngineResizeFill);

@implementation CIImage (CIEngine)

- (CIImage*)imageByResizingToWidth:(long)width height:(long)height mode:(CIEngineResizeMode)mode {
    if (_handle == nullptr || width < 1 || height < 1) return nil;
    return [CIImage imageOwningHandle:core_image::MakeResized([self handle], width, height,
                                                              static_cast<core_image::ResizeMode>(mode))];
}

@end
