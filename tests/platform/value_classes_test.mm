// value_classes_test.mm - tests CIVector and CIColor.

#include "rendering.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

TEST(VectorTest, IndexesBeyondTheEndReadZero) {
    CIVector* vector = [CIVector vectorWithX:3 Y:4];
    EXPECT_EQ([vector count], 2u);
    EXPECT_EQ([vector X], 3);
    EXPECT_EQ([vector Y], 4);
    EXPECT_EQ([vector Z], 0);
    EXPECT_EQ([vector W], 0);
    EXPECT_EQ([vector valueAtIndex:2], 0);
    EXPECT_EQ([vector valueAtIndex:SIZE_MAX], 0);
}

TEST(VectorTest, CopiesAnyNumberOfValues) {
    CGFloat values[49];
    for (int index = 0; index < 49; ++index) values[index] = (CGFloat)index;
    CIVector* vector = [CIVector vectorWithValues:values count:49];
    values[48] = 0;
    EXPECT_EQ([vector count], 49u);
    EXPECT_EQ([vector valueAtIndex:48], 48);
    EXPECT_EQ([CIVector vectorWithValues:values count:0], nil);
}

TEST(VectorTest, ConvertsToPointsAndRectangles) {
    const CGRect rect = [[CIVector vectorWithCGRect:CGRectMake(1, 2, 3, 4)] CGRectValue];
    EXPECT_TRUE(CGRectEqualToRect(rect, CGRectMake(1, 2, 3, 4)));
    EXPECT_TRUE(CGPointEqualToPoint([[CIVector vectorWithCGPoint:CGPointMake(5, 6)] CGPointValue], CGPointMake(5, 6)));
    EXPECT_TRUE(CGRectIsInfinite([[CIVector vectorWithCGRect:CGRectInfinite] CGRectValue]));
}

TEST(VectorTest, StringIsInBracketsAndEqualityIsByValue) {
    CIVector* vector = [CIVector vectorWithX:1 Y:0.5 Z:-2];
    EXPECT_EQ(Text([vector stringRepresentation]), "[1 0.5 -2]");
    EXPECT_TRUE([vector isEqual:[CIVector vectorWithX:1 Y:0.5 Z:-2]]);
    EXPECT_EQ([vector hash], [[CIVector vectorWithX:1 Y:0.5 Z:-2] hash]);
    EXPECT_FALSE([vector isEqual:[CIVector vectorWithX:1 Y:0.5]]);
    EXPECT_FALSE([vector isEqual:@"[1 0.5 -2]"]);
    CIVector *zeros = [CIVector vectorWithX:0 Y:0], *negative = [CIVector vectorWithX:(CGFloat)-0.0 Y:0];
    EXPECT_TRUE([zeros isEqual:negative]);
    EXPECT_EQ([zeros hash], [negative hash]);
}

TEST(ColorTest, HasFourComponentsAndIsOpaqueByDefault) {
    CIColor* color = [CIColor colorWithRed:0.25 green:0.5 blue:2];
    EXPECT_EQ([color numberOfComponents], 4u);
    EXPECT_EQ([color components][0], (CGFloat)0.25);
    EXPECT_EQ([color red], (CGFloat)0.25);
    EXPECT_EQ([color green], (CGFloat)0.5);
    EXPECT_EQ([color blue], 2);
    EXPECT_EQ([color alpha], 1);
    EXPECT_EQ([[CIColor colorWithRed:0 green:0 blue:0 alpha:0.5] alpha], (CGFloat)0.5);
}

TEST(ColorTest, ConvertsToAndFromAString) {
    CIColor* color = [CIColor colorWithRed:1 green:0.5 blue:0 alpha:0.25];
    EXPECT_EQ(Text([color stringRepresentation]), "1 0.5 0 0.25");
    EXPECT_TRUE([[CIColor colorWithString:@"1 0.5 0 0.25"] isEqual:color]);
    CIColor *black = [CIColor colorWithRed:0 green:0 blue:0], *negative = [CIColor colorWithRed:0
                                                                                          green:0
                                                                                           blue:(CGFloat)-0.0];
    EXPECT_TRUE([black isEqual:negative]);
    EXPECT_EQ([black hash], [negative hash]);
    EXPECT_EQ(Text([[CIColor colorWithString:@"1 0.5"] stringRepresentation]), "1 0.5 0 1");
    EXPECT_EQ(Text([[CIColor colorWithString:nil] stringRepresentation]), "0 0 0 1");
}

TEST(ColorTest, IsInSRGB) {
    CFStringRef name = CGColorSpaceCopyName([[CIColor colorWithRed:0 green:0 blue:0] colorSpace]);
    EXPECT_TRUE([(NSString*)name isEqual:(NSString*)kCGColorSpaceSRGB]);
    CFRelease(name);
}

}  // namespace
