// growth_rows.mm - six operations of different kinds at several sizes, two chains, and one thread beside two.

#include "growth_rows.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include "images.h"
#include "parameters.h"

namespace benchmarks {
namespace {

constexpr double kMegapixels[] = {0.25, 1, 12, 50, 100};
constexpr int kSteps[] = {1, 2, 4, 8, 16, 32, 64};
constexpr double kMegapixelsOfChain = 1;
constexpr double kMegapixelsOfThreads = 12;

// A picture of a size, and one to combine it with.
struct Sized {
    std::size_t width, height;
    CIImage* first;
    CIImage* second;

    CGRect Bounds() const { return CGRectMake(0, 0, (CGFloat)width, (CGFloat)height); }
    std::size_t Bytes() const { return width * height * kChannels; }
};

// The bytes of the largest picture; smaller ones are their beginning. The picture to combine begins a few pixels later.
const std::vector<std::uint8_t>& LargestBytes() {
    static const std::vector<std::uint8_t> bytes = [] {
        const std::vector<std::uint8_t>& source = FirstAsBytes();
        std::vector<std::uint8_t> largest(static_cast<std::size_t>(1.01e6 * kMegapixels[4]) * kChannels);
        for (std::size_t at = 0; at < largest.size(); at += source.size()) {
            std::memcpy(&largest[at], source.data(), std::min(source.size(), largest.size() - at));
        }
        return largest;
    }();
    return bytes;
}

// Made when it is first rendered, because the bytes take 400 MB.
Sized SizedOf(double megapixels) {
    const auto height = static_cast<std::size_t>(std::lround(std::sqrt(megapixels * 1e6 * 0.75) / 4)) * 4;
    const auto width = static_cast<std::size_t>(std::lround(megapixels * 1e6 / static_cast<double>(height) / 4)) * 4;
    return {width, height, nil, nil};
}
void MakeImages(Sized& sized) {
    if (sized.first != nil) return;
    constexpr std::size_t kApart = 1024;
    const std::uint8_t* const bytes = LargestBytes().data();
    sized.first = ImageOfBytes(bytes, sized.width, sized.width, sized.height);
    sized.second = ImageOfBytes(bytes + kApart * kChannels, sized.width, sized.width, sized.height);
}

CIImage* Controls(const Sized&, CIImage* image) {
    return Filtered(@"CIColorControls", image, {{@"inputSaturation", Number(kSaturation)}});
}
CIImage* Gamma(const Sized&, CIImage* image) {
    return Filtered(@"CIGammaAdjust", image, {{@"inputPower", Number(kGamma)}});
}
CIImage* Dissolve(const Sized& sized, CIImage* image) {
    return Filtered(@"CIDissolveTransition", image,
                    {{@"inputTargetImage", sized.second}, {@"inputTime", Number(kTransitionTime)}});
}
CIImage* Gaussian(const Sized&, CIImage* image) {
    return Filtered(@"CIGaussianBlur", image, {{@"inputRadius", Number(kSigma)}});
}
CIImage* Disc(const Sized&, CIImage* image) {
    return Filtered(@"CIDiscBlur", image, {{@"inputRadius", Number(kDiscRadius)}});
}
CIImage* Affine(const Sized& sized, CIImage* image) {
    const double x = static_cast<double>(sized.width) / 2, y = static_cast<double>(sized.height) / 2;
    return Filtered(@"CIAffineTransform", image, {{@"inputTransform", RotationAbout(x, y)}});
}
CIImage* Histogram(const Sized& sized, CIImage* image) {
    return Filtered(@"CIAreaHistogram", image,
                    {{@"inputExtent", [CIVector vectorWithCGRect:sized.Bounds()]}, {@"inputCount", Number(kBins)}});
}

// Two steps that do not become one.
CIImage* ControlsAndGamma(const Sized& sized, CIImage* image) { return Gamma(sized, Controls(sized, image)); }
CIImage* SmallBlur(const Sized& sized, CIImage* image) {
    return [Filtered(@"CIGaussianBlur", image, {{@"inputRadius", Number(1)}}) imageByCroppingToRect:sized.Bounds()];
}

using Make = CIImage* (*)(const Sized& sized, CIImage* image);
struct Operation {
    const char* name;
    Make make;
};
constexpr Operation kOperations[] = {{"color controls", Controls},          {"dissolve", Dissolve},
                                     {"gaussian blur, sigma 10", Gaussian}, {"disc blur, radius 8", Disc},
                                     {"affine, bilinear", Affine},          {"histogram", Histogram}};
constexpr Operation kChains[] = {{"controls and gamma", ControlsAndGamma}, {"small blur, cropped", SmallBlur}};

Row RowOf(const std::string& name, double megapixels, Make make, int steps = 1) {
    Sized sized = SizedOf(megapixels);
    Row row = {name, sized.Bytes(), [=](void* to) mutable {
                   MakeImages(sized);
                   CIImage* image = sized.first;
                   for (int step = 0; step < steps; ++step) image = make(sized, image);
                   Render(image, CGRectIntersection([image extent], sized.Bounds()), /*asBytes=*/true, to);
               }};
    row.showsMemory = true;
    return row;
}

// Shortest decimal, such as 0.25 and 12.
std::string Text(double number) { return [[Number(number) description] UTF8String]; }

}  // namespace

std::vector<Row> GrowthRows() {
    std::vector<Row> rows;
    for (const auto& [name, make] : kOperations) {
        for (const double megapixels : kMegapixels) {
            rows.push_back(RowOf("growth/" + std::string(name) + "/" + Text(megapixels), megapixels, make));
        }
    }
    for (const auto& [name, make] : kChains) {
        for (const int steps : kSteps) {
            const std::string text = std::to_string(steps);
            rows.push_back(RowOf("chain/" + std::string(name) + "/" + text, kMegapixelsOfChain, make, steps));
        }
    }
    for (const auto& [name, make] : kOperations) {
        for (const std::size_t threads : {1u, 2u}) {
            const std::string text = std::to_string(threads);
            rows.push_back(RowOf("threads/" + std::string(name) + "/" + text, kMegapixelsOfThreads, make));
            rows.back().threads = threads;
        }
    }
    return rows;
}

}  // namespace benchmarks
