// CGImageFormat.h - the picture formats by name: what can be read and written, and with how many bits. macOS lists type
// identifiers only.
//
// Ownership: results are constant or, if text, owned by the caller, who frees it with free.
// Threads:   any.

#pragma once

#include <CoreGraphics/CoreGraphics.h>

typedef struct {
    const char* name;    // "JPEG"
    const char* type;    // "public.jpeg"
    unsigned depths;     // the bits per component of files that are written: a sum of 8, 16 and 32, which are floats
    size_t longestSide;  // of files that are written, in pixels; 0 for no limit
} CGImageFormat;

// Stores the format of the suffix of a path. Returns false for an unknown suffix.
CG_EXTERN bool CGImageFormatOfPath(const char* path, CGImageFormat* format);

// Stores the format with a name, which is any of its suffixes, such as "jpeg". Returns false for an unknown name.
CG_EXTERN bool CGImageFormatNamed(const char* name, CGImageFormat* format);

// Returns why files of a type cannot be written on this machine; null when they can.
CG_EXTERN char* CGImageFormatCopyObstacleToWriting(const char* type);

// Return the names of all formats, and of those that can be written on this machine: "PNG, JPEG or WebP".
CG_EXTERN char* CGImageFormatCopyNames(void);
CG_EXTERN char* CGImageFormatCopyWritable(void);
