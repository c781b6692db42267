// golden_filters_test.mm - compares renders through CIFilter with reference renders: the blur and the convolutions.
//
// The references of the convolutions come from a version that weighted encoded values. A context without a working
// space does the same here. The comparison shows that each weight is applied to the right pixel.

#include "golden_cases.h"
#include "rendering.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

namespace {

// Returns an input as the object that the filter takes.
id Value(const golden::Parameter& parameter) {
    std::vector<CGFloat> numbers(parameter.numbers.begin(), parameter.numbers.end());
    switch (parameter.kind) {
        case golden::Parameter::Kind::kNumber:
            return [NSNumber numberWithDouble:parameter.numbers[0]];
        case golden::Parameter::Kind::kVector:
            return [CIVector vectorWithValues:numbers.data() count:numbers.size()];
        case golden::Parameter::Kind::kColor:
            return [CIColor colorWithRed:numbers[0] green:numbers[1] blue:numbers[2] alpha:numbers[3]];
        case golden::Parameter::Kind::kImage:
            break;
    }
    return [CIImage
        imageWithContentsOfURL:[NSURL fileURLWithPath:[NSString stringWithUTF8String:parameter.imagePath.c_str()]]];
}

// A case, whether its colors are matched, and the largest allowed differences in 8-bit levels.
struct Bound {
    const char* name;
    bool isMatching;
    double rms;
    double largest;
};

// clang-format off
const Bound kBounds[] = {
    // case                        matching rms    largest
    {"CIGaussianBlur-1",           true,    0.468, 3.25},
    {"CIConvolution3X3-1",         false,   1.69,  22.1},
    {"CIConvolution9Horizontal-1", false,   0.832, 9.1},
};
// clang-format on

// Renders a rectangle of an image to premultiplied bytes.
std::vector<std::uint8_t> Rendered(CIImage* image, CGRect rect, bool isMatching) {
    if (isMatching) return Bytes(image, rect);
    NSDictionary* options = [NSDictionary dictionaryWithObject:[NSNull null] forKey:kCIContextWorkingColorSpace];
    const auto width = static_cast<std::size_t>(rect.size.width);
    std::vector<std::uint8_t> pixels(width * static_cast<std::size_t>(rect.size.height) * 4);
    [[CIContext contextWithOptions:options] render:image
                                          toBitmap:pixels.data()
                                          rowBytes:static_cast<ptrdiff_t>(width * 4)
                                            bounds:rect
                                            format:kCIFormatRGBA8
                                        colorSpace:nullptr];
    return pixels;
}

class GoldenTest : public testing::TestWithParam<Bound> {};

TEST_P(GoldenTest, DiffersByNoMoreThanItsBound) {
    const Bound& bound = GetParam();
    if (!golden::IsPresent())
        GTEST_SKIP() << bound.name << ": no reference renders in " << golden::Folder() << "; not compared";
    const auto reference = golden::ReadCase(bound.name);
    ASSERT_TRUE(reference.has_value());
    CIFilter* filter = [CIFilter filterWithName:[NSString stringWithUTF8String:reference->steps[0].filter.c_str()]];
    for (const auto& [key, parameter] : reference->steps[0].parameters) {
        [filter setValue:Value(parameter) forKey:[NSString stringWithUTF8String:key.c_str()]];
    }
    const CGRect rect = CGRectMake((CGFloat)reference->originX, (CGFloat)reference->originY, (CGFloat)reference->width,
                                   (CGFloat)reference->height);
    const auto expected = golden::PictureOfFile(reference->outputPath);
    ASSERT_TRUE(expected.has_value());
    const auto difference = golden::Compare(
        {reference->width, reference->height, Rendered([filter outputImage], rect, bound.isMatching)}, *expected);
    ASSERT_TRUE(difference.has_value());
    std::printf("%-28s  %8.4f  %8.4f  %7.2f  %7.2f\n", bound.name, difference->rms, bound.rms, difference->largest,
                bound.largest);
    EXPECT_LE(difference->rms, bound.rms);
    EXPECT_LE(difference->largest, bound.largest);
}

void PrintTo(const Bound& bound, std::ostream* stream) { *stream << bound.name; }

INSTANTIATE_TEST_SUITE_P(Cases, GoldenTest, testing::ValuesIn(kBounds), [](const auto& test) {
    const std::string name = test.param.name;
    return name.substr(0, name.find('-'));
});

}  // namespace
