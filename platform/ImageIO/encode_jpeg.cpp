// encode_jpeg.cpp - encodes JPEG files, blended onto white. A picture without colors is stored as gray.

// jpeglib.h requires this header before it.
#include <cstdio>

#include <jpeglib.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "byte_order.h"
#include "digest.h"
#include "encode.h"
#include "formats.h"
#include "jpeg_errors.h"
#include "metadata.h"

namespace image_io {
namespace {

void IgnoreWarning(j_common_ptr, int) {}

// The encoded file in the types of the library.
struct Output {
    unsigned char* bytes;
    unsigned long length;
};

// Passes the file to a sink, piece by piece.
struct SinkManager {
    jpeg_destination_mgr base;
    ByteSink* sink;
    int error;
    JOCTET piece[1 << 16];
};

void BeginPiece(j_compress_ptr jpeg) {
    auto* manager = reinterpret_cast<SinkManager*>(jpeg->dest);
    manager->base.next_output_byte = manager->piece;
    manager->base.free_in_buffer = sizeof manager->piece;
}

void PassOn(j_compress_ptr jpeg, std::size_t length) {
    auto* manager = reinterpret_cast<SinkManager*>(jpeg->dest);
    manager->error = manager->sink->Write(manager->piece, length);
    if (manager->error != 0) Fail(reinterpret_cast<j_common_ptr>(jpeg));
    BeginPiece(jpeg);
}

boolean PassPiece(j_compress_ptr jpeg) {
    PassOn(jpeg, sizeof reinterpret_cast<SinkManager*>(jpeg->dest)->piece);
    return TRUE;
}

void PassRest(j_compress_ptr jpeg) {
    auto* manager = reinterpret_cast<SinkManager*>(jpeg->dest);
    PassOn(jpeg, sizeof manager->piece - manager->base.free_in_buffer);
}

constexpr std::size_t kLongestMarker = 65533;

// Writes a marker with a name, unless its content is empty or too long for one marker.
void WriteMarker(jpeg_compress_struct* jpeg, int marker, const char* name, std::size_t nameLength,
                 const Block& content) {
    if (content.length == 0 || nameLength + content.length > kLongestMarker) return;
    jpeg_write_m_header(jpeg, marker, static_cast<unsigned>(nameLength + content.length));
    for (std::size_t i = 0; i < nameLength; ++i) jpeg_write_m_byte(jpeg, name[i]);
    const auto* bytes = static_cast<const std::uint8_t*>(content.bytes);
    for (std::size_t i = 0; i < content.length; ++i) jpeg_write_m_byte(jpeg, bytes[i]);
}

// XMP as a JPEG holds it: a packet, and the parts of its extension.
struct ExtendedXMP {
    std::string packet;
    std::vector<std::string> parts;
};

Block BlockOf(const std::string& text) { return {text.data(), text.size()}; }

// Returns XMP in segments. A packet that is too long for one becomes the extension of a packet that only names it; a
// reader joins them. The name is the digest of the extension.
ExtendedXMP Extended(const Block& xmp) {
    const std::string_view whole(static_cast<const char*>(xmp.bytes), xmp.length);
    if (sizeof kXMPSegment + whole.size() <= kLongestMarker) return {std::string(whole), {}};
    // The frame of a packet is not part of an extension.
    const std::size_t begin = std::min(whole.size(), whole.find("<x:xmpmeta")), end = whole.rfind("<?xpacket end");
    const std::string_view extension = begin < end ? whole.substr(begin, end - begin) : whole;
    const std::string name = DigestOf(extension);
    ExtendedXMP extended = {
        "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>"
        "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">"
        "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
        "<rdf:Description rdf:about=\"\" xmlns:xmpNote=\"http://ns.adobe.com/xmp/note/\" "
        "xmpNote:HasExtendedXMP=\"" +
            name + "\"/></rdf:RDF></x:xmpmeta><?xpacket end=\"w\"?>",
        {}};
    constexpr std::size_t kNumber = 4;
    const std::size_t longest = kLongestMarker - sizeof kXMPExtension - name.size() - 2 * kNumber;
    for (std::size_t at = 0; at < extension.size(); at += longest) {
        std::uint8_t numbers[2 * kNumber];
        StoreNumber(extension.size(), kNumber, /*isLittleEndian=*/false, numbers);
        StoreNumber(at, kNumber, /*isLittleEndian=*/false, numbers + kNumber);
        std::string& part = extended.parts.emplace_back(name);
        part.append(std::begin(numbers), std::end(numbers)).append(extension.substr(at, longest));
    }
    return extended;
}

// A picture, how it is written, and the error of its source. The first rows are read.
struct Job {
    const Pixels& pixels;
    const EncodeOptions& options;
    const std::vector<std::string>& extension;  // the parts of XMP that is too long
    PixelRows& rows;
    Channels* channels;
    std::uint8_t* row;
    int error;
};

// Writes the picture as EncodeByRows requests, catches the jump, and returns whether it was written completely. No
// object here has a destructor that the jump could skip.
bool WriteGuarded(jpeg_compress_struct* jpeg, ErrorManager* errors, Job& job, Output* output, SinkManager* sink) {
    const Pixels& pixels = job.pixels;
    const EncodeOptions& options = job.options;
    const bool hasColor = job.channels->hasColor;
    if (setjmp(errors->leave) != 0) return false;
    jpeg_create_compress(jpeg);
    if (sink != nullptr) {
        jpeg->dest = &sink->base;
    } else {
        jpeg_mem_dest(jpeg, &output->bytes, &output->length);
    }
    jpeg->image_width = static_cast<JDIMENSION>(pixels.width);
    jpeg->image_height = static_cast<JDIMENSION>(pixels.height);
    jpeg->input_components = hasColor ? 3 : 1;
    jpeg->in_color_space = hasColor ? JCS_RGB : JCS_GRAYSCALE;
    jpeg_set_defaults(jpeg);
    // Written as quality > 0 so that NaN becomes 0.
    const double quality = options.quality > 0 ? std::min(options.quality, 1.0) : 0;
    jpeg_set_quality(jpeg, static_cast<int>(std::lround(quality * 100)), TRUE);
    if (hasColor) {
        jpeg->comp_info[0].h_samp_factor = options.subsampling == Subsampling::k444 ? 1 : 2;
        jpeg->comp_info[0].v_samp_factor = options.subsampling == Subsampling::k420 ? 2 : 1;
    }
    if (options.isProgressive) jpeg_simple_progression(jpeg);
    jpeg_start_compress(jpeg, TRUE);
    WriteMarker(jpeg, JPEG_APP0 + 1, "Exif\0", 6, options.exif);
    WriteMarker(jpeg, JPEG_APP0 + 1, kXMPSegment, sizeof kXMPSegment, options.xmp);
    for (const std::string& part : job.extension) {
        WriteMarker(jpeg, JPEG_APP0 + 1, kXMPExtension, sizeof kXMPExtension, BlockOf(part));
    }
    WriteMarker(jpeg, JPEG_APP0 + 13, "Photoshop 3.0", 14, options.iptc);
    if (pixels.profile != nullptr) {
        jpeg_write_icc_profile(jpeg, static_cast<const JOCTET*>(pixels.profile),
                               static_cast<unsigned int>(pixels.profileLength));
    }
    for (std::size_t y = 0; y < pixels.height; ++y) {
        if (y == job.rows.End()) job.error = job.rows.ReadNext(job.channels);
        if (job.error != 0 || job.channels->hasColor != hasColor) return false;
        std::uint8_t* row = job.row;
        RowOnWhite(job.rows.Current(), y, row);
        // The three colors of a gray pixel are equal.
        for (std::size_t x = 1; !hasColor && x < pixels.width; ++x) row[x] = row[3 * x];
        jpeg_write_scanlines(jpeg, &row, 1);
    }
    jpeg_finish_compress(jpeg);
    return true;
}

// IPTC as a resource of a program for photos, which is where a JPEG has it: type, number, empty name, length, content.
Bytes ResourceOf(const Block& iptc) {
    Bytes resource = {'8', 'B', 'I', 'M', 4, 4, 0, 0};
    for (const int shift : {24, 16, 8, 0}) resource.push_back(static_cast<std::uint8_t>(iptc.length >> shift));
    const auto* bytes = static_cast<const std::uint8_t*>(iptc.bytes);
    resource.insert(resource.end(), bytes, bytes + iptc.length);
    if (iptc.length % 2 != 0) resource.push_back(0);
    return resource;
}

// Begins a file, and writes the picture.
int WriteInChannels(const Pixels& pixels, const EncodeOptions& options, const std::vector<std::string>& extension,
                    Channels* channels, EncodedFile* file, bool* isComplete) {
    PixelRows rows(pixels);
    if (const int error = rows.ReadNext(channels); error != 0) return error;
    ErrorManager errors = {};
    jpeg_compress_struct jpeg = {};
    jpeg.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = Fail;
    errors.base.emit_message = IgnoreWarning;
    errors.base.output_message = Ignore;
    Output output = {nullptr, 0};
    SinkManager sink = {{}, file->sink, 0, {}};
    sink.base.init_destination = BeginPiece;
    sink.base.empty_output_buffer = PassPiece;
    sink.base.term_destination = PassRest;
    auto* row = static_cast<std::uint8_t*>(std::malloc(pixels.width * 3));
    const bool hadColor = channels->hasColor;
    Job job = {pixels, options, extension, rows, channels, row, 0};
    const bool isWritten =
        row != nullptr && WriteGuarded(&jpeg, &errors, job, &output, file->sink != nullptr ? &sink : nullptr);
    // The library's buffer moves as it grows, and only this tells where it is.
    if (!isWritten && file->sink == nullptr && jpeg.dest != nullptr) jpeg.dest->term_destination(&jpeg);
    jpeg_destroy_compress(&jpeg);
    std::free(row);
    file->bytes = output.bytes;
    file->length = output.length;
    *isComplete = isWritten;
    if (isWritten || job.error != 0 || sink.error != 0) return job.error != 0 ? job.error : sink.error;
    return channels->hasColor != hadColor ? 0 : ENOMEM;
}

}  // namespace

static_assert(kJPEGSide == JPEG_MAX_DIMENSION, "the table of formats has the limit of the library");

int EncodeJPEG(const Pixels& pixels, const EncodeOptions& options, EncodedFile* file) {
    if (pixels.width > JPEG_MAX_DIMENSION || pixels.height > JPEG_MAX_DIMENSION) return EFBIG;
    Bytes resource;
    ExtendedXMP xmp;
    try {
        if (options.iptc.length != 0) resource = ResourceOf(options.iptc);
        xmp = Extended(options.xmp);
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
    EncodeOptions wrapped = options;
    wrapped.iptc = {resource.data(), resource.size()};
    wrapped.xmp = BlockOf(xmp.packet);
    return EncodeByRows(pixels, file, [&](Channels* channels, bool* isComplete) {
        return WriteInChannels(pixels, wrapped, xmp.parts, channels, file, isComplete);
    });
}

}  // namespace image_io
