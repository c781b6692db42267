// color_matching_test.mm - converts pictures from other color spaces to the working space and back.
//
// The expected values follow from the definitions of the spaces: a curve, and the matrix between two sets of primaries
// that share a white point.

#include <ImageIO/ImageIO.h>
#include "handmade_png.h"
#include "rendering.h"

#define CMS_NO_REGISTER_KEYWORD
#include <lcms2.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

// The tolerance of a conversion. Profiles store numbers in steps of 1/65536.
constexpr double kTolerance = 3e-4;

// The red of Display P3 and the green of Adobe RGB, in linear sRGB.
constexpr double kRedOfP3[] = {1.2249401, -0.0420569, -0.0196376};
constexpr double kGreenOfAdobe[] = {-0.3983557, 1, -0.0429290};

CGColorSpaceRef Named(CFStringRef name) { return (CGColorSpaceRef)[(id)CGColorSpaceCreateWithName(name) autorelease]; }

// Returns a space made from a Little CMS profile: white point D65, the given curve, and the primaries of sRGB or gray.
CGColorSpaceRef SpaceOfCurve(cmsToneCurve* curve, bool isGray = false) {
    const cmsCIExyY white = {0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
    cmsToneCurve* const curves[] = {curve, curve, curve};
    cmsHPROFILE profile =
        isGray ? cmsCreateGrayProfile(&white, curve) : cmsCreateRGBProfile(&white, &primaries, curves);
    cmsFreeToneCurve(curve);
    cmsUInt32Number length = 0;
    cmsSaveProfileToMem(profile, nullptr, &length);
    NSMutableData* bytes = [NSMutableData dataWithLength:length];
    cmsSaveProfileToMem(profile, [bytes mutableBytes], &length);
    cmsCloseProfile(profile);
    return (CGColorSpaceRef)[(id)CGColorSpaceCreateWithICCData((CFDataRef)bytes) autorelease];
}

FileBytes ProfileOf(CGColorSpaceRef space) {
    NSData* data = [(NSData*)CGColorSpaceCopyICCData(space) autorelease];
    const auto* bytes = static_cast<const std::uint8_t*>([data bytes]);
    return FileBytes(bytes, bytes + [data length]);
}

// Return an image of one pixel in a space: bytes with straight alpha, or premultiplied floats.
CIImage* Pixel(CGColorSpaceRef space, const std::vector<std::uint8_t>& pixel) {
    NSData* data = [NSData dataWithBytes:pixel.data() length:4];
    CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)data);
    CGImageRef bitmap =
        CGImageCreate(1, 1, 8, 32, 4, space, kCGImageAlphaLast, provider, nullptr, false, kCGRenderingIntentDefault);
    CIImage* image = [CIImage imageWithCGImage:bitmap];
    CGImageRelease(bitmap);
    CGDataProviderRelease(provider);
    return image;
}
CIImage* FloatPixel(CGColorSpaceRef space, const std::vector<float>& pixel) {
    return [CIImage imageWithBitmapData:[NSData dataWithBytes:pixel.data() length:16]
                            bytesPerRow:16
                                   size:CGSizeMake(1, 1)
                                 format:kCIFormatRGBAf
                             colorSpace:space];
}

const CGRect kOnePixel = {{0, 0}, {1, 1}};

std::vector<float> Light(CIImage* image) { return Floats(image, kOnePixel); }

// Renders the pixel of an image to premultiplied bytes in a space.
std::vector<std::uint8_t> BytesIn(CGColorSpaceRef space, CIImage* image) {
    std::vector<std::uint8_t> pixel(4);
    [[CIContext contextWithOptions:nil] render:image
                                      toBitmap:pixel.data()
                                      rowBytes:4
                                        bounds:kOnePixel
                                        format:kCIFormatRGBA8
                                    colorSpace:space];
    return pixel;
}

TEST(ColorMatchingTest, ColorsOfAWiderSpaceExceedTheRangeOfSRGB) {
    const std::vector<float> light = Light(Pixel(Named(kCGColorSpaceDisplayP3), {255, 0, 0, 255}));
    for (std::size_t channel = 0; channel < 3; ++channel) EXPECT_NEAR(light[channel], kRedOfP3[channel], kTolerance);
    EXPECT_EQ(light[3], 1);
    const std::vector<float> green = Light(Pixel(Named(kCGColorSpaceAdobeRGB1998), {0, 255, 0, 255}));
    for (std::size_t channel = 0; channel < 3; ++channel)
        EXPECT_NEAR(green[channel], kGreenOfAdobe[channel], kTolerance);
}

