// gray_profile.cpp - converts gray pictures to sRGB by their ICC profile, with Little CMS.

#define CMS_NO_REGISTER_KEYWORD
#include <lcms2.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "decode.h"

namespace image_io {
namespace {

// Replaces the gray levels of pixels by those of sRGB, a row at a time. The two formats are those of Little CMS for a
// gray and for the red, green and blue of a pixel with alpha.
template <typename Component>
void Convert(cmsHTRANSFORM transform, Picture* picture) {
    auto* pixels = reinterpret_cast<Component*>(picture->pixels);
    for (std::size_t y = 0; y < picture->height; ++y, pixels += 4 * picture->width) {
        cmsDoTransform(transform, pixels, pixels, static_cast<cmsUInt32Number>(picture->width));
        for (std::size_t x = 0; x < picture->width; ++x) {
            Component* pixel = pixels + 4 * x;
            pixel[0] = pixel[2] = pixel[1];
        }
    }
}

// Converts the pixels from a gray profile to sRGB, unless the profile allows no conversion.
void ConvertToSRGB(cmsHPROFILE profile, Picture* picture) {
    const bool isFloat = picture->depth == 32;
    const auto bytes = static_cast<cmsUInt32Number>(picture->depth / 8);
    const cmsUInt32Number kind = BYTES_SH(bytes) | FLOAT_SH(isFloat ? 1 : 0);
    const cmsUInt32Number from = COLORSPACE_SH(PT_GRAY) | CHANNELS_SH(1) | EXTRA_SH(3) | kind;
    const cmsUInt32Number to = COLORSPACE_SH(PT_RGB) | CHANNELS_SH(3) | EXTRA_SH(1) | kind;
    cmsHPROFILE sRGB = cmsCreate_sRGBProfile();
    cmsHTRANSFORM transform =
        cmsCreateTransform(profile, from, sRGB, to, INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE);
    if (transform != nullptr) {
        if (isFloat) Convert<float>(transform, picture);
        if (picture->depth == 16) Convert<std::uint16_t>(transform, picture);
        if (picture->depth == 8) Convert<std::uint8_t>(transform, picture);
        cmsDeleteTransform(transform);
    }
    cmsCloseProfile(sRGB);
}

}  // namespace

void ApplyGrayProfile(Picture* picture) {
    if (picture->profile == nullptr) return;
    cmsHPROFILE profile = cmsOpenProfileFromMem(picture->profile, static_cast<cmsUInt32Number>(picture->profileLength));
    if (profile != nullptr && cmsGetColorSpace(profile) == cmsSigRgbData) {
        cmsCloseProfile(profile);
        return;
    }
    if (profile != nullptr && picture->isGray && cmsGetColorSpace(profile) == cmsSigGrayData) {
        ConvertToSRGB(profile, picture);
    }
    if (profile != nullptr) cmsCloseProfile(profile);
    std::free(picture->profile);
    picture->profile = nullptr;
    picture->profileLength = 0;
}

}  // namespace image_io
