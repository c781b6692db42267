// golden_law_test.cpp - compares the law of a render with that of its reference, where chance decides the pixels.
//
// The seeds of a mosaic, the noise of a sky and the specks of paper differ; extents, shares of the picture and the
// colors of its parts must not.

#include "golden_cases.h"
#include "lossy_coding.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/system/rendered_case.h"

namespace {

using golden::Picture;

// Renders one case; skips where there is none.
class GoldenLawTest : public testing::Test {
  protected:
    // Returns whether the case is at hand.
    bool Render(const std::string& name) {
        if (!golden::IsPresent()) return false;
        reference_ = *golden::ReadCase("newer-systems/" + name);
        image_ = Rendered(session_, reference_);
        ours_ = PictureOf(session_, image_, reference_);
        coded_ = *golden::Coded(ours_, *reference_.lossy);
        theirs_ = *golden::PictureOfFile(reference_.outputPath);
        const auto difference = golden::Compare(coded_, theirs_);
        std::printf("%-16s rms %.2f\n", name.c_str(), difference->rms);
        return difference.has_value();
    }

    // Expects that the image is as large as the reference.
    void ExpectExtent() {
        const host::Value extent = session_.Get(image_, "Extent");
        const double expected[] = {reference_.originX, reference_.originY, static_cast<double>(reference_.width),
                                   static_cast<double>(reference_.height)};
        for (std::int32_t index = 0; index < 4; ++index)
            EXPECT_EQ(std::get<double>(session_.Call(extent, "ValueAt", {index})), expected[index]) << index;
    }

    static const std::uint8_t* Pixel(const Picture& picture, std::size_t x, std::size_t y) {
        return &picture.pixels[4 * (y * picture.width + x)];
    }

    // Returns whether a function of the reference's pixels has one value within two pixels of a place.
    template <class Function>
    bool IsEven(std::size_t x, std::size_t y, const Function& function) const {
        const std::size_t left = x < 2 ? 0 : x - 2, top = y < 2 ? 0 : y - 2;
        for (std::size_t row = top; row <= std::min(y + 2, theirs_.height - 1); ++row) {
            for (std::size_t column = left; column <= std::min(x + 2, theirs_.width - 1); ++column)
                if (function(Pixel(theirs_, column, row)) != function(Pixel(theirs_, x, y))) return false;
        }
        return true;
    }

    // Returns the share of places, even in the reference, where a function of both pictures' pixels is the same.
    template <class Function>
    double Agreement(const Function& function) const {
        double count = 0, same = 0;
        for (std::size_t y = 0; y < theirs_.height; ++y) {
            for (std::size_t x = 0; x < theirs_.width; ++x) {
                if (!IsEven(x, y, function)) continue;
                ++count;
                same += function(Pixel(ours_, x, y)) == function(Pixel(theirs_, x, y));
            }
        }
        return same / count;
    }

    // Returns the share of a picture's pixels for which a function of their place holds.
    template <class Function>
    static double Share(const Picture& picture, const Function& function) {
        double count = 0;
        for (std::size_t y = 1; y + 1 < picture.height; ++y)
            for (std::size_t x = 1; x + 1 < picture.width; ++x) count += function(x, y);
        return count / static_cast<double>((picture.width - 2) * (picture.height - 2));
    }

