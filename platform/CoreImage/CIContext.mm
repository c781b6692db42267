// CIContext.mm - passes rendering to the engine, and wraps the result.

#import <CoreImage/CIContext.h>

#import "CIImageInternal.h"

#include <cstdlib>

namespace {

constexpr std::size_t kBytesPerPixel = 4;

// Allocates rows for a region; returns null when memory is short. The caller frees them.
void* AllocateRows(const core_image::Region& region) {
    // Why half: no object may be larger than a signed size can count.
    constexpr std::uint64_t kMostBytes = SIZE_MAX / 2;
    const auto width = static_cast<std::uint64_t>(region.width);
    const auto height = static_cast<std::uint64_t>(region.height);
    if (width > kMostBytes / kBytesPerPixel / height) return nullptr;
    return std::malloc(static_cast<std::size_t>(width * height * kBytesPerPixel));
}

}  // namespace

NSString* const kCIContextOutputColorSpace = @"output_color_space";
NSString* const kCIContextWorkingColorSpace = @"working_color_space";

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
    return context;
}

// How colors are converted for a bitmap in a coding.
- (core_image::Output)outputOf:(const core_image::SpaceCoding&)coding {
    const core_image::SpaceCoding working = core_image::CodingOfSpace(_workingSpace);
    return {coding.profile, (bool)_isMatching, working.transfer, working.profile};
}

- (void)dealloc {
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
    if (format != kCIFormatRGBA8 || CGColorSpaceGetModel(colorSpace) != kCGColorSpaceModelRGB) return nullptr;
    core_image::Region region;
    if (image == nil || !core_image::RegionOfExtent(core_image::ExtentOfRect(rect), &region)) return nullptr;
    void* rows = AllocateRows(region);
    if (rows == nullptr) return nullptr;
    const std::size_t bytesPerRow = static_cast<std::size_t>(region.width) * kBytesPerPixel;
    core_image::BitmapDestination destination;
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
    CGImageRef result =
        CGImageCreate(static_cast<std::size_t>(region.width), height, /*bitsPerComponent=*/8,
                      /*bitsPerPixel=*/32, bytesPerRow, colorSpace, kCGImageAlphaPremultipliedLast, provider,
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
    core_image::Region region;
    if (image == nil || bitmap == nullptr || (format != kCIFormatRGBA8 && format != kCIFormatRGBAf)) return;
    if (!core_image::RegionOfExtent(core_image::ExtentOfRect(bounds), &region)) return;
    core_image::BitmapDestination destination;
    destination.pixels = bitmap;
    destination.bytesPerRow = rowBytes;
    destination.format = format == kCIFormatRGBA8 ? core_image::PixelFormat::kBytes : core_image::PixelFormat::kFloats;
    const core_image::SpaceCoding coding = core_image::CodingOfSpace(colorSpace);
    destination.transfer = coding.transfer;
    // The method cannot report a failure: it returns nothing.
    (void)core_image::RenderImage([image handle], region, destination, [self outputOf:coding]);
}

@end
