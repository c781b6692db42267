// filter_values_test.mm - creates filters by name, and reads and sets their values by key.

#include "rendering.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

namespace {

TEST(FilterTest, UnknownNameGivesNil) {
    EXPECT_EQ([CIFilter filterWithName:@"CINoSuchFilter"], nil);
    EXPECT_EQ([CIFilter filterWithName:@""], nil);
    EXPECT_EQ([CIFilter filterWithName:nil], nil);
    EXPECT_EQ([[CIFilter alloc] init], nil);
}

TEST(FilterTest, ReturnsItsNameAndKeys) {
    CIFilter* filter = [CIFilter filterWithName:@"CIColorControls"];
    EXPECT_EQ(Text([filter name]), "CIColorControls");
    NSArray* keys = @[ @"inputBrightness", @"inputContrast", @"inputImage", @"inputSaturation" ];
    EXPECT_TRUE([[filter inputKeys] isEqual:keys]);
    EXPECT_TRUE([[filter outputKeys] isEqual:@[ @"outputImage" ]]);
}

TEST(FilterTest, ParametersReplaceDefaults) {
    NSDictionary* parameters = [NSDictionary dictionaryWithObject:@"3" forKey:@"inputRadius"];
    CIFilter* filter = [CIFilter filterWithName:@"CIBloom" withInputParameters:parameters];
    EXPECT_TRUE([[filter valueForKey:@"inputRadius"] isEqual:@"3"]);
    EXPECT_EQ([[filter valueForKey:@"inputIntensity"] doubleValue], 0.5);
    EXPECT_EQ([CIFilter filterWithName:@"CINoSuchFilter" withInputParameters:parameters], nil);
}

TEST(FilterTest, ReadingReturnsTheObjectThatWasSetOfAnyClass) {
    CIFilter* filter = [CIFilter filterWithName:@"CIGaussianBlur"];
    for (id value : {(id) @"text", (id)[NSNumber numberWithInt:3], (id)[CIVector vectorWithX:1]}) {
        [filter setValue:value forKey:kCIInputRadiusKey];
        EXPECT_EQ([filter valueForKey:kCIInputRadiusKey], value);
    }
    [filter setValue:nil forKey:kCIInputRadiusKey];
    EXPECT_EQ([filter valueForKey:kCIInputRadiusKey], nil);
}

TEST(FilterTest, KeysCompareByCharactersNotByIdentity) {
    CIFilter* filter = [CIFilter filterWithName:@"CIGaussianBlur"];
    [filter setValue:@"5" forKey:[NSMutableString stringWithString:@"inputRadius"]];
    EXPECT_TRUE([[filter valueForKey:@"inputRadius"] isEqual:@"5"]);
}

TEST(FilterTest, RetainsEachValueOnce) {
    NSObject* value = [[NSObject alloc] init];
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    CIFilter* filter = [CIFilter filterWithName:@"CIGaussianBlur"];
    [filter setValue:value forKey:kCIInputRadiusKey];
    EXPECT_EQ([value retainCount], 2u);
    [filter setValue:value forKey:kCIInputRadiusKey];
    EXPECT_EQ([value retainCount], 2u);
    [pool release];
    EXPECT_EQ([value retainCount], 1u);
    [value release];
}

TEST(FilterTest, SetDefaultsLeavesImagesAlone) {
    CIImage* image = [CIImage emptyImage];
    CIFilter* filter = FilterOn(@"CIGaussianBlur", image);
    [filter setValue:@"3" forKey:kCIInputRadiusKey];
    [filter setDefaults];
    EXPECT_EQ([[filter valueForKey:kCIInputRadiusKey] doubleValue], 10);
    EXPECT_EQ([filter valueForKey:kCIInputImageKey], image);
}

TEST(FilterTest, CopiesHaveTheirOwnValues) {
    CIFilter* filter = [CIFilter filterWithName:@"CIGaussianBlur"];
    [filter setValue:@"3" forKey:kCIInputRadiusKey];
    CIFilter* copy = [[filter copy] autorelease];
    [filter setValue:@"4" forKey:kCIInputRadiusKey];
    EXPECT_TRUE([[copy valueForKey:kCIInputRadiusKey] isEqual:@"3"]);
}

// Expects the exception for an undefined key.
void ExpectUndefined(NSException* exception, CIFilter* filter, const char* method, const char* key) {
    ASSERT_NE(exception, nil);
    EXPECT_EQ(Text([exception name]), "NSUnknownKeyException");
    NSString* reason =
        [NSString stringWithFormat:@"[<%@ %p> %s]: this class is not key value coding-compliant for the key %s.",
                                   [filter name], (void*)filter, method, key];
    EXPECT_EQ(Text([exception reason]), Text(reason));
}

TEST(FilterTest, UndefinedKeysRaise) {
    CIFilter* filter = [CIFilter filterWithName:@"CIGaussianBlur"];
    for (const char* key : {"inputCenter", "name", "attributes", "retainCount", "_values", ""}) {
        NSString* name = [NSString stringWithUTF8String:key];
        ExpectUndefined(RaisedBy([&] { [filter valueForKey:name]; }), filter, "valueForUndefinedKey:", key);
        ExpectUndefined(RaisedBy([&] { [filter setValue:@"1" forKey:name]; }), filter,
                        "setValue:forUndefinedKey:", key);
    }
    EXPECT_NE(RaisedBy([&] { [filter valueForKey:nil]; }), nil);
    EXPECT_NE(RaisedBy([&] { [filter setValue:nil forKey:nil]; }), nil);
}

TEST(FilterTest, OutputImageIsReadOnly) {
    CIFilter* filter = FilterOn(@"CIGaussianBlur", [CIImage emptyImage]);
    EXPECT_NE([filter valueForKey:kCIOutputImageKey], nil);
    NSException* raised = RaisedBy([&] { [filter setValue:nil forKey:kCIOutputImageKey]; });
    ExpectUndefined(raised, filter, "setValue:forUndefinedKey:", "outputImage");
}

TEST(FilterTest, EachReadBuildsANewOutputImageThatKeepsItsInputs) {
    CIFilter* filter = FilterOn(@"CIGaussianBlur", ImageOfBytes(4, 4, VariedBytes(4, 4)));
    CIImage* first = [filter outputImage];
    EXPECT_NE(first, [filter outputImage]);
    [filter setValue:[NSNumber numberWithDouble:1] forKey:kCIInputRadiusKey];
    EXPECT_EQ([first extent].size.width, 4 + 2 * 30);
    EXPECT_EQ([[filter outputImage] extent].size.width, 4 + 2 * 3);
}

TEST(FilterTest, SettingAndReadingANumberTakesLessThanAMicrosecond) {
    CIFilter* filter = [CIFilter filterWithName:@"CIGaussianBlur"];
    NSNumber* number = [NSNumber numberWithDouble:3];
    double best = 1;
    for (int round = 0; round < 20; ++round) {
        NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
        const auto start = std::chrono::steady_clock::now();
        for (int index = 0; index < 1000; ++index) {
            [filter setValue:number forKey:@"inputRadius"];
            [filter valueForKey:@"inputRadius"];
        }
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / 1000);
        [pool release];
    }
    EXPECT_LT(best, 1e-6);
}

}  // namespace
