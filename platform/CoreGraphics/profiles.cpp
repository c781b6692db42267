// profiles.cpp - ICC profiles, made and read with Little CMS.

#include "profiles.h"

#define CMS_NO_REGISTER_KEYWORD
#include <lcms2.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace core_graphics {
namespace {

// Saves a profile to memory and closes it. Returns null bytes for null, or when memory is short.
// Sets the date in the header of a profile: six numbers of two bytes, from the year to the second. The library writes
// the current time, which would make two files of the same picture differ.
void SetDate(void* profile) {
    constexpr std::size_t kDate = 24;
    constexpr unsigned char kFixed[] = {2000 >> 8, 2000 & 255, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0};
    std::memcpy(static_cast<unsigned char*>(profile) + kDate, kFixed, sizeof kFixed);
}

ProfileBytes SaveAndClose(cmsHPROFILE profile) {
    ProfileBytes saved;
    cmsUInt32Number length = 0;
    if (profile == nullptr) return saved;
    if (cmsSaveProfileToMem(profile, nullptr, &length)) {
        saved.bytes = std::malloc(length);
        saved.length = length;
        if (saved.bytes == nullptr || !cmsSaveProfileToMem(profile, saved.bytes, &length)) {
            std::free(saved.bytes);
            saved = {};
        } else {
            SetDate(saved.bytes);
        }
    }
    cmsCloseProfile(profile);
    return saved;
}

// Returns a tone curve that the caller frees; null unless gamma is kCurveOfSRGB or positive and finite.
cmsToneCurve* MakeCurve(double gamma) {
    if (gamma == kCurveOfSRGB) {
        const double parameters[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
        return cmsBuildParametricToneCurve(nullptr, 4, parameters);
    }
    return gamma > 0 && std::isfinite(gamma) ? cmsBuildGamma(nullptr, gamma) : nullptr;
}

void Free(cmsToneCurve* curve) {
    if (curve != nullptr) cmsFreeToneCurve(curve);
}

// Returns the chromaticity at full luminance, in the type of the library.
cmsCIExyY AtFullLuminance(Chromaticity color) { return {color.x, color.y, 1}; }

}  // namespace

ProfileBytes MakeRGBProfile(Chromaticity white, const Chromaticity (&primaries)[3], const double (&gammas)[3]) {
    const cmsCIExyY point = AtFullLuminance(white);
    const cmsCIExyYTRIPLE colors = {AtFullLuminance(primaries[0]), AtFullLuminance(primaries[1]),
                                    AtFullLuminance(primaries[2])};
    // Little CMS samples every curve, which takes longest; most profiles have the same one three times.
    const bool isOneCurve = gammas[0] == gammas[1] && gammas[0] == gammas[2];
    cmsToneCurve* const first = MakeCurve(gammas[0]);
    cmsToneCurve* curves[] = {first, isOneCurve ? first : MakeCurve(gammas[1]),
                              isOneCurve ? first : MakeCurve(gammas[2])};
    const bool complete = curves[0] != nullptr && curves[1] != nullptr && curves[2] != nullptr;
    const ProfileBytes saved = complete ? SaveAndClose(cmsCreateRGBProfile(&point, &colors, curves)) : ProfileBytes{};
    Free(first);
    if (!isOneCurve) {
        Free(curves[1]);
        Free(curves[2]);
    }
    return saved;
}

ProfileBytes MakeGrayProfile(Chromaticity white, double gamma) {
    const cmsCIExyY point = AtFullLuminance(white);
    cmsToneCurve* curve = MakeCurve(gamma);
    const ProfileBytes saved = curve != nullptr ? SaveAndClose(cmsCreateGrayProfile(&point, curve)) : ProfileBytes{};
    Free(curve);
    return saved;
}

int ComponentsOfProfile(const void* bytes, std::size_t length) {
    if (bytes == nullptr || length > std::numeric_limits<cmsUInt32Number>::max()) return 0;
    cmsHPROFILE profile = cmsOpenProfileFromMem(bytes, static_cast<cmsUInt32Number>(length));
    if (profile == nullptr) return 0;
    const cmsColorSpaceSignature space = cmsGetColorSpace(profile);
    cmsCloseProfile(profile);
    return space == cmsSigRgbData ? 3 : space == cmsSigGrayData ? 1 : 0;
}

bool SupportsOutput(const void* bytes, std::size_t length) {
    if (bytes == nullptr || length > std::numeric_limits<cmsUInt32Number>::max()) return false;
    cmsHPROFILE profile = cmsOpenProfileFromMem(bytes, static_cast<cmsUInt32Number>(length));
    if (profile == nullptr) return false;
    const bool isSupported = cmsIsMatrixShaper(profile) ||
                             cmsIsIntentSupported(profile, INTENT_RELATIVE_COLORIMETRIC, LCMS_USED_AS_OUTPUT) ||
                             cmsIsIntentSupported(profile, INTENT_PERCEPTUAL, LCMS_USED_AS_OUTPUT);
    cmsCloseProfile(profile);
    return isSupported;
}

}  // namespace core_graphics
