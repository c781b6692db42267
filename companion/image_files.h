// image_files.h - reads and writes PNG and JPEG, as files and as bytes.
//
// Failure: each function returns the reason as an autoreleased string, or nil on success.
// Threads: the host's thread.

#pragma once

#include <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

struct PictureFile {
    CGImageRef bitmap = nullptr;  // the stored pixels, not rotated; the caller owns one reference
    int orientation = 1;          // the Exif orientation, 1 (upright) to 8
};

// Reads a PNG or JPEG.
[[nodiscard]] NSString* ReadImageFile(NSString* path, PictureFile* picture);
[[nodiscard]] NSString* ReadImageData(NSData* data, PictureFile* picture);

// Tests the suffix and the folder of a path, so that a wrong path is found before the image is rendered.
[[nodiscard]] NSString* ObstacleToWriting(NSString* path);

// Writes a PNG or JPEG by the suffix of the path. The quality of a JPEG is 0 to 1, nil for the default. When writing
// fails, an existing file stays unchanged.
[[nodiscard]] NSString* WriteImageFile(NSString* path, CGImageRef image, NSNumber* quality);

// Encodes a JPEG when there is a quality, else a PNG. Stores the autoreleased bytes in `file`.
[[nodiscard]] NSString* EncodeImage(CGImageRef image, NSNumber* quality, NSData** file);
