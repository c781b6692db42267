// image_files.mm - reads and writes pictures through ImageIO, and explains failures.

#include "companion/image_files.h"

#import <CoreImage/CIEngine.h>
#include <ImageIO/ImageIO.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "companion/host_text.h"

namespace {

// Returns text that was allocated with malloc, autoreleased, and frees it; nil for null.
NSString* TakeText(char* text) {
    NSString* taken = text != nullptr ? [NSString stringWithUTF8String:text] : nil;
    std::free(text);
    return taken;
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
    if (isKnown && S_ISDIR(status.st_mode)) {
        // A folder in which nothing can be opened is named by --recursive.
        const bool isOpen = faccessat(AT_FDCWD, path, X_OK, AT_EACCESS) == 0;
        return isOpen ? @"the path is a folder, not a picture" : SystemReason(errno);
    }
    return isKnown && !S_ISREG(status.st_mode) ? @"the path is a pipe or a device, not a picture" : nil;
}

NSString* ReasonForStatus(CGImageSourceStatus status) {
    switch (status) {
        case kCGImageStatusUnexpectedEOF:
            return @"the file is truncated";
        case kCGImageStatusInvalidData:
            return @"the picture is damaged";
        case kCGImageStatusUnknownType:
            return [NSString stringWithFormat:@"not a %@ file", TakeText(CGImageFormatCopyNames())];
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
    const auto limit = static_cast<double>(CGImageSourceGetPixelLimit());
    if (width * height <= limit) return ReasonForMemory(CGSizeMake(width, height));
    return [NSString stringWithFormat:@"the picture has %.0f x %.0f pixels, at most %.0f million can be read "
                                      @"without --pixel-limit",
                                      width, height, std::floor(limit / 1e6)];
}

// Returns an autoreleased URL; nil when there is no current folder for a relative path.
CFURLRef URLFor(const char* path) {
    CFURLRef url = CFURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<const UInt8*>(path),
                                                           static_cast<CFIndex>(std::strlen(path)), false);
    return reinterpret_cast<CFURLRef>([reinterpret_cast<id>(const_cast<__CFURL*>(url)) autorelease]);
}

// Whether a picture with an orientation is upright when its rows are shown in the order in which they are stored.
bool KeepsRowsInOrder(int orientation) { return orientation == 1 || orientation == 2; }

// Returns why a picture does not fit in memory; nil when it does. One whose rows come in order needs only a few of them
// at a time: at least one as it is stored and as floats.
NSString* ObstacleInMemory(NSDictionary* properties, int orientation) {
    const double width = [[properties objectForKey:(id)kCGImagePropertyPixelWidth] doubleValue];
    const double height = [[properties objectForKey:(id)kCGImagePropertyPixelHeight] doubleValue];
    const bool isInOrder = [[properties objectForKey:(id)kCGImagePropertyHasRowsInOrder] boolValue] != NO;
    const auto limit = static_cast<double>(CIEngineMemoryLimit());
    const double bytesPerPixel = [[properties objectForKey:(id)kCGImagePropertyDepth] doubleValue] / 2;
    const double workingBytes = [[properties objectForKey:(id)kCGImagePropertyWorkingBytes] doubleValue];
    constexpr double kBytesOfFloats = 4 * sizeof(float);
    const bool isRowByRow = isInOrder && KeepsRowsInOrder(orientation);
    const double needed =
        isRowByRow ? (bytesPerPixel + kBytesOfFloats) * width : bytesPerPixel * width * height + workingBytes;
    // The reader refuses a picture that exceeds its own limit.
    const bool isAllowed = width * height <= static_cast<double>(CGImageSourceGetPixelLimit());
    if (!isAllowed || needed <= limit) return nil;
    constexpr double kMegabyte = 1 << 20;
    return [NSString stringWithFormat:@"needs %.0f MB of memory, more than the memory limit of %.0f MB",
                                      std::ceil(needed / kMegabyte), std::floor(limit / kMegabyte)];
}

NSDictionary* PropertiesOf(CGImageSourceRef source) {
    return [(NSDictionary*)CGImageSourceCopyPropertiesAtIndex(source, 0, nullptr) autorelease];
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
    NSDictionary* properties = PropertiesOf(source);
    picture->properties = properties;
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
    // The decoder may know more about a picture that it could not read.
    properties = PropertiesOf(source);
    CFRelease(source);
    NSString* obstacle = [properties objectForKey:(id)kCGImagePropertyFailure];
    if (obstacle == nil && status == kCGImageStatusInvalidData) obstacle = ObstacleInSize(properties);
    return obstacle != nil ? obstacle : ReasonForStatus(status);
}

// Writes the picture to a destination and releases the destination. Returns false, with the reason in errno, when that
// fails or when the destination is null.
bool Write(CGImageDestinationRef destination, CGImageRef image, NSDictionary* properties) {
    if (destination == nullptr) return false;
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

FileIdentity IdentityOf(const char* path) {
    struct stat status = {};
    return stat(path, &status) == 0 ? FileIdentity{status.st_dev, status.st_ino} : FileIdentity{};
}

NSString* ReadImageFile(const char* path, PictureFile* picture) {
    NSString* obstacle = ObstacleToReading(path);
    if (obstacle != nil) return obstacle;
    CGImageSourceRef source = CGImageSourceCreateWithURL(URLFor(path), nullptr);
    picture->name = TextOfPath(path);
    picture->file = IdentityOf(path);
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

NSString* ObstacleToFormat(const char* path, const char* name, CGImageFormat* format) {
    if (!(name != nullptr ? CGImageFormatNamed(name, format) : CGImageFormatOfPath(path, format))) {
        return
            [NSString stringWithFormat:@"the suffix must be that of a %@ file", TakeText(CGImageFormatCopyWritable())];
    }
    NSString* obstacle = TakeText(CGImageFormatCopyObstacleToWriting(format->type));
    if (obstacle == nil) return nil;
    return
        [NSString stringWithFormat:@"%@; this machine can write %@", obstacle, TakeText(CGImageFormatCopyWritable())];
}

NSString* ObstacleToSize(const CGImageFormat& format, CGSize size) {
    const auto longest = static_cast<CGFloat>(format.longestSide);
    if (longest == 0 || (size.width <= longest && size.height <= longest)) return nil;
    return [NSString stringWithFormat:@"%.0f x %.0f pixels are too large for a %s, whose sides have at most %zu",
                                      static_cast<double>(size.width), static_cast<double>(size.height), format.name,
                                      format.longestSide];
}

NSString* ObstacleToWriting(const char* path, int* errorNumber) {
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

NSString* WriteImageFile(const char* path, const CGImageFormat& format, CGImageRef image, NSDictionary* properties,
                         int* errorNumber) {
    CFStringRef type = reinterpret_cast<CFStringRef>([NSString stringWithUTF8String:format.type]);
    CGImageDestinationRef destination = CGImageDestinationCreateWithURL(URLFor(path), type, 1, nullptr);
    return Write(destination, image, properties) ? nil : SystemReason(*errorNumber = errno);
}

NSString* EncodeImage(const CGImageFormat& format, CGImageRef image, NSDictionary* properties, NSData** file,
                      int* errorNumber) {
    NSMutableData* data = [NSMutableData data];
    CFStringRef type = reinterpret_cast<CFStringRef>([NSString stringWithUTF8String:format.type]);
    CGImageDestinationRef destination =
        CGImageDestinationCreateWithData(reinterpret_cast<CFMutableDataRef>(data), type, 1, nullptr);
    if (!Write(destination, image, properties)) return SystemReason(*errorNumber = errno);
    *file = data;
    return nil;
}
