// image_files.mm - reading, writing, and telling people why not.

#include "companion/image_files.h"

#include <ImageIO/ImageIO.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

// The type of the picture that a path's suffix asks for; nil for a suffix that is not known.
NSString* TypeForSuffix(NSString* path) {
    NSString* suffix = [[path pathExtension] lowercaseString];
    if ([suffix isEqualToString:@"png"]) return @"public.png";
    if ([suffix isEqualToString:@"jpg"] || [suffix isEqualToString:@"jpeg"]) return @"public.jpeg";
    return nil;
}

// The system's reason for the last failure, "no such file or directory".
NSString* SystemReason() {
    NSString* reason = [NSString stringWithUTF8String:std::strerror(errno)];
    return [[[reason substringToIndex:1] lowercaseString] stringByAppendingString:[reason substringFromIndex:1]];
}

// Why a file cannot be opened for reading; nil when it can.
NSString* ObstacleToReading(NSString* path) {
    const int file = open([path UTF8String], O_RDONLY | O_CLOEXEC);
    if (file < 0) return SystemReason();
    struct stat status = {};
    const bool isFolder = fstat(file, &status) == 0 && S_ISDIR(status.st_mode);
    close(file);
    return isFolder ? @"it is a folder, not a picture" : nil;
}

NSString* ReasonForStatus(CGImageSourceStatus status) {
    switch (status) {
        case kCGImageStatusUnexpectedEOF:
            return @"the file ends before the picture does";
        case kCGImageStatusInvalidData:
            return @"the picture is broken, or larger than can be held";
        case kCGImageStatusUnknownType:
            return @"it is no picture that can be read, PNG and JPEG can";
        case kCGImageStatusReadingHeader:
            return @"the file is too short to be a picture";
        default:
            return @"the picture cannot be read";
    }
}

NSURL* URLFor(NSString* path) { return [NSURL fileURLWithPath:path]; }

}  // namespace

NSString* ReadImageFile(NSString* path, CGImageRef* image) {
    NSString* obstacle = ObstacleToReading(path);
    if (obstacle != nil) return obstacle;
    CGImageSourceRef source = CGImageSourceCreateWithURL(reinterpret_cast<CFURLRef>(URLFor(path)), nullptr);
    if (source == nullptr) return @"the file cannot be read";
    *image = CGImageSourceCreateImageAtIndex(source, 0, nullptr);
    const CGImageSourceStatus status = CGImageSourceGetStatus(source);
    CFRelease(source);
    return *image == nullptr ? ReasonForStatus(status) : nil;
}

NSString* ObstacleToWriting(NSString* path) {
    if (TypeForSuffix(path) == nil) return @"the suffix must be .png, .jpg or .jpeg";
    NSString* folder = [path stringByDeletingLastPathComponent];
    if ([folder length] == 0) folder = @".";
    if (access([folder UTF8String], F_OK) != 0) return [NSString stringWithFormat:@"there is no folder %@", folder];
    struct stat status = {};
    const bool exists = stat([path UTF8String], &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) return @"it is a folder";
    const char* written = [exists ? path : folder UTF8String];
    return access(written, W_OK) != 0 ? SystemReason() : nil;
}

NSString* WriteImageFile(NSString* path, CGImageRef image) {
    CGImageDestinationRef destination = CGImageDestinationCreateWithURL(
        reinterpret_cast<CFURLRef>(URLFor(path)), reinterpret_cast<CFStringRef>(TypeForSuffix(path)), 1, nullptr);
    if (destination == nullptr) return @"writing failed";
    CGImageDestinationAddImage(destination, image, nullptr);
    const bool isWritten = CGImageDestinationFinalize(destination);
    CFRelease(destination);
    return isWritten ? nil : @"writing failed";
}
