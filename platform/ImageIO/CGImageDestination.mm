// CGImageDestination.mm - an image encoded in memory, and written or handed over in one piece.

#import <Foundation/Foundation.h>
#include <ImageIO/CGImageDestination.h>

#include <cstdlib>

#include "encode.h"
#include "files.h"

const CFStringRef kCGImageDestinationLossyCompressionQuality = CFSTR("kCGImageDestinationLossyCompressionQuality");

// A destination as an object: where to, and what.
@interface CGImageDestinationObject : NSObject {
  @public
    NSURL* _url;  // one of the two
    NSMutableData* _data;
    BOOL _isJPEG;
    CGImageRef _image;
    double _quality;
}
@end

@implementation CGImageDestinationObject

- (void)dealloc {
    [_url release];
    [_data release];
    CGImageRelease(_image);
    [super dealloc];
}

@end

namespace {

NSString* const kTypePNG = @"public.png";
NSString* const kTypeJPEG = @"public.jpeg";
constexpr double kDefaultQuality = 0.9;

// Puts an encoded file where it is wanted and answers whether that succeeded.
bool Put(CGImageDestinationObject* destination, const image_io::EncodedFile& file) {
    if (destination->_data != nil) {
        [destination->_data appendBytes:file.bytes length:file.length];
        return true;
    }
    return [destination->_url isFileURL] &&
           image_io::WriteFile([[destination->_url path] fileSystemRepresentation], file.bytes, file.length);
}

// The profile of a space, autoreleased; nil for sRGB, which files have a word for.
NSData* ProfileOf(CGColorSpaceRef space) {
    NSString* name = [(NSString*)CGColorSpaceCopyName(space) autorelease];
    if ([name isEqual:(id)kCGColorSpaceSRGB] || [name isEqual:(id)kCGColorSpaceExtendedSRGB]) return nil;
    return [(NSData*)CGColorSpaceCopyICCData(space) autorelease];
}

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
    NSData* profile = ProfileOf(CGImageGetColorSpace(image));
    pixels.profile = [profile bytes];
    pixels.profileLength = [profile length];
    image_io::EncodedFile file;
    const bool complete = destination->_isJPEG ? image_io::EncodeJPEG(pixels, destination->_quality, &file)
                                               : image_io::EncodePNG(pixels, &file);
    const bool isWritten = complete && Put(destination, file);
    std::free(file.bytes);
    return isWritten;
}

// A destination for one image of a type; nil for another type or count.
CGImageDestinationObject* NewDestination(CFStringRef type, size_t count) {
    const BOOL isJPEG = [kTypeJPEG isEqual:(id)type];
    if (count != 1 || !(isJPEG || [kTypePNG isEqual:(id)type])) return nil;
    CGImageDestinationObject* destination = [[CGImageDestinationObject alloc] init];
    destination->_isJPEG = isJPEG;
    return destination;
}

}  // namespace

CGImageDestinationRef CGImageDestinationCreateWithURL(CFURLRef url, CFStringRef type, size_t count, CFDictionaryRef) {
    CGImageDestinationObject* destination = url != nullptr ? NewDestination(type, count) : nil;
    if (destination != nil) destination->_url = [(NSURL*)url retain];
    return (CGImageDestinationRef)destination;
}

CGImageDestinationRef CGImageDestinationCreateWithData(CFMutableDataRef data, CFStringRef type, size_t count,
                                                       CFDictionaryRef) {
    CGImageDestinationObject* destination = data != nullptr ? NewDestination(type, count) : nil;
    if (destination != nil) destination->_data = [(NSMutableData*)data retain];
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
