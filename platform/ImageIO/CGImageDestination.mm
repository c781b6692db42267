// CGImageDestination.mm - encodes an image in memory, then writes the file or appends it to the data in one piece. An
// image of a sequential provider is encoded as its rows are provided, into a file that gets its name in the end.
//
// So a failure leaves no partial file and no partial data.

#import <Foundation/Foundation.h>
#include <ImageIO/CGImageDestination.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>

#include "encode.h"
#include "files.h"

const CFStringRef kCGImageDestinationLossyCompressionQuality = CFSTR("kCGImageDestinationLossyCompressionQuality");

// A destination as an object. Either _url or _data is set.
@interface CGImageDestinationObject : NSObject {
  @public
    NSURL* _url;
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

int Encode(CGImageDestinationObject* destination, const image_io::Pixels& pixels, image_io::EncodedFile* file) {
    return destination->_isJPEG ? image_io::EncodeJPEG(pixels, destination->_quality, file)
                                : image_io::EncodePNG(pixels, file);
}

// Encodes rows as they are provided. A file on disk grows with them.
int EncodeRows(CGImageDestinationObject* destination, image_io::Pixels& pixels) {
    ProvidedRows rows(destination->_image);
    pixels.source = &rows;
    image_io::EncodedFile file;
    if (destination->_data != nil) {
        int error = Encode(destination, pixels, &file);
        if (error == 0) error = Deliver(destination, file);
        std::free(file.bytes);
        return error;
    }
    UInt8 path[PATH_MAX];
    if (const int error = ReadPath(destination, path); error != 0) return error;
    image_io::FileWriter writer;
    int error = writer.Open(reinterpret_cast<const char*>(path));
    file.sink = &writer;
    if (error == 0) error = Encode(destination, pixels, &file);
    return error == 0 ? writer.Close() : error;
}

// Returns the profile of a space, autoreleased; nil for sRGB, which needs no embedded profile.
NSData* ProfileOf(CGColorSpaceRef space) {
    NSString* name = [(NSString*)CGColorSpaceCopyName(space) autorelease];
    if ([name isEqual:(id)kCGColorSpaceSRGB] || [name isEqual:(id)kCGColorSpaceExtendedSRGB]) return nil;
    return [(NSData*)CGColorSpaceCopyICCData(space) autorelease];
}

// Encodes the destination's image and delivers the file. Returns the error number, 0 for none.
int Write(CGImageDestinationObject* destination) {
    CGImageRef image = destination->_image;
    const CGImageAlphaInfo alpha = CGImageGetAlphaInfo(image);
    image_io::Pixels pixels;
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
    image_io::EncodedFile file;
    int error = Encode(destination, pixels, &file);
    if (error == 0) error = Deliver(destination, file);
    std::free(file.bytes);
    return error;
}

// Returns a destination for one PNG or JPEG image; nil for another type or count.
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
    const int error = Write(object);
    CGImageRelease(object->_image);
    object->_image = nullptr;
    if (error != 0) errno = error;
    return error == 0;
}
