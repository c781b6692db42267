// image.mm - CIImageQOR, an image: opened from a file or made by a filter, cropped, saved.
//
//   CIImageQOR.Open("photo.jpg")      Extent  Crop(rectangle)  Save("blurred.png")
//
// An image is a recipe; its pixels are computed when it is saved. One that was opened keeps its file's bitmap as well.

#import <CoreImage/CoreImage.h>

#include "bridge/guard.h"
#include "bridge/host_objects.h"
#include "companion/class_record.h"
#include "companion/host_text.h"
#include "companion/image_files.h"
#include "companion/value_object.h"

namespace {

CIImage* ImageOf(ZEVAobjectStruct* self) { return WrappedIn(self); }

// Raises "<path>: <reason>, <consequence>".
void RaiseAboutFile(NSString* path, NSString* reason, NSString* consequence) {
    RaiseWithMessage([NSString stringWithFormat:@"%@: %@, %@", path, reason, consequence]);
}

// Raises for a file that is missing, no picture, or broken.
ZEVAobjectStruct* Open(ZEVAstringStruct* path) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] {
        NSString* text = TextOf(path);
        if ([text length] == 0) return RaiseWithMessage(@"CIImageQOR.Open: the path is empty, no image is opened");
        CGImageRef bitmap = nullptr;
        NSString* reason = ReadImageFile(text, &bitmap);
        if (reason != nil) return RaiseAboutFile(text, reason, @"no image is opened");
        ZEVAobjectStruct* object = NewValueObject("CIImageQOR", [CIImage imageWithCGImage:bitmap]);
        if (object == nullptr) return CGImageRelease(bitmap);
        reinterpret_cast<ImageObject*>(object)->cgImage = bitmap;
        result = object;
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

// The part inside a rectangle of four numbers; raises for a vector of another length.
ZEVAobjectStruct* Crop(ZEVAobjectStruct* self, ZEVAobjectStruct* rectangle) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] {
        CIVector* vector = WrappedIn(rectangle);
        if ([vector count] != 4) {
            return RaiseWithMessage(
                [NSString stringWithFormat:@"CIImageQOR.Crop: a rectangle has 4 numbers, got %u, nothing is cropped",
                                           static_cast<unsigned>([vector count])]);
        }
        const CGRect rect = CGRectMake([vector X], [vector Y], [vector Z], [vector W]);
        result = NewValueObject("CIImageQOR", [ImageOf(self) imageByCroppingToRect:rect]);
    });
    return result;
}

// Renders the image's extent; nil or why that cannot be done. bitmap gets one reference for the caller.
NSString* Render(CIImage* image, CGImageRef* bitmap) {
    const CGRect extent = [image extent];
    if (image == nil || CGRectIsEmpty(extent)) return @"the image is empty";
    if (CGRectIsInfinite(extent)) return @"the image has no end and must be cropped first";
    *bitmap = [[CIContext contextWithOptions:nil] createCGImage:image fromRect:extent];
    if (*bitmap != nullptr) return nil;
    return [NSString stringWithFormat:@"an image of %.0f x %.0f pixels cannot be rendered",
                                      static_cast<double>(extent.size.width), static_cast<double>(extent.size.height)];
}

// Raises for an image that is empty or without end, a suffix that is not known, and a file that cannot be written.
void Save(ZEVAobjectStruct* self, ZEVAstringStruct* path) {
    Guarded([&] {
        NSString* text = TextOf(path);
        if ([text length] == 0) return RaiseWithMessage(@"CIImageQOR.Save: the path is empty, nothing is written");
        CGImageRef bitmap = nullptr;
        NSString* reason = ObstacleToWriting(text);
        if (reason == nil) reason = Render(ImageOf(self), &bitmap);
        if (reason == nil) reason = WriteImageFile(text, bitmap);
        CGImageRelease(bitmap);
        if (reason != nil) RaiseAboutFile(text, reason, @"nothing is written");
    });
}

void Finalize(ZEVAobjectStruct* self) {
    auto* object = reinterpret_cast<ImageObject*>(self);
    [object->wrapped release];
    CGImageRelease(object->cgImage);
}

ZEVAmethod methods[] = {
    COMPANION_METHOD("Extent as CIVectorQOR", GetExtent),
    COMPANION_METHOD("Crop(rectangle as CIVectorQOR) as CIImageQOR", Crop),
    COMPANION_METHOD("Save(path as string)", Save),
};

ZEVAmethod sharedMethods[] = {
    COMPANION_METHOD("Open(path as string) as CIImageQOR", Open),
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
