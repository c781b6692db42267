// metadata.h - the data about a picture that its file holds beside the pixels: Exif, XMP and IPTC.
//
// Each is a block of bytes. It is kept as it is, except for what another picture makes wrong and what is to be hidden.
//
// Failure: a block that cannot be understood is dropped, rather than kept with something that should not be in it.
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace image_io {

using Bytes = std::vector<std::uint8_t>;

struct Metadata {
    Bytes exif;                // from its TIFF header on
    Bytes xmp;                 // the packet, in UTF-8
    Bytes iptc;                // the data sets
    int orientation = 0;       // 1 (upright) to 8 where the format has it elsewhere than in Exif
    std::size_t pictures = 1;  // pages, frames of an animation, or pictures of an album; the first is read
};

// Returns the data in the bytes of a file. The format's codec reads it.
[[nodiscard]] Metadata MetadataOf(const std::uint8_t* bytes, std::size_t length);

// Returns the orientation of the pixels: 1 (upright) to 8; 0 when there is none or it cannot be read.
[[nodiscard]] int OrientationIn(const Metadata& metadata);

// The size of a picture that gets the data of another one, and whether the location is dropped.
struct Adaptation {
    std::size_t width = 0;
    std::size_t height = 0;
    bool dropsLocation = false;
};

// Changes data for a picture that is upright: the orientation is reset, the dimensions are set, thumbnails are dropped.
void Adapt(Metadata* metadata, const Adaptation& adaptation);

// Changes each kind. Returns false when the block must be dropped.
[[nodiscard]] bool AdaptExif(Bytes* exif, const Adaptation& adaptation);
[[nodiscard]] bool AdaptXMP(Bytes* xmp, const Adaptation& adaptation);
[[nodiscard]] bool AdaptIPTC(Bytes* iptc, const Adaptation& adaptation);

// How segments of a JPEG begin, with the zero at the end: the one of XMP, and those of XMP that is too long for it.
inline constexpr char kXMPSegment[] = "http://ns.adobe.com/xap/1.0/";
inline constexpr char kXMPExtension[] = "http://ns.adobe.com/xmp/extension/";

// Each reads the data in a file of its format.
void ReadMetadataOfPNG(const std::uint8_t* bytes, std::size_t length, Metadata* metadata);
void ReadMetadataOfJPEG(const std::uint8_t* bytes, std::size_t length, Metadata* metadata);
void ReadMetadataOfWebP(const std::uint8_t* bytes, std::size_t length, Metadata* metadata);

}  // namespace image_io
