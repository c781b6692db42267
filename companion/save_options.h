// save_options.h - how an image is saved, read from a text: "quality=80; strip=gps; color-space=Display P3".
//
// The names are those of the program's options without their dashes. An option that the format of a file does not know
// has no effect, so that one text serves files of several formats. A backslash takes the next character literally.
//
// Failure: a wrong option gives the reason, and its name as the place.
// Threads: the host's thread.

#pragma once

#include <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>
#include <ImageIO/CGImageFormat.h>

#include <cstddef>

// What becomes of the data about a picture: everything is kept, all but the location, or nothing.
enum class Strip { kNothing, kLocation, kAll };

struct SaveOptions {
    NSMutableDictionary* properties;  // of ImageIO, autoreleased
    std::size_t depth = 0;            // the bits of a component; 0 for those of the source
    Strip strip = Strip::kNothing;
    const char* format = nullptr;     // a name that replaces the suffix; null for none
    CGColorSpaceRef space = nullptr;  // autoreleased; null for that of the source, or sRGB without data about a picture
    id workingSpace = nil;            // autoreleased; nil for linear light, NSNull for none
};

// Reads a text. Returns what is wrong, and stores which option; nil when nothing is wrong.
[[nodiscard]] NSString* ReadSaveOptions(const char* text, SaveOptions* options, NSString** place);
