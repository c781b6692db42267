// memory_test.mm - renders a large image in a process whose address space is limited to one gigabyte.
//
// The picture and the result have 100 megapixels of bytes each, together 763 MB. The rest has to suffice for the
// program, its libraries and everything that the engine holds while it renders. A picture of floats would take 1526
// MB, so the engine can never hold one, nor a fifth of one. The limit on addresses also counts memory that is
// reserved but not used.

#import <CoreImage/CoreImage.h>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

constexpr std::size_t kEdge = 10000;
constexpr std::size_t kBytesPerRow = kEdge * 4;
constexpr rlim_t kAddressLimit = rlim_t{1} << 30;

// Returns memory for the whole picture; null when the limit is exceeded.
std::uint8_t* MapPicture() {
    void* memory = mmap(nullptr, kEdge * kBytesPerRow, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(memory);
}

CIImage* Filtered(NSString* name, CIImage* image, NSString* key, double value) {
    CIFilter* filter = [CIFilter filterWithName:name];
    [filter setValue:image forKey:kCIInputImageKey];
    [filter setValue:[NSNumber numberWithDouble:value] forKey:key];
    return [filter outputImage];
}

// Brightens, blurs, applies a power to, and darkens a gray ramp that rises from left to right.
TEST(MemoryTest, ChainOfFiltersOnAHundredMegapixelsRendersInOneGigabyteOfAddresses) {
    const rlimit limit = {kAddressLimit, kAddressLimit};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
    std::uint8_t* const picture = MapPicture();
    std::uint8_t* const result = MapPicture();
    ASSERT_NE(picture, nullptr);
    ASSERT_NE(result, nullptr);
    for (std::size_t x = 0; x < kEdge; ++x) {
        std::fill_n(picture + 4 * x, 3, static_cast<std::uint8_t>(x * 200 / kEdge));
        picture[4 * x + 3] = 255;
    }
    for (std::size_t y = 1; y < kEdge; ++y) std::memcpy(picture + y * kBytesPerRow, picture, kBytesPerRow);

    CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    NSData* data = [NSData dataWithBytesNoCopy:picture length:kEdge * kBytesPerRow freeWhenDone:NO];
    CIImage* image = [CIImage imageWithBitmapData:data
                                      bytesPerRow:kBytesPerRow
                                             size:CGSizeMake(kEdge, kEdge)
                                           format:kCIFormatRGBA8
                                       colorSpace:space];
    image = Filtered(@"CIExposureAdjust", image, @"inputEV", 0.5);
    image = Filtered(@"CIGaussianBlur", image, @"inputRadius", 10);
    image = Filtered(@"CIGammaAdjust", image, @"inputPower", 1.5);
    image = [Filtered(@"CIExposureAdjust", image, @"inputEV", -1) imageByCroppingToRect:CGRectMake(0, 0, kEdge, kEdge)];
    [[CIContext contextWithOptions:nil] render:image
                                      toBitmap:result
                                      rowBytes:kBytesPerRow
                                        bounds:CGRectMake(0, 0, kEdge, kEdge)
                                        format:kCIFormatRGBA8
                                    colorSpace:space];
    CGColorSpaceRelease(space);

    // Away from the edges of the picture the blur leaves the ramp unchanged.
    for (const std::size_t y : {std::size_t{100}, kEdge / 2, kEdge - 100}) {
        for (const std::size_t x : {std::size_t{2025}, kEdge / 2 + 25, kEdge - 75}) {
            const double code = static_cast<double>(picture[4 * x]) / 255;
            const double light = std::pow((code + 0.055) / 1.055, 2.4);
            const double shown = 0.5 * std::pow(light * std::exp2(0.5), 1.5);
            const double expected = 255 * (1.055 * std::pow(shown, 1 / 2.4) - 0.055);
            EXPECT_NEAR(result[y * kBytesPerRow + 4 * x], expected, 1) << x << " " << y;
            EXPECT_EQ(result[y * kBytesPerRow + 4 * x + 3], 255);
        }
    }
}

}  // namespace
