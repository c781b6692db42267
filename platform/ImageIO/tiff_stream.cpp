// tiff_stream.cpp - the functions that libtiff calls to read, write and seek.

#include "tiff_stream.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace image_io {
namespace {

TiffStream& StreamOf(thandle_t handle) { return *static_cast<TiffStream*>(handle); }

tmsize_t Read(thandle_t handle, void* to, tmsize_t count) {
    TiffStream& stream = StreamOf(handle);
    const auto wanted = static_cast<std::size_t>(count);
    const std::size_t left = stream.at < stream.length ? stream.length - stream.at : 0;
    const std::size_t given = std::min(wanted, left);
    if (given < wanted) stream.hasEnded = true;
    if (given > 0) std::memcpy(to, stream.bytes + stream.at, given);
    stream.at += given;
    return static_cast<tmsize_t>(given);
}

// Memory that grows by doubling is moved by its pages, and only what was written is resident.
bool Grow(TiffStream& stream, std::size_t length) {
    if (length <= stream.capacity) return true;
    const std::size_t capacity = std::max(length, 2 * stream.capacity);
    void* const grown = std::realloc(stream.written, capacity);
    if (grown == nullptr) return false;
    stream.written = static_cast<std::uint8_t*>(grown);
    stream.capacity = capacity;
    return true;
}

// Stores bytes at the stream's place. Returns false when memory is short.
bool Store(TiffStream& stream, const void* from, std::size_t size) {
    if (!Grow(stream, stream.at + size)) return false;
    if (stream.at > stream.length) std::memset(stream.written + stream.length, 0, stream.at - stream.length);
    std::memcpy(stream.written + stream.at, from, size);
    stream.at += size;
    stream.length = std::max(stream.length, stream.at);
    stream.bytes = stream.written;
    return true;
}

// The library reads back what it wrote when it completes a directory.
tmsize_t Write(thandle_t handle, void* from, tmsize_t count) {
    return Store(StreamOf(handle), from, static_cast<std::size_t>(count)) ? count : 0;
}

tmsize_t WriteNothing(thandle_t, void*, tmsize_t) { return 0; }

toff_t Seek(thandle_t handle, toff_t offset, int from) {
    TiffStream& stream = StreamOf(handle);
    const std::size_t start = from == SEEK_SET ? 0 : from == SEEK_CUR ? stream.at : stream.length;
    stream.at = start + static_cast<std::size_t>(offset);
    return stream.at;
}

toff_t Size(thandle_t handle) { return StreamOf(handle).length; }

int Close(thandle_t) { return 0; }

// Keeps the first error.
int NoteError(TIFF*, void* user, const char*, const char* format, va_list arguments) {
    TiffStream& stream = *static_cast<TiffStream*>(user);
    if (stream.fault[0] == '\0') std::vsnprintf(stream.fault, sizeof stream.fault, format, arguments);
    return 1;
}

int IgnoreWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

TIFF* Open(TiffStream* stream, const char* mode, TIFFReadWriteProc write) {
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (options == nullptr) return nullptr;
    TIFFOpenOptionsSetErrorHandlerExtR(options, NoteError, stream);
    TIFFOpenOptionsSetWarningHandlerExtR(options, IgnoreWarning, nullptr);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, kMostTiffAtOnce);
    TIFF* tiff = TIFFClientOpenExt("", mode, stream, Read, write, Seek, Close, Size, nullptr, nullptr, options);
    TIFFOpenOptionsFree(options);
    return tiff;
}

}  // namespace

TIFF* OpenToRead(TiffStream* stream) { return Open(stream, "rm", WriteNothing); }

TIFF* OpenToWrite(TiffStream* stream, bool isLarge) { return Open(stream, isLarge ? "w8" : "w", Write); }

bool Append(TiffStream* stream, const void* bytes, std::size_t length) {
    stream->at = stream->length;
    return Store(*stream, bytes, length);
}

}  // namespace image_io
