// image_files.mm - reads and writes pictures through ImageIO, and explains failures.

#include "companion/image_files.h"

#import <CoreImage/CIEngine.h>
#include <ImageIO/ImageIO.h>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "companion/host_text.h"

namespace {

// The type identifiers of the file formats.
NSString* const kPNG = @"public.png";
NSString* const kJPEG = @"public.jpeg";

// The largest number of pixels that ImageIO reads.
constexpr double kMostPixels = 1 << 28;

// The longest side of a JPEG: what the encoder accepts. The format has room for 35 pixels more.
constexpr double kLongestSideOfJPEG = 65500;

// Returns the type identifier for the suffix of a path; nil for an unknown suffix.
NSString* TypeForSuffix(const char* path) {
    const char* slash = std::strrchr(path, '/');
    const char* name = slash != nullptr ? slash + 1 : path;
    const char* dot = std::strrchr(name, '.');
    if (dot == nullptr || dot == name) return nil;
    if (strcasecmp(dot, ".png") == 0) return kPNG;
    if (strcasecmp(dot, ".jpg") == 0 || strcasecmp(dot, ".jpeg") == 0) return kJPEG;
    return nil;
}

// Returns the text of an error number, in lower case: "no such file or directory".
NSString* SystemReason(int errorNumber) {
    NSString* reason = [NSString stringWithUTF8String:std::strerror(errorNumber)];
    return [[[reason substringToIndex:1] lowercaseString] stringByAppendingString:[reason substringFromIndex:1]];
}

// Returns why a file cannot be opened for reading; nil when it can.
NSString* ObstacleToReading(const char* path) {
    // O_NONBLOCK, because opening a pipe without a writer would block.
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return SystemReason(errno);
    struct stat status = {};
    const bool isKnown = fstat(file, &status) == 0;
    close(file);
    if (isKnown && S_ISDIR(status.st_mode)) return @"the path is a folder, not a picture";
    return isKnown && !S_ISREG(status.st_mode) ? @"the path is a pipe or a device, not a picture" : nil;
}

NSString* ReasonForStatus(CGImageSourceStatus status) {
    switch (status) {
        case kCGImageStatusUnexpectedEOF:
            return @"the file is truncated";
        case kCGImageStatusInvalidData:
            return @"the picture is damaged";
        case kCGImageStatusUnknownType:
            return @"not a PNG or JPEG file";
        case kCGImageStatusReadingHeader:
            return @"the file is too short to be a picture";
        default:
            return @"the picture cannot be read";
    }
}

// Returns why a picture that is not damaged was not read: it is too large for the reader or for the memory. Nil for one
// whose size is not known.
NSString* ObstacleInSize(NSDictionary* properties) {
    const double width = [[properties objectForKey:(id)kCGImagePropertyPixelWidth] doubleValue];
    const double height = [[properties objectForKey:(id)kCGImagePropertyPixelHeight] doubleValue];
    if (width == 0) return nil;
    if (width * height <= kMostPixels) return ReasonForMemory(CGSizeMake(width, height));
    return [NSString stringWithFormat:@"the picture has %.0f x %.0f pixels, at most %.0f million can be read", width,
                                      height, std::floor(kMostPixels / 1e6)];
}

// Returns an autoreleased URL; nil when there is no current folder for a relative path.
CFURLRef URLFor(const char* path) {
    CFURLRef url = CFURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<const UInt8*>(path),
                                                           static_cast<CFIndex>(std::strlen(path)), false);
    return reinterpret_cast<CFURLRef>([reinterpret_cast<id>(const_cast<__CFURL*>(url)) autorelease]);
}

// Whether a picture with an orientation is upright when its rows are shown in the order in which they are stored.
bool KeepsRowsInOrder(int orientation) { return orientation == 1 || orientation == 2; }

