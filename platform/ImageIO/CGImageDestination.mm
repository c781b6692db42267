// CGImageDestination.mm - encodes an image in memory, then writes the file or appends it to the data in one piece. An
// image of a sequential provider is encoded as its rows are provided, into a file that gets its name in the end.
//
// So a failure leaves no partial file and no partial data.

#import <Foundation/Foundation.h>
#include <ImageIO/CGImageDestination.h>
#include <ImageIO/CGImageSource.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
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

// The path of a destination. Returns the error number, 0 for none.
int ReadPath(CGImageDestinationObject* destination, UInt8 (&path)[PATH_MAX]) {
    const bool isRead = CFURLGetFileSystemRepresentation((CFURLRef)destination->_url, true, path, sizeof path);
    return isRead ? 0 : ENAMETOOLONG;
}

// Delivers an encoded file to the destination's data or URL. Returns the error number, 0 for none.
int Deliver(CGImageDestinationObject* destination, const image_io::EncodedFile& file) {
    if (destination->_data != nil) {
        [destination->_data appendBytes:file.bytes length:file.length];
        return 0;
    }
    UInt8 path[PATH_MAX];
    if (const int error = ReadPath(destination, path); error != 0) return error;
    return image_io::WriteFile(reinterpret_cast<const char*>(path), file.bytes, file.length);
}

// The rows of a sequential provider.
class ProvidedRows : public image_io::RowSource {
  public:
    explicit ProvidedRows(CGImageRef image)
        : provider_(CGImageGetDataProvider(image)), bytesPerRow_(CGImageGetBytesPerRow(image)) {}

    int Read(std::uint8_t* rows, std::size_t count) override {
        const std::size_t bytes = count * bytesPerRow_;
        errno = 0;
        if (CGDataProviderGetBytes(provider_, rows, bytes) == bytes) return 0;
        return errno != 0 ? errno : EIO;
    }

    void Rewind() override { CGDataProviderRewind(provider_); }

  private:
    CGDataProviderRef provider_;
    std::size_t bytesPerRow_;
};

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
int Encode(CGImageDestinationObject* destination, const image_io::Pixels& pixels, image_io::EncodedFile* file) {
    NSDictionary* properties = destination->_properties;
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
    return image_io::CodecOf(*destination->_format, &reason)->encode(pixels, options, file);
}

// Encodes pixels and delivers the file in one piece.
int EncodeWhole(CGImageDestinationObject* destination, const image_io::Pixels& pixels) {
    image_io::EncodedFile file;
    int error = Encode(destination, pixels, &file);
    if (error == 0) error = Deliver(destination, file);
    std::free(file.bytes);
    return error;
}

// Encodes rows as they are provided, or all of them in a format that is encoded as a whole. A file on disk grows with
// them.
int EncodeRows(CGImageDestinationObject* destination, image_io::Pixels& pixels) {
    ProvidedRows rows(destination->_image);
    std::string reason;
    if (!image_io::CodecOf(*destination->_format, &reason)->encodesRows) {
        const std::unique_ptr<std::uint8_t[]> all(new (std::nothrow) std::uint8_t[pixels.bytesPerRow * pixels.height]);
        const int error = all != nullptr ? rows.Read(all.get(), pixels.height) : ENOMEM;
        pixels.bytes = all.get();
        return error == 0 ? EncodeWhole(destination, pixels) : error;
    }
    pixels.source = &rows;
    if (destination->_data != nil) return EncodeWhole(destination, pixels);
    UInt8 path[PATH_MAX];
    if (const int error = ReadPath(destination, path); error != 0) return error;
    image_io::FileWriter writer;
    image_io::EncodedFile file;
    int error = writer.Open(reinterpret_cast<const char*>(path));
    file.sink = &writer;
    if (error == 0) error = Encode(destination, pixels, &file);
    return error == 0 ? writer.Close() : error;
}

// Encodes the destination's image and delivers the file. Returns the error number, 0 for none.
int Write(CGImageDestinationObject* destination) {
    CGImageRef image = destination->_image;
    const CGImageAlphaInfo alpha = CGImageGetAlphaInfo(image);
    const std::size_t depth = CGImageGetBitsPerComponent(image);
    if ((destination->_format->depths & depth) == 0) return EINVAL;
    image_io::Pixels pixels;
    pixels.depth = depth;
    pixels.width = CGImageGetWidth(image);
    pixels.height = CGImageGetHeight(image);
    pixels.bytesPerRow = CGImageGetBytesPerRow(image);
    pixels.isPremultiplied = alpha == kCGImageAlphaPremultipliedLast;
    pixels.isOpaque = alpha == kCGImageAlphaNoneSkipLast;
    NSData* profile = ProfileOf(CGImageGetColorSpace(image));
    pixels.profile = [profile bytes];
    pixels.profileLength = [profile length];
    if (CGDataProviderIsSequential(CGImageGetDataProvider(image))) return EncodeRows(destination, pixels);
    NSData* bytes = [(NSData*)CGDataProviderCopyData(CGImageGetDataProvider(image)) autorelease];
    pixels.bytes = static_cast<const std::uint8_t*>([bytes bytes]);
    return EncodeWhole(destination, pixels);
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

void CGImageDestinationSetSynced(bool isSynced) { image_io::SetSynced(isSynced); }

void CGImageDestinationDiscardUnfinished(void) { image_io::DiscardUnfinishedFiles(); }

bool CGImageDestinationFinalize(CGImageDestinationRef destination) {
    CGImageDestinationObject* object = (CGImageDestinationObject*)destination;
    if (object == nil || object->_image == nullptr) return false;
    const int error = Write(object);
    CGImageRelease(object->_image);
    object->_image = nullptr;
    if (error != 0) errno = error;
    return error == 0;
}
