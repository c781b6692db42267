// decode_jpeg.cpp - JPEG files in gray and color, sequential and progressive. CMYK is refused: without its profile nobody knows
// what the inks look like.

// The library's header counts on this one.
#include <cstdio>

#include <jerror.h>
#include <jpeglib.h>

#include <csetjmp>

#include "decode.h"

namespace image_io {
namespace {

// A file with more scans than this is made to keep readers busy; real ones have about ten.
constexpr int kMostScans = 500;

// Where profiles are, and how long a marker can be.
constexpr int kProfileMarker = JPEG_APP0 + 2;
constexpr unsigned int kLongestMarker = 0xffff;

// The library's error manager with what is needed to leave it, and to look in now and then.
struct ErrorManager {
    jpeg_error_mgr base;
    jpeg_progress_mgr progress;
    std::jmp_buf leave;
    Status status;
};

ErrorManager* ManagerOf(j_common_ptr info) { return reinterpret_cast<ErrorManager*>(info->err); }

[[noreturn]] void Leave(j_common_ptr info, Status status) {
    ManagerOf(info)->status = status;
    std::longjmp(ManagerOf(info)->leave, 1);
}

[[noreturn]] void Fail(j_common_ptr info) { Leave(info, Status::invalidData); }

// Why a warning may be an error: where a file ends early the library makes up the rest and goes on.
void Warn(j_common_ptr info, int level) {
    if (level < 0 && info->err->msg_code == JWRN_JPEG_EOF) Leave(info, Status::unexpectedEnd);
}

void Ignore(j_common_ptr) {}

// Called between scans, among other times.
void LimitScans(j_common_ptr info) {
    if (reinterpret_cast<j_decompress_ptr>(info)->input_scan_number > kMostScans) Fail(info);
}

// Keeps the profile of a file that has one, pieced together by the library.
void KeepProfile(jpeg_decompress_struct* jpeg, Picture* picture) {
    JOCTET* profile = nullptr;
    unsigned int length = 0;
    if (!jpeg_read_icc_profile(jpeg, &profile, &length)) return;
    picture->profile = profile;
    picture->profileLength = length;
}

// Reads the picture. Left by a jump when something is wrong.
Status ReadPicture(jpeg_decompress_struct* jpeg, Picture* picture) {
    jpeg_save_markers(jpeg, kProfileMarker, kLongestMarker);
    jpeg_read_header(jpeg, TRUE);
    KeepProfile(jpeg, picture);
    picture->isGray = jpeg->jpeg_color_space == JCS_GRAYSCALE;
    if (jpeg->jpeg_color_space == JCS_CMYK || jpeg->jpeg_color_space == JCS_YCCK) return Status::unknownType;
    jpeg->out_color_space = JCS_EXT_RGBA;
    // Before the library reserves memory of its own for a progressive picture.
    if (!Allocate(jpeg->image_width, jpeg->image_height, picture)) return Status::invalidData;
    jpeg_start_decompress(jpeg);
    while (jpeg->output_scanline < jpeg->output_height) {
        JSAMPROW row = picture->pixels + std::size_t{jpeg->output_scanline} * picture->width * kBytesPerPixel;
        jpeg_read_scanlines(jpeg, &row, 1);
    }
    jpeg_finish_decompress(jpeg);
    return Status::complete;
}

// Runs the reading. Nothing here has a destructor, so the jump skips none.
Status Guarded(jpeg_decompress_struct* jpeg, ErrorManager* errors, const std::uint8_t* bytes, std::size_t length,
               Picture* picture) {
    if (setjmp(errors->leave) != 0) return errors->status;
    jpeg_create_decompress(jpeg);
    jpeg->progress = &errors->progress;  // which creating has cleared
    jpeg_mem_src(jpeg, bytes, static_cast<unsigned long>(length));
    return ReadPicture(jpeg, picture);
}

}  // namespace

Status DecodeJPEG(const std::uint8_t* bytes, std::size_t length, Picture* picture) {
    ErrorManager errors = {};
    jpeg_decompress_struct jpeg = {};
    jpeg.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = Fail;
    errors.base.emit_message = Warn;
    errors.base.output_message = Ignore;
    errors.progress.progress_monitor = LimitScans;
    const Status status = Guarded(&jpeg, &errors, bytes, length, picture);
    jpeg_destroy_decompress(&jpeg);
    return status;
}

}  // namespace image_io
