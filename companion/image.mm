// image.mm - CIImageQOR, an image: opened from a file, made of bytes, of a color or by a filter, cropped, transformed,
// saved.
//
//   CIImageQOR.Open("photo.jpg")      Extent  Crop(rectangle)  Transform(transform)  Save("blurred.png")
//
// An image is a recipe; its pixels are computed when they are asked for (image_output.h). One that was opened keeps its
// file's bitmap as well, as the file has it; the image itself stands upright.

#import <CoreImage/CoreImage.h>

#include "bridge/guard.h"
#include "bridge/host_objects.h"
#include "companion/class_record.h"
#include "companion/color_space.h"
#include "companion/host_bytes.h"
#include "companion/host_text.h"
#include "companion/image_files.h"
#include "companion/image_output.h"
#include "companion/rectangle.h"
#include "companion/value_object.h"

namespace {

CIImage* ImageOf(ZEVAobjectStruct* self) { return WrappedIn(self); }

// A new image object of a picture that was read, standing upright; gives the picture's bitmap to the object.
ZEVAobjectStruct* NewImageOf(const PictureFile& picture) {
    CIImage* image = [CIImage imageWithCGImage:picture.bitmap];
    if (picture.orientation != 1) image = [image imageByApplyingOrientation:picture.orientation];
    ZEVAobjectStruct* object = NewValueObject("CIImageQOR", image);
    if (object == nullptr) {
        CGImageRelease(picture.bitmap);
    } else {
        reinterpret_cast<ImageObject*>(object)->cgImage = picture.bitmap;
    }
    return object;
}

// Raises for a file that is missing, no picture, or broken.
ZEVAobjectStruct* Open(ZEVAstringStruct* path) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] {
        NSString* text = TextOf(path);
        if ([text length] == 0) return RaiseWithMessage(@"CIImageQOR.Open: the path is empty, no image is opened");
        PictureFile picture;
        NSString* reason = ReadImageFile(text, &picture);
        if (reason != nil) return RaiseAbout(text, reason, @"no image is opened");
        result = NewImageOf(picture);
    });
    return result;
}

// Raises for bytes that are no picture.
ZEVAobjectStruct* NewFromData(ZEVAmemoryBlockStruct* data) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] {
        PictureFile picture;
        NSString* reason = ReadImageData(DataOf(data), &picture);
        if (reason != nil) return RaiseAbout(@"CIImageQOR.FromData", reason, @"no image is made");
        result = NewImageOf(picture);
    });
    return result;
}

// Raises when the block has not as many bytes as the pixels need.
ZEVAobjectStruct* NewFromPixels(ZEVAmemoryBlockStruct* pixels, std::int32_t width, std::int32_t height) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] {
        constexpr std::int32_t kBytesPerPixel = 4;
        NSData* bytes = DataOf(pixels);
        const std::int64_t needed = std::int64_t{width} * height * kBytesPerPixel;
        if (width <= 0 || height <= 0 || needed != static_cast<std::int64_t>([bytes length])) {
            return RaiseWithMessage([NSString
                stringWithFormat:@"CIImageQOR.FromPixels: %d x %d pixels of %d bytes, got %lu bytes, no image is made",
                                 static_cast<int>(width), static_cast<int>(height), static_cast<int>(kBytesPerPixel),
                                 static_cast<unsigned long>([bytes length])]);
        }
        CGDataProviderRef provider = CGDataProviderCreateWithCFData(reinterpret_cast<CFDataRef>(bytes));
        CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
        PictureFile picture;
        picture.bitmap =
            CGImageCreate(static_cast<std::size_t>(width), static_cast<std::size_t>(height),
                          /*bitsPerComponent=*/8, /*bitsPerPixel=*/8 * kBytesPerPixel,
                          static_cast<std::size_t>(width) * kBytesPerPixel, space, kCGImageAlphaLast, provider,
                          /*decode=*/nullptr, /*shouldInterpolate=*/true, kCGRenderingIntentDefault);
        CGColorSpaceRelease(space);
        CGDataProviderRelease(provider);
        result = NewImageOf(picture);
    });
    return result;
}

// Raises for nil.
ZEVAobjectStruct* NewFromColor(ZEVAobjectStruct* color) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] {
        CIColor* wrapped = WrappedIn(color);
        if (wrapped == nil) return RaiseAbout(@"CIImageQOR.FromColor", @"the color is nil", @"no image is made");
        result = NewValueObject("CIImageQOR", [CIImage imageWithColor:wrapped]);
    });
    return result;
}

// The extent as x, y, width, height.
ZEVAobjectStruct* GetExtent(ZEVAobjectStruct* self) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] {
        if (ImageOf(self) == nil) return;
        const CGRect extent = [ImageOf(self) extent];
        result = NewValueObject("CIVectorQOR", [CIVector vectorWithX:extent.origin.x
                                                                   Y:extent.origin.y
                                                                   Z:extent.size.width
                                                                   W:extent.size.height]);
    });
    return result;
}

