// golden_cases.h - reference renders: how each was made, and how far a picture is from it.
//
// A folder of cases lies outside the sources; the environment variable ZEVA_GOLDEN names it. Each case is a folder with a file
// case.json, which names the filters with their inputs, and the picture that came out. This library reads and compares only, so
// that one suite can render a case through CIFilter and another through the module.
//
// Failure: what is not there or not understood is empty; a test says so and stops.
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
    enum class Kind { number, vector, color, image };
    Kind kind = Kind::number;
    std::vector<double> numbers;  // one; a vector's; red, green, blue and alpha
    std::string imagePath;
};

// One filter with its inputs.
struct Step {
    std::string filter;
    std::map<std::string, Parameter> parameters;
};

// How a picture shows a render that was scaled: its pixel (x, y), from the top left, is at (scaleX x + offsetX, scaleY y + offsetY)
// of a render of that size.
struct View {
    std::size_t width = 0;
    std::size_t height = 0;
    double scaleX = 1;
    double scaleY = 1;
    double offsetX = 0;
    double offsetY = 0;
};

// A reference render.
struct Case {
    std::string name;
    std::vector<Step> steps;  // the image of each is inputImage of the next
    bool isRender = false;    // otherwise the picture is a scaled view of the render
    View view;                // where it is one
    double originX = 0;       // of the picture's lower left corner
    double originY = 0;
    std::size_t width = 0;
    std::size_t height = 0;
    std::string outputPath;
};

// 8-bit RGBA, premultiplied, the topmost row first.
struct Picture {
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<std::uint8_t> pixels;
};

// In levels, 255 to the whole.
struct Difference {
    double rms = 0;
    double largest = 0;
};

// The folder of the cases, and whether it is there.
std::string Folder();
bool IsPresent();

// The names of all cases, sorted.
std::vector<std::string> CaseNames();

// A case by the name of its folder; empty when it is not there or not understood.
std::optional<Case> ReadCase(const std::string& name);

// The pixels of a picture file or a bitmap; empty when there are none.
std::optional<Picture> PictureOfFile(const std::string& path);
std::optional<Picture> PictureOfImage(CGImageRef image);

// How far two pictures of the same size are apart, over all four channels; empty when the sizes differ.
std::optional<Difference> Compare(const Picture& first, const Picture& second);

// How far apart the differences between a pixel's colors are, red less green and green less blue in linear light, where no color
// is at an end of its range: white light that lies over a picture leaves no trace there. Empty when the sizes differ or when
// there are no such places.
std::optional<Difference> CompareTints(const Picture& first, const Picture& second);

// How far a view is from a render, at its places where neither changes much from pixel to pixel: elsewhere the scaling shows.
// Empty when the render's size is not the view's or when there are no such places.
std::optional<Difference> CompareView(const Picture& render, const Picture& picture, const View& view);

}  // namespace golden
