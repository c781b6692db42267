// CGImage.mm - bitmaps and data providers as objects.
//
// Both only keep what they were created with, so they are immutable and safe on any thread, but for the position of a
// sequential provider.

#include <CoreGraphics/CGImage.h>
#import <Foundation/Foundation.h>

// A data provider as an object.
@interface CGDataProviderObject : NSObject {
  @public
    NSData* _data;  // nil for a sequential provider
    void* _info;
    CGDataProviderSequentialCallbacks _callbacks;
}
@end

namespace {

void ReleaseInfo(const CGDataProviderSequentialCallbacks& callbacks, void* info) {
    if (callbacks.releaseInfo != nullptr) callbacks.releaseInfo(info);
}

}  // namespace

@implementation CGDataProviderObject

- (void)dealloc {
    [_data release];
    ReleaseInfo(_callbacks, _info);
    [super dealloc];
}

@end

// An image as an object.
@interface CGImageObject : NSObject {
  @public
    size_t _width;
    size_t _height;
    size_t _bitsPerComponent;
    size_t _bytesPerRow;
    CGColorSpaceRef _space;
    CGBitmapInfo _bitmapInfo;
    CGDataProviderRef _provider;
}
@end

@implementation CGImageObject

- (void)dealloc {
    CGColorSpaceRelease(_space);
    CGDataProviderRelease(_provider);
    [super dealloc];
}

@end

namespace {

constexpr size_t kComponents = 4;

CGDataProviderObject* Object(CGDataProviderRef provider) { return (CGDataProviderObject*)provider; }

CGImageObject* Object(CGImageRef image) { return (CGImageObject*)image; }

// Returns whether alpha (or an unused component) comes last, and the numbers are such as the machine has.
bool IsKnownLayout(CGBitmapInfo info, size_t bits) {
    const CGBitmapInfo number = info & ~static_cast<CGBitmapInfo>(kCGBitmapAlphaInfoMask);
    const CGImageAlphaInfo alpha = info & kCGBitmapAlphaInfoMask;
    const bool isByte = bits == 8 && (number == kCGBitmapByteOrderDefault || number == kCGBitmapByteOrder32Big);
    const bool isWord = bits == 16 && number == kCGBitmapByteOrder16Host;
    const bool isFloat = bits == 32 && number == (kCGBitmapFloatComponents | kCGBitmapByteOrder32Host);
    return (isByte || isWord || isFloat) && (alpha == kCGImageAlphaLast || alpha == kCGImageAlphaPremultipliedLast ||
                                             alpha == kCGImageAlphaNoneSkipLast);
}

}  // namespace

CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data) {
    if (data == nullptr) return nullptr;
    CGDataProviderObject* provider = [[CGDataProviderObject alloc] init];
    provider->_data = [(NSData*)data retain];
    return (CGDataProviderRef)provider;
}

CGDataProviderRef CGDataProviderCreateSequential(void* info, const CGDataProviderSequentialCallbacks* callbacks) {
    CGDataProviderObject* provider = [[CGDataProviderObject alloc] init];
    provider->_info = info;
    provider->_callbacks = *callbacks;
    return (CGDataProviderRef)provider;
}

bool CGDataProviderIsSequential(CGDataProviderRef provider) {
    return provider != nullptr && Object(provider)->_callbacks.getBytes != nullptr;
}

size_t CGDataProviderGetBytes(CGDataProviderRef provider, void* buffer, size_t count) {
    return Object(provider)->_callbacks.getBytes(Object(provider)->_info, buffer, count);
}

void CGDataProviderRewind(CGDataProviderRef provider) { Object(provider)->_callbacks.rewind(Object(provider)->_info); }

CGDataProviderRef CGDataProviderRetain(CGDataProviderRef provider) {
    return (CGDataProviderRef)[Object(provider) retain];
}

void CGDataProviderRelease(CGDataProviderRef provider) { [Object(provider) release]; }

CFDataRef CGDataProviderCopyData(CGDataProviderRef provider) {
    return provider == nullptr ? nullptr : (CFDataRef)[Object(provider)->_data retain];
}

CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel, size_t bytesPerRow,
                         CGColorSpaceRef space, CGBitmapInfo bitmapInfo, CGDataProviderRef provider,
                         const CGFloat* decode, bool, CGColorRenderingIntent) {
    if (provider == nullptr || CGColorSpaceGetModel(space) != kCGColorSpaceModelRGB || decode != nullptr)
        return nullptr;
    if (bitsPerPixel != kComponents * bitsPerComponent || !IsKnownLayout(bitmapInfo, bitsPerComponent)) return nullptr;
    const size_t bytesPerPixel = bitsPerPixel / 8;
    if (width == 0 || height == 0 || width > bytesPerRow / bytesPerPixel) return nullptr;
    // The last row may lack its padding.
    const size_t available = [Object(provider)->_data length];
    const size_t lastRow = width * bytesPerPixel;
    const bool isTooShort = available < lastRow || (available - lastRow) / bytesPerRow < height - 1;
    if (isTooShort && !CGDataProviderIsSequential(provider)) return nullptr;

    CGImageObject* image = [[CGImageObject alloc] init];
    image->_width = width;
    image->_height = height;
    image->_bitsPerComponent = bitsPerComponent;
    image->_bytesPerRow = bytesPerRow;
    image->_space = CGColorSpaceRetain(space);
    image->_bitmapInfo = bitmapInfo;
    image->_provider = CGDataProviderRetain(provider);
    return (CGImageRef)image;
}

CGImageRef CGImageRetain(CGImageRef image) { return (CGImageRef)[Object(image) retain]; }

void CGImageRelease(CGImageRef image) { [Object(image) release]; }

size_t CGImageGetWidth(CGImageRef image) { return image == nullptr ? 0 : Object(image)->_width; }

size_t CGImageGetHeight(CGImageRef image) { return image == nullptr ? 0 : Object(image)->_height; }

size_t CGImageGetBitsPerComponent(CGImageRef image) { return image == nullptr ? 0 : Object(image)->_bitsPerComponent; }

size_t CGImageGetBitsPerPixel(CGImageRef image) { return kComponents * CGImageGetBitsPerComponent(image); }

size_t CGImageGetBytesPerRow(CGImageRef image) { return image == nullptr ? 0 : Object(image)->_bytesPerRow; }

CGColorSpaceRef CGImageGetColorSpace(CGImageRef image) { return image == nullptr ? nullptr : Object(image)->_space; }

CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image) { return CGImageGetBitmapInfo(image) & kCGBitmapAlphaInfoMask; }

CGBitmapInfo CGImageGetBitmapInfo(CGImageRef image) { return image == nullptr ? 0 : Object(image)->_bitmapInfo; }

CGDataProviderRef CGImageGetDataProvider(CGImageRef image) {
    return image == nullptr ? nullptr : Object(image)->_provider;
}
