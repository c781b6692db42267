// CGImageSource.mm - keeps the bytes of a file and decodes them once, when the status or the image is first needed.

#import <Foundation/Foundation.h>
#include <ImageIO/CGImageSource.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "decode.h"
#include "files.h"
#include "metadata.h"
#include "row_decoder.h"

const CFStringRef kCGImagePropertyImageCount = CFSTR("ImageCount");
const CFStringRef kCGImagePropertyOrientation = CFSTR("Orientation");
const CFStringRef kCGImagePropertyPixelWidth = CFSTR("PixelWidth");
const CFStringRef kCGImagePropertyPixelHeight = CFSTR("PixelHeight");
const CFStringRef kCGImagePropertyHasRowsInOrder = CFSTR("HasRowsInOrder");
const CFStringRef kCGImagePropertyDepth = CFSTR("Depth");
const CFStringRef kCGImagePropertyWorkingBytes = CFSTR("WorkingBytes");
const CFStringRef kCGImagePropertyExifBlock = CFSTR("ExifBlock");
const CFStringRef kCGImagePropertyXMPBlock = CFSTR("XMPBlock");
const CFStringRef kCGImagePropertyIPTCBlock = CFSTR("IPTCBlock");
const CFStringRef kCGImagePropertyFailure = CFSTR("Failure");

const CFStringRef kCGImageSourceShouldCache = CFSTR("kCGImageSourceShouldCache");
const CFStringRef kCGImageSourceSubsampleFactor = CFSTR("kCGImageSourceSubsampleFactor");

// A source as an object: the bytes of the file, and the result of decoding them.
@interface CGImageSourceObject : NSObject {
  @public
    NSData* _data;
    image_io::FileContent _content;  // what the data borrows; empty for the caller's data
    BOOL _isDecoded;
    CGImageSourceStatus _status;
    CGImageRef _image;
    std::size_t _width;  // 0 until the size is known
    std::size_t _height;
    std::size_t _depth;
    BOOL _isHeaderRead;  // whether the next two are known
    std::size_t _workingBytes;
    BOOL _hasRowsInOrder;
    NSString* _reason;  // nil where the status says all that is known
}
@end

@implementation CGImageSourceObject

- (void)dealloc {
    [_data release];
    _content.Free();
    CGImageRelease(_image);
    [_reason release];
    [super dealloc];
}

@end

// The rows of a source as they are decoded.
@interface CGImageRowsObject : NSObject {
  @public
    CGImageSourceObject* _source;
    image_io::RowDecoder* _decoder;
    std::size_t _bytesPerRow;
    image_io::Status _status;  // of the rows so far; kReadingHeader before the first one
}
@end

@implementation CGImageRowsObject

- (void)dealloc {
    delete _decoder;
    [_source release];
    [super dealloc];
}

@end

namespace {

static_assert(static_cast<int>(image_io::Status::kUnexpectedEnd) == kCGImageStatusUnexpectedEOF);
static_assert(static_cast<int>(image_io::Status::kInvalidData) == kCGImageStatusInvalidData);
static_assert(static_cast<int>(image_io::Status::kUnknownType) == kCGImageStatusUnknownType);
static_assert(static_cast<int>(image_io::Status::kReadingHeader) == kCGImageStatusReadingHeader);
static_assert(static_cast<int>(image_io::Status::kComplete) == kCGImageStatusComplete);

// Returns a bitmap over a provider, which it releases, in the space of the picture's profile; frees the profile.
CGImageRef MakeImage(const image_io::Picture& picture, CGDataProviderRef provider) {
    const std::size_t bytesPerRow = picture.BytesPerRow();
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
    return image;
}

// Returns a provider that takes ownership of the picture's pixels.
CGDataProviderRef MakeProvider(const image_io::Picture& picture) {
    const std::size_t length = picture.BytesPerRow() * picture.height;
    NSData* data = [[NSData alloc] initWithBytesNoCopy:picture.pixels length:length freeWhenDone:YES];
    CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)data);
    [data release];
    return provider;
}

image_io::FileBytes BytesOf(CGImageSourceObject* source) {
    return {static_cast<const std::uint8_t*>([source->_data bytes]), [source->_data length],
            source -> _content.mapping != nullptr};
}

CGImageRowsObject* Rows(void* info) { return static_cast<CGImageRowsObject*>(info); }

// Decodes whole rows.
std::size_t GetRows(void* info, void* buffer, std::size_t count) {
    CGImageRowsObject* rows = Rows(info);
    image_io::Status status = rows->_status;
    if (status == image_io::Status::kReadingHeader) status = rows->_decoder->Begin(nullptr);
    if (status == image_io::Status::kComplete) {
        status = rows->_decoder->Read(static_cast<std::uint8_t*>(buffer), count / rows->_bytesPerRow);
    }
    if (rows->_source->_content.HasBeenShortened()) status = image_io::Status::kUnexpectedEnd;
    rows->_status = status;
    if (status == image_io::Status::kComplete) return count;
    errno = status == image_io::Status::kUnexpectedEnd ? ENODATA : EBADMSG;
    return 0;
}

void Rewind(void* info) { Rows(info)->_status = Rows(info)->_decoder->Begin(nullptr); }

