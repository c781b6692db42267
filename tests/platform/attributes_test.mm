// attributes_test.mm - compares the attributes of each filter with attributes.json.

#include "rendering.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "tests/support/catalogue_counts.h"

#include "tests/support/catalogue_counts.h"

namespace {

// Returns the contents of attributes.json: one entry per filter.
NSDictionary* Entries() {
    NSData* text = [NSData dataWithContentsOfFile:@ZEVA_ATTRIBUTES];
    return [NSJSONSerialization JSONObjectWithData:text options:0 error:nullptr];
}

// Returns whether an attribute matches a value of the file. The class of the input tells how the file writes its
// values.
bool Matches(id attribute, id written, NSString* className) {
    if ([className isEqual:@"NSData"]) {
        const float cube[8][4] = {{0, 0, 0, 1}, {1, 0, 0, 1}, {0, 1, 0, 1}, {1, 1, 0, 1},
                                  {0, 0, 1, 1}, {1, 0, 1, 1}, {0, 1, 1, 1}, {1, 1, 1, 1}};
        return [attribute isEqual:[NSData dataWithBytes:cube length:sizeof cube]];
    }
    if ([written isKindOfClass:[NSNumber class]]) return [attribute doubleValue] == [written doubleValue];
    if (![written isKindOfClass:[NSArray class]]) return [attribute isEqual:written];
    std::vector<CGFloat> values;
    for (NSNumber* number in written) values.push_back((CGFloat)[number doubleValue]);
    if ([className isEqual:@"CIColor"]) {
        return [attribute isEqual:[CIColor colorWithRed:values[0] green:values[1] blue:values[2] alpha:values[3]]];
    }
    if ([className isEqual:@"NSAffineTransform"]) {
        const NSAffineTransformStruct numbers = [(NSAffineTransform*)attribute transformStruct];
        return values ==
               std::vector<CGFloat>{numbers.m11, numbers.m12, numbers.m21, numbers.m22, numbers.tX, numbers.tY};
    }
    // The file holds a rounded infinite rectangle of a single width.
    if (values.size() == 4 && [[written objectAtIndex:2] doubleValue] > std::numeric_limits<float>::max()) {
        return [attribute isEqual:[CIVector vectorWithCGRect:CGRectInfinite]];
    }
    return [attribute isEqual:[CIVector vectorWithValues:values.data() count:values.size()]];
}

TEST(AttributesTest, KeyAttributesMatchTheFile) {
    NSDictionary* entries = Entries();
    ASSERT_EQ([entries count], CatalogueCount("classes"));
    int compared = 0;
    for (NSString* name in entries) {
        NSDictionary* attributes = [[CIFilter filterWithName:name] attributes];
        NSDictionary* keys = [[entries objectForKey:name] objectForKey:@"keys"];
        EXPECT_EQ([attributes count], [keys count] + 4) << Text(name);
        for (NSString* key in keys) {
            NSDictionary* written = [keys objectForKey:key];
            NSDictionary* described = [attributes objectForKey:key];
            EXPECT_EQ([described count], [written count]) << Text(name) << " " << Text(key);
            NSString* className = [written objectForKey:kCIAttributeClass];
            for (NSString* attribute in written) {
                // Only defaults and identities have the class of the input.
                const bool isValue =
                    [attribute isEqual:kCIAttributeDefault] || [attribute isEqual:kCIAttributeIdentity];
                EXPECT_TRUE(Matches([described objectForKey:attribute], [written objectForKey:attribute],
                                    isValue ? className : @"NSString"))
                    << Text(name) << " " << Text(key) << " " << Text(attribute);
                ++compared;
            }
        }
    }
    EXPECT_GT(compared, 1000);
}

TEST(AttributesTest, FilterAttributesMatchTheFile) {
    NSDictionary* entries = Entries();
    for (NSString* name in entries) {
        NSDictionary* written = [entries objectForKey:name];
        NSDictionary* attributes = [[CIFilter filterWithName:name] attributes];
        EXPECT_TRUE([[attributes objectForKey:kCIAttributeFilterName] isEqual:name]);
        EXPECT_TRUE(
            [[attributes objectForKey:kCIAttributeFilterDisplayName] isEqual:[written objectForKey:@"displayName"]]);
        EXPECT_TRUE(
            [[attributes objectForKey:kCIAttributeFilterCategories] isEqual:[written objectForKey:@"categories"]]);
        EXPECT_TRUE(
            [[attributes objectForKey:kCIAttributeFilterAvailable_Mac] isEqual:[written objectForKey:@"availableMac"]]);
    }
}

TEST(AttributesTest, NumbersAreDoubles) {
    NSDictionary* radius = [[[CIFilter filterWithName:@"CIGaussianBlur"] attributes] objectForKey:kCIInputRadiusKey];
    EXPECT_EQ([[radius objectForKey:kCIAttributeDefault] objCType][0], 'd');
    EXPECT_EQ([[radius objectForKey:kCIAttributeDefault] doubleValue], 10);
}

TEST(AttributesTest, NewFiltersHoldTheirDefaults) {
    for (NSString* name in Entries()) {
        CIFilter* filter = [CIFilter filterWithName:name];
        for (NSString* key in [filter inputKeys]) {
            EXPECT_EQ([filter valueForKey:key],
                      [[[filter attributes] objectForKey:key] objectForKey:kCIAttributeDefault]);
        }
    }
}

TEST(AttributesTest, DefaultCropRectangleIsExactlyInfinite) {
    CIVector* rectangle = [[CIFilter filterWithName:@"CICrop"] valueForKey:@"inputRectangle"];
    EXPECT_TRUE(CGRectIsInfinite([rectangle CGRectValue]));
}

TEST(AttributesTest, EveryReadReturnsTheSameObject) {
    CIFilter* filter = [CIFilter filterWithName:@"CIBloom"];
    EXPECT_EQ([filter attributes], [filter attributes]);
    EXPECT_EQ([filter attributes], [[CIFilter filterWithName:@"CIBloom"] attributes]);
}

TEST(AttributesTest, FiltersAreFoundByCategory) {
    EXPECT_EQ([[CIFilter filterNamesInCategory:nil] count], CatalogueCount("classes"));
    EXPECT_EQ([[CIFilter filterNamesInCategory:kCICategoryBuiltIn] count], CatalogueCount("classes"));
    NSArray* blurs = [CIFilter filterNamesInCategory:kCICategoryBlur];
    EXPECT_TRUE([blurs containsObject:@"CIGaussianBlur"]);
    EXPECT_FALSE([blurs containsObject:@"CICrop"]);
    NSArray* both = @[ kCICategoryBlur, kCICategoryGenerator ];
    EXPECT_EQ([[CIFilter filterNamesInCategories:both] count], 0u);
}

}  // namespace
