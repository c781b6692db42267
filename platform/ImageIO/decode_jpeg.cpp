// decode_jpeg.cpp - decodes JPEG files, sequential and progressive: gray, in colors, and in inks, which become colors.

// jpeglib.h requires this header before it.
#include <cstdio>

#include <jerror.h>
#include <jpeglib.h>

#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "cmyk.h"
#include "decode.h"
#include "jpeg_errors.h"
#include "row_decoder.h"

namespace image_io {
namespace {

// Real files have about ten scans. A file with more than this is made to waste the time of readers.
constexpr int kMaxScans = 500;

// The marker of ICC profiles, and the maximum length of a marker.
constexpr int kProfileMarker = JPEG_APP0 + 2;
constexpr unsigned int kMaxMarkerLength = 0xffff;

// Treats one warning as an error: at a premature end of file the library invents the rest of the picture and goes on.
void Warn(j_common_ptr info, int level) {
    if (level < 0 && info->err->msg_code == JWRN_JPEG_EOF) Leave(info, Status::kUnexpectedEnd);
}

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

// The bytes of all coefficients, which the library holds until it has read every scan.
std::size_t CoefficientBytes(const jpeg_decompress_struct& jpeg) {
    std::size_t blocks = 0;
    for (int i = 0; i < jpeg.num_components; ++i) {
        blocks += std::size_t{jpeg.comp_info[i].width_in_blocks} * jpeg.comp_info[i].height_in_blocks;
    }
    return blocks * sizeof(JBLOCK);
}

// Decodes rows. Each function catches the jump itself.
class RowDecoderJPEG : public RowDecoder {
  public:
    RowDecoderJPEG(const FileBytes& file, unsigned factor) : file_(file), pages_(file), factor_(factor) {
        jpeg_.err = jpeg_std_error(&errors_.base);
        errors_.base.error_exit = Fail;
        errors_.base.emit_message = Warn;
        errors_.base.output_message = Ignore;
        errors_.progress.progress_monitor = LimitScans;
    }
    ~RowDecoderJPEG() override { jpeg_destroy_decompress(&jpeg_); }

    Status Begin(Picture* picture) override {
        jpeg_destroy_decompress(&jpeg_);
        pages_.Restart();
        if (setjmp(errors_.leave) != 0) return errors_.status;
        jpeg_create_decompress(&jpeg_);
        jpeg_.progress = &errors_.progress;
        jpeg_mem_src(&jpeg_, file_.bytes, static_cast<unsigned long>(file_.length));
        jpeg_save_markers(&jpeg_, kProfileMarker, kMaxMarkerLength);
        jpeg_read_header(&jpeg_, TRUE);
        if (picture != nullptr) {
            KeepProfile(&jpeg_, picture);
            picture->width = jpeg_.image_width;
            picture->height = jpeg_.image_height;
        }
        const bool isGray = jpeg_.jpeg_color_space == JCS_GRAYSCALE;
        const bool isColor = jpeg_.jpeg_color_space == JCS_YCbCr || jpeg_.jpeg_color_space == JCS_RGB;
        // The library holds all of a picture of several scans. Gray levels with a profile are converted afterward.
        const bool isConverted = picture != nullptr && isGray && picture->profile != nullptr;
        const bool hasScans = jpeg_has_multiple_scans(&jpeg_) != 0;
        if (picture != nullptr && hasScans) picture->workingBytes = CoefficientBytes(jpeg_);
        if (!(isGray || isColor) || hasScans || isConverted) return Status::kUnknownType;
        if (!IsAllowedSize(jpeg_.image_width, jpeg_.image_height)) return Status::kInvalidData;
        jpeg_.out_color_space = JCS_EXT_RGBA;
        jpeg_.scale_num = 1;
        jpeg_.scale_denom = factor_;
        jpeg_start_decompress(&jpeg_);
        if (picture == nullptr) return Status::kComplete;
        picture->width = jpeg_.output_width;
        picture->height = jpeg_.output_height;
        picture->isGray = isGray;
        return Status::kComplete;
    }

    Status Read(std::uint8_t* rows, std::size_t count) override {
        if (setjmp(errors_.leave) != 0) return errors_.status;
        while (count > 0) {
            JSAMPROW row = rows;
            const std::size_t read = jpeg_read_scanlines(&jpeg_, &row, 1);
            rows += read * jpeg_.output_width * static_cast<std::size_t>(jpeg_.output_components);
            count -= read;
            pages_.DropBefore(file_.length - jpeg_.src->bytes_in_buffer);
        }
        if (jpeg_.output_scanline == jpeg_.output_height) jpeg_finish_decompress(&jpeg_);
        return Status::kComplete;
    }

  private:
    FileBytes file_;
    ReadPages pages_;
    unsigned factor_;
    ErrorManager errors_ = {};
    jpeg_decompress_struct jpeg_ = {};
};

}  // namespace

std::unique_ptr<RowDecoder> MakeRowDecoderJPEG(const FileBytes& file, unsigned factor) {
    return std::unique_ptr<RowDecoder>(new (std::nothrow) RowDecoderJPEG(file, factor));
}

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
