// golden_test.cpp - reference renders made again through the module: everything by the class's properties, as a program would.

#include "golden_cases.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>

#include "host/memory_block.h"
#include "tests/system/session.h"

namespace {

// How near a case must come, in 8-bit levels.
struct Bound {
    const char* name;
    double rms;
    double largest;
    bool isTint = false;  // only differences between colours are compared
};

// clang-format off
const Bound kBounds[] = {
    // case                      rms   largest
    {"CIAdditionCompositing-1",   0.78, 5},
    {"CIBarsSwipeTransition-1",   0.143, 1},
    {"CIBlendWithAlphaMask-1",    0.25, 3},
    {"CIBoxBlur-1",               0.42, 2},
    {"CICheckerboardGenerator-1", 0,    0},
    {"CIColorBurnBlendMode-1",    0.91, 14},
    {"CIColorClamp-1",            0.02, 1},
    {"CIColorControls-1",         0.02, 1},
    {"CIColorCube-1",             0.02, 1},
    {"CIColorInvert-1",           0.91, 3},
    {"CIColorMap-1",              0.69, 6},
    {"CIColorMatrix-1",           1.43, 4},
    {"CIColorMonochrome-2",       1.17, 3},
    {"CIColorPosterize-1",        0.02, 1},
    {"CICopyMachineTransition-1", 0.0013, 1},
    {"CIDifferenceBlendMode-1",   1.04, 4},
    {"CIDissolveTransition-1",    0.0013, 1},
    {"CIFalseColor-1",            1.04, 3},
    {"CIFlashTransition-1",       1.22, 8, /*isTint=*/true},  // its rays are white, and noise
    {"CIGaussianBlur-1",          0.6,  4},
    // Not CIConvolution3X3-1 and CIConvolution9Horizontal-1: they were made by a version that weighed encoded values.
};
// clang-format on

// Numbers as raw floats in a block of memory.
host::Value MemoryBlockOf(const std::vector<double>& numbers) {
    const std::vector<float> floats(numbers.begin(), numbers.end());
    const std::size_t size = floats.size() * sizeof(float);
    const host::ObjectReference block = host::NewMemoryBlock(static_cast<std::int32_t>(size));
    std::memcpy(reinterpret_cast<ZEVAmemoryBlockStruct*>(block.Get())->bytes, floats.data(), size);
    return block;
}

// An input as the host value that its property takes.
host::Value ValueOf(Session& session, const std::string& key, const golden::Parameter& parameter) {
    if (key == "inputCubeData") return MemoryBlockOf(parameter.numbers);
    switch (parameter.kind) {
        case golden::Parameter::Kind::number:
            return parameter.numbers[0];
        case golden::Parameter::Kind::image:
            return session.Open(parameter.imagePath);
        case golden::Parameter::Kind::color: {
            const std::vector<host::Value> components(parameter.numbers.begin(), parameter.numbers.end());
            return session.runtime.CallShared("CIColorQOR", "RGBA", components);
        }
        case golden::Parameter::Kind::vector:
            break;
    }
    std::string list;
    for (const double number : parameter.numbers) list += host::NumberText(number) + " ";
    const host::Value arguments[] = {host::TextValue(list)};
    return session.runtime.CallShared("CIVectorQOR", "FromNumbers", arguments);
}

// The image that the steps of a case come to.
host::Value Rendered(Session& session, const golden::Case& reference) {
    host::Value image;
    for (const golden::Step& step : reference.steps) {
        const host::Value filter = session.New("CIFilter" + step.filter.substr(2) + "QOR");
        if (!IsNil(image)) session.Set(filter, "inputImage", image);
        for (const auto& [key, parameter] : step.parameters) session.Set(filter, key, ValueOf(session, key, parameter));
        image = session.Get(filter, "outputImage");
    }
    return image;
}

// The picture of the case's rectangle: what the image has of it, saved and read back, on transparent ground.
golden::Picture PictureOf(Session& session, const host::Value& image, const golden::Case& reference) {
    const double width = static_cast<double>(reference.width), height = static_cast<double>(reference.height);
    const host::Value rectangle = session.Rectangle(reference.originX, reference.originY, width, height);
    const host::Value cut = session.Call(image, "Crop", {rectangle});
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("golden-" + std::to_string(getpid()) + ".png");
    session.Call(cut, "Save", {host::TextValue(file.string())});
    const auto saved = golden::PictureOfFile(file.string());
    std::filesystem::remove(file);
    const host::Value extent = session.Get(cut, "Extent");
    const auto edge = [&](int index) {
        return std::get<double>(session.Call(extent, "ValueAt", {std::int32_t{index}}));
    };
    const auto left = static_cast<std::size_t>(edge(0) - reference.originX);
    const auto top = reference.height - static_cast<std::size_t>(edge(1) - reference.originY) - saved->height;
    golden::Picture picture{reference.width, reference.height, {}};
    picture.pixels.resize(4 * reference.width * reference.height);
    for (std::size_t row = 0; row < saved->height; ++row) {
        const auto* from = &saved->pixels[4 * row * saved->width];
        std::copy(from, from + 4 * saved->width, &picture.pixels[4 * ((top + row) * reference.width + left)]);
    }
    return picture;
}

class GoldenTest : public testing::TestWithParam<Bound> {};

TEST_P(GoldenTest, RenderThroughTheModuleIsWithinItsBound) {
    if (!golden::IsPresent()) {
        GTEST_SKIP() << GetParam().name << ": no reference renders in " << golden::Folder() << ", not compared";
    }
    const auto reference = golden::ReadCase(GetParam().name);
    ASSERT_TRUE(reference.has_value());
    const auto expected = golden::PictureOfFile(reference->outputPath);
    ASSERT_TRUE(expected.has_value());
    Session session;
    const host::Value image = Rendered(session, *reference);
    std::optional<golden::Difference> difference;
    if (reference->isRender) {
        const auto compare = GetParam().isTint ? golden::CompareTints : golden::Compare;
        difference = compare(PictureOf(session, image, *reference), *expected);
    } else {
        golden::Case whole = *reference;
        whole.width = reference->view.width;
        whole.height = reference->view.height;
        difference = golden::CompareView(PictureOf(session, image, whole), *expected, reference->view);
    }
    ASSERT_TRUE(difference.has_value());
    std::printf("%-28s rms %.3f, largest %.0f\n", GetParam().name, difference->rms, difference->largest);
    EXPECT_LE(difference->rms, GetParam().rms);
    EXPECT_LE(difference->largest, GetParam().largest);
    EXPECT_EQ(Session::reports, std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(Cases, GoldenTest, testing::ValuesIn(kBounds), [](const auto& test) {
    std::string name = test.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

}  // namespace
