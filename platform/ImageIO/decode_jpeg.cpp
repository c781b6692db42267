// decode_jpeg.cpp - decodes JPEG files, sequential and progressive: gray, in colors, and in inks, which become colors.

// jpeglib.h requires this header before it.
#include <cstdio>

#include <jerror.h>
#include <jpeglib.h>

#include <csetjmp>
#include <cstddef>
#include <cstdint>

#include "cmyk.h"
#include "decode.h"

namespace image_io {
namespace {

// Real files have about ten scans. A file with more than this is made to waste the time of readers.
constexpr int kMaxScans = 500;

// The marker of ICC profiles, and the maximum length of a marker.
constexpr int kProfileMarker = JPEG_APP0 + 2;
constexpr unsigned int kMaxMarkerLength = 0xffff;

// The library's error manager, extended by the jump out of the library and by the progress callback.
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

[[noreturn]] void Fail(j_common_ptr info) { Leave(info, Status::kInvalidData); }

// Treats one warning as an error: at a premature end of file the library invents the rest of the picture and goes on.
void Warn(j_common_ptr info, int level) {
    if (level < 0 && info->err->msg_code == JWRN_JPEG_EOF) Leave(info, Status::kUnexpectedEnd);
}

void Ignore(j_common_ptr) {}

// A progress callback. The library calls it between scans, among other times.
void LimitScans(j_common_ptr info) {
    if (reinterpret_cast<j_decompress_ptr>(info)->input_scan_number > kMaxScans) Fail(info);
}

// Keeps the file's profile, if any. The library joins the pieces of the profile.
void KeepProfile(jpeg_decompress_struct* jpeg, Picture* picture) {
    JOCTET* profile = nullptr;
    unsigned int length = 0;
    if (!jpeg_read_icc_profile(jpeg, &profile, &length)) return;
    picture->profile = profile;
    picture->profileLength = length;
}

bool HasInks(const jpeg_decompress_struct& jpeg) {
    return jpeg.jpeg_color_space == JCS_CMYK || jpeg.jpeg_color_space == JCS_YCCK;
}

// Reads the picture. Errors leave this function by longjmp.
Status ReadPicture(jpeg_decompress_struct* jpeg, Picture* picture) {
    jpeg_save_markers(jpeg, kProfileMarker, kMaxMarkerLength);
    jpeg_read_header(jpeg, TRUE);
    KeepProfile(jpeg, picture);
    picture->isGray = jpeg->jpeg_color_space == JCS_GRAYSCALE;
    jpeg->out_color_space = HasInks(*jpeg) ? JCS_CMYK : JCS_EXT_RGBA;
    // Checked before jpeg_start_decompress, which allocates memory for the whole of a progressive picture.
    if (!Allocate(jpeg->image_width, jpeg->image_height, picture)) return Status::kInvalidData;
    jpeg_start_decompress(jpeg);
    while (jpeg->output_scanline < jpeg->output_height) {
        JSAMPROW row = picture->pixels + std::size_t{jpeg->output_scanline} * picture->BytesPerRow();
        jpeg_read_scanlines(jpeg, &row, 1);
    }
    jpeg_finish_decompress(jpeg);
    return Status::kComplete;
}

// Reads the picture and catches the jump. No object here has a destructor that the jump could skip.
Status ReadGuarded(jpeg_decompress_struct* jpeg, ErrorManager* errors, const std::uint8_t* bytes, std::size_t length,
                   Picture* picture) {
    if (setjmp(errors->leave) != 0) return errors->status;
    jpeg_create_decompress(jpeg);
    jpeg->progress = &errors->progress;  // set here because jpeg_create_decompress clears it
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
    const Status status = ReadGuarded(&jpeg, &errors, bytes, length, picture);
    // Files with an Adobe marker store inks inverted.
    if (status == Status::kComplete && HasInks(jpeg)) ConvertInks(picture, jpeg.saw_Adobe_marker != 0);
    jpeg_destroy_decompress(&jpeg);
    return status;
}

}  // namespace image_io
