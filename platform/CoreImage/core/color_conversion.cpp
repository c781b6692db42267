// color_conversion.cpp - applies conversions of Little CMS to rows of floats.

#include "core/color_conversion.h"

#define CMS_NO_REGISTER_KEYWORD
#include <lcms2.h>

#include <array>
#include <cmath>
#include <deque>
#include <limits>
#include <mutex>
#include <string>
#include <utility>

namespace core_image {
namespace {

// Pixels of four floats of which the first is gray.
constexpr cmsUInt32Number kGrayPixels =
    COLORSPACE_SH(PT_GRAY) | CHANNELS_SH(1) | EXTRA_SH(3) | BYTES_SH(4) | FLOAT_SH(1);

// A profile that closes itself.
using OpenProfile = std::unique_ptr<void, decltype(&cmsCloseProfile)>;

OpenProfile OpenLinearSRGB() {
    const cmsCIExyY white = {0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
    cmsToneCurve* straight = cmsBuildGamma(nullptr, 1);
    cmsToneCurve* const curves[] = {straight, straight, straight};
    OpenProfile profile(cmsCreateRGBProfile(&white, &primaries, curves), cmsCloseProfile);
    cmsFreeToneCurve(straight);
    return profile;
}

class ProfileConversion : public ColorConversion {
  public:
    ProfileConversion(cmsHTRANSFORM transform, bool spreadsGray)
        : transform_(transform, cmsDeleteTransform), spreadsGray_(spreadsGray) {}

    void Convert(float* pixels, std::size_t count) const override {
        cmsDoTransform(transform_.get(), pixels, pixels, static_cast<cmsUInt32Number>(count));
        for (float* pixel = pixels; spreadsGray_ && pixel != pixels + 4 * count; pixel += 4)
            pixel[1] = pixel[2] = pixel[0];
    }

  private:
    std::unique_ptr<void, decltype(&cmsDeleteTransform)> transform_;
    bool spreadsGray_;  // the output is gray, in red
};

std::shared_ptr<const ColorConversion> MakeConversion(const std::string& bytes, MatchingDirection direction) {
    if (bytes.size() > std::numeric_limits<cmsUInt32Number>::max()) return nullptr;
    const OpenProfile own(cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())),
                          cmsCloseProfile);
    const OpenProfile light = OpenLinearSRGB();
    if (own == nullptr || light == nullptr) return nullptr;
    const bool isGray = cmsGetColorSpace(own.get()) == cmsSigGrayData;
    if (!isGray && cmsGetColorSpace(own.get()) != cmsSigRgbData) return nullptr;
    const cmsUInt32Number ownPixels = isGray ? kGrayPixels : TYPE_RGBA_FLT;
    // Why not optimized: optimizing would replace formulas by tables that end at 0 and 1. Why no cache: threads
    // share a conversion.
    constexpr cmsUInt32Number kFlags = cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE;
    const bool toLight = direction == MatchingDirection::kToLight;
    cmsHTRANSFORM transform = toLight ? cmsCreateTransform(own.get(), ownPixels, light.get(), TYPE_RGBA_FLT,
                                                           INTENT_RELATIVE_COLORIMETRIC, kFlags)
                                      : cmsCreateTransform(light.get(), TYPE_RGBA_FLT, own.get(), ownPixels,
                                                           INTENT_RELATIVE_COLORIMETRIC, kFlags);
    if (transform == nullptr) return nullptr;
    return std::make_shared<ProfileConversion>(transform, isGray && !toLight);
}

// Whether a conversion to light equals a curve, to within a quarter of an eight-bit level.
bool IsCurve(const ColorConversion& toLight, float (*curve)(float)) {
    constexpr float kTolerance = 0.001f;
    for (int step = 0; step <= 16; ++step) {
        const float value = static_cast<float>(step) / 16;
        const std::array<std::array<float, 4>, 4> colors = {
            {{value, value, value, 1}, {value, 0, 0, 1}, {0, value, 0, 1}, {0, 0, value, 1}}};
        std::array<std::array<float, 4>, 4> converted = colors;
        toLight.Convert(converted[0].data(), converted.size());
        for (std::size_t index = 0; index < colors.size(); ++index) {
            for (std::size_t channel = 0; channel < 3; ++channel) {
                const float apart = converted[index][channel] - curve(colors[index][channel]);
                if (!(std::abs(apart) <= kTolerance)) return false;
            }
        }
    }
    return true;
}

Coding MakeCoding(const std::string& bytes, MatchingDirection direction) {
    const auto toLight = MakeConversion(bytes, MatchingDirection::kToLight);
    if (toLight == nullptr || IsCurve(*toLight, DecodeSRGB)) return {Transfer::kSRGB, nullptr};
    if (IsCurve(*toLight, [](float value) { return value; })) return {Transfer::kLinear, nullptr};
    return {Transfer::kSRGB, direction == MatchingDirection::kToLight ? toLight : MakeConversion(bytes, direction)};
}

}  // namespace

Coding CodingOfProfile(const Profile& profile, MatchingDirection direction) {
    struct Made {
        std::string bytes;
        MatchingDirection direction;
        Coding coding;
    };
    constexpr std::size_t kMostKept = 16;
    static std::mutex mutex;
    static std::deque<Made>& kept = *new std::deque<Made>;
    std::string bytes(static_cast<const char*>(profile.bytes), profile.length);
    const std::lock_guard lock(mutex);
    for (const Made& made : kept) {
        if (made.direction == direction && made.bytes == bytes) return made.coding;
    }
    const Coding coding = MakeCoding(bytes, direction);
    kept.push_front({std::move(bytes), direction, coding});
    if (kept.size() > kMostKept) kept.pop_back();
    return coding;
}

}  // namespace core_image