TEST(ColorMatchingTest, GraysFollowTheCurveOfTheSpace) {
    const auto expectGray = [](CFStringRef name, double expected) {
        const std::vector<float> light = Light(Pixel(Named(name), {128, 128, 128, 255}));
        for (std::size_t channel = 0; channel < 3; ++channel)
            EXPECT_NEAR(light[channel], expected, kTolerance) << Text((NSString*)name);
    };
    expectGray(kCGColorSpaceDisplayP3, std::pow((128 / 255.0 + 0.055) / 1.055, 2.4));
    expectGray(kCGColorSpaceAdobeRGB1998, std::pow(128 / 255.0, 563 / 256.0));
    expectGray(kCGColorSpaceGenericRGB, std::pow(128 / 255.0, 1.8));
    expectGray(kCGColorSpaceGenericRGBLinear, 128 / 255.0);
    expectGray(kCGColorSpaceLinearSRGB, 128 / 255.0);
}

TEST(ColorMatchingTest, AlphaIsNotConverted) {
    const std::vector<float> light = Light(Pixel(Named(kCGColorSpaceDisplayP3), {255, 0, 0, 51}));
    for (std::size_t channel = 0; channel < 3; ++channel)
        EXPECT_NEAR(light[channel], kRedOfP3[channel] / 5, kTolerance);
    EXPECT_FLOAT_EQ(light[3], 0.2f);
    const std::vector<float> nothing = {0, 0, 0, 0};
    EXPECT_EQ(Light(Pixel(Named(kCGColorSpaceDisplayP3), {255, 90, 0, 0})), nothing);
    EXPECT_EQ(Light(FloatPixel(Named(kCGColorSpaceAdobeRGB1998), {0, 0, 0, 0})), nothing);
}

TEST(ColorMatchingTest, FloatsAboveOneFollowTheCurve) {
    const std::vector<float> light = Light(FloatPixel(Named(kCGColorSpaceAdobeRGB1998), {2, 2, 2, 1}));
    EXPECT_NEAR(light[0], std::pow(2, 563 / 256.0), 2e-3);
}

TEST(ColorMatchingTest, ResultsAreInTheRequestedSpace) {
    CIImage* red = ImageOfFloats(1, 1, {1.2249401f, -0.0420569f, -0.0196376f, 1});
    EXPECT_EQ(BytesIn(Named(kCGColorSpaceDisplayP3), red), (std::vector<std::uint8_t>{255, 0, 0, 255}));
    // The same red with an alpha of one fifth: colors are encoded first and premultiplied after that.
    CIImage* translucent = ImageOfFloats(1, 1, {0.2449880f, -0.0084114f, -0.0039275f, 0.2f});
    EXPECT_EQ(BytesIn(Named(kCGColorSpaceDisplayP3), translucent), (std::vector<std::uint8_t>{51, 0, 0, 51}));
    CIImage* gray = ImageOfFloats(1, 1, {0.5f, 0.5f, 0.5f, 1});
    const auto level = static_cast<std::uint8_t>(std::lround(255 * std::pow(0.5, 256 / 563.0)));
    EXPECT_EQ(BytesIn(Named(kCGColorSpaceAdobeRGB1998), gray), (std::vector<std::uint8_t>{level, level, level, 255}));
}

TEST(ColorMatchingTest, BytesSurviveARoundTripInAnySpace) {
    for (CFStringRef name : {kCGColorSpaceDisplayP3, kCGColorSpaceAdobeRGB1998, kCGColorSpaceGenericRGB}) {
        for (int step = 0; step < 256; step += 5) {
            const std::vector<std::uint8_t> pixel = {static_cast<std::uint8_t>(step),
                                                     static_cast<std::uint8_t>(255 - step),
                                                     static_cast<std::uint8_t>(step * 3 & 255), 255};
            EXPECT_EQ(BytesIn(Named(name), Pixel(Named(name), pixel)), pixel) << Text((NSString*)name);
        }
    }
}

