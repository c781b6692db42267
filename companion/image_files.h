// image_files.h - reads and writes PNG and JPEG, as files and as bytes.
//
// Failure: each function returns the reason as an autoreleased string, or nil on success. Those that write also store
//          the system's error number, if the system is the cause.
// Threads: the host's thread.

#pragma once

#include <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

struct PictureFile {
    CGImageRef bitmap = nullptr;  // the stored pixels, not rotated; the caller owns one reference
    int orientation = 1;          // the Exif orientation, 1 (upright) to 8
    NSString* name = nil;         // in messages; autoreleased
    NSArray* reduced = nil;       // the bitmap at smaller scales, for kCIImageReducedImages; autoreleased
};

// Returns that there is no memory for an image of this size, and how much it needs.
[[nodiscard]] NSString* ReasonForMemory(CGSize size);

// Reads a PNG or JPEG.
[[nodiscard]] NSString* ReadImageFile(const char* path, PictureFile* picture);
[[nodiscard]] NSString* ReadImageData(NSData* data, PictureFile* picture);

// Whether a file begins like a picture that can be read. Looks at its first bytes only, never at its name.
[[nodiscard]] bool BeginsLikePicture(const char* path);

// Tests the suffix and the folder of a path, so that a wrong path is found before the image is rendered.
[[nodiscard]] NSString* ObstacleToWriting(const char* path, int* errorNumber);

// Whether the suffix of a path is that of a JPEG; and the test of the size of a JPEG.
[[nodiscard]] bool IsJPEG(const char* path);
[[nodiscard]] NSString* ObstacleToJPEG(CGSize size);

// Writes a PNG or JPEG by the suffix of the path. The quality of a JPEG is 0 to 1, nil for the default. When writing
// fails, an existing file stays unchanged.
[[nodiscard]] NSString* WriteImageFile(const char* path, CGImageRef image, NSNumber* quality, int* errorNumber);

// Encodes a JPEG when there is a quality, else a PNG. Stores the autoreleased bytes in `file`.
[[nodiscard]] NSString* EncodeImage(CGImageRef image, NSNumber* quality, NSData** file, int* errorNumber);
