// formats.h - the picture formats: one row each, with its names, its signatures and its codec.
//
// The codecs of PNG and JPEG are part of this library. That of any other format is a library of its own in the same
// folder, which is loaded when a file first needs it: a program that reads PNG and JPEG files only loads nothing more.
// It is built where the headers of the format's library are installed.
//
// Failure: as decode.h and encode.h say.
// Threads: any.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "decode.h"
#include "encode.h"
#include "metadata.h"
#include "row_decoder.h"

namespace image_io {

// What reads and writes the files of a format. A member that the format does not have is null.
struct Codec {
    Status (*decode)(const std::uint8_t* bytes, std::size_t length, Picture* picture) = nullptr;
    int (*encode)(const Pixels& pixels, const EncodeOptions& options, EncodedFile* file) = nullptr;

    // Returns why this machine cannot encode the format; null when it can.
    const char* (*obstacleToEncoding)() = nullptr;

    // Reads the data that a file holds beside the pixels; may throw std::bad_alloc.
    void (*readMetadata)(const std::uint8_t* bytes, std::size_t length, Metadata* metadata) = nullptr;

    // For pictures that are too large to be in memory as a whole: a decoder of rows (row_decoder.h), and whether a
    // picture with a source (encode.h) can be encoded.
    std::unique_ptr<RowDecoder> (*makeRowDecoder)(const FileBytes& file, unsigned factor) = nullptr;
    bool encodesRows = false;

    // Of a format without a decoder of rows: reads the size of a picture, its depth, and the working bytes.
    void (*readSize)(const std::uint8_t* bytes, std::size_t length, Picture* picture) = nullptr;
};

// The longest side of a JPEG: what the encoder accepts. The format has room for 35 pixels more.
inline constexpr std::size_t kJPEGSide = 65500;

struct Format {
    const char* name;                // as messages show it
    const char* type;                // the uniform type identifier
    const char* suffixes;            // in lower case, separated by spaces; the first is the usual one
    std::string_view signatures[4];  // how files begin; '?' stands for any byte
    unsigned depths;                 // of the files that are written: a sum of 8, 16 and 32
    std::size_t longestSide;         // of the files that are written, in pixels; 0 for no limit

    const Codec* codec;   // null for a format with a library
    const char* library;  // the name of the library that has the codec, and the codec's name in it
    const char* symbol;
};

// Returns the format whose signature the bytes begin with; null for none. The bytes may be shorter than the signature.
[[nodiscard]] const Format* FormatOfContent(const std::uint8_t* bytes, std::size_t length);

// Whether the bytes hold a whole signature of the format.
[[nodiscard]] bool HasSignature(const Format& format, const std::uint8_t* bytes, std::size_t length);

// Return the format of a type identifier, and that of the suffix of a path, whose case does not matter; null for none.
[[nodiscard]] const Format* FormatOfType(std::string_view type);
[[nodiscard]] const Format* FormatOfPath(std::string_view path);

// Returns the format with a name, which is any of its suffixes; null for none. Case does not matter.
[[nodiscard]] const Format* FormatNamed(std::string_view name);

// Returns the codec of a format, and loads its library if necessary. Null when that is missing; stores why.
[[nodiscard]] const Codec* CodecOf(const Format& format, std::string* reason);

// Returns why files of a format cannot be written on this machine; empty when they can.
[[nodiscard]] std::string ObstacleToEncoding(const Format& format);

// Return the names of all formats, and of those that can be written on this machine: "PNG, JPEG or WebP".
[[nodiscard]] std::string FormatNames();
[[nodiscard]] std::string WritableFormats();

}  // namespace image_io
