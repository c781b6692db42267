// cmyk.cpp - by a profile, or by a formula.

#include "cmyk.h"

#define CMS_NO_REGISTER_KEYWORD
#include <lcms2.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace image_io {
namespace {

// Converts the pixels by the profile. Returns false when it does not describe inks.
[[nodiscard]] bool ConvertByProfile(Picture* picture, bool isInverted) {
    if (picture->profile == nullptr) return false;
    cmsHPROFILE inks = cmsOpenProfileFromMem(picture->profile, static_cast<cmsUInt32Number>(picture->profileLength));
    if (inks == nullptr) return false;
    cmsHPROFILE sRGB = cmsCreate_sRGBProfile();
    cmsHTRANSFORM transform = nullptr;
    if (cmsGetColorSpace(inks) == cmsSigCmykData) {
        transform = cmsCreateTransform(inks, isInverted ? TYPE_CMYK_8_REV : TYPE_CMYK_8, sRGB, TYPE_RGBA_8,
                                       INTENT_PERCEPTUAL, 0);
    }
    cmsCloseProfile(sRGB);
    cmsCloseProfile(inks);
    if (transform == nullptr) return false;
    for (std::size_t y = 0; y < picture->height; ++y) {
        std::uint8_t* row = picture->pixels + y * picture->BytesPerRow();
        cmsDoTransform(transform, row, row, static_cast<cmsUInt32Number>(picture->width));
    }
    cmsDeleteTransform(transform);
    return true;
}

}  // namespace

void ConvertInks(Picture* picture, bool isInverted) {
    const bool isConverted = ConvertByProfile(picture, isInverted);
    std::uint8_t* const end = picture->pixels + picture->height * picture->BytesPerRow();
    for (std::uint8_t* pixel = picture->pixels; pixel != end; pixel += 4) {
        const unsigned paper = isInverted ? pixel[3] : 255u - pixel[3];
        for (int i = 0; i < 3 && !isConverted; ++i) {
            const unsigned light = isInverted ? pixel[i] : 255u - pixel[i];
            pixel[i] = static_cast<std::uint8_t>((light * paper + 127) / 255);
        }
        pixel[3] = 255;
    }
    std::free(picture->profile);
    picture->profile = nullptr;
    picture->profileLength = 0;
}

}  // namespace image_io
