// rows.mm - builds each operation from filters.

#include "rows.h"

#import <CoreImage/CIEngine.h>

#include <array>
#include <string_view>
#include <utility>

#include "filter_rows.h"
#include "growth_rows.h"
#include "images.h"
#include "parameters.h"

namespace benchmarks {
namespace {

// Returns a row of the color matrix without its bias.
CIVector* MatrixRow(const double (&row)[4]) { return Vector({row[0], row[1], row[2], 0}); }

CIImage* Matrix(CIImage* image) {
    return Filtered(@"CIColorMatrix", image,
                    {{@"inputRVector", MatrixRow(kMatrix[0])},
                     {@"inputGVector", MatrixRow(kMatrix[1])},
                     {@"inputBVector", MatrixRow(kMatrix[2])},
                     {@"inputBiasVector", Vector({kMatrix[0][3], kMatrix[1][3], kMatrix[2][3], 0})}});
}

CIImage* Exposure(CIImage* image) { return Filtered(@"CIExposureAdjust", image, {{@"inputEV", Number(kExposure)}}); }
CIImage* Gamma(CIImage* image) { return Filtered(@"CIGammaAdjust", image, {{@"inputPower", Number(kGamma)}}); }
CIImage* Posterize(CIImage* image) {
    return Filtered(@"CIColorPosterize", image, {{@"inputLevels", Number(kPosterizeLevels)}});
}
CIImage* Invert(CIImage* image) { return Filtered(@"CIColorInvert", image); }
CIImage* FiveSteps(CIImage* image) { return Invert(Posterize(Gamma(Matrix(Exposure(image))))); }

CIImage* Controls(CIImage* image) {
    return Filtered(@"CIColorControls", image,
                    {{@"inputSaturation", Number(kSaturation)},
                     {@"inputBrightness", Number(kBrightness)},
                     {@"inputContrast", Number(kContrast)}});
}

CIImage* CubeOf(CIImage* image) {
    return Filtered(@"CIColorCube", image,
                    {{@"inputCubeDimension", Number(kCubeEdge)}, {@"inputCubeData", CubeTexels()}});
}

CIImage* Map(CIImage* image) { return Filtered(@"CIColorMap", image, {{@"inputGradientImage", AllImages().small}}); }

CIImage* Gaussian(CIImage* image) { return Filtered(@"CIGaussianBlur", image, {{@"inputRadius", Number(kSigma)}}); }
CIImage* Box(CIImage* image) { return Filtered(@"CIBoxBlur", image, {{@"inputRadius", Number(kBoxWidth)}}); }
CIImage* Disc(CIImage* image) { return Filtered(@"CIDiscBlur", image, {{@"inputRadius", Number(kDiscRadius)}}); }

CIImage* Over(NSString* name, CIImage* image) {
    return Filtered(name, image, {{@"inputBackgroundImage", AllImages().second}});
}
CIImage* Addition(CIImage* image) { return Over(@"CIAdditionCompositing", image); }
CIImage* Difference(CIImage* image) { return Over(@"CIDifferenceBlendMode", image); }

CIImage* Affine(CIImage* image) {
    return Filtered(@"CIAffineTransform", image, {{@"inputTransform", RotationAbout(kWidth / 2.0, kHeight / 2.0)}});
}

CIImage* BlurAddAffineCrop(CIImage* image) {
    return Filtered(@"CICrop", Affine(Addition(Gaussian(image))),
                    {{@"inputRectangle", Vector({0, 0, kWidth, kHeight})}});
}

CIImage* Convolved(NSString* name, std::size_t count, CIImage* image) {
    return Filtered(name, image, {{@"inputWeights", Vector(Kernel(count))}});
}
CIImage* Convolution3(CIImage* image) { return Convolved(@"CIConvolution3X3", 9, image); }
CIImage* Convolution5(CIImage* image) { return Convolved(@"CIConvolution5X5", 25, image); }
CIImage* Convolution7(CIImage* image) { return Convolved(@"CIConvolution7X7", 49, image); }
CIImage* Convolution9(CIImage* image) { return Convolved(@"CIConvolution9Horizontal", 9, image); }

CIImage* Average(CIImage* image) {
    return Filtered(@"CIAreaAverage", image, {{@"inputExtent", Vector({0, 0, kWidth, kHeight})}});
}
CIImage* Histogram(CIImage* image) {
    return Filtered(@"CIAreaHistogram", image,
                    {{@"inputExtent", Vector({0, 0, kWidth, kHeight})}, {@"inputCount", Number(kBins)}});
}

CIImage* Bump(CIImage* image) {
    return Filtered(@"CIBumpDistortion", image,
                    {{@"inputCenter", Vector({kWidth / 2, kHeight / 2})},
                     {@"inputRadius", Number(kBumpRadius)},
                     {@"inputScale", Number(kBumpScale)}});
}
CIImage* Displacement(CIImage* image) {
    return Filtered(@"CIDisplacementDistortion", image,
                    {{@"inputDisplacementImage", AllImages().second}, {@"inputScale", Number(kDisplacement)}});
}

CIImage* Transition(NSString* name, CIImage* image, Values more = {}) {
    CIFilter* filter = [CIFilter filterWithName:name];
    [filter setValue:image forKey:kCIInputImageKey];
    [filter setValue:AllImages().second forKey:@"inputTargetImage"];
    [filter setValue:Number(kTransitionTime) forKey:@"inputTime"];
    for (const auto& [key, value] : more) [filter setValue:value forKey:key];
    return [filter outputImage];
}
CIVector* Whole() { return Vector({0, 0, kWidth, kHeight}); }
CIImage* Dissolve(CIImage* image) { return Transition(@"CIDissolveTransition", image); }
CIImage* BarsSwipe(CIImage* image) { return Transition(@"CIBarsSwipeTransition", image); }
CIImage* CopyMachine(CIImage* image) {
    return Transition(@"CICopyMachineTransition", image, {{@"inputExtent", Whole()}});
}
CIImage* Disintegrate(CIImage* image) {
    return Transition(@"CIDisintegrateWithMaskTransition", image, {{@"inputMaskImage", AllImages().second}});
}
CIImage* Flash(CIImage* image) {
    return Transition(@"CIFlashTransition", image,
                      {{@"inputExtent", Whole()}, {@"inputCenter", Vector({kWidth / 2, kHeight / 2})}});
}

CIImage* Wrap(CIImage* image) {
    return Filtered(@"CICircularWrap", image, {{@"inputCenter", Vector({kWidth / 2, kHeight / 2})}});
}
CIImage* Droste(CIImage* image) { return Filtered(@"CIDroste", image); }
CIImage* Lozenge(CIImage* image) {
    return Filtered(@"CIGlassLozenge", image,
                    {{@"inputPoint0", Vector({kWidth / 4, kHeight / 2})},
                     {@"inputPoint1", Vector({3 * kWidth / 4, kHeight / 2})},
                     {@"inputRadius", Number(kHeight / 4)}});
}
CIImage* Halftone(CIImage* image) { return Filtered(@"CICMYKHalftone", image); }
CIImage* Glide(CIImage* image) { return Filtered(@"CIGlideReflectedTile", image); }
CIImage* Comic(CIImage* image) { return Filtered(@"CIComicEffect", image); }
CIImage* Crystallize(CIImage* image) { return Filtered(@"CICrystallize", image); }
CIImage* SmallCrystals(CIImage* image) {
    return Filtered(@"CICrystallize", image, {{@"inputRadius", Number(kSmallCrystal)}});
}
CIImage* DepthOfField(CIImage* image) {
    return Filtered(@"CIDepthOfField", image,
                    {{@"inputPoint0", Vector({0, kHeight / 2})}, {@"inputPoint1", Vector({kWidth, kHeight / 2})}});
}
CIImage* Edges(CIImage* image) { return Filtered(@"CIEdges", image); }
CIImage* EdgeWork(CIImage* image) { return Filtered(@"CIEdgeWork", image); }

CIImage* Unchanged(CIImage* image) { return image; }

CIImage* Resized(CIImage* image) {
    return [image imageByResizingToWidth:kResizedWidth height:kResizedHeight mode:kCIEngineResizeStretch];
}

// Recipes of many steps, most of them cropped to the photo: otherwise the picture grows with every blur.

CIImage* Blurred(CIImage* image, double sigma) {
    return Filtered(@"CIGaussianBlur", image, {{@"inputRadius", Number(sigma)}});
}

template <CIImage* (*kStep)(CIImage*), int kCount>
CIImage* Steps(CIImage* image) {
    for (int count = 0; count < kCount; ++count) {
        image = [kStep(image) imageByCroppingToRect:CGRectMake(0, 0, (CGFloat)kPhotoWidth, (CGFloat)kPhotoHeight)];
    }
    return image;
}

CIImage* DissolveWithBlur(CIImage* image) {
    return Filtered(@"CIDissolveTransition", Blurred(image, 3),
                    {{@"inputTargetImage", image}, {@"inputTime", Number(kTransitionTime)}});
}
CIImage* SmallBlur(CIImage* image) { return Blurred(image, 1); }
CIImage* MediumBlur(CIImage* image) { return Blurred(image, 3); }
CIImage* Bloom(CIImage* image) { return Filtered(@"CIBloom", image); }

CIImage* FiftyGrowingBlurs(CIImage* image) {
    for (int count = 0; count < 50; ++count) image = Blurred(image, 3);
    return image;
}

// The input of an operation, and the kind of its result.
enum class From { kFirst, kBytes, kPhoto, kSmall };
enum class To { kWhole, kWholeAsBytes, kResized, kPhoto, kSmall, kPixel, kHistogram };

struct Operation {
    const char* name;
    CIImage* (*make)(CIImage* image);
    From from;
    To to;
};

// clang-format off
constexpr Operation kOperations[] = {
    // name                                image              from           to
    {"12 MP/gaussian blur, sigma 10",      Gaussian,          From::kFirst,  To::kWhole},
    {"12 MP/gaussian blur, sigma 1",       SmallBlur,         From::kFirst,  To::kWhole},
    {"12 MP/gaussian blur, sigma 3",       MediumBlur,        From::kFirst,  To::kWhole},
    {"12 MP/box blur, 21 wide",            Box,               From::kFirst,  To::kWhole},
    {"12 MP/disc blur, radius 8",          Disc,              From::kFirst,  To::kWhole},
    {"12 MP/color matrix",                 Matrix,            From::kFirst,  To::kWhole},
    {"12 MP/invert",                       Invert,            From::kFirst,  To::kWhole},
    {"12 MP/exposure",                     Exposure,          From::kFirst,  To::kWhole},
    {"12 MP/color cube 32",                CubeOf,            From::kFirst,  To::kWhole},
    {"12 MP/gamma",                        Gamma,             From::kFirst,  To::kWhole},
    {"12 MP/color controls",               Controls,          From::kFirst,  To::kWhole},
    {"12 MP/blur 10, add, affine, crop",   BlurAddAffineCrop, From::kFirst,  To::kWhole},
    {"12 MP/dissolve",                     Dissolve,          From::kFirst,  To::kWhole},
    {"12 MP/addition",                     Addition,          From::kFirst,  To::kWhole},
    {"12 MP/difference",                   Difference,        From::kFirst,  To::kWhole},
    {"12 MP/affine, bilinear",             Affine,            From::kFirst,  To::kWhole},
    {"12 MP/resize to 1024, Lanczos",      Resized,           From::kFirst,  To::kResized},
    {"12 MP/convolution 3x3",              Convolution3,      From::kFirst,  To::kWhole},
    {"12 MP/convolution 5x5",              Convolution5,      From::kFirst,  To::kWhole},
    {"12 MP/convolution 7x7",              Convolution7,      From::kFirst,  To::kWhole},
    {"12 MP/convolution 9 across",         Convolution9,      From::kFirst,  To::kWhole},
    {"12 MP/area average",                 Average,           From::kFirst,  To::kPixel},
    {"12 MP/histogram, 256 bins",          Histogram,         From::kFirst,  To::kHistogram},
    {"12 MP/five pointwise steps",         FiveSteps,         From::kFirst,  To::kWhole},
    {"12 MP/sRGB bytes in",                Unchanged,         From::kBytes,  To::kWhole},
    {"12 MP/sRGB bytes out",               Unchanged,         From::kFirst,  To::kWholeAsBytes},
    {"12 MP/bump",                         Bump,              From::kFirst,  To::kWhole},
    {"12 MP/displacement",                 Displacement,      From::kFirst,  To::kWhole},
    {"12 MP/bars swipe",                   BarsSwipe,         From::kFirst,  To::kWhole},
    {"12 MP/copy machine",                 CopyMachine,       From::kFirst,  To::kWhole},
    {"12 MP/disintegrate",                 Disintegrate,      From::kFirst,  To::kWhole},
    {"12 MP/flash",                        Flash,             From::kFirst,  To::kWhole},
    {"12 MP/circular wrap",                Wrap,              From::kFirst,  To::kWhole},
    {"12 MP/droste",                       Droste,            From::kFirst,  To::kWhole},
    {"12 MP/glass lozenge",                Lozenge,           From::kFirst,  To::kWhole},
    {"12 MP/four-ink halftone",            Halftone,          From::kFirst,  To::kWhole},
    {"12 MP/glide reflected tile",         Glide,             From::kFirst,  To::kWhole},
    {"12 MP/comic",                        Comic,             From::kFirst,  To::kWhole},
    {"12 MP/crystallize, radius 20",       Crystallize,       From::kFirst,  To::kWhole},
    {"12 MP/crystallize, radius 3",        SmallCrystals,     From::kFirst,  To::kWhole},
    {"12 MP/depth of field",               DepthOfField,      From::kFirst,  To::kWhole},
    {"12 MP/edges",                        Edges,             From::kFirst,  To::kWhole},
    {"12 MP/edge work, radius 3",          EdgeWork,          From::kFirst,  To::kWhole},
    {"photo/dissolve with blur, 1 step",   Steps<DissolveWithBlur, 1>,  From::kPhoto, To::kPhoto},
    {"photo/dissolve with blur, 12 steps", Steps<DissolveWithBlur, 12>, From::kPhoto, To::kPhoto},
    {"photo/small blur, 10 steps",         Steps<SmallBlur, 10>,        From::kPhoto, To::kPhoto},
    {"photo/small blur, 100 steps",        Steps<SmallBlur, 100>,       From::kPhoto, To::kPhoto},
    {"photo/small blur, 1000 steps",       Steps<SmallBlur, 1000>,      From::kPhoto, To::kPhoto},
    {"photo/bloom, 1 step",                Steps<Bloom, 1>,             From::kPhoto, To::kPhoto},
    {"photo/bloom, 10 steps",              Steps<Bloom, 10>,            From::kPhoto, To::kPhoto},
    {"photo/edge work, 1 step",            Steps<EdgeWork, 1>,          From::kPhoto, To::kPhoto},
    {"photo/edge work, 6 steps",           Steps<EdgeWork, 6>,          From::kPhoto, To::kPhoto},
    {"photo/blur 3, 50 growing steps",     FiftyGrowingBlurs,           From::kPhoto, To::kPhoto},
    {"64 x 64/color matrix",               Matrix,            From::kSmall,  To::kSmall},
    {"64 x 64/five pointwise steps",       FiveSteps,         From::kSmall,  To::kSmall},
    {"64 x 64/color map",                  Map,               From::kSmall,  To::kSmall},
    {"64 x 64/color cube 32",              CubeOf,            From::kSmall,  To::kSmall},
    {"64 x 64/gaussian blur, sigma 10",    Gaussian,          From::kSmall,  To::kSmall},
};
// clang-format on

CIImage* ImageFrom(From from) {
    switch (from) {
        case From::kFirst:
            return AllImages().first;
        case From::kBytes:
            return AllImages().bytes;
        case From::kPhoto:
            return AllImages().photo;
        default:
            return AllImages().small;
    }
}

// The size of a result in pixels.
struct Size {
    std::size_t width;
    std::size_t height;
};
Size SizeOf(To to) {
    switch (to) {
        case To::kResized:
            return {kResizedWidth, kResizedHeight};
        case To::kPhoto:
            return {kPhotoWidth, kPhotoHeight};
        case To::kSmall:
            return {kSmallEdge, kSmallEdge};
        case To::kPixel:
            return {1, 1};
        case To::kHistogram:
            return {kBins, 1};
        default:
            return {kWidth, kHeight};
    }
}

std::size_t PixelSize(To to) { return to == To::kWholeAsBytes ? kChannels : kChannels * sizeof(float); }

CGRect BoundsOf(To to) {
    const Size size = SizeOf(to);
    return CGRectMake(0, 0, (CGFloat)size.width, (CGFloat)size.height);
}

constexpr std::string_view kSmall = "64 x 64/";

}  // namespace

std::vector<Row> Rows() {
    std::vector<Row> rows;
    for (const Operation& operation : kOperations) {
        FiltersMade() = {};
        CIImage* const image = [operation.make(ImageFrom(operation.from)) retain];
        if (image == nil) continue;
        const bool asBytes = operation.to == To::kWholeAsBytes;
        const CGRect bounds = BoundsOf(operation.to);
        const Size size = SizeOf(operation.to);
        Row row = {operation.name, size.width * size.height * PixelSize(operation.to), [=, &operation](void* to) {
                       Render(operation.make(ImageFrom(operation.from)), bounds, asBytes, to);
                   }};
        if (FiltersMade().count == 1) {
            row.filter = [FiltersMade().last UTF8String];
            row.note = NoteOfCategory(FiltersMade().last);
        }
        rows.push_back(row);
        if (!row.name.starts_with(kSmall)) {
            [image release];
            continue;
        }
        row.name = "64 x 64, rendering alone/" + row.name.substr(kSmall.size());
        row.render = [=](void* to) { Render(image, bounds, asBytes, to); };
        rows.push_back(std::move(row));
    }
    for (std::vector<Row>& more : std::array{FilterRows(rows), GrowthRows()}) {
        for (Row& row : more) rows.push_back(std::move(row));
    }
    return rows;
}

}  // namespace benchmarks