TEST(ColorMatchingTest, ConversionFollowsTheCurveOfTheProfile) {
    CGColorSpaceRef space = SpaceOfCurve(cmsBuildGamma(nullptr, 2.2));
    const std::vector<float> light = Light(Pixel(space, {51, 102, 204, 255}));
    EXPECT_NEAR(light[0], std::pow(0.2, 2.2), kTolerance);
    EXPECT_NEAR(light[1], std::pow(0.4, 2.2), kTolerance);
    EXPECT_NEAR(light[2], std::pow(0.8, 2.2), kTolerance);
    EXPECT_EQ(BytesIn(space, Pixel(space, {51, 102, 204, 255})), (std::vector<std::uint8_t>{51, 102, 204, 255}));
}

// Most sRGB pictures carry a profile that stores the curve as a table.
TEST(ColorMatchingTest, ProfileOfSRGBConvertsLikeTheNamedSpace) {
    std::vector<cmsUInt16Number> table;
    for (int index = 0; index < 1024; ++index) {
        const double value = index / 1023.0;
        const double light = value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
        table.push_back(static_cast<cmsUInt16Number>(std::lround(65535 * light)));
    }
    CGColorSpaceRef space = SpaceOfCurve(cmsBuildTabulatedToneCurve16(nullptr, 1024, table.data()));
    const std::vector<std::uint8_t> pixel = {13, 130, 201, 77};
    EXPECT_EQ(Light(Pixel(space, pixel)), Light(Pixel(Named(kCGColorSpaceSRGB), pixel)));
    EXPECT_EQ(Light(Pixel(SpaceOfCurve(cmsBuildGamma(nullptr, 1)), pixel)),
              Light(Pixel(Named(kCGColorSpaceLinearSRGB), pixel)));
}

TEST(ColorMatchingTest, GraySpacesUseTheRedChannelForAll) {
    CGColorSpaceRef gray = SpaceOfCurve(cmsBuildGamma(nullptr, 2.2), /*isGray=*/true);
    EXPECT_EQ(CGColorSpaceGetModel(gray), kCGColorSpaceModelMonochrome);
    const std::vector<float> light = Light(FloatPixel(gray, {0.4f, 0, 0.9f, 1}));
    for (std::size_t channel = 0; channel < 3; ++channel) EXPECT_NEAR(light[channel], std::pow(0.4, 2.2), kTolerance);
    const std::vector<std::uint8_t> bytes = BytesIn(gray, ImageOfFloats(1, 1, {0.5f, 0.5f, 0.5f, 1}));
    const auto level = static_cast<std::uint8_t>(std::lround(255 * std::pow(0.5, 1 / 2.2)));
    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{level, level, level, 255}));
}

