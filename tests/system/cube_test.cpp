// cube_test.cpp - a color cube goes from a MemoryBlock into a filter and back, and colors a picture.

#include "golden_cases.h"

#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "host/runtime/memory_block.h"
#include "tests/system/session.h"

namespace {

// A cube with two steps per side that swaps red and blue. Red varies fastest.
using Cube = std::array<float, 2 * 2 * 2 * 4>;

Cube SwappedRedAndBlue() {
    Cube cube;
    for (std::size_t i = 0; i < 8; ++i) {
        const float red = i & 1 ? 1.0f : 0.0f, green = i & 2 ? 1.0f : 0.0f, blue = i & 4 ? 1.0f : 0.0f;
        const float texel[] = {blue, green, red, 1.0f};
        std::memcpy(&cube[4 * i], texel, sizeof texel);
    }
    return cube;
}

class CubeTest : public testing::TestWithParam<const char*> {
  protected:
    // Returns the MemoryBlock in a value.
    static ZEVAmemoryBlockStruct* BlockIn(const host::Value& value) {
        return reinterpret_cast<ZEVAmemoryBlockStruct*>(ObjectOf(value));
    }

    static host::Value BlockOf(const Cube& cube) {
        const host::Value block = host::NewMemoryBlock(static_cast<std::int32_t>(sizeof cube));
        std::memcpy(BlockIn(block)->bytes, cube.data(), sizeof cube);
        return block;
    }

    // Saves the lower left pixel of an image, and returns it.
    std::array<int, 4> PixelOf(const host::Value& image) {
        const auto file = std::filesystem::temp_directory_path() / ("cube-" + std::to_string(getpid()) + ".png");
        session.Call(session.Call(image, "Crop", {session.Rectangle(0, 0, 1, 1)}), "Save",
                     {host::TextValue(file.string())});
        const auto picture = golden::PictureOfFile(file.string());
        std::filesystem::remove(file);
        const auto& bytes = picture->pixels;
        return {bytes[0], bytes[1], bytes[2], bytes[3]};
    }

    Session session;
};

TEST_P(CubeTest, CopiesTheCubeInAndOutAndColorsThePicture) {
    const host::Value generator = session.New("CIFilterConstantColorGeneratorQOR");
    const std::vector<host::Value> orange{1.0, 0.5, 0.0, 1.0};
    session.Set(generator, "inputColor", session.runtime.CallShared("CIColorQOR", "RGBA", orange));
    const host::Value filter = session.New(GetParam()), block = BlockOf(SwappedRedAndBlue());
    session.Set(filter, "inputImage", session.Get(generator, "outputImage"));
    session.Set(filter, "inputCubeDimension", 2.0);
    session.Set(filter, "inputCubeData", block);
    std::memset(BlockIn(block)->bytes, 0, sizeof(Cube));  // must not change the filter, which has copied the bytes
    const host::Value readBack = session.Get(filter, "inputCubeData");
    ASSERT_FALSE(IsNil(readBack));
    EXPECT_NE(ObjectOf(readBack), ObjectOf(block));
    const Cube expected = SwappedRedAndBlue();
    ASSERT_EQ(BlockIn(readBack)->size, static_cast<std::int32_t>(sizeof expected));
    EXPECT_EQ(std::memcmp(BlockIn(readBack)->bytes, expected.data(), sizeof expected), 0);
    const host::Value output = session.Get(filter, "outputImage");
    ASSERT_FALSE(IsNil(output));
    const std::array<int, 4> pixel = PixelOf(output);
    EXPECT_EQ(pixel[0], 0);
    EXPECT_NEAR(pixel[1], 128, 1);
    EXPECT_EQ(pixel[2], 255);
    EXPECT_EQ(pixel[3], 255);
}

INSTANTIATE_TEST_SUITE_P(Filters, CubeTest,
                         testing::Values("CIFilterColorCubeQOR", "CIFilterColorCubeWithColorSpaceQOR"),
                         [](const auto& test) { return test.param; });

}  // namespace