// The space of the file's colors; nil for an image that was not opened.
ZEVAobjectStruct* GetColorSpace(ZEVAobjectStruct* self) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] { result = NewColorSpaceObject(CGImageGetColorSpace(reinterpret_cast<ImageObject*>(self)->cgImage)); });
    return result;
}

// The part inside a rectangle of four numbers; raises for a vector of another length and for nil.
ZEVAobjectStruct* Crop(ZEVAobjectStruct* self, ZEVAobjectStruct* rectangle) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] {
        CGRect rect = CGRectZero;
        NSString* reason = RectangleIn(rectangle, &rect);
        if (reason != nil) return RaiseAbout(@"CIImageQOR.Crop", reason, @"nothing is cropped");
        result = NewValueObject("CIImageQOR", [ImageOf(self) imageByCroppingToRect:rect]);
    });
    return result;
}

// The image laid over another one; raises for nil.
ZEVAobjectStruct* Over(ZEVAobjectStruct* self, ZEVAobjectStruct* background) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] {
        CIImage* below = WrappedIn(background);
        if (below == nil) return RaiseAbout(@"CIImageQOR.Over", @"the background is nil", @"nothing is laid over it");
        result = NewValueObject("CIImageQOR", [ImageOf(self) imageByCompositingOverImage:below]);
    });
    return result;
}

// The image under a map; raises for nil and for a map that takes the plane to a line.
ZEVAobjectStruct* Transform(ZEVAobjectStruct* self, ZEVAobjectStruct* transform) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] {
        NSString* const member = @"CIImageQOR.Transform";
        NSAffineTransform* wrapped = WrappedIn(transform);
        if (wrapped == nil) return RaiseAbout(member, @"the transform is nil", @"nothing is transformed");
        const NSAffineTransformStruct map = [wrapped transformStruct];
        CIImage* image = [ImageOf(self)
            imageByApplyingTransform:CGAffineTransformMake(map.m11, map.m12, map.m21, map.m22, map.tX, map.tY)];
        if (image == nil && ImageOf(self) != nil) {
            return RaiseAbout(member, @"the transform cannot be inverted", @"nothing is transformed");
        }
        result = NewValueObject("CIImageQOR", image);
    });
    return result;
}

void Finalize(ZEVAobjectStruct* self) {
    auto* object = reinterpret_cast<ImageObject*>(self);
    [object->wrapped release];
    CGImageRelease(object->cgImage);
}

ZEVAmethod methods[] = {
    COMPANION_METHOD("Extent as CIVectorQOR", GetExtent),
    COMPANION_METHOD("ColorSpace as CGColorSpaceQOR", GetColorSpace),
    COMPANION_METHOD("Crop(rectangle as CIVectorQOR) as CIImageQOR", Crop),
    COMPANION_METHOD("Over(background as CIImageQOR) as CIImageQOR", Over),
    COMPANION_METHOD("Transform(transform as NSAffineTransformQOR) as CIImageQOR", Transform),
    COMPANION_METHOD("Save(path as string)", SaveImage),
    COMPANION_METHOD("SaveWithQuality(path as string, quality as double)", SaveImageWithQuality),
    COMPANION_METHOD("SaveInSpace(path as string, quality as double, space as CGColorSpaceQOR)", SaveImageInSpace),
    COMPANION_METHOD("ToPNG() as memoryblock", ImageToPNG),
    COMPANION_METHOD("ToJPEG(quality as double) as memoryblock", ImageToJPEG),
    COMPANION_METHOD("Pixels(rectangle as CIVectorQOR) as memoryblock", ImagePixels),
    COMPANION_METHOD("Values(rectangle as CIVectorQOR) as memoryblock", ImageValues),
    COMPANION_METHOD("ColorAt(x as double, y as double) as CIColorQOR", ImageColorAt),
};

ZEVAmethod sharedMethods[] = {
    COMPANION_METHOD("Open(path as string) as CIImageQOR", Open),
    COMPANION_METHOD("FromData(data as memoryblock) as CIImageQOR", NewFromData),
    COMPANION_METHOD("FromPixels(pixels as memoryblock, width as integer, height as integer) as CIImageQOR",
                     NewFromPixels),
    COMPANION_METHOD("FromColor(color as CIColorQOR) as CIImageQOR", NewFromColor),
};

}  // namespace

ZEVAclassDefinition CIImageClass = {
    .record = {.version = kRecordVersion,
               .className = "CIImageQOR",
               .instanceDataSize = COMPANION_DATA_SIZE(ImageObject),
               .finalize = Finalize,
               .methods = methods,
               .methodCount = std::size(methods),
               .flags = kHostFlags,
               .sharedMethods = sharedMethods,
               .sharedMethodCount = std::size(sharedMethods)},
};