TEST(ColorMatchingTest, CalibratedSpaceFollowsItsParameters) {
    const CGFloat white[] = {(CGFloat)0.9505, 1, (CGFloat)1.0890}, gamma[] = {2, 2, 2};
    const CGFloat matrix[] = {(CGFloat)0.4124, (CGFloat)0.2126, (CGFloat)0.0193, (CGFloat)0.3576, (CGFloat)0.7152,
                              (CGFloat)0.1192, (CGFloat)0.1805, (CGFloat)0.0722, (CGFloat)0.9505};
    id space = [(id)CGColorSpaceCreateCalibratedRGB(white, nullptr, gamma, matrix) autorelease];
    const std::vector<float> light = Light(Pixel((CGColorSpaceRef)space, {51, 102, 204, 255}));
    EXPECT_NEAR(light[0], 0.04, 1e-3);
    EXPECT_NEAR(light[1], 0.16, 1e-3);
    EXPECT_NEAR(light[2], 0.64, 1e-3);
    const CGFloat zeros[] = {0, 0, 0};
    EXPECT_EQ(CGColorSpaceCreateCalibratedRGB(zeros, nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(CGColorSpaceCreateCalibratedRGB(white, nullptr, zeros, nullptr), nullptr);
    EXPECT_EQ(CGColorSpaceCreateCalibratedRGB(white, nullptr, gamma, zeros), nullptr);
    EXPECT_EQ(CGColorSpaceCreateCalibratedGray(white, nullptr, 0), nullptr);
}

TEST(ColorMatchingTest, BrokenProfilesGiveNull) {
    EXPECT_EQ(CGColorSpaceCreateWithICCData(nullptr), nullptr);
    EXPECT_EQ(CGColorSpaceCreateWithICCData((CFDataRef)[NSData data]), nullptr);
    FileBytes cut = ProfileOf(Named(kCGColorSpaceDisplayP3));
    cut.resize(cut.size() / 2);
    EXPECT_EQ(CGColorSpaceCreateWithICCData((CFDataRef)[NSData dataWithBytes:cut.data() length:100]), nullptr);
    id space =
        [(id)CGColorSpaceCreateWithICCData((CFDataRef)[NSData dataWithBytes:cut.data() length:cut.size()]) autorelease];
    if (space != nil) EXPECT_EQ(Light(Pixel((CGColorSpaceRef)space, {255, 0, 0, 255}))[3], 1);
}

// Samples halfway between a black and a gray pixel of a wide space: the result is the mean of the encoded values.
TEST(ColorMatchingTest, InterpolationUsesEncodedValuesInAnySpace) {
    NSData* data = [NSData dataWithBytes:"\0\0\0\377\200\200\200\377" length:8];
    CIImage* pair = [CIImage imageWithBitmapData:data
                                     bytesPerRow:8
                                            size:CGSizeMake(2, 1)
                                          format:kCIFormatRGBA8
                                      colorSpace:Named(kCGColorSpaceDisplayP3)];
    CIImage* moved = [pair imageByApplyingTransform:CGAffineTransform{1, 0, 0, 1, (CGFloat)-0.5, 0}];
    EXPECT_NEAR(Light(moved)[1], std::pow((64 / 255.0 + 0.055) / 1.055, 2.4), kTolerance);
}

// The cube's eight texels swap red and blue; it is looked up with Adobe RGB components.
TEST(ColorMatchingTest, ColorCubeIsAppliedInItsOwnSpace) {
    std::vector<float> texels;
    for (int index = 0; index < 8; ++index) {
        for (const int bit : {4, 2, 1}) texels.push_back((index & bit) != 0 ? 1.0f : 0.0f);
        texels.push_back(1);
    }
    CGColorSpaceRef space = Named(kCGColorSpaceAdobeRGB1998);
    CIFilter* filter = FilterOn(@"CIColorCubeWithColorSpace", Pixel(space, {51, 102, 204, 255}));
    [filter setValue:[NSData dataWithBytes:texels.data() length:texels.size() * sizeof(float)] forKey:@"inputCubeData"];
    [filter setValue:[NSNumber numberWithInt:2] forKey:@"inputCubeDimension"];
    [filter setValue:(id)space forKey:@"inputColorSpace"];
    EXPECT_EQ(BytesIn(space, [filter outputImage]), (std::vector<std::uint8_t>{204, 102, 51, 255}));
    [filter setValue:(id)Named(kCGColorSpaceGenericGray) forKey:@"inputColorSpace"];
    EXPECT_EQ([filter outputImage], nil);
}

TEST(ColorMatchingTest, WithoutAWorkingSpaceFiltersSeeTheStoredValues) {
    NSDictionary* options = [NSDictionary dictionaryWithObject:[NSNull null] forKey:kCIContextWorkingColorSpace];
    CIContext* unmatched = [CIContext contextWithOptions:options];
    const auto inverted = [&](CFStringRef name) {
        CIImage* image = [FilterOn(@"CIColorInvert", Pixel(Named(name), {100, 30, 0, 255})) outputImage];
        std::vector<std::uint8_t> pixel(4);
        [unmatched render:image
                 toBitmap:pixel.data()
                 rowBytes:4
                   bounds:kOnePixel
                   format:kCIFormatRGBA8
               colorSpace:Named(name)];
        return pixel;
    };
    const std::vector<std::uint8_t> expected = {155, 225, 255, 255};
    EXPECT_EQ(inverted(kCGColorSpaceSRGB), expected);
    EXPECT_EQ(inverted(kCGColorSpaceDisplayP3), expected);
    CIImage* image = [FilterOn(@"CIColorInvert", Pixel(Named(kCGColorSpaceSRGB), {100, 30, 0, 255})) outputImage];
    EXPECT_NE(BytesIn(Named(kCGColorSpaceSRGB), image), expected);
}

// Returns the bytes of an image in a space, rendered with a working space.
std::vector<std::uint8_t> BytesWorkingIn(CFStringRef working, CFStringRef space, CIImage* image) {
    NSDictionary* options = [NSDictionary dictionaryWithObject:(id)Named(working) forKey:kCIContextWorkingColorSpace];
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>([image extent].size.width) * 4);
    [[CIContext contextWithOptions:options] render:image
                                          toBitmap:pixels.data()
                                          rowBytes:static_cast<ptrdiff_t>(pixels.size())
                                            bounds:[image extent]
                                            format:kCIFormatRGBA8
                                        colorSpace:Named(space)];
    return pixels;
}

TEST(ColorMatchingTest, FiltersSeeTheNumbersOfTheWorkingSpace) {
    CIImage* image = [FilterOn(@"CIColorInvert", Pixel(Named(kCGColorSpaceSRGB), {100, 30, 0, 255})) outputImage];
    EXPECT_EQ(BytesWorkingIn(kCGColorSpaceSRGB, kCGColorSpaceSRGB, image),
              (std::vector<std::uint8_t>{155, 225, 255, 255}));
    EXPECT_EQ(BytesWorkingIn(kCGColorSpaceLinearSRGB, kCGColorSpaceSRGB, image),
              BytesIn(Named(kCGColorSpaceSRGB), image));
    CIImage* wide = [FilterOn(@"CIColorInvert", Pixel(Named(kCGColorSpaceDisplayP3), {100, 30, 0, 255})) outputImage];
    EXPECT_EQ(BytesWorkingIn(kCGColorSpaceDisplayP3, kCGColorSpaceDisplayP3, wide),
              (std::vector<std::uint8_t>{155, 225, 255, 255}));
}

TEST(ColorMatchingTest, PictureSurvivesAnyWorkingSpace) {
    const std::vector<std::uint8_t> bytes = {100, 30, 0, 255};
    for (CFStringRef own : {kCGColorSpaceSRGB, kCGColorSpaceDisplayP3}) {
        for (CFStringRef working : {kCGColorSpaceSRGB, kCGColorSpaceLinearSRGB, kCGColorSpaceDisplayP3})
            EXPECT_EQ(BytesWorkingIn(working, own, Pixel(Named(own), bytes)), bytes);
    }
}

TEST(ColorMatchingTest, MovedPicturesAreInterpolatedInTheWorkingSpace) {
    // Moved by half a pixel, between black and white: half of the encoded number.
    const std::vector<std::uint8_t> bytes = {0, 0, 0, 255, 255, 255, 255, 255};
    CIImage* picture = [CIImage imageWithBitmapData:[NSData dataWithBytes:bytes.data() length:bytes.size()]
                                        bytesPerRow:8
                                               size:CGSizeMake(2, 1)
                                             format:kCIFormatRGBA8
                                         colorSpace:Named(kCGColorSpaceSRGB)];
    CIImage* moved =
        [[picture imageByApplyingTransform:{1, 0, 0, 1, (CGFloat)0.5, 0}] imageByCroppingToRect:CGRectMake(1, 0, 1, 1)];
    const std::vector<std::uint8_t> pixel = BytesWorkingIn(kCGColorSpaceSRGB, kCGColorSpaceSRGB, moved);
    EXPECT_NEAR(pixel[0], 128, 1);
    EXPECT_EQ(pixel[3], 255);
}

TEST(ColorMatchingTest, ColorSpaceOptionReplacesTheSpaceOfTheBitmap) {
    NSData* data = [NSData dataWithBytes:"\377\0\0\377" length:4];
    CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)data);
    CGImageRef bitmap = CGImageCreate(1, 1, 8, 32, 4, Named(kCGColorSpaceSRGB), kCGImageAlphaLast, provider, nullptr,
                                      false, kCGRenderingIntentDefault);
    const auto light = [&](id space) {
        return Light([CIImage imageWithCGImage:bitmap
                                       options:[NSDictionary dictionaryWithObject:space forKey:kCIImageColorSpace]]);
    };
    EXPECT_NEAR(light((id)Named(kCGColorSpaceDisplayP3))[0], kRedOfP3[0], kTolerance);
    EXPECT_EQ(light([NSNull null]), (std::vector<float>{1, 0, 0, 1}));
    CGImageRelease(bitmap);
    CGDataProviderRelease(provider);
}

