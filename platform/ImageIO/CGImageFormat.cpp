// CGImageFormat.cpp - shows the table of formats.

#include <ImageIO/CGImageFormat.h>

#include <cstring>
#include <string>

#include "formats.h"

namespace {

bool Copy(const image_io::Format* format, CGImageFormat* to) {
    if (format != nullptr) *to = {format->name, format->type, format->depths, format->longestSide};
    return format != nullptr;
}

}  // namespace

bool CGImageFormatOfPath(const char* path, CGImageFormat* format) { return Copy(image_io::FormatOfPath(path), format); }

bool CGImageFormatNamed(const char* name, CGImageFormat* format) { return Copy(image_io::FormatNamed(name), format); }

char* CGImageFormatCopyObstacleToWriting(const char* type) {
    const image_io::Format* format = image_io::FormatOfType(type);
    const std::string reason = format != nullptr ? image_io::ObstacleToEncoding(*format) : "the format is unknown";
    return reason.empty() ? nullptr : strdup(reason.c_str());
}

char* CGImageFormatCopyNames(void) { return strdup(image_io::FormatNames().c_str()); }

char* CGImageFormatCopyWritable(void) { return strdup(image_io::WritableFormats().c_str()); }