// Returns why a picture cannot be held in memory as a whole; nil when it can, or when it need not.
NSString* ObstacleInMemory(NSDictionary* properties, int orientation) {
    const double width = [[properties objectForKey:(id)kCGImagePropertyPixelWidth] doubleValue];
    const double height = [[properties objectForKey:(id)kCGImagePropertyPixelHeight] doubleValue];
    const bool isInOrder = [[properties objectForKey:(id)kCGImagePropertyHasRowsInOrder] boolValue] != NO;
    const auto limit = static_cast<double>(CIEngineMemoryLimit());
    const double needed = 4 * width * height;
    if (width * height > kMostPixels || needed <= limit || (isInOrder && KeepsRowsInOrder(orientation))) return nil;
    constexpr double kMegabyte = 1 << 20;
    return [NSString stringWithFormat:@"needs %.0f MB of memory, more than the memory limit of %.0f MB",
                                      std::ceil(needed / kMegabyte), std::floor(limit / kMegabyte)];
}

// Returns the picture in a source at a half, a quarter and an eighth of its size, or NSNull.
NSArray* ReducedImages(CGImageSourceRef source) {
    NSMutableArray* images = [NSMutableArray array];
    for (const int factor : {2, 4, 8}) {
        NSDictionary* options = [NSDictionary
            dictionaryWithObjectsAndKeys:[NSNumber numberWithBool:NO], (id)kCGImageSourceShouldCache,
                                         [NSNumber numberWithInt:factor], (id)kCGImageSourceSubsampleFactor, nil];
        CGImageRef image = CGImageSourceCreateImageAtIndex(source, 0, (CFDictionaryRef)options);
        [images addObject:image != nullptr ? (id)image : [NSNull null]];
        CGImageRelease(image);
    }
    return images;
}

// Reads the picture in a source and releases the source.
NSString* ReadSource(CGImageSourceRef source, PictureFile* picture) {
    NSDictionary* properties = [(NSDictionary*)CGImageSourceCopyPropertiesAtIndex(source, 0, nullptr) autorelease];
    NSNumber* orientation = [properties objectForKey:(id)kCGImagePropertyOrientation];
    if (orientation != nil) picture->orientation = [orientation intValue];
    NSString* reason = ObstacleInMemory(properties, picture->orientation);
    if (reason != nil) {
        CFRelease(source);
        return reason;
    }
    NSNumber* isKept = [NSNumber numberWithBool:!KeepsRowsInOrder(picture->orientation)];
    NSDictionary* options = [NSDictionary dictionaryWithObject:isKept forKey:(id)kCGImageSourceShouldCache];
    picture->bitmap = CGImageSourceCreateImageAtIndex(source, 0, (CFDictionaryRef)options);
    if (picture->bitmap != nullptr) {
        const bool isSequential = CGDataProviderIsSequential(CGImageGetDataProvider(picture->bitmap));
        if (isSequential && picture->orientation == 1) picture->reduced = ReducedImages(source);
        CFRelease(source);
        return nil;
    }
    const CGImageSourceStatus status = CGImageSourceGetStatus(source);
    CFRelease(source);
    NSString* obstacle = status == kCGImageStatusInvalidData ? ObstacleInSize(properties) : nil;
    return obstacle != nil ? obstacle : ReasonForStatus(status);
}

// Writes the picture to a destination and releases the destination. Returns false, with the reason in errno, when that
// fails or when the destination is null.
bool Write(CGImageDestinationRef destination, CGImageRef image, NSNumber* quality) {
    if (destination == nullptr) return false;
    NSDictionary* properties = nil;
    if (quality != nil) {
        properties = [NSDictionary dictionaryWithObject:quality forKey:(id)kCGImageDestinationLossyCompressionQuality];
    }
    CGImageDestinationAddImage(destination, image, (CFDictionaryRef)properties);
    const bool isWritten = CGImageDestinationFinalize(destination);
    CFRelease(destination);
    return isWritten;
}

}  // namespace

NSString* ReasonForMemory(CGSize size) {
    // Four bytes for each pixel: what the bitmap takes, apart from what rendering it takes.
    const double bytes = 4 * static_cast<double>(size.width) * static_cast<double>(size.height);
    const bool isHuge = bytes >= 1e10;
    return [NSString stringWithFormat:@"%.0f x %.0f pixels need %.0f %@ of memory, which is not available",
                                      static_cast<double>(size.width), static_cast<double>(size.height),
                                      std::ceil(bytes / (isHuge ? 1e9 : 1e6)), isHuge ? @"GB" : @"MB"];
}

