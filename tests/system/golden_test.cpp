// golden_test.cpp - renders every reference case through the properties of the module's classes, and compares the
// pictures.
//
// The test prints a table with one line per case: the difference from the reference, the bound, and whether the case
// holds. A case without a bound fails.

#include "golden_cases.h"
#include "lossy_coding.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "tests/system/rendered_case.h"
#include "tests/system/session.h"

namespace {

// The largest allowed difference of a case, in 8-bit levels.
struct Bound {
    const char* name;  // of the case, without the folder of cases that it may be in
    double rms;
    double largest = 255;
    enum class How { kUsual, kTints, kUnmatched };
    // kTints: only tints are compared, see CompareTints. kUnmatched: without a working space, because the reference was
    // made by a version that filters encoded values.
    How how = How::kUsual;
};

// clang-format off
const Bound kBounds[] = {
    // case                        rms     largest
    {"CIAdditionCompositing-1",    0.78,   5},
    {"CIBarsSwipeTransition-1",    0.143,  1},
    {"CIBlendWithAlphaMask-1",     0.25,   3},
    // That version blurred encoded values but added light, which golden_glow_test.cpp does too.
    {"CIBloom-1",                  3.03,   66.3, Bound::How::kUnmatched},
    {"CIBoxBlur-1",                0.42,   2},
    {"CIBumpDistortion-1",         0.01,   1},
    {"CIBumpDistortionLinear-2",   2.21},
    {"CICheckerboardGenerator-1",  0,      0},
    {"CICheckerboardGenerator-2",  0,      0},
    {"CICircularScreen-1",         0.039,  1},
    {"CICircularWrap-1",           4.94},
    {"CICMYKHalftone-1",           9.62},
    {"CIColorBurnBlendMode-1",     0.91,   14},
    {"CIColorClamp-1",             0,      0},
    {"CIColorControls-1",          0.013,  1},
    {"CIColorCube-1",              0.02,   1},
    {"CIColorInvert-1",            0.91,   3},
    {"CIColorMap-1",               0.69,   6},
    {"CIColorMatrix-1",            1.43,   4},
    {"CIColorMonochrome-2",        1.17,   3},
    {"CIColorPosterize-1",         0,      0},
    {"CIComicEffect-1",            24.57},
    {"CIConvolution3X3-1",         1.69,   22.1, Bound::How::kUnmatched},
    {"CIConvolution9Horizontal-1", 0.832,  9.1, Bound::How::kUnmatched},
    {"CICopyMachineTransition-1",  0.0013, 1},
    {"CIDifferenceBlendMode-1",    1.04,   4},
    {"CIDissolveTransition-1",     0.0013, 1},
    {"CIDotScreen-2",              8.58},
    {"CIEightfoldReflectedTile-1", 0,      0},
    {"CIEightfoldReflectedTile-2", 0,      0},
    {"CIFalseColor-1",             1.04,   3},
    {"CIFlashTransition-1",        1.22,   8, Bound::How::kTints},  // its white rays are random
    {"CIFourfoldReflectedTile-2",  0,      0},
    {"CIFourfoldRotatedTile-1",    0,      0},
    {"CIGaussianBlur-1",           0.468,  3.25},
    {"CIGaussianGradient-1",       0.455,  3},
    {"CIGlassLozenge-1",           5.2},
    {"CIGlideReflectedTile-2",     0,      0},
};
// clang-format on

// A case that is not compared pixel by pixel, and the reason.
struct Exception {
    const char* name;
    const char* reason;
};

const Exception kExceptions[] = {
    {"CICrystallize-1", "its seeds are random; GoldenLawTest compares the law"},
    {"CIEdgeWork-1", "noise of the input decides its sky; GoldenLawTest compares the drawing"},
    {"CIGlideReflectedTile-1", "a version without the reflection; contradicts CIGlideReflectedTile-2"},
};

// Returns the row of a case; null when there is none.
template <class Row, std::size_t kCount>
const Row* RowOf(const Row (&rows)[kCount], const std::string& name) {
    const std::string own = name.substr(name.rfind('/') + 1);
    const auto* row = std::find_if(rows, rows + kCount, [&](const Row& one) { return one.name == own; });
    return row == rows + kCount ? nullptr : row;
}

// Compares the image of a case with its reference. Empty when the reference cannot be read or the sizes differ.
std::optional<golden::Difference> DifferenceOf(Session& session, const host::Value& image,
                                               const golden::Case& reference, const Bound& bound) {
    const auto expected = golden::PictureOfFile(reference.outputPath);
    if (!expected.has_value()) return std::nullopt;
    if (reference.isRender) {
        std::optional<golden::Picture> picture =
            PictureOf(session, image, reference, bound.how != Bound::How::kUnmatched);
        if (reference.lossy.has_value()) picture = golden::Coded(*picture, *reference.lossy);
        if (!picture.has_value()) return std::nullopt;
        return bound.how == Bound::How::kTints ? golden::CompareTints(*picture, *expected)
                                               : golden::Compare(*picture, *expected);
    }
    golden::Case whole = reference;
    whole.width = reference.view.width;
    whole.height = reference.view.height;
    return golden::CompareView(PictureOf(session, image, whole), *expected, reference.view);
}

// Renders a case and prints its line. Returns whether the difference is within the bound.
bool Holds(Session& session, const std::string& name) {
    if (const Exception* exception = RowOf(kExceptions, name)) {
        std::printf("%-40s  not compared: %s\n", name.c_str(), exception->reason);
        return true;
    }
    const auto reference = golden::ReadCase(name);
    const host::Value image = reference.has_value() ? Rendered(session, *reference) : host::Value();
    const Bound* bound = RowOf(kBounds, name);
    std::printf("%-40s", name.c_str());
    if (!reference.has_value() || IsNil(image) || bound == nullptr) {
        std::puts(!reference.has_value() ? "  invalid case.json" : IsNil(image) ? "  no image" : "  no bound");
        return false;
    }
    const auto difference = DifferenceOf(session, image, *reference, *bound);
    const bool holds = difference.has_value() && difference->rms <= bound->rms && difference->largest <= bound->largest;
    if (difference.has_value()) {
        std::printf("  %8.4f  %8.4f  %7.2f  %7.2f", difference->rms, bound->rms, difference->largest, bound->largest);
    }
    std::puts(holds ? "  holds" : "  FAILS");
    return holds;
}

TEST(GoldenTest, EveryCaseIsWithinItsBound) {
    if (!golden::IsPresent()) {
        GTEST_SKIP() << "no reference renders in " << golden::Folder() << "; nothing was compared";
    }
    const std::vector<std::string> names = golden::CaseNames();
    ASSERT_FALSE(names.empty());
    Session session;
    std::printf("%-40s  %8s  %8s  %7s  %7s\n", "case", "rms", "bound", "largest", "bound");
    for (const std::string& name : names) EXPECT_TRUE(Holds(session, name)) << name;
    EXPECT_EQ(Session::reports, std::vector<std::string>{});
}

}  // namespace
