// CGImageSource.mm - keeps the bytes of a file and decodes them once, when the status or the image is first needed.

#import <Foundation/Foundation.h>
#include <ImageIO/CGImageSource.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "decode.h"
#include "files.h"
#include "metadata.h"

const CFStringRef kCGImagePropertyOrientation = CFSTR("Orientation");
const CFStringRef kCGImagePropertyPixelWidth = CFSTR("PixelWidth");
const CFStringRef kCGImagePropertyPixelHeight = CFSTR("PixelHeight");
const CFStringRef kCGImagePropertyExifBlock = CFSTR("ExifBlock");
const CFStringRef kCGImagePropertyXMPBlock = CFSTR("XMPBlock");
const CFStringRef kCGImagePropertyIPTCBlock = CFSTR("IPTCBlock");
const CFStringRef kCGImagePropertyFailure = CFSTR("Failure");

// A source as an object: the bytes of the file, and the result of decoding them.
@interface CGImageSourceObject : NSObject {
  @public
    NSData* _data;
    BOOL _isDecoded;
    CGImageSourceStatus _status;
    CGImageRef _image;
    std::size_t _width;  // 0 until the size is known
    std::size_t _height;
    NSString* _reason;  // nil where the status says all that is known
}
@end

@implementation CGImageSourceObject

- (void)dealloc {
    [_data release];
    CGImageRelease(_image);
    [_reason release];
    [super dealloc];
}

@end

namespace {

static_assert(static_cast<int>(image_io::Status::kUnexpectedEnd) == kCGImageStatusUnexpectedEOF);
static_assert(static_cast<int>(image_io::Status::kInvalidData) == kCGImageStatusInvalidData);
static_assert(static_cast<int>(image_io::Status::kUnknownType) == kCGImageStatusUnknownType);
static_assert(static_cast<int>(image_io::Status::kReadingHeader) == kCGImageStatusReadingHeader);
static_assert(static_cast<int>(image_io::Status::kComplete) == kCGImageStatusComplete);

// Returns a bitmap that takes ownership of the picture's pixels, in the space of its profile; frees the profile.
CGImageRef MakeImage(const image_io::Picture& picture) {
    const std::size_t bytesPerRow = picture.BytesPerRow();
    NSData* data = [[NSData alloc] initWithBytesNoCopy:picture.pixels
                                                length:bytesPerRow * picture.height
                                          freeWhenDone:YES];
    CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)data);
    NSData* profile = [NSData dataWithBytes:picture.profile length:picture.profileLength];
    std::free(picture.profile);
    CGColorSpaceRef space = CGColorSpaceCreateWithICCData((CFDataRef)profile);
    if (space == nullptr) space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    CGBitmapInfo info = picture.depth == 32 ? kCGImageAlphaPremultipliedLast : kCGImageAlphaLast;
    if (picture.depth == 16) info |= kCGBitmapByteOrder16Host;
    if (picture.depth == 32) info |= static_cast<CGBitmapInfo>(kCGBitmapFloatComponents | kCGBitmapByteOrder32Host);
    CGImageRef image =
        CGImageCreate(picture.width, picture.height, picture.depth, 4 * picture.depth, bytesPerRow, space, info,
                      provider, /*decode=*/nullptr, /*shouldInterpolate=*/true, kCGRenderingIntentDefault);
    CGColorSpaceRelease(space);
    CGDataProviderRelease(provider);
    [data release];
    return image;
}

// Returns the source as an object, decoding it first if necessary; nil for null.
CGImageSourceObject* Decoded(CGImageSourceRef source) {
    CGImageSourceObject* object = (CGImageSourceObject*)source;
    if (object == nil || object->_isDecoded) return object;
    image_io::Picture picture;
    const image_io::Status status =
        image_io::Decode(static_cast<const std::uint8_t*>([object->_data bytes]), [object->_data length], &picture);
    object->_isDecoded = YES;
    object->_status = static_cast<CGImageSourceStatus>(status);
    object->_width = picture.width;
    object->_height = picture.height;
    if (status == image_io::Status::kComplete) object->_image = MakeImage(picture);
    if (picture.reason[0] != '\0') object->_reason = [[NSString alloc] initWithUTF8String:picture.reason];
    return object;
}

