// rendering.mm - makes bitmaps and contexts with the public interfaces of the platform libraries.

#include "rendering.h"

CIImage* ImageOfFloats(std::size_t width, std::size_t height, const std::vector<float>& pixels) {
    NSData* data = [NSData dataWithBytes:pixels.data() length:pixels.size() * sizeof(float)];
    return [CIImage imageWithBitmapData:data
                            bytesPerRow:width * 4 * sizeof(float)
                                   size:CGSizeMake((CGFloat)width, (CGFloat)height)
                                 format:kCIFormatRGBAf
                             colorSpace:nullptr];
}

CIImage* ImageOfBytes(std::size_t width, std::size_t height, const std::vector<std::uint8_t>& pixels) {
    NSData* data = [NSData dataWithBytes:pixels.data() length:pixels.size()];
    CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)data);
    CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
    CGImageRef bitmap = CGImageCreate(width, height, 8, 32, width * 4, space, kCGImageAlphaLast, provider,
                                      /*decode=*/nullptr, /*shouldInterpolate=*/false, kCGRenderingIntentDefault);
    CIImage* image = [CIImage imageWithCGImage:bitmap];
    CGImageRelease(bitmap);
    CGColorSpaceRelease(space);
    CGDataProviderRelease(provider);
    return image;
}

std::vector<std::uint8_t> VariedBytes(std::size_t width, std::size_t height) {
    std::vector<std::uint8_t> bytes;
    std::uint32_t state = 1;
    for (std::size_t index = 0; index < width * height * 4; ++index) {
        state = state * 1664525 + 1013904223;
        const bool isOpaqueAlpha = index % 4 == 3 && index % 8 == 3;
        bytes.push_back(isOpaqueAlpha ? 255 : static_cast<std::uint8_t>(state >> 24));
    }
    return bytes;
}

std::vector<float> Floats(CIImage* image, CGRect rect) {
    const auto width = static_cast<std::size_t>(rect.size.width);
    std::vector<float> pixels(width * static_cast<std::size_t>(rect.size.height) * 4, -1.0f);
    [[CIContext contextWithOptions:nil] render:image
                                      toBitmap:pixels.data()
                                      rowBytes:static_cast<ptrdiff_t>(width * 4 * sizeof(float))
                                        bounds:rect
                                        format:kCIFormatRGBAf
                                    colorSpace:nullptr];
    return pixels;
}

std::vector<std::uint8_t> Bytes(CIImage* image, CGRect rect) {
    const auto width = static_cast<std::size_t>(rect.size.width);
    std::vector<std::uint8_t> pixels(width * static_cast<std::size_t>(rect.size.height) * 4, 7);
    CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    [[CIContext contextWithOptions:nil] render:image
                                      toBitmap:pixels.data()
                                      rowBytes:static_cast<ptrdiff_t>(width * 4)
                                        bounds:rect
                                        format:kCIFormatRGBA8
                                    colorSpace:space];
    CGColorSpaceRelease(space);
    return pixels;
}

CIFilter* FilterOn(NSString* name, CIImage* image) {
    CIFilter* filter = [CIFilter filterWithName:name];
    [filter setValue:image forKey:kCIInputImageKey];
    return filter;
}

NSException* RaisedBy(const std::function<void()>& action) {
    NSException* raised = nil;
    @try {
        action();
    } @catch (NSException* exception) {
        raised = [[exception retain] autorelease];
    }
    return raised;
}

std::string Text(NSString* string) { return string == nil ? "" : [string UTF8String]; }
