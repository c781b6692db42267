// image_files.h - pictures in files.
//
// Failure: each function answers the reason in words, autoreleased, or nil when all went well.
// Threads: the host's thread.

#pragma once

#include <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

// Reads a PNG or JPEG; image gets one reference for the caller.
NSString* ReadImageFile(NSString* path, CGImageRef* image);

// Why a picture cannot be written to a path, found before it is rendered: the suffix, or the folder.
NSString* ObstacleToWriting(NSString* path);

// Writes a picture as its suffix says. A file that was there stays as it was when that fails.
NSString* WriteImageFile(NSString* path, CGImageRef image);
