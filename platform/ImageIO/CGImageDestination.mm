// CGImageDestination.mm - an image encoded in memory and written in one piece.

#import <Foundation/Foundation.h>
#include <ImageIO/CGImageDestination.h>

#include <cstdlib>

#include "encode.h"
#include "files.h"

const CFStringRef kCGImageDestinationLossyCompressionQuality = CFSTR("kCGImageDestinationLossyCompressionQuality");

// A destination as an object: where to, and what.
@interface CGImageDestinationObject : NSObject {
  @public
    NSURL* _url;
    BOOL _isJPEG;
    CGImageRef _image;
    double _quality;
}
@end

@implementation CGImageDestinationObject

- (void)dealloc {
    [_url release];
    CGImageRelease(_image);
    [super dealloc];
}

@end

namespace {

NSString* const kTypePNG = @"public.png";
NSString* const kTypeJPEG = @"public.jpeg";
constexpr double kDefaultQuality = 0.9;

// Writes the file of an image and answers whether that succeeded.
bool Write(CGImageDestinationObject* destination) {
    CGImageRef image = destination->_image;
    NSData* bytes = [(NSData*)CGDataProviderCopyData(CGImageGetDataProvider(image)) autorelease];
    const CGImageAlphaInfo alpha = CGImageGetAlphaInfo(image);
    image_io::Pixels pixels;
    pixels.bytes = static_cast<const std::uint8_t*>([bytes bytes]);
    pixels.width = CGImageGetWidth(image);
    pixels.height = CGImageGetHeight(image);
    pixels.bytesPerRow = CGImageGetBytesPerRow(image);
    pixels.premultiplied = alpha == kCGImageAlphaPremultipliedLast;
    pixels.opaque = alpha == kCGImageAlphaNoneSkipLast;
    image_io::EncodedFile file;
    const bool complete = destination->_isJPEG ? image_io::EncodeJPEG(pixels, destination->_quality, &file)
                                               : image_io::EncodePNG(pixels, &file);
    const bool isWritten =
        complete && [destination->_url isFileURL] &&
        image_io::WriteFile([[destination->_url path] fileSystemRepresentation], file.bytes, file.length);
    std::free(file.bytes);
    return isWritten;
}

}  // namespace

CGImageDestinationRef CGImageDestinationCreateWithURL(CFURLRef url, CFStringRef type, size_t count, CFDictionaryRef) {
    const BOOL isJPEG = [kTypeJPEG isEqual:(id)type];
    if (url == nullptr || count != 1 || !(isJPEG || [kTypePNG isEqual:(id)type])) return nullptr;
    CGImageDestinationObject* destination = [[CGImageDestinationObject alloc] init];
    destination->_url = [(NSURL*)url retain];
    destination->_isJPEG = isJPEG;
    return (CGImageDestinationRef)destination;
}

void CGImageDestinationAddImage(CGImageDestinationRef destination, CGImageRef image, CFDictionaryRef properties) {
    CGImageDestinationObject* object = (CGImageDestinationObject*)destination;
    if (object == nil || object->_image != nullptr) return;
    id quality = [(NSDictionary*)properties objectForKey:(id)kCGImageDestinationLossyCompressionQuality];
    object->_quality = quality == nil ? kDefaultQuality : [quality doubleValue];
    object->_image = CGImageRetain(image);
}

bool CGImageDestinationFinalize(CGImageDestinationRef destination) {
    CGImageDestinationObject* object = (CGImageDestinationObject*)destination;
    if (object == nil || object->_image == nullptr) return false;
    const bool isWritten = Write(object);
    CGImageRelease(object->_image);
    object->_image = nullptr;
    return isWritten;
}
