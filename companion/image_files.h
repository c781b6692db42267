// image_files.h - pictures in files and in bytes.
//
// Failure: each function answers the reason in words, autoreleased, or nil when all went well.
// Threads: the host's thread.

#pragma once

#include <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

// A picture that has been read.
struct PictureFile {
    CGImageRef bitmap = nullptr;  // as it is stored, with one reference for the caller
    int orientation = 1;          // which way up it was taken, 1 (upright) to 8
};

// Reads a PNG or JPEG.
NSString* ReadImageFile(NSString* path, PictureFile* picture);
NSString* ReadImageData(NSData* data, PictureFile* picture);

// Why a picture cannot be written to a path, found before it is rendered: the suffix, or the folder.
NSString* ObstacleToWriting(NSString* path);

// Writes a picture as its suffix says, a JPEG with a quality of 0 to 1, nil for the usual one. A file that was there
// stays as it was when that fails.
NSString* WriteImageFile(NSString* path, CGImageRef image, NSNumber* quality);

// The bytes of a picture's file, a JPEG when there is a quality, else a PNG; file becomes them, autoreleased.
NSString* EncodeImage(CGImageRef image, NSNumber* quality, NSData** file);
