// CIContext.mm - passes rendering to the engine, and wraps the result.

#import <CoreImage/CIContext.h>

#import "CIImageInternal.h"

#include "engine/failure.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

@interface CIContext ()
// How colors are converted for a bitmap in a coding.
- (core_image::Output)outputOf:(const core_image::SpaceCoding&)coding;
@end

namespace {

// The pixels of a format. Returns false for an unknown format.
bool ReadFormat(CIFormat format, core_image::PixelFormat* pixels) {
    if (format == kCIFormatRGBA8) *pixels = core_image::PixelFormat::kBytes;
    if (format == kCIFormatRGBA16) *pixels = core_image::PixelFormat::kWords;
    if (format == kCIFormatRGBAf) *pixels = core_image::PixelFormat::kFloats;
    return format == kCIFormatRGBA8 || format == kCIFormatRGBA16 || format == kCIFormatRGBAf;
}

// The layout of a bitmap that holds rendered pixels.
CGBitmapInfo InfoOf(const core_image::BitmapDestination& destination) {
    const bool isWords = destination.format == core_image::PixelFormat::kWords;
    const bool isBytes = destination.format == core_image::PixelFormat::kBytes;
    const bool isStraight = isWords || (isBytes && destination.hasStraightBytes);
    CGBitmapInfo info = isStraight ? kCGImageAlphaLast : kCGImageAlphaPremultipliedLast;
    if (isWords) info |= kCGBitmapByteOrder16Host;
    if (destination.format == core_image::PixelFormat::kFloats) {
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

std::size_t BytesPerRow(const core_image::Region& region, core_image::PixelFormat pixels) {
    return static_cast<std::size_t>(region.width) * core_image::SizeOfPixel(pixels);
}

double BytesIn(const core_image::Region& region, core_image::PixelFormat pixels) {
    return core_image::PixelCount(region) * static_cast<double>(core_image::SizeOfPixel(pixels));
}

// Why half: no object may be larger than a signed size can count.
bool IsAddressable(double bytes) { return bytes < static_cast<double>(SIZE_MAX / 2); }

void NoteShortage(const core_image::Region& region, double bytes) {
    core_image::NoteFailure("%lld x %lld pixels: the result needs %.0f MB of memory",
                            static_cast<long long>(region.width), static_cast<long long>(region.height),
                            std::ceil(bytes / (1 << 20)));
}

// Allocates rows for a region; returns null when memory is short. The caller frees them.
void* AllocateRows(const core_image::Region& region, core_image::PixelFormat pixels) {
    const double bytes = BytesIn(region, pixels);
    void* rows = IsAddressable(bytes) ? std::malloc(static_cast<std::size_t>(bytes)) : nullptr;
    if (rows == nullptr) NoteShortage(region, bytes);
    return rows;
}

// A bitmap of a region over a provider, which it releases.
CGImageRef BitmapOver(CGDataProviderRef provider, const core_image::Region& region,
                      const core_image::BitmapDestination& destination, CGColorSpaceRef space) {
    const std::size_t bitsPerPixel = 8 * core_image::SizeOfPixel(destination.format);
    CGImageRef bitmap = CGImageCreate(static_cast<std::size_t>(region.width), static_cast<std::size_t>(region.height),
                                      bitsPerPixel / 4, bitsPerPixel, BytesPerRow(region, destination.format), space,
                                      InfoOf(destination), provider, /*decode=*/nullptr,
                                      /*shouldInterpolate=*/true, kCGRenderingIntentDefault);
    CGDataProviderRelease(provider);
    return bitmap;
}

}  // namespace

// A rendering whose rows are requested later. Everything but the next row is constant.
@interface CIDeferredRendering : NSObject {
  @public
    CIContext* _context;
    CIImage* _image;
    CGColorSpaceRef _space;
    core_image::BitmapDestination _destination;  // without pixels
    core_image::Region _region;
    core_image::RenderSession* _session;
    std::int64_t _next;  // counted from the top
}
@end

@implementation CIDeferredRendering

- (void)dealloc {
    delete _session;
    [_context release];
    [_image release];
    CGColorSpaceRelease(_space);
    [super dealloc];
}

@end

namespace {

CIDeferredRendering* DeferredRendering(void* info) { return static_cast<CIDeferredRendering*>(info); }

// Renders as many rows as fit.
std::size_t RenderRows(void* info, void* buffer, std::size_t count) {
    CIDeferredRendering* rendering = DeferredRendering(info);
    const core_image::Region& all = rendering->_region;
    const std::size_t bytesPerRow = BytesPerRow(all, rendering->_destination.format);
    const auto rows = std::min(static_cast<std::int64_t>(count / bytesPerRow), all.height - rendering->_next);
    if (rows <= 0) return 0;
    core_image::ForgetFailure();
    core_image::BitmapDestination destination = rendering->_destination;
    destination.pixels = buffer;
    destination.bytesPerRow = static_cast<std::ptrdiff_t>(bytesPerRow);
    const core_image::SpaceCoding coding = core_image::CodingOfSpace(rendering->_space);
    destination.transfer = coding.transfer;
    core_image::Output output = [rendering->_context outputOf:coding];
    output.session = rendering->_session;
    const core_image::Region strip = {all.x, all.Top() - rendering->_next - rows, all.width, rows};
    if (!core_image::RenderImage([rendering->_image handle], strip, destination, output)) return 0;
    rendering->_next += rows;
    return static_cast<std::size_t>(rows) * bytesPerRow;
}

off_t SkipRendering(void* info, off_t count) {
    CIDeferredRendering* rendering = DeferredRendering(info);
    const auto bytesPerRow = static_cast<std::int64_t>(BytesPerRow(rendering->_region, rendering->_destination.format));
    const std::int64_t rows = std::min<std::int64_t>(count / bytesPerRow, rendering->_region.height - rendering->_next);
    rendering->_next += rows;
    return static_cast<off_t>(rows * bytesPerRow);
}

void RewindRendering(void* info) { DeferredRendering(info)->_next = 0; }

void ReleaseRendering(void* info) { [DeferredRendering(info) release]; }

constexpr CGDataProviderSequentialCallbacks kDeferredCallbacks = {0, RenderRows, SkipRendering, RewindRendering,
                                                                  ReleaseRendering};

}  // namespace

NSString* const kCIContextOutputColorSpace = @"output_color_space";
NSString* const kCIContextWorkingColorSpace = @"working_color_space";
NSString* const kCIContextMemoryLimit = @"memory_limit";
NSString* const kCIContextStraightAlpha = @"straight_alpha";

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
    context->_hasStraightBytes = [[options objectForKey:kCIContextStraightAlpha] boolValue];
    return context;
}

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
    return [self createCGImage:image fromRect:rect format:format colorSpace:colorSpace deferred:NO];
}

