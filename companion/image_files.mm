// image_files.mm - reads and writes pictures through ImageIO, and explains failures.

#include "companion/image_files.h"

#include <ImageIO/ImageIO.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

// The type identifiers of the file formats.
NSString* const kPNG = @"public.png";
NSString* const kJPEG = @"public.jpeg";

// Returns the type identifier for the suffix of a path; nil for an unknown suffix.
NSString* TypeForSuffix(NSString* path) {
    NSString* suffix = [[path pathExtension] lowercaseString];
    if ([suffix isEqualToString:@"png"]) return kPNG;
    if ([suffix isEqualToString:@"jpg"] || [suffix isEqualToString:@"jpeg"]) return kJPEG;
    return nil;
}

// Returns the text of errno, in lower case: "no such file or directory".
NSString* SystemReason() {
    NSString* reason = [NSString stringWithUTF8String:std::strerror(errno)];
    return [[[reason substringToIndex:1] lowercaseString] stringByAppendingString:[reason substringFromIndex:1]];
}

// Returns why a file cannot be opened for reading; nil when it can.
NSString* ObstacleToReading(NSString* path) {
    const int file = open([path UTF8String], O_RDONLY | O_CLOEXEC);
    if (file < 0) return SystemReason();
    struct stat status = {};
    const bool isFolder = fstat(file, &status) == 0 && S_ISDIR(status.st_mode);
    close(file);
    return isFolder ? @"the path is a folder, not a picture" : nil;
}

NSString* ReasonForStatus(CGImageSourceStatus status) {
    switch (status) {
        case kCGImageStatusUnexpectedEOF:
            return @"the file is truncated";
        case kCGImageStatusInvalidData:
            return @"the picture is damaged or too large";
        case kCGImageStatusUnknownType:
            return @"not a PNG or JPEG file";
        case kCGImageStatusReadingHeader:
            return @"the file is too short to be a picture";
        default:
            return @"the picture cannot be read";
    }
}

CFURLRef URLFor(NSString* path) { return reinterpret_cast<CFURLRef>([NSURL fileURLWithPath:path]); }

// Reads the picture in a source and releases the source.
NSString* ReadSource(CGImageSourceRef source, PictureFile* picture) {
    picture->bitmap = CGImageSourceCreateImageAtIndex(source, 0, nullptr);
    const CGImageSourceStatus status = CGImageSourceGetStatus(source);
    NSDictionary* properties = (NSDictionary*)CGImageSourceCopyPropertiesAtIndex(source, 0, nullptr);
    NSNumber* orientation = [properties objectForKey:(id)kCGImagePropertyOrientation];
    if (orientation != nil) picture->orientation = [orientation intValue];
    [properties release];
    CFRelease(source);
    return picture->bitmap == nullptr ? ReasonForStatus(status) : nil;
}

// Writes the picture to a destination and releases the destination. Returns false when that fails or when the
// destination is null.
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

NSString* ReadImageFile(NSString* path, PictureFile* picture) {
    NSString* obstacle = ObstacleToReading(path);
    if (obstacle != nil) return obstacle;
    CGImageSourceRef source = CGImageSourceCreateWithURL(URLFor(path), nullptr);
    return source != nullptr ? ReadSource(source, picture) : @"the file cannot be read";
}

NSString* ReadImageData(NSData* data, PictureFile* picture) {
    if (data == nil) return @"the data is empty";
    return ReadSource(CGImageSourceCreateWithData(reinterpret_cast<CFDataRef>(data), nullptr), picture);
}

NSString* ObstacleToWriting(NSString* path) {
    if (TypeForSuffix(path) == nil) return @"the suffix must be .png, .jpg or .jpeg";
    NSString* folder = [path stringByDeletingLastPathComponent];
    if ([folder length] == 0) folder = @".";
    if (access([folder UTF8String], F_OK) != 0) return [NSString stringWithFormat:@"there is no folder %@", folder];
    struct stat status = {};
    const bool exists = stat([path UTF8String], &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) return @"the path is a folder";
    const char* written = [exists ? path : folder UTF8String];
    return access(written, W_OK) != 0 ? SystemReason() : nil;
}

NSString* WriteImageFile(NSString* path, CGImageRef image, NSNumber* quality) {
    CFStringRef type = reinterpret_cast<CFStringRef>(TypeForSuffix(path));
    CGImageDestinationRef destination = CGImageDestinationCreateWithURL(URLFor(path), type, 1, nullptr);
    return Write(destination, image, quality) ? nil : @"writing failed";
}

NSString* EncodeImage(CGImageRef image, NSNumber* quality, NSData** file) {
    NSMutableData* data = [NSMutableData data];
    CFStringRef type = reinterpret_cast<CFStringRef>(quality != nil ? kJPEG : kPNG);
    CGImageDestinationRef destination =
        CGImageDestinationCreateWithData(reinterpret_cast<CFMutableDataRef>(data), type, 1, nullptr);
    if (!Write(destination, image, quality)) return @"the image is too large for the file format";
    *file = data;
    return nil;
}
