// CGImageDestination.mm - encodes an image in memory, then writes the file or appends it to the data in one piece.
//
// Encoding in memory first means that a failure leaves no partial file and no partial data.

#import <Foundation/Foundation.h>
#include <ImageIO/CGImageDestination.h>
#include <ImageIO/CGImageSource.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "encode.h"
#include "files.h"
#include "formats.h"
#include "metadata.h"

const CFStringRef kCGImageDestinationLossyCompressionQuality = CFSTR("kCGImageDestinationLossyCompressionQuality");
const CFStringRef kCGImageDestinationCompression = CFSTR("Compression");
const CFStringRef kCGImageDestinationSubsampling = CFSTR("Subsampling");
const CFStringRef kCGImageDestinationLossless = CFSTR("Lossless");
const CFStringRef kCGImageDestinationDropsLocation = CFSTR("DropsLocation");
const CFStringRef kCGImagePropertyJFIFIsProgressive = CFSTR("IsProgressive");

// A destination as an object. Either _url or _data is set.
@interface CGImageDestinationObject : NSObject {
  @public
    NSURL* _url;
    NSMutableData* _data;
    const image_io::Format* _format;
    CGImageRef _image;
    NSDictionary* _properties;
}
@end

@implementation CGImageDestinationObject

- (void)dealloc {
    [_url release];
    [_data release];
    CGImageRelease(_image);
    [_properties release];
    [super dealloc];
}

@end

namespace {

// Delivers an encoded file to the destination's data or URL. Returns the error number, 0 for none.
int Deliver(CGImageDestinationObject* destination, const image_io::EncodedFile& file) {
    if (destination->_data != nil) {
        [destination->_data appendBytes:file.bytes length:file.length];
        return 0;
    }
    UInt8 path[PATH_MAX];
    if (!CFURLGetFileSystemRepresentation((CFURLRef)destination->_url, true, path, sizeof path)) return ENAMETOOLONG;
    return image_io::WriteFile(reinterpret_cast<const char*>(path), file.bytes, file.length);
}

// Returns the profile of a space, autoreleased; nil for sRGB, which needs no embedded profile.
NSData* ProfileOf(CGColorSpaceRef space) {
    NSString* name = [(NSString*)CGColorSpaceCopyName(space) autorelease];
    if ([name isEqual:(id)kCGColorSpaceSRGB] || [name isEqual:(id)kCGColorSpaceExtendedSRGB]) return nil;
    return [(NSData*)CGColorSpaceCopyICCData(space) autorelease];
}

// Reads how to write the file from the properties of the image.
image_io::EncodeOptions OptionsIn(NSDictionary* properties) {
    image_io::EncodeOptions options;
    id quality = [properties objectForKey:(id)kCGImageDestinationLossyCompressionQuality];
    if (quality != nil) options.quality = [quality doubleValue];
    NSString* compression = [properties objectForKey:(id)kCGImageDestinationCompression];
    if ([compression isEqual:@"balanced"]) options.compression = image_io::Compression::kBalanced;
    if ([compression isEqual:@"small"]) options.compression = image_io::Compression::kSmall;
    NSString* subsampling = [properties objectForKey:(id)kCGImageDestinationSubsampling];
    if ([subsampling isEqual:@"422"]) options.subsampling = image_io::Subsampling::k422;
    if ([subsampling isEqual:@"444"]) options.subsampling = image_io::Subsampling::k444;
    options.isLossless = [[properties objectForKey:(id)kCGImageDestinationLossless] boolValue];
    options.isProgressive = [[properties objectForKey:(id)kCGImagePropertyJFIFIsProgressive] boolValue];
    return options;
}

void ReadBlock(NSDictionary* properties, CFStringRef key, image_io::Bytes* to) {
    NSData* data = [properties objectForKey:(id)key];
    const auto* bytes = static_cast<const std::uint8_t*>([data bytes]);
    to->assign(bytes, bytes + [data length]);
}

// Encodes pixels with the data about the picture that the properties hold. Returns the error number, 0 for none.
int Encode(const image_io::Format& format, const image_io::Pixels& pixels, NSDictionary* properties,
           image_io::EncodedFile* file) {
    image_io::Metadata metadata;
    ReadBlock(properties, kCGImagePropertyExifBlock, &metadata.exif);
    ReadBlock(properties, kCGImagePropertyXMPBlock, &metadata.xmp);
    ReadBlock(properties, kCGImagePropertyIPTCBlock, &metadata.iptc);
    const bool dropsLocation = [[properties objectForKey:(id)kCGImageDestinationDropsLocation] boolValue];
    image_io::Adapt(&metadata, {pixels.width, pixels.height, dropsLocation});
    image_io::EncodeOptions options = OptionsIn(properties);
    options.exif = {metadata.exif.data(), metadata.exif.size()};
    options.xmp = {metadata.xmp.data(), metadata.xmp.size()};
    options.iptc = {metadata.iptc.data(), metadata.iptc.size()};
    std::string reason;
    return image_io::CodecOf(format, &reason)->encode(pixels, options, file);
}

// Encodes the destination's image and delivers the file. Returns the error number, 0 for none.
int Write(CGImageDestinationObject* destination) {
    CGImageRef image = destination->_image;
    NSData* bytes = [(NSData*)CGDataProviderCopyData(CGImageGetDataProvider(image)) autorelease];
    const CGImageAlphaInfo alpha = CGImageGetAlphaInfo(image);
    const std::size_t depth = CGImageGetBitsPerComponent(image);
    if ((destination->_format->depths & depth) == 0) return EINVAL;
    image_io::Pixels pixels;
    pixels.depth = depth;
    pixels.bytes = static_cast<const std::uint8_t*>([bytes bytes]);
    pixels.width = CGImageGetWidth(image);
    pixels.height = CGImageGetHeight(image);
    pixels.bytesPerRow = CGImageGetBytesPerRow(image);
    pixels.isPremultiplied = alpha == kCGImageAlphaPremultipliedLast;
    pixels.isOpaque = alpha == kCGImageAlphaNoneSkipLast;
    NSData* profile = ProfileOf(CGImageGetColorSpace(image));
    pixels.profile = [profile bytes];
    pixels.profileLength = [profile length];
    image_io::EncodedFile file;
    int error = Encode(*destination->_format, pixels, destination->_properties, &file);
    if (error == 0) error = Deliver(destination, file);
    std::free(file.bytes);
    return error;
}

// Returns a destination for one image; nil for a type that cannot be written, and for another count.
CGImageDestinationObject* NewDestination(CFStringRef type, size_t count) {
    const image_io::Format* format = type != nullptr ? image_io::FormatOfType([(NSString*)type UTF8String]) : nullptr;
    if (count != 1 || format == nullptr || !image_io::ObstacleToEncoding(*format).empty()) return nil;
    CGImageDestinationObject* destination = [[CGImageDestinationObject alloc] init];
    destination->_format = format;
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
    object->_properties = [(NSDictionary*)properties copy];
    object->_image = CGImageRetain(image);
}

bool CGImageDestinationFinalize(CGImageDestinationRef destination) {
    CGImageDestinationObject* object = (CGImageDestinationObject*)destination;
    if (object == nil || object->_image == nullptr) return false;
    const int error = Write(object);
    CGImageRelease(object->_image);
    object->_image = nullptr;
    if (error != 0) errno = error;
    return error == 0;
}
