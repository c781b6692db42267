// glow_test.cpp - bloom and gloom against their formula in doubles, and what must hold of them for any image.

#include "blur/slow_blur.h"

namespace {

using namespace oracle;

// The image of one of the two.
ImageRef Glow(const char* filter, const ImageRef& input, double radius, double intensity) {
    return Output(filter, input, {{"inputRadius", {radius}}, {"inputIntensity", {intensity}}});
}

TEST(GlowTest, MovesTowardsTheBlurredImageWhereThatIsMoreOrLess) {
    Random random;
    for (const double radius : {0.4, 1.7, 3.9, 4.0, 7.3}) {
        const Source source = RandomSource(random);
        const double intensity = random.Between(0, 2);
        const Region region = source.region.GrownBy(static_cast<std::int64_t>(std::ceil(3 * radius)));
        const Slow plain = [&](auto x, auto y, auto channel) { return source.At(x, y, channel); };
        const SlowGaussian blurred(plain, radius, region);
        for (const bool isBloom : {true, false}) {
            const ImageRef image = Glow(isBloom ? "CIBloom" : "CIGloom", source.image, radius, intensity);
            EXPECT_EQ(image->GetExtent(), Extent::Of(region));
            ExpectPixels(image, region, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
                const double own = plain(x, y, channel), more = blurred(x, y, channel) - own;
                return own + intensity * (isBloom ? std::max(more, 0.0) : std::min(more, 0.0));
            });
        }
    }
}

TEST(GlowTest, OfALoneDotIsThatOfTheBellCurve) {
    // The middle of a Gaussian of sigma 1 over a dot: (1 / 2.506628)^2, as sampled 0.3989423^2.
    const ImageRef dot = SourceOf({0, 0, 1, 1}, {1, 1, 1, 1}).image;
    const double middle = 0.3989423 * 0.3989423, beside = middle * std::exp(-0.5);
    const std::vector<float> gloom = Pixels(Glow("CIGloom", dot, 1, 0.5), {0, 0, 2, 1});
    EXPECT_NEAR(gloom[0], 1 + 0.5 * (middle - 1), 1e-5);
    EXPECT_NEAR(gloom[4], 0, 1e-7);
    const std::vector<float> bloom = Pixels(Glow("CIBloom", dot, 1, 0.5), {0, 0, 2, 1});
    EXPECT_EQ(bloom[0], 1);
    EXPECT_NEAR(bloom[4], 0.5 * beside, 1e-5);
}

TEST(GlowTest, WithoutRadiusOrIntensityIsTheVeryInput) {
    const ImageRef image = RandomImage(5, 3);
    for (const char* filter : {"CIBloom", "CIGloom"}) {
        EXPECT_EQ(Glow(filter, image, 0, 1), image);
        EXPECT_EQ(Glow(filter, image, -3, 1), image);
        EXPECT_EQ(Glow(filter, image, 10, 0), image);
        EXPECT_EQ(Glow(filter, image, std::nan(""), 1), image);
    }
}

}  // namespace