// Returns the linear floats of the pixel in a file.
std::vector<float> LightOfFile(const FileBytes& file) {
    return Light([CIImage imageWithData:[NSData dataWithBytes:file.data() length:file.size()]]);
}

TEST(ColorMatchingTest, ProfileOfAPNGOverridesItsGamma) {
    HandmadePNG png;
    png.rows = {{255, 0, 0, 255}};
    png.profile = ProfileOf(Named(kCGColorSpaceDisplayP3));
    png.gamma = {0, 1, 0x86, 0xa0};  // 1
    const std::vector<float> light = LightOfFile(png.Bytes());
    for (std::size_t channel = 0; channel < 3; ++channel) EXPECT_NEAR(light[channel], kRedOfP3[channel], kTolerance);
    png.rows = {{128, 128, 128, 255}};
    EXPECT_NEAR(LightOfFile(png.Bytes())[0], std::pow((128 / 255.0 + 0.055) / 1.055, 2.4), kTolerance);
}

TEST(ColorMatchingTest, GrayPNGIsConvertedByItsProfile) {
    HandmadePNG png;
    png.colorType = kGray;
    png.rows = {{102}};
    png.profile = ProfileOf(SpaceOfCurve(cmsBuildGamma(nullptr, 1), /*isGray=*/true));
    // The file is converted to 8-bit levels, hence the tolerance.
    EXPECT_NEAR(LightOfFile(png.Bytes())[1], 0.4, 0.003);
}

