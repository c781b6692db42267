// golden_cases.h - reads reference renders, and measures the difference between pictures.
//
// The reference renders are in a folder outside the sources, which the environment variable ZEVA_GOLDEN can name.
// Each case is a folder in it, or in a folder of cases within it, with a picture and a file case.json, which lists the
// filters and inputs that made the picture. This library only reads and compares, so that one suite can render a case
// with CIFilter and another one with the module.
//
// Failure: a file that is missing or invalid gives an empty optional, and the test fails.
// Threads: any.

#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace golden {

// The value of one input.
struct Parameter {
    enum class Kind { kNumber, kVector, kColor, kImage };
    Kind kind = Kind::kNumber;
    std::vector<double> numbers;  // one number, the elements of a vector, or red, green, blue and alpha
    std::string imagePath;
};

// One filter with its inputs.
struct Step {
    std::string filter;
    std::map<std::string, Parameter> parameters;
};

// Maps a scaled picture of a render to the render. Pixel (x, y) of the picture, counted from the top left, is at
// (scaleX x + offsetX, scaleY y + offsetY) in a render of width x height pixels.
struct View {
    std::size_t width = 0;
    std::size_t height = 0;
    double scaleX = 1;
    double scaleY = 1;
    double offsetX = 0;
    double offsetY = 0;
};

// How a reference was compressed, with losses, before it became a PNG file: as WebP.
struct Lossy {
    float quality = 0;
    int method = 0;
};

// A reference render.
struct Case {
    std::string name;
    std::vector<Step> steps;  // the output of each step is the inputImage of the next
    bool isRender = false;    // false: the picture is a scaled view of the render
    View view;                // only when isRender is false
    std::optional<Lossy> lossy;
    double originX = 0;  // of the lower left corner of the picture
    double originY = 0;
    std::size_t width = 0;
    std::size_t height = 0;
    std::string outputPath;
};

// 8-bit premultiplied RGBA, top row first.
struct Picture {
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<std::uint8_t> pixels;
};

// In 8-bit levels.
struct Difference {
    double rms = 0;
    double largest = 0;
};

// Returns the folder of the cases, and whether it exists.
[[nodiscard]] std::string Folder();
[[nodiscard]] bool IsPresent();

// Returns the names of all cases, sorted; a case in a folder of cases is named "<folder>/<case>".
[[nodiscard]] std::vector<std::string> CaseNames();

// Reads a case by its name.
[[nodiscard]] std::optional<Case> ReadCase(const std::string& name);

// Read the pixels of a picture file or a bitmap.
[[nodiscard]] std::optional<Picture> PictureOfFile(const std::string& path);
[[nodiscard]] std::optional<Picture> PictureOfImage(CGImageRef image);

// Compares all four channels of two pictures. Empty when the sizes differ.
[[nodiscard]] std::optional<Difference> Compare(const Picture& first, const Picture& second);

// Compares the tints of two pictures: red minus green and green minus blue, in linear light. White light that was
// added to a picture does not change them. Pixels with a color component of 0 or 255 are left out, because they may
// be clipped. Empty when the sizes differ or no pixel is left.
[[nodiscard]] std::optional<Difference> CompareTints(const Picture& first, const Picture& second);

// Compares a scaled picture with a render, only where both are smooth, because edges depend on how the picture was
// scaled. Empty when the render does not have the size of the view, or when nothing is smooth.
[[nodiscard]] std::optional<Difference> CompareView(const Picture& render, const Picture& picture, const View& view);

}  // namespace golden
