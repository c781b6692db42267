// gray_profile.cpp - converts gray pictures to sRGB by their ICC profile, with Little CMS.

#define CMS_NO_REGISTER_KEYWORD
#include <lcms2.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "decode.h"

namespace image_io {
namespace {

constexpr std::size_t kLevels = 256;

// Fills the table with the sRGB level for each level of the profile; returns false when the profile allows no
// conversion.
[[nodiscard]] bool MakeTable(cmsHPROFILE profile, std::uint8_t (&table)[kLevels]) {
    std::uint8_t levels[kLevels], colors[kLevels][3];
    for (std::size_t level = 0; level < kLevels; ++level) levels[level] = static_cast<std::uint8_t>(level);
    cmsHPROFILE sRGB = cmsCreate_sRGBProfile();
    cmsHTRANSFORM transform =
        cmsCreateTransform(profile, TYPE_GRAY_8, sRGB, TYPE_RGB_8, INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE);
    if (transform != nullptr) {
        cmsDoTransform(transform, levels, colors, kLevels);
        cmsDeleteTransform(transform);
        for (std::size_t level = 0; level < kLevels; ++level) table[level] = colors[level][1];
    }
    cmsCloseProfile(sRGB);
    return transform != nullptr;
}

}  // namespace

void ApplyGrayProfile(Picture* picture) {
    if (picture->profile == nullptr) return;
    cmsHPROFILE profile = cmsOpenProfileFromMem(picture->profile, static_cast<cmsUInt32Number>(picture->profileLength));
    if (profile != nullptr && cmsGetColorSpace(profile) == cmsSigRgbData) {
        cmsCloseProfile(profile);
        return;
    }
    std::uint8_t table[kLevels];
    if (profile != nullptr && picture->isGray && cmsGetColorSpace(profile) == cmsSigGrayData &&
        MakeTable(profile, table)) {
        std::uint8_t* const end = picture->pixels + picture->width * picture->height * kBytesPerPixel;
        for (std::uint8_t* pixel = picture->pixels; pixel != end; pixel += kBytesPerPixel) {
            pixel[0] = pixel[1] = pixel[2] = table[pixel[0]];
        }
    }
    if (profile != nullptr) cmsCloseProfile(profile);
    std::free(picture->profile);
    picture->profile = nullptr;
    picture->profileLength = 0;
}

}  // namespace image_io
