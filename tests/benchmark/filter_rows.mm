// filter_rows.mm - the values of each filter by key, from its attributes.

#include "filter_rows.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "images.h"
#include "parameters.h"

namespace benchmarks {
namespace {

constexpr std::size_t kPreviewEdge = 1024;

// A size of picture, with the images for it.
struct Scene {
    double width, height;
    CIImage* first;
    CIImage* second;
};

using Attributes = NSDictionary*;

id Center(const Scene& scene, Attributes) { return Vector({scene.width / 2, scene.height / 2}); }
id Whole(const Scene& scene, Attributes) { return Vector({0, 0, scene.width, scene.height}); }
id Inside(const Scene& scene, Attributes) { return Vector({9.5, 9.5, scene.width - 19, scene.height - 19}); }
id LowerLeft(const Scene& scene, Attributes) { return Vector({scene.width * 0.4, scene.height * 0.4}); }
id UpperRight(const Scene& scene, Attributes) { return Vector({scene.width * 0.6, scene.height * 0.6}); }
id Turned(const Scene& scene, Attributes) { return RotationAbout(scene.width / 2, scene.height / 2); }
id Weights(const Scene&, Attributes key) { return Vector(Kernel([[key objectForKey:kCIAttributeDefault] count])); }
id Texels(const Scene&, Attributes) { return CubeTexels(); }
id SRGB(const Scene&, Attributes) { return (id)CGColorSpaceCreateWithName(kCGColorSpaceSRGB); }
id Unchanged(const Scene&, Attributes key) { return [key objectForKey:kCIAttributeDefault]; }
template <int kHundredths>
id Number(const Scene&, Attributes) {
    return benchmarks::Number(kHundredths / 100.0);
}

// The demanding values other than numbers at the far end of their sliders; the last that suits a key counts.
struct Demanding {
    NSString* filter;  // nil for all
    NSString* key;
    id (*value)(const Scene& scene, Attributes key);
};
// clang-format off
const Demanding kDemanding[] = {
    {nil, @"inputAcuteAngle",        Number<120>},
    {nil, @"inputAlphaCoefficients", Weights},
    {nil, @"inputAngle",             Number<30>},
    {nil, @"inputAVector",           Weights},
    {nil, @"inputBiasVector",        Weights},
    {nil, @"inputBlueCoefficients",  Weights},
    {nil, @"inputBrightness",        Number<5>},
    {nil, @"inputBVector",           Weights},
    {nil, @"inputCenter",            Center},
    {nil, @"inputColorSpace",        SRGB},
    {nil, @"inputContrast",          Number<110>},
    {nil, @"inputCubeData",          Texels},
    {nil, @"inputCubeDimension",     Number<kCubeEdge * 100>},
    {nil, @"inputEV",                Number<50>},
    {nil, @"inputExtent",            Whole},
    {nil, @"inputFadeThreshold",     Unchanged},
    {nil, @"inputGreenCoefficients", Weights},
    {nil, @"inputGVector",           Weights},
    {nil, @"inputInsetPoint0",       LowerLeft},
    {nil, @"inputInsetPoint1",       UpperRight},
    {nil, @"inputPoint0",            LowerLeft},
    {nil, @"inputPoint1",            UpperRight},
    {nil, @"inputPower",             Number<75>},
    {nil, @"inputRectangle",         Inside},
    {nil, @"inputRedCoefficients",   Weights},
    {nil, @"inputRotation",          Number<30>},
    {nil, @"inputRVector",           Weights},
    {nil, @"inputSharpness",         Unchanged},  // 1 makes edges hard, which is less work
    {nil, @"inputTime",              Number<40>},
    {nil, @"inputTransform",         Turned},
    {nil, @"inputWeights",           Weights},
    {nil, @"inputWidth",             Unchanged},
    {@"CICrystallize", @"inputRadius", Number<300>},  // small crystals are more work
};

// The operation that does the same work as the filters of a category, or why there is none. In the order in which they
// are looked up, because a filter has several categories.
const struct {
    NSString* category;
    const char* note;
} kNotes[] = {
    {@"CICategoryColorAdjustment",     "as color matrix"},
    {@"CICategoryColorEffect",         "as color matrix"},
    {@"CICategoryTransition",          "no library has this transition"},
    {@"CICategoryCompositeOperation",  "as addition"},
    {@"CICategoryReduction",           "as area average"},
    {@"CICategoryHalftoneEffect",      "no library has this screen"},
    {@"CICategoryTileEffect",          "no library has this tile"},
    {@"CICategoryDistortionEffect",    "as bump"},
    {@"CICategoryGeometryAdjustment",  "reads nothing but the pixels shown"},
    {@"CICategoryGenerator",           "reads no picture"},
    {@"CICategoryGradient",            "reads no picture"},
    {@"CICategoryStylize",             "no library has this effect"},
};
// clang-format on

id DemandingValue(NSString* filter, NSString* key, Attributes attributes, const Scene& scene) {
    const auto suits = [&](const Demanding& each) {
        return [each.key isEqual:key] && (each.filter == nil || [each.filter isEqual:filter]);
    };
    const auto found = std::find_if(std::rbegin(kDemanding), std::rend(kDemanding), suits);
    if (found != std::rend(kDemanding)) return found->value(scene, attributes);
    return [attributes objectForKey:kCIAttributeSliderMax];
}

// Makes the image of a filter, with its defaults or with demanding values.
CIImage* MakeImage(NSString* name, const Scene& scene, bool isDemanding) {
    CIFilter* filter = [CIFilter filterWithName:name];
    for (NSString* key in [filter inputKeys]) {
        Attributes attributes = [[filter attributes] objectForKey:key];
        id value = nil;
        if ([[attributes objectForKey:kCIAttributeClass] isEqual:@"CIImage"]) {
            value = [key isEqual:kCIInputImageKey]        ? scene.first
                    : [key isEqual:@"inputGradientImage"] ? AllImages().small
                                                          : scene.second;
        } else if (isDemanding) {
            value = DemandingValue(name, key, attributes, scene);
        }
        if (value != nil) [filter setValue:value forKey:key];
    }
    return [filter outputImage];
}

// The operation that is this filter, or that of its category.
std::string NoteOf(NSString* name, const std::vector<Row>& operations) {
    constexpr std::string_view kLarge = "12 MP/";
    const auto same = std::ranges::find_if(
        operations, [&](const Row& row) { return row.filter == [name UTF8String] && row.name.starts_with(kLarge); });
    return same != operations.end() ? "as " + same->name.substr(kLarge.size()) : NoteOfCategory(name);
}

Row RowOf(const char* group, NSString* name, const Scene& scene, bool isDemanding, bool asBytes) {
    CIImage* const image = MakeImage(name, scene, isDemanding);
    const CGRect picture = CGRectMake(0, 0, (CGFloat)scene.width, (CGFloat)scene.height);
    const CGRect bounds = CGRectIntegral(CGRectIntersection([image extent], picture));
    const auto pixels = static_cast<std::size_t>(bounds.size.width) * static_cast<std::size_t>(bounds.size.height);
    return {std::string(group) + "/" + [[name substringFromIndex:2] UTF8String],
            pixels * kChannels * (asBytes ? 1 : sizeof(float)),
            [=](void* to) { Render(MakeImage(name, scene, isDemanding), bounds, asBytes, to); }};
}

}  // namespace

std::string NoteOfCategory(NSString* filter) {
    NSArray* const categories =
        [[[CIFilter filterWithName:filter] attributes] objectForKey:kCIAttributeFilterCategories];
    for (const auto& [category, note] : kNotes) {
        if ([categories containsObject:category]) return note;
    }
    return "";
}

std::vector<Row> FilterRows(const std::vector<Row>& operations) {
    const Images& images = AllImages();
    const Scene large = {kWidth, kHeight, images.first, images.second};
    const Scene preview = {kPreviewEdge, kPreviewEdge,
                           ImageOfBytes(FirstAsBytes().data(), kWidth, kPreviewEdge, kPreviewEdge),
                           ImageOfFloats(Second().pixels.data(), kWidth, kPreviewEdge, kPreviewEdge)};
    std::vector<Row> rows;
    for (NSString* name in [CIFilter filterNamesInCategory:nil]) {
        rows.push_back(RowOf("12 MP at default", name, large, /*isDemanding=*/false, /*asBytes=*/false));
        rows.back().note = NoteOf(name, operations);
        rows.push_back(RowOf("12 MP demanding", name, large, /*isDemanding=*/true, /*asBytes=*/false));
        rows.push_back(RowOf("preview", name, preview, /*isDemanding=*/false, /*asBytes=*/true));
    }
    return rows;
}

}  // namespace benchmarks