    Session session_;
    golden::Case reference_;
    host::Value image_;
    Picture ours_, coded_, theirs_;
};

#define RENDER_OR_SKIP(name) \
    if (!Render(name)) GTEST_SKIP() << name << ": no reference renders in " << golden::Folder() << "; not compared"

TEST_F(GoldenLawTest, EdgeWorkIsWhiteAndNineTenthsAgreeAwayFromEdges) {
    RENDER_OR_SKIP("CIEdgeWork-1");
    ExpectExtent();
    for (std::size_t index = 0; index < ours_.pixels.size(); index += 4) {
        const std::uint8_t* pixel = &ours_.pixels[index];
        ASSERT_TRUE(pixel[0] == pixel[3] && pixel[1] == pixel[3] && pixel[2] == pixel[3]);
    }
    const double agreement = Agreement([](const std::uint8_t* pixel) { return pixel[3] > 127; });
    std::printf("agreement %.4f\n", agreement);
    EXPECT_GE(agreement, 0.9);
}

TEST_F(GoldenLawTest, CrystallizeHasAsManyCellsWithAsSoftAndRaggedBorders) {
    RENDER_OR_SKIP("CICrystallize-1");
    ExpectExtent();
    // Compression leaves even cells within a few levels.
    const auto isFlat = [](const Picture& picture) {
        return [&picture](std::size_t x, std::size_t y) {
            const std::uint8_t* middle = Pixel(picture, x, y);
            for (const auto* other : {Pixel(picture, x - 1, y), Pixel(picture, x + 1, y), Pixel(picture, x, y - 1),
                                      Pixel(picture, x, y + 1)}) {
                for (int channel = 0; channel < 4; ++channel)
                    if (std::abs(other[channel] - middle[channel]) > 8) return false;
            }
            return true;
        };
    };
    const auto isPartial = [](const Picture& picture) {
        return [&picture](std::size_t x, std::size_t y) {
            const int alpha = Pixel(picture, x, y)[3];
            return alpha > 0 && alpha < 255;
        };
    };
    const auto isOpaque = [](const Picture& picture) {
        return [&picture](std::size_t x, std::size_t y) { return Pixel(picture, x, y)[3] == 255; };
    };
    const auto compare = [](const char* what, double ours, double theirs, double tolerance) {
        std::printf("%-8s %.4f, reference %.4f\n", what, ours, theirs);
        EXPECT_NEAR(ours, theirs, tolerance) << what;
    };
    compare("flat", Share(coded_, isFlat(coded_)), Share(theirs_, isFlat(theirs_)), 0.03);
    compare("partial", Share(coded_, isPartial(coded_)), Share(theirs_, isPartial(theirs_)), 0.004);
    compare("opaque", Share(coded_, isOpaque(coded_)), Share(theirs_, isOpaque(theirs_)), 0.02);
    for (std::size_t channel = 0; channel < 3; ++channel) {
        const auto mean = [&](const Picture& picture) {
            double sum = 0;
            for (std::size_t index = channel; index < picture.pixels.size(); index += 4) sum += picture.pixels[index];
            return sum / static_cast<double>(picture.width * picture.height);
        };
        compare("mean", mean(coded_), mean(theirs_), 4);
    }
}

TEST_F(GoldenLawTest, ComicEffectHasTheTonesAndTheFrameOfTheReference) {
    RENDER_OR_SKIP("CIComicEffect-1");
    ExpectExtent();
    const double agreement = Agreement([](const std::uint8_t* pixel) {
        constexpr int kTones[][3] = {{33, 20, 19}, {235, 58, 42}, {231, 158, 72}, {255, 255, 255}};
        const auto* tone = std::min_element(std::begin(kTones), std::end(kTones), [&](const auto& a, const auto& b) {
            const auto squares = [&](const int* color) {
                int sum = 0;
                for (int channel = 0; channel < 3; ++channel)
                    sum += (pixel[channel] - color[channel]) * (pixel[channel] - color[channel]);
                return sum;
            };
            return squares(a) < squares(b);
        });
        return tone - kTones;
    });
    std::printf("agreement %.4f\n", agreement);
    EXPECT_GE(agreement, 0.98);
    for (const Picture* picture : {&ours_, &theirs_}) {
        double frame = 0;
        for (std::size_t place = 0; place < picture->width; ++place)
            frame += Pixel(*picture, place, 0)[1] + Pixel(*picture, 0, place)[1];
        EXPECT_LT(frame / static_cast<double>(2 * picture->width), 60);
    }
}

}  // namespace
