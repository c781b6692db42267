// CIContext.mm - passes rendering to the engine, and wraps the result.

#import <CoreImage/CIContext.h>

#import "CIImageInternal.h"

#include "engine/failure.h"

#include <cmath>
#include <cstdlib>

namespace {

// The pixels of a format. Returns false for an unknown format.
bool ReadFormat(CIFormat format, core_image::PixelFormat* pixels) {
    if (format == kCIFormatRGBA8) *pixels = core_image::PixelFormat::kBytes;
    if (format == kCIFormatRGBA16) *pixels = core_image::PixelFormat::kWords;
    if (format == kCIFormatRGBAf) *pixels = core_image::PixelFormat::kFloats;
    return format == kCIFormatRGBA8 || format == kCIFormatRGBA16 || format == kCIFormatRGBAf;
}

// The layout of a bitmap that holds rendered pixels.
CGBitmapInfo InfoOf(core_image::PixelFormat pixels) {
    const bool isWords = pixels == core_image::PixelFormat::kWords;
    CGBitmapInfo info = isWords ? kCGImageAlphaLast : kCGImageAlphaPremultipliedLast;
    if (isWords) info |= kCGBitmapByteOrder16Host;
    if (pixels == core_image::PixelFormat::kFloats) {
        info |= static_cast<CGBitmapInfo>(kCGBitmapFloatComponents | kCGBitmapByteOrder32Host);
    }
    return info;
}

// The region of a rectangle. Returns false for one that cannot be rendered, and notes the reason.
bool ReadRegion(CGRect rect, core_image::Region* region) {
    if (core_image::RegionOfExtent(core_image::ExtentOfRect(rect), region)) return true;
    core_image::NoteFailure("the rectangle to render is empty or infinite");
    return false;
}

// Allocates rows for a region; returns null when memory is short. The caller frees them.
void* AllocateRows(const core_image::Region& region, core_image::PixelFormat pixels) {
    // Why half: no object may be larger than a signed size can count.
    constexpr auto kMostBytes = static_cast<double>(SIZE_MAX / 2);
    const double bytes = core_image::PixelCount(region) * static_cast<double>(core_image::SizeOfPixel(pixels));
    void* rows = bytes < kMostBytes ? std::malloc(static_cast<std::size_t>(bytes)) : nullptr;
    if (rows == nullptr) {
        core_image::NoteFailure("%lld x %lld pixels: the result needs %.0f MB of memory",
                                static_cast<long long>(region.width), static_cast<long long>(region.height),
                                std::ceil(bytes / (1 << 20)));
    }
    return rows;
}

}  // namespace

NSString* const kCIContextOutputColorSpace = @"output_color_space";
NSString* const kCIContextWorkingColorSpace = @"working_color_space";
NSString* const kCIContextMemoryLimit = @"memory_limit";

@implementation CIContext

+ (CIContext*)contextWithOptions:(NSDictionary*)options {
    CIContext* context = [[[CIContext alloc] init] autorelease];
    id output = [options objectForKey:kCIContextOutputColorSpace];
    const bool isSpace = output != nil && output != [NSNull null];
    context->_outputSpace =
        isSpace ? CGColorSpaceRetain((CGColorSpaceRef)output) : CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    id working = [options objectForKey:kCIContextWorkingColorSpace];
    context->_isMatching = working != [NSNull null];
    const bool isWorkingSpace = working != nil && context->_isMatching &&
                                CGColorSpaceGetModel((CGColorSpaceRef)working) == kCGColorSpaceModelRGB;
    context->_workingSpace = isWorkingSpace ? CGColorSpaceRetain((CGColorSpaceRef)working) : nullptr;
    const unsigned long long megabytes = [[options objectForKey:kCIContextMemoryLimit] unsignedLongLongValue];
    if (megabytes != 0) context->_budget = new core_image::MemoryBudget(megabytes << 20);
    return context;
}

// How colors are converted for a bitmap in a coding.
- (core_image::Output)outputOf:(const core_image::SpaceCoding&)coding {
    const core_image::SpaceCoding working = core_image::CodingOfSpace(_workingSpace);
    core_image::Output output = {coding.profile, (bool)_isMatching, working.transfer, working.profile};
    if (_budget != nullptr) output.budget = static_cast<core_image::MemoryBudget*>(_budget);
    return output;
}

- (void)dealloc {
    delete static_cast<core_image::MemoryBudget*>(_budget);
    CGColorSpaceRelease(_outputSpace);
    CGColorSpaceRelease(_workingSpace);
    [super dealloc];
}

- (CGImageRef)createCGImage:(CIImage*)image fromRect:(CGRect)rect {
    return [self createCGImage:image fromRect:rect format:kCIFormatRGBA8 colorSpace:_outputSpace];
}

- (CGImageRef)createCGImage:(CIImage*)image
                   fromRect:(CGRect)rect
                     format:(CIFormat)format
                 colorSpace:(CGColorSpaceRef)colorSpace {
    core_image::ForgetFailure();
    core_image::BitmapDestination destination;
    if (!ReadFormat(format, &destination.format) || CGColorSpaceGetModel(colorSpace) != kCGColorSpaceModelRGB) {
        return nullptr;
    }
    core_image::Region region;
    if (image == nil || !ReadRegion(rect, &region)) return nullptr;
    void* rows = AllocateRows(region, destination.format);
    if (rows == nullptr) return nullptr;
    const std::size_t bytesPerRow =
        static_cast<std::size_t>(region.width) * core_image::SizeOfPixel(destination.format);
    destination.pixels = rows;
    destination.bytesPerRow = static_cast<std::ptrdiff_t>(bytesPerRow);
    const core_image::SpaceCoding coding = core_image::CodingOfSpace(colorSpace);
    destination.transfer = coding.transfer;
    if (!core_image::RenderImage([image handle], region, destination, [self outputOf:coding])) {
        std::free(rows);
        return nullptr;
    }
    const auto height = static_cast<std::size_t>(region.height);
    NSData* data = [[NSData alloc] initWithBytesNoCopy:rows length:bytesPerRow * height freeWhenDone:YES];
    CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)data);
    const std::size_t bitsPerPixel = 8 * core_image::SizeOfPixel(destination.format);
    CGImageRef result = CGImageCreate(static_cast<std::size_t>(region.width), height, bitsPerPixel / 4, bitsPerPixel,
                                      bytesPerRow, colorSpace, InfoOf(destination.format), provider,
                                      /*decode=*/nullptr, /*shouldInterpolate=*/true, kCGRenderingIntentDefault);
    CGDataProviderRelease(provider);
    [data release];
    return result;
}

- (void)render:(CIImage*)image
      toBitmap:(void*)bitmap
      rowBytes:(ptrdiff_t)rowBytes
        bounds:(CGRect)bounds
        format:(CIFormat)format
    colorSpace:(CGColorSpaceRef)colorSpace {
    core_image::ForgetFailure();
    core_image::Region region;
    core_image::BitmapDestination destination;
    if (image == nil || bitmap == nullptr || !ReadFormat(format, &destination.format)) return;
    if (!ReadRegion(bounds, &region)) return;
    destination.pixels = bitmap;
    destination.bytesPerRow = rowBytes;
    const core_image::SpaceCoding coding = core_image::CodingOfSpace(colorSpace);
    destination.transfer = coding.transfer;
    // The method returns nothing; CIEngineFailure tells.
    (void)core_image::RenderImage([image handle], region, destination, [self outputOf:coding]);
}

@end
