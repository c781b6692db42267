// images.mm - over the classes of Core Image.

#include "images.h"

#include <cmath>

#include "parameters.h"

namespace benchmarks {
namespace {

CIImage* ImageOf(const void* pixels, std::size_t bytesPerRow, std::size_t width, std::size_t height, CIFormat format,
                 CFStringRef spaceName) {
    NSData* data = [NSData dataWithBytesNoCopy:const_cast<void*>(pixels) length:bytesPerRow * height freeWhenDone:NO];
    CGColorSpaceRef space = CGColorSpaceCreateWithName(spaceName);
    CIImage* image = [CIImage imageWithBitmapData:data
                                      bytesPerRow:bytesPerRow
                                             size:CGSizeMake((CGFloat)width, (CGFloat)height)
                                           format:format
                                       colorSpace:space];
    CGColorSpaceRelease(space);
    return [image retain];
}

CIImage* ImageOf(const Picture& picture) {
    return ImageOfFloats(picture.pixels.data(), picture.width, picture.width, picture.height);
}

}  // namespace

CIImage* ImageOfFloats(const float* pixels, std::size_t pixelsPerRow, std::size_t width, std::size_t height) {
    return ImageOf(pixels, pixelsPerRow * kChannels * sizeof(float), width, height, kCIFormatRGBAf,
                   kCGColorSpaceLinearSRGB);
}

CIImage* ImageOfBytes(const void* pixels, std::size_t pixelsPerRow, std::size_t width, std::size_t height) {
    return ImageOf(pixels, pixelsPerRow * kChannels, width, height, kCIFormatRGBA8, kCGColorSpaceSRGB);
}

const Images& AllImages() {
    static const Images images = {ImageOf(First()), ImageOf(Second()),
                                  ImageOfBytes(FirstAsBytes().data(), kWidth, kWidth, kHeight), ImageOf(Photo()),
                                  ImageOf(Small())};
    return images;
}

Made& FiltersMade() {
    static Made made = {};
    return made;
}

CIImage* Filtered(NSString* name, CIImage* image, Values values) {
    FiltersMade().last = name;
    ++FiltersMade().count;
    CIFilter* filter = [CIFilter filterWithName:name];
    if (image != nil) [filter setValue:image forKey:kCIInputImageKey];
    for (const auto& [key, value] : values) [filter setValue:value forKey:key];
    return [filter outputImage];
}

NSNumber* Number(double value) { return [NSNumber numberWithDouble:value]; }

CIVector* Vector(const std::vector<double>& numbers) {
    const std::vector<CGFloat> values(numbers.begin(), numbers.end());
    return [CIVector vectorWithValues:values.data() count:values.size()];
}

NSAffineTransform* RotationAbout(double x, double y) {
    const double a = kScale * std::cos(kRotation), b = kScale * std::sin(kRotation);
    NSAffineTransform* map = [NSAffineTransform transform];
    [map setTransformStruct:{(CGFloat)a, (CGFloat)b, (CGFloat)-b, (CGFloat)a, (CGFloat)(x - a * x + b * y),
                             (CGFloat)(y - b * x - a * y)}];
    return map;
}

NSData* CubeTexels() {
    static NSData* const data = [[NSData alloc] initWithBytesNoCopy:const_cast<float*>(Cube().data())
                                                             length:Cube().size() * sizeof(float)
                                                       freeWhenDone:NO];
    return data;
}

void Render(CIImage* image, CGRect bounds, bool asBytes, void* to) {
    static CIContext* const context = [[CIContext contextWithOptions:nil] retain];
    static CGColorSpaceRef const linear = CGColorSpaceCreateWithName(kCGColorSpaceLinearSRGB);
    static CGColorSpaceRef const encoded = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    const std::size_t pixelSize = asBytes ? kChannels : kChannels * sizeof(float);
    [context render:image
           toBitmap:to
           rowBytes:static_cast<ptrdiff_t>(bounds.size.width) * static_cast<ptrdiff_t>(pixelSize)
             bounds:bounds
             format:asBytes ? kCIFormatRGBA8 : kCIFormatRGBAf
         colorSpace:asBytes ? encoded : linear];
}

}  // namespace benchmarks