void ReleaseRows(void* info) { [Rows(info) release]; }

// Returns the image of a source decoded row by row; null when that is not possible or the image is small.
//
// Its decoder has begun already, unless the image is reduced: most reduced images are never read.
CGImageRef MakeSequentialImage(CGImageSourceObject* source, unsigned factor) {
    std::unique_ptr<image_io::RowDecoder> decoder = image_io::MakeRowDecoder(BytesOf(source), 1);
    image_io::Picture picture;
    const bool isBegun = decoder != nullptr && decoder->Begin(&picture) == image_io::Status::kComplete;
    const bool isLarge = picture.width * picture.height >= kCGSmallestSequential;
    if (isBegun) image_io::ApplyGrayProfile(&picture);
    if (factor != 1) decoder = image_io::MakeRowDecoder(BytesOf(source), factor);
    if (!isBegun || !isLarge || decoder == nullptr) {
        image_io::Free(&picture);
        return nullptr;
    }
    picture.width = (picture.width + factor - 1) / factor;
    picture.height = (picture.height + factor - 1) / factor;
    CGImageRowsObject* rows = [[CGImageRowsObject alloc] init];
    rows->_source = [source retain];
    rows->_decoder = decoder.release();
    rows->_bytesPerRow = picture.BytesPerRow();
    rows->_status = factor == 1 ? image_io::Status::kComplete : image_io::Status::kReadingHeader;
    constexpr CGDataProviderSequentialCallbacks kCallbacks = {0, GetRows, nullptr, Rewind, ReleaseRows};
    return MakeImage(picture, CGDataProviderCreateSequential(rows, &kCallbacks));
}

// Returns the source as an object, decoding it first if necessary; nil for null.
CGImageSourceObject* Decoded(CGImageSourceRef source) {
    CGImageSourceObject* object = (CGImageSourceObject*)source;
    if (object == nil || object->_isDecoded) return object;
    image_io::Picture picture;
    image_io::Status status =
        image_io::Decode(static_cast<const std::uint8_t*>([object->_data bytes]), [object->_data length], &picture);
    if (object->_content.HasBeenShortened()) {
        image_io::Free(&picture);
        status = image_io::Status::kUnexpectedEnd;
    }
    object->_isDecoded = YES;
    object->_status = static_cast<CGImageSourceStatus>(status);
    object->_width = picture.width;
    object->_height = picture.height;
    object->_depth = picture.depth;
    if (status == image_io::Status::kComplete) object->_image = MakeImage(picture, MakeProvider(picture));
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
    [properties setObject:[NSNumber numberWithUnsignedLong:metadata.pictures] forKey:(id)kCGImagePropertyImageCount];
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
    NSData* data = [[NSData alloc] initWithBytesNoCopy:content.bytes length:content.length freeWhenDone:NO];
    CGImageSourceRef source = CGImageSourceCreateWithData((CFDataRef)data, options);
    ((CGImageSourceObject*)source)->_content = content;
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

CGImageRef CGImageSourceCreateImageAtIndex(CGImageSourceRef source, size_t index, CFDictionaryRef options) {
    if (source == nullptr || index != 0) return nullptr;
    NSNumber* isKept = [(NSDictionary*)options objectForKey:(id)kCGImageSourceShouldCache];
    NSNumber* subsampled = [(NSDictionary*)options objectForKey:(id)kCGImageSourceSubsampleFactor];
    const unsigned factor = subsampled != nil ? [subsampled unsignedIntValue] : 1;
    CGImageRef rows = nullptr;
    if (isKept != nil && ![isKept boolValue]) rows = MakeSequentialImage((CGImageSourceObject*)source, factor);
    return rows != nullptr || factor != 1 ? rows : CGImageRetain(Decoded(source)->_image);
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
    if (!object->_isHeaderRead) {
        image_io::Picture picture;
        object->_hasRowsInOrder = image_io::ReadHeader(BytesOf(object), &picture);
        object->_workingBytes = picture.workingBytes;
        // A decoder knows more about a damaged picture than its header.
        if (!object->_isDecoded) {
            object->_width = picture.width;
            object->_height = picture.height;
            object->_depth = picture.depth;
        }
        object->_isHeaderRead = YES;
        image_io::Free(&picture);
    }
    if (object->_width != 0) {
        [properties setObject:[NSNumber numberWithUnsignedLong:object->_width] forKey:(id)kCGImagePropertyPixelWidth];
        [properties setObject:[NSNumber numberWithUnsignedLong:object->_height] forKey:(id)kCGImagePropertyPixelHeight];
        [properties setObject:[NSNumber numberWithUnsignedLong:object->_depth] forKey:(id)kCGImagePropertyDepth];
        [properties setObject:[NSNumber numberWithUnsignedLong:object->_workingBytes]
                       forKey:(id)kCGImagePropertyWorkingBytes];
        [properties setObject:[NSNumber numberWithBool:object->_hasRowsInOrder]
                       forKey:(id)kCGImagePropertyHasRowsInOrder];
    }
    if (object->_reason != nil) [properties setObject:object->_reason forKey:(id)kCGImagePropertyFailure];
    return (CFDictionaryRef)properties;
}
