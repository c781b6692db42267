// image.mm - CIImageQOR, an image that comes from a file, bytes, a color or a filter, and that can be cropped,
// transformed and saved.
//
//   CIImageQOR.Open("photo.jpg")      Extent  Crop(rectangle)  Transform(transform)  Save("blurred.png")
//
// An image is a recipe: its pixels are computed when a member of image_output.h reads them. An image that was opened
// also keeps the bitmap of its file, in the file's orientation; the image itself is upright.

#import <CoreImage/CIEngine.h>
#import <CoreImage/CoreImage.h>
#include <ImageIO/ImageIO.h>

#include <cstddef>
#include <cstdint>

#include "bridge/host_objects.h"
#include "companion/class_record.h"
#include "companion/color_space.h"
#include "companion/host_bytes.h"
#include "companion/host_text.h"
#include "companion/image_files.h"
#include "companion/image_object.h"
#include "companion/image_output.h"
#include "companion/rectangle.h"
#include "companion/value_object.h"

namespace {

CIImage* ImageOf(ZEVAobjectStruct* self) { return WrappedIn(self); }

// Returns a new, upright image of a picture. The object takes over the caller's reference to the bitmap.
ZEVAobjectStruct* NewImageOf(const PictureFile& picture) {
    NSString* name = picture.name != nil ? picture.name : @"the picture";
    NSDictionary* options =
        [NSDictionary dictionaryWithObjectsAndKeys:name, kCIImageName, picture.reduced, kCIImageReducedImages, nil];
    CIImage* image = [CIImage imageWithCGImage:picture.bitmap options:options];
    if (picture.orientation != 1) image = [image imageByApplyingOrientation:picture.orientation];
    ZEVAobjectStruct* object = NewValueObject("CIImageQOR", image);
    if (object == nullptr) {
        CGImageRelease(picture.bitmap);
        return nullptr;
    }
    auto* opened = reinterpret_cast<OpenedImageObject*>(object);
    opened->shared.cgImage = picture.bitmap;
    opened->properties = [picture.properties retain];
    opened->file = picture.file;
    return object;
}

// Returns a new object of the image that a member has made of another one. Raises the reason when the engine made none.
ZEVAobjectStruct* NewResult(CIImage* made, CIImage* original, NSString* member, NSString* consequence) {
    if (made == nil && original != nil) {
        RaiseAbout(member, [NSString stringWithUTF8String:CIEngineFailure()], consequence);
        return nullptr;
    }
    return NewValueObject("CIImageQOR", made);
}

// Raises for a file that is missing, damaged or not of a known format.
ZEVAobjectStruct* Open(ZEVAstringStruct* path) {
    NSString* const consequence = @"no image was opened";
    const char* bytes = nullptr;
    NSString* reason = PathOf(path, &bytes);
    if (reason != nil) return Refused(@"CIImageQOR.Open", reason, consequence);
    PictureFile picture;
    reason = ReadImageFile(bytes, &picture);
    if (reason != nil) return Refused(TextOfPath(bytes), reason, consequence);
    return NewImageOf(picture);
}

// Returns whether a file begins like a picture that Open reads. A file that cannot be read is not one.
std::int32_t IsPicture(ZEVAstringStruct* path) {
    const char* bytes = nullptr;
    return PathOf(path, &bytes) == nil && BeginsLikePicture(bytes) ? 1 : 0;
}

// Raises for bytes that are not a file of a known format.
ZEVAobjectStruct* NewFromData(ZEVAmemoryBlockStruct* data) {
    PictureFile picture;
    NSString* reason = ReadImageData(DataOf(data), &picture);
    if (reason != nil) return Refused(@"CIImageQOR.FromData", reason, @"no image was created");
    return NewImageOf(picture);
}

// Returns the bytes of a block if it holds an image of a size. Otherwise raises and returns nil.
NSData* PixelsIn(ZEVAmemoryBlockStruct* block, std::int32_t width, std::int32_t height, std::int32_t bytesPerPixel,
                 NSString* member) {
    NSData* bytes = DataOver(block);
    // Unsigned, and without an overflow whatever the sizes are.
    const bool isPositive = width > 0 && height > 0;
    const std::uint64_t pixels = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
    const std::uint64_t size = [bytes length];
    const auto perPixel = static_cast<std::uint64_t>(bytesPerPixel);
    if (isPositive && size % perPixel == 0 && size / perPixel == pixels) return bytes;
    RaiseWithMessage(
        [NSString stringWithFormat:@"%@: expected %d x %d pixels of %d bytes, got %lu bytes; no image was created",
                                   member, static_cast<int>(width), static_cast<int>(height),
                                   static_cast<int>(bytesPerPixel), static_cast<unsigned long>(size)]);
    return nil;
}

// Raises when the size of the block does not match the number of pixels.
ZEVAobjectStruct* NewFromPixels(ZEVAmemoryBlockStruct* pixels, std::int32_t width, std::int32_t height) {
    constexpr std::int32_t kBytesPerPixel = 4;
    NSData* bytes = PixelsIn(pixels, width, height, kBytesPerPixel, @"CIImageQOR.FromPixels");
    if (bytes == nil) return nullptr;
    CGDataProviderRef provider = CGDataProviderCreateWithCFData(reinterpret_cast<CFDataRef>(bytes));
    CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    PictureFile picture;
    picture.bitmap = CGImageCreate(static_cast<std::size_t>(width), static_cast<std::size_t>(height),
                                   /*bitsPerComponent=*/8, /*bitsPerPixel=*/8 * kBytesPerPixel,
                                   static_cast<std::size_t>(width) * kBytesPerPixel, space, kCGImageAlphaLast, provider,
                                   /*decode=*/nullptr, /*shouldInterpolate=*/true, kCGRenderingIntentDefault);
    CGColorSpaceRelease(space);
    CGDataProviderRelease(provider);
    return NewImageOf(picture);
}

// Raises like FromPixels.
ZEVAobjectStruct* NewFromValues(ZEVAmemoryBlockStruct* values, std::int32_t width, std::int32_t height) {
    constexpr std::int32_t kBytesPerPixel = 4 * sizeof(float);
    NSString* const member = @"CIImageQOR.FromValues";
    NSData* bytes = PixelsIn(values, width, height, kBytesPerPixel, member);
    if (bytes == nil) return nullptr;
    CIImage* image = [CIImage imageWithBitmapData:bytes
                                      bytesPerRow:static_cast<std::size_t>(width) * kBytesPerPixel
                                             size:CGSizeMake(static_cast<CGFloat>(width), static_cast<CGFloat>(height))
                                           format:kCIFormatRGBAf
                                       colorSpace:nullptr];
    if (image == nil) {
        return Refused(member, [NSString stringWithUTF8String:CIEngineFailure()], @"no image was created");
    }
    return NewValueObject("CIImageQOR", image);
}

// Raises for NaN and for a number below 1.
void SetPixelLimit(double pixels) {
    if (!(pixels >= 1)) {
        return RaiseAbout(@"CIImageQOR.SetPixelLimit", @"the number is not 1 or more", @"the limit stays");
    }
    CGImageSourceSetPixelLimit(pixels < static_cast<double>(SIZE_MAX) ? static_cast<std::size_t>(pixels) : SIZE_MAX);
}

// Raises for nil.
ZEVAobjectStruct* NewFromColor(ZEVAobjectStruct* color) {
    CIColor* wrapped = WrappedIn(color);
    if (wrapped == nil) return Refused(@"CIImageQOR.FromColor", @"the color is nil", @"no image was created");
    return NewValueObject("CIImageQOR", [CIImage imageWithColor:wrapped]);
}

// Returns the extent as x, y, width and height.
ZEVAobjectStruct* GetExtent(ZEVAobjectStruct* self) {
    if (ImageOf(self) == nil) return nullptr;
    const CGRect extent = [ImageOf(self) extent];
    return NewValueObject("CIVectorQOR", [CIVector vectorWithX:extent.origin.x
                                                             Y:extent.origin.y
                                                             Z:extent.size.width
                                                             W:extent.size.height]);
}

// Returns the color space of the file; nil for an image that was not opened from one.
ZEVAobjectStruct* GetColorSpace(ZEVAobjectStruct* self) {
    return NewColorSpaceObject(CGImageGetColorSpace(reinterpret_cast<ImageObject*>(self)->cgImage));
}

// Returns the part inside a rectangle. Raises for nil and for a vector that does not have four numbers.
ZEVAobjectStruct* Crop(ZEVAobjectStruct* self, ZEVAobjectStruct* rectangle) {
    CGRect rect = CGRectZero;
    NSString* reason = RectangleIn(rectangle, &rect);
    if (reason != nil) return Refused(@"CIImageQOR.Crop", reason, @"nothing was cropped");
    CIImage* image = [ImageOf(self) imageByCroppingToRect:rect];
    return NewResult(image, ImageOf(self), @"CIImageQOR.Crop", @"nothing was cropped");
}

// Composites the image over another one. Raises for nil.
ZEVAobjectStruct* Over(ZEVAobjectStruct* self, ZEVAobjectStruct* background) {
    CIImage* below = WrappedIn(background);
    if (below == nil) return Refused(@"CIImageQOR.Over", @"the background is nil", @"nothing was composited");
    CIImage* image = [ImageOf(self) imageByCompositingOverImage:below];
    return NewResult(image, ImageOf(self), @"CIImageQOR.Over", @"nothing was composited");
}

// Returns the transformed image. Raises for nil and for a transform that maps the plane to a line or a point.
ZEVAobjectStruct* Transform(ZEVAobjectStruct* self, ZEVAobjectStruct* transform) {
    NSString* const member = @"CIImageQOR.Transform";
    NSAffineTransform* wrapped = WrappedIn(transform);
    if (wrapped == nil) return Refused(member, @"the transform is nil", @"nothing was transformed");
    const NSAffineTransformStruct map = [wrapped transformStruct];
    CIImage* image = [ImageOf(self)
        imageByApplyingTransform:CGAffineTransformMake(map.m11, map.m12, map.m21, map.m22, map.tX, map.tY)];
    if (image == nil && ImageOf(self) != nil && *CIEngineFailure() == '\0') {
        return Refused(member, @"the transform is not invertible", @"nothing was transformed");
    }
    return NewResult(image, ImageOf(self), member, @"nothing was transformed");
}

// Stores the mode that a word names. Returns false for another word.
bool ModeOf(NSString* word, CIEngineResizeMode* mode) {
    NSArray* const words = @[ @"stretch", @"fit", @"fill" ];  // in the order of the modes
    const NSUInteger index = word != nil ? [words indexOfObject:word] : NSNotFound;
    *mode = static_cast<CIEngineResizeMode>(index);
    return index != NSNotFound;
}

// Returns the image resized to a size in pixels. Raises for a size below 1 x 1, for an unknown mode, and for an image
// that is empty or infinite.
ZEVAobjectStruct* Resized(ZEVAobjectStruct* self, std::int32_t width, std::int32_t height, ZEVAstringStruct* mode) {
    NSString* const member = @"CIImageQOR.Resized";
    NSString* const consequence = @"nothing was resized";
    CIImage* original = ImageOf(self);
    if (original == nil) return nullptr;
    const CGRect extent = [original extent];
    CIEngineResizeMode found = kCIEngineResizeStretch;
    NSString* reason = nil;
    if (width < 1 || height < 1) {
        reason = [NSString stringWithFormat:@"%d x %d is not a size, expected at least 1 x 1", static_cast<int>(width),
                                            static_cast<int>(height)];
    } else if (!ModeOf(TextOf(mode), &found)) {
        reason = [NSString
            stringWithFormat:@"the mode '%@' is not stretch, fit or fill", mode != nullptr ? TextOf(mode) : @""];
    } else if (CGRectIsEmpty(extent)) {
        reason = @"the image is empty";
    } else if (CGRectIsInfinite(extent)) {
        reason = @"the image is infinite, crop it first";
    }
    if (reason != nil) return Refused(member, reason, consequence);
    CIImage* image = [original imageByResizingToWidth:width height:height mode:found];
    if (image == nil && *CIEngineFailure() == '\0') {
        return Refused(member, @"the image extends too far, crop it first", consequence);
    }
    return NewResult(image, original, member, consequence);
}

// Returns the image stretched over the extent of another one. Raises unless both are finite and not empty.
ZEVAobjectStruct* Covering(ZEVAobjectStruct* self, ZEVAobjectStruct* other) {
    NSString* const member = @"CIImageQOR.Covering";
    NSString* const consequence = @"nothing was resized";
    CIImage* original = ImageOf(self);
    CIImage* below = WrappedIn(other);
    if (below == nil) return Refused(member, @"the other image is nil", consequence);
    if (original == nil) return nullptr;
    const CGRect target = CGRectIntegral([below extent]);
    constexpr CGFloat kBeyondAnySide = 2147483648;  // does not fit into 32 bits with a sign
    NSString* reason = nil;
    if (CGRectIsEmpty([original extent]) || CGRectIsEmpty(target)) {
        reason = @"an image is empty";
    } else if (CGRectIsInfinite([original extent]) || CGRectIsInfinite(target)) {
        reason = @"an image is infinite, crop it first";
    } else if (target.size.width >= kBeyondAnySide || target.size.height >= kBeyondAnySide) {
        reason = @"the image to cover extends too far, crop it first";
    }
    if (reason != nil) return Refused(member, reason, consequence);
    CIImage* image = [original imageByResizingToWidth:static_cast<std::int32_t>(target.size.width)
                                               height:static_cast<std::int32_t>(target.size.height)
                                                 mode:kCIEngineResizeStretch];
    if (image == nil && *CIEngineFailure() == '\0') {
        return Refused(member, @"the image extends too far, crop it first", consequence);
    }
    const bool isMoved = target.origin.x != 0 || target.origin.y != 0;
    if (isMoved) {
        image = [image imageByApplyingTransform:CGAffineTransformMake(1, 0, 0, 1, target.origin.x, target.origin.y)];
    }
    return NewResult(image, original, member, consequence);
}

void FinalizeImage(ZEVAobjectStruct* self) {
    auto* object = reinterpret_cast<OpenedImageObject*>(self);
    [object->shared.wrapped release];
    CGImageRelease(object->shared.cgImage);
    [object->properties release];
}

ZEVAmethod imageMethods[] = {
    COMPANION_METHOD("Extent as CIVectorQOR", GetExtent),
    COMPANION_METHOD("ColorSpace as CGColorSpaceQOR", GetColorSpace),
    COMPANION_METHOD("Crop(rectangle as CIVectorQOR) as CIImageQOR", Crop),
    COMPANION_METHOD("Over(background as CIImageQOR) as CIImageQOR", Over),
    COMPANION_METHOD("Transform(transform as NSAffineTransformQOR) as CIImageQOR", Transform),
    COMPANION_METHOD("Resized(width as integer, height as integer, mode as string) as CIImageQOR", Resized),
    COMPANION_METHOD("Covering(other as CIImageQOR) as CIImageQOR", Covering),
    COMPANION_METHOD("Save(path as string)", SaveImage),
    COMPANION_METHOD("SaveWithQuality(path as string, quality as double)", SaveImageWithQuality),
    COMPANION_METHOD("SaveInSpace(path as string, quality as double, space as CGColorSpaceQOR)", SaveImageInSpace),
    COMPANION_METHOD("SaveLike(path as string, source as CIImageQOR, options as string)", SaveImageLike),
    COMPANION_METHOD("SaveInWorkingSpace(path as string, workingSpace as CGColorSpaceQOR)", SaveImageInWorkingSpace),
    COMPANION_METHOD("ToPNG() as memoryblock", ImageToPNG),
    COMPANION_METHOD("ToJPEG(quality as double) as memoryblock", ImageToJPEG),
    COMPANION_METHOD("Pixels(rectangle as CIVectorQOR) as memoryblock", ImagePixels),
    COMPANION_METHOD("ScreenPixels(rectangle as CIVectorQOR) as memoryblock", ImageScreenPixels),
    COMPANION_METHOD("Values(rectangle as CIVectorQOR) as memoryblock", ImageValues),
    COMPANION_METHOD("ColorAt(x as double, y as double) as CIColorQOR", ImageColorAt),
};

ZEVAmethod imageSharedMethods[] = {
    COMPANION_METHOD("Open(path as string) as CIImageQOR", Open),
    COMPANION_METHOD("IsPicture(path as string) as boolean", IsPicture),
    COMPANION_METHOD("FromData(data as memoryblock) as CIImageQOR", NewFromData),
    COMPANION_METHOD("FromPixels(pixels as memoryblock, width as integer, height as integer) as CIImageQOR",
                     NewFromPixels),
    COMPANION_METHOD("FromValues(values as memoryblock, width as integer, height as integer) as CIImageQOR",
                     NewFromValues),
    COMPANION_METHOD("CheckSave(path as string, options as string)", CheckSave),
    COMPANION_METHOD("SetPixelLimit(pixels as double)", SetPixelLimit),
    COMPANION_METHOD("FromColor(color as CIColorQOR) as CIImageQOR", NewFromColor),
};

}  // namespace

ZEVAclassDefinition CIImageClass = {
    .record = {.version = kRecordVersion,
               .className = "CIImageQOR",
               .instanceDataSize = COMPANION_DATA_SIZE(OpenedImageObject),
               .finalize = FinalizeImage,
               .methods = imageMethods,
               .methodCount = std::size(imageMethods),
               .flags = kHostFlags,
               .sharedMethods = imageSharedMethods,
               .sharedMethodCount = std::size(imageSharedMethods)},
};