NSString* ReadImageFile(const char* path, PictureFile* picture) {
    NSString* obstacle = ObstacleToReading(path);
    if (obstacle != nil) return obstacle;
    CGImageSourceRef source = CGImageSourceCreateWithURL(URLFor(path), nullptr);
    picture->name = TextOfPath(path);
    return source != nullptr ? ReadSource(source, picture) : SystemReason(errno);
}

bool BeginsLikePicture(const char* path) {
    if (ObstacleToReading(path) != nil) return false;
    // More than the signature of any format; the decoder refuses so little of a picture for another reason.
    std::uint8_t start[64];
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    const ssize_t length = file >= 0 ? read(file, start, sizeof start) : -1;
    if (file >= 0) close(file);
    if (length <= 0) return false;
    NSData* data = [NSData dataWithBytes:start length:static_cast<NSUInteger>(length)];
    CGImageSourceRef source = CGImageSourceCreateWithData(reinterpret_cast<CFDataRef>(data), nullptr);
    const CGImageSourceStatus status = CGImageSourceGetStatus(source);
    CFRelease(source);
    return status != kCGImageStatusUnknownType && status != kCGImageStatusReadingHeader;
}

NSString* ReadImageData(NSData* data, PictureFile* picture) {
    if (data == nil) return @"the data is empty";
    return ReadSource(CGImageSourceCreateWithData(reinterpret_cast<CFDataRef>(data), nullptr), picture);
}

bool IsJPEG(const char* path) { return [TypeForSuffix(path) isEqual:kJPEG]; }

NSString* ObstacleToJPEG(CGSize size) {
    if (size.width <= kLongestSideOfJPEG && size.height <= kLongestSideOfJPEG) return nil;
    return [NSString stringWithFormat:@"%.0f x %.0f pixels are too large for a JPEG, whose sides have at most %.0f",
                                      static_cast<double>(size.width), static_cast<double>(size.height),
                                      kLongestSideOfJPEG];
}

NSString* ObstacleToWriting(const char* path, int* errorNumber) {
    if (TypeForSuffix(path) == nil) return @"the suffix must be .png, .jpg or .jpeg";
    struct stat status = {};
    if (lstat(path, &status) == 0) {
        // A link to a file that does not exist is followed when the file is written.
        const bool exists = stat(path, &status) == 0;
        if (exists && S_ISDIR(status.st_mode)) return @"the path is a folder";
        if (exists && faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) != 0) return SystemReason(*errorNumber = errno);
    } else if (errno != ENOENT) {
        return SystemReason(*errorNumber = errno);
    } else {
        const char* slash = std::strrchr(path, '/');
        NSData* name =
            slash != nullptr ? [NSData dataWithBytes:path length:static_cast<NSUInteger>(slash - path)] : nil;
        NSMutableData* folder = [NSMutableData dataWithData:name];
        if ([folder length] == 0) [folder appendBytes:slash != nullptr ? "/" : "." length:1];
        [folder appendBytes:"" length:1];
        const char* bytes = static_cast<const char*>([folder bytes]);
        if (access(bytes, F_OK) != 0) {
            *errorNumber = errno;
            return [NSString stringWithFormat:@"there is no folder %@", TextOfPath(bytes)];
        }
        if (faccessat(AT_FDCWD, bytes, W_OK, AT_EACCESS) != 0) return SystemReason(*errorNumber = errno);
    }
    return nil;
}

NSString* WriteImageFile(const char* path, CGImageRef image, NSNumber* quality, int* errorNumber) {
    CFStringRef type = reinterpret_cast<CFStringRef>(TypeForSuffix(path));
    CGImageDestinationRef destination = CGImageDestinationCreateWithURL(URLFor(path), type, 1, nullptr);
    return Write(destination, image, quality) ? nil : SystemReason(*errorNumber = errno);
}

NSString* EncodeImage(CGImageRef image, NSNumber* quality, NSData** file, int* errorNumber) {
    NSMutableData* data = [NSMutableData data];
    CFStringRef type = reinterpret_cast<CFStringRef>(quality != nil ? kJPEG : kPNG);
    CGImageDestinationRef destination =
        CGImageDestinationCreateWithData(reinterpret_cast<CFMutableDataRef>(data), type, 1, nullptr);
    if (!Write(destination, image, quality)) return SystemReason(*errorNumber = errno);
    *file = data;
    return nil;
}