- (CGImageRef)createCGImage:(CIImage*)image
                   fromRect:(CGRect)rect
                     format:(CIFormat)format
                 colorSpace:(CGColorSpaceRef)colorSpace
                   deferred:(BOOL)deferred {
    core_image::ForgetFailure();
    core_image::BitmapDestination destination;
    if (!ReadFormat(format, &destination.format) || CGColorSpaceGetModel(colorSpace) != kCGColorSpaceModelRGB) {
        return nullptr;
    }
    core_image::Region region;
    if (image == nil || !ReadRegion(rect, &region)) return nullptr;
    destination.hasStraightBytes = _hasStraightBytes;
    if (deferred) {
        const double bytesOfRow = BytesIn({region.x, region.y, region.width, 1}, destination.format);
        if (!IsAddressable(bytesOfRow)) {
            NoteShortage(region, bytesOfRow);
            return nullptr;
        }
        CIDeferredRendering* rendering = [[[CIDeferredRendering alloc] init] autorelease];
        rendering->_context = [self retain];
        rendering->_image = [image retain];
        rendering->_space = CGColorSpaceRetain(colorSpace);
        rendering->_destination = destination;
        rendering->_region = region;
        rendering->_session = new core_image::RenderSession;
        CGDataProviderRef provider = CGDataProviderCreateSequential([rendering retain], &kDeferredCallbacks);
        return BitmapOver(provider, region, destination, colorSpace);
    }
    void* rows = AllocateRows(region, destination.format);
    if (rows == nullptr) return nullptr;
    const std::size_t bytesPerRow = BytesPerRow(region, destination.format);
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
    [data release];
    return BitmapOver(provider, region, destination, colorSpace);
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
    destination.hasStraightBytes = _hasStraightBytes;
    destination.pixels = bitmap;
    destination.bytesPerRow = rowBytes;
    const core_image::SpaceCoding coding = core_image::CodingOfSpace(colorSpace);
    destination.transfer = coding.transfer;
    // The method returns nothing; CIEngineFailure tells.
    (void)core_image::RenderImage([image handle], region, destination, [self outputOf:coding]);
}

@end
