// image_files.h - reads and writes pictures, as files and as bytes.
//
// Failure: each function returns the reason as an autoreleased string, or nil on success. Those that write also store
//          the system's error number, if the system is the cause.
// Threads: the host's thread.

#pragma once

#include <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>
#include <ImageIO/CGImageFormat.h>
#include <sys/types.h>

// Tells one file from all others; zeros for no file.
struct FileIdentity {
    dev_t device = 0;
    ino_t number = 0;

    bool operator==(const FileIdentity&) const = default;
};

// Returns the identity of the file with a path.
[[nodiscard]] FileIdentity IdentityOf(const char* path);

struct PictureFile {
    CGImageRef bitmap = nullptr;     // the stored pixels, not rotated; the caller owns one reference
    int orientation = 1;             // the Exif orientation, 1 (upright) to 8
    NSString* name = nil;            // in messages; autoreleased
    NSDictionary* properties = nil;  // of ImageIO, autoreleased
    FileIdentity file;               // none for data
    NSArray* reduced = nil;          // the bitmap at smaller scales, for kCIImageReducedImages; autoreleased
};

// Returns that there is no memory for an image of this size, and how much it needs.
[[nodiscard]] NSString* ReasonForMemory(CGSize size);

// Reads a picture.
[[nodiscard]] NSString* ReadImageFile(const char* path, PictureFile* picture);
[[nodiscard]] NSString* ReadImageData(NSData* data, PictureFile* picture);

// Whether a file begins like a picture that can be read. Looks at its first bytes only, never at its name.
[[nodiscard]] bool BeginsLikePicture(const char* path);

// Finds the format of a name, or without a name that of the suffix of a path. Returns why it cannot be written.
[[nodiscard]] NSString* ObstacleToFormat(const char* path, const char* name, CGImageFormat* format);

// Tests whether a path can be written to, so that a wrong path is found before the image is rendered.
[[nodiscard]] NSString* ObstacleToWriting(const char* path, int* errorNumber);

// Tests whether a format can hold an image of a size.
[[nodiscard]] NSString* ObstacleToSize(const CGImageFormat& format, CGSize size);

// Writes an image in a format with the properties of ImageIO, which may be nil. When writing fails, an existing file
// stays unchanged.
[[nodiscard]] NSString* WriteImageFile(const char* path, const CGImageFormat& format, CGImageRef image,
                                       NSDictionary* properties, int* errorNumber);

// Does the same for bytes, and stores them in `file`, autoreleased.
[[nodiscard]] NSString* EncodeImage(const CGImageFormat& format, CGImageRef image, NSDictionary* properties,
                                    NSData** file, int* errorNumber);
