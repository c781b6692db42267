// golden_blur_test.mm - the blur against a reference render.

#include "golden_cases.h"
#include "rendering.h"

#include <gtest/gtest.h>

namespace {

// An input as the object that a filter takes.
id Value(const golden::Parameter& parameter) {
    std::vector<CGFloat> numbers(parameter.numbers.begin(), parameter.numbers.end());
    switch (parameter.kind) {
        case golden::Parameter::Kind::number:
            return [NSNumber numberWithDouble:parameter.numbers[0]];
        case golden::Parameter::Kind::vector:
            return [CIVector vectorWithValues:numbers.data() count:numbers.size()];
        case golden::Parameter::Kind::color:
            return [CIColor colorWithRed:numbers[0] green:numbers[1] blue:numbers[2] alpha:numbers[3]];
        case golden::Parameter::Kind::image:
            break;
    }
    return [CIImage
        imageWithContentsOfURL:[NSURL fileURLWithPath:[NSString stringWithUTF8String:parameter.imagePath.c_str()]]];
}

TEST(GoldenTest, GaussianBlurIsWithinSixTenthsOfALevel) {
    const std::string name = "CIGaussianBlur-1";
    if (!golden::IsPresent())
        GTEST_SKIP() << name << ": no reference renders in " << golden::Folder() << ", not compared";
    const auto reference = golden::ReadCase(name);
    ASSERT_TRUE(reference.has_value());
    CIFilter* filter = [CIFilter filterWithName:[NSString stringWithUTF8String:reference->steps[0].filter.c_str()]];
    for (const auto& [key, parameter] : reference->steps[0].parameters) {
        [filter setValue:Value(parameter) forKey:[NSString stringWithUTF8String:key.c_str()]];
    }
    const CGRect rect = CGRectMake((CGFloat)reference->originX, (CGFloat)reference->originY, (CGFloat)reference->width,
                                   (CGFloat)reference->height);
    const auto expected = golden::PictureOfFile(reference->outputPath);
    ASSERT_TRUE(expected.has_value());
    const auto difference =
        golden::Compare({reference->width, reference->height, Bytes([filter outputImage], rect)}, *expected);
    ASSERT_TRUE(difference.has_value());
    RecordProperty("rms", std::to_string(difference->rms));
    RecordProperty("largest", std::to_string(difference->largest));
    EXPECT_LE(difference->rms, 0.6);
    EXPECT_LE(difference->largest, 4);
}

}  // namespace