void AddBlock(CFStringRef key, const image_io::Bytes& block, NSMutableDictionary* properties) {
    if (!block.empty()) [properties setObject:[NSData dataWithBytes:block.data() length:block.size()] forKey:(id)key];
}

// Adds the data that a file holds beside the pixels. Returns the orientation, 1 to 8, or 0.
int AddMetadata(const std::uint8_t* bytes, std::size_t length, NSMutableDictionary* properties) {
    const image_io::Metadata metadata = image_io::MetadataOf(bytes, length);
    AddBlock(kCGImagePropertyExifBlock, metadata.exif, properties);
    AddBlock(kCGImagePropertyXMPBlock, metadata.xmp, properties);
    AddBlock(kCGImagePropertyIPTCBlock, metadata.iptc, properties);
    return image_io::OrientationIn(metadata);
}

}  // namespace

CGImageSourceRef CGImageSourceCreateWithURL(CFURLRef url, CFDictionaryRef options) {
    image_io::FileContent content;
    UInt8 path[PATH_MAX];
    const bool hasPath = url != nullptr && CFURLGetFileSystemRepresentation(url, true, path, sizeof path);
    const int error = hasPath ? image_io::ReadFile(reinterpret_cast<const char*>(path), &content) : ENAMETOOLONG;
    if (error != 0) {
        errno = error;
        return nullptr;
    }
    NSData* data = [[NSData alloc] initWithBytesNoCopy:content.bytes length:content.length freeWhenDone:YES];
    CGImageSourceRef source = CGImageSourceCreateWithData((CFDataRef)data, options);
    [data release];
    return source;
}

CGImageSourceRef CGImageSourceCreateWithData(CFDataRef data, CFDictionaryRef) {
    if (data == nullptr) return nullptr;
    CGImageSourceObject* source = [[CGImageSourceObject alloc] init];
    source->_data = [(NSData*)data retain];
    return (CGImageSourceRef)source;
}

size_t CGImageSourceGetCount(CGImageSourceRef source) {
    return source != nullptr && CGImageSourceGetStatus(source) == kCGImageStatusComplete ? 1 : 0;
}

CGImageSourceStatus CGImageSourceGetStatus(CGImageSourceRef source) {
    return source == nullptr ? kCGImageStatusInvalidData : Decoded(source)->_status;
}

size_t CGImageSourceGetPixelLimit(void) { return image_io::PixelLimit(); }

void CGImageSourceSetPixelLimit(size_t pixels) { image_io::SetPixelLimit(pixels); }

CGImageRef CGImageSourceCreateImageAtIndex(CGImageSourceRef source, size_t index, CFDictionaryRef) {
    return source == nullptr || index != 0 ? nullptr : CGImageRetain(Decoded(source)->_image);
}

CFDictionaryRef CGImageSourceCopyPropertiesAtIndex(CGImageSourceRef source, size_t index, CFDictionaryRef) {
    if (source == nullptr || index != 0) return nullptr;
    CGImageSourceObject* object = (CGImageSourceObject*)source;
    NSData* data = object->_data;
    NSMutableDictionary* properties = [[NSMutableDictionary alloc] init];
    const int orientation = AddMetadata(static_cast<const std::uint8_t*>([data bytes]), [data length], properties);
    if (orientation != 0) {
        [properties setObject:[NSNumber numberWithInt:orientation] forKey:(id)kCGImagePropertyOrientation];
    }
    if (object->_width != 0) {
        [properties setObject:[NSNumber numberWithUnsignedLong:object->_width] forKey:(id)kCGImagePropertyPixelWidth];
        [properties setObject:[NSNumber numberWithUnsignedLong:object->_height] forKey:(id)kCGImagePropertyPixelHeight];
    }
    if (object->_reason != nil) [properties setObject:object->_reason forKey:(id)kCGImagePropertyFailure];
    return (CFDictionaryRef)properties;
}