TEST(ColorMatchingTest, BrokenProfileInAFileIsIgnored) {
    HandmadePNG png;
    png.rows = {{128, 0, 0, 255}};
    const std::vector<float> plain = LightOfFile(png.Bytes());
    png.profile = FileBytes(200, 7);
    EXPECT_EQ(LightOfFile(png.Bytes()), plain);
}

TEST(ColorMatchingTest, FilesKeepTheSpaceOfTheirBitmap) {
    NSDictionary* options = [NSDictionary dictionaryWithObject:(id)Named(kCGColorSpaceDisplayP3)
                                                        forKey:kCIContextOutputColorSpace];
    std::vector<float> pixels;
    for (int index = 0; index < 64; ++index) pixels.insert(pixels.end(), {1.2249401f, -0.0420569f, -0.0196376f, 1});
    CGImageRef bitmap = [[CIContext contextWithOptions:options] createCGImage:ImageOfFloats(8, 8, pixels)
                                                                     fromRect:CGRectMake(0, 0, 8, 8)];
    EXPECT_EQ(CGImageGetColorSpace(bitmap), Named(kCGColorSpaceDisplayP3));
    for (CFStringRef type : {CFSTR("public.png"), CFSTR("public.jpeg")}) {
        NSMutableData* file = [NSMutableData data];
        CGImageDestinationRef destination = CGImageDestinationCreateWithData((CFMutableDataRef)file, type, 1, nullptr);
        CGImageDestinationAddImage(destination, bitmap, nullptr);
        EXPECT_TRUE(CGImageDestinationFinalize(destination));
        CFRelease(destination);
        // JPEG compression changes values by a few levels.
        EXPECT_NEAR(Light([CIImage imageWithData:file])[0], kRedOfP3[0], 0.03) << Text((NSString*)type);
        EXPECT_NEAR(Light([CIImage imageWithData:file])[1], kRedOfP3[1], 0.01) << Text((NSString*)type);
    }
    CGImageRelease(bitmap);
}

TEST(ColorMatchingTest, BitmapsNeedAnRGBSpaceAndAKnownFormat) {
    CIContext* context = [CIContext contextWithOptions:nil];
    CIImage* image = ImageOfFloats(1, 1, {1, 1, 1, 1});
    const auto create = [&](CIFormat format, CGColorSpaceRef space) {
        return [context createCGImage:image fromRect:kOnePixel format:format colorSpace:space];
    };
    EXPECT_EQ(create(kCIFormatRGBA8, Named(kCGColorSpaceGenericGray)), nullptr);
    EXPECT_EQ(create(kCIFormatRGBA8, nullptr), nullptr);
    EXPECT_EQ(create(/*format=*/5, Named(kCGColorSpaceSRGB)), nullptr);
}

}  // namespace
