// golden_cases.mm - reads case.json and pictures, and compares pictures.

#include "golden_cases.h"

#import <Foundation/Foundation.h>
#include <ImageIO/ImageIO.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace golden {
namespace {

NSString* String(const std::string& text) { return [NSString stringWithUTF8String:text.c_str()]; }

std::vector<double> Numbers(NSArray* list) {
    std::vector<double> numbers;
    for (NSNumber* number in list) numbers.push_back([number doubleValue]);
    return numbers;
}

Parameter ReadParameter(id value, const std::string& folder) {
    Parameter parameter;
    if ([value isKindOfClass:[NSNumber class]]) {
        parameter.numbers = {[value doubleValue]};
    } else if ([value isKindOfClass:[NSArray class]]) {
        parameter.kind = Parameter::Kind::kVector;
        parameter.numbers = Numbers(value);
    } else if ([value objectForKey:@"color"] != nil) {
        parameter.kind = Parameter::Kind::kColor;
        parameter.numbers = Numbers([value objectForKey:@"color"]);
    } else {
        parameter.kind = Parameter::Kind::kImage;
        parameter.imagePath = folder + [[value objectForKey:@"image"] UTF8String];
    }
    return parameter;
}

Step ReadStep(NSDictionary* described, const std::string& folder) {
    Step step;
    step.filter = [[described objectForKey:@"filter"] UTF8String];
    NSDictionary* parameters = [described objectForKey:@"parameters"];
    for (NSString* key in parameters) {
        step.parameters[[key UTF8String]] = ReadParameter([parameters objectForKey:key], folder);
    }
    return step;
}

// Reads the steps of a case. In a chain, the parameters of the whole case name the image of the first step.
std::vector<Step> ReadSteps(NSDictionary* described, const std::string& folder) {
    const Step whole = ReadStep(described, folder);
    NSArray* chain = [described objectForKey:@"chain"];
    if (chain == nil) return {whole};
    std::vector<Step> steps;
    for (NSDictionary* link in chain) steps.push_back(ReadStep(link, folder));
    const auto image = whole.parameters.find("inputImage");
    if (image != whole.parameters.end()) steps.front().parameters.insert(*image);
    return steps;
}

View ReadView(NSDictionary* described) {
    const std::vector<double> size = Numbers([described objectForKey:@"renderSize"]);
    const std::vector<double> scale = Numbers([described objectForKey:@"scale"]);
    const std::vector<double> offset = Numbers([described objectForKey:@"offset"]);
    if (size.size() != 2 || scale.size() != 2 || offset.size() != 2) return {};
    return {
        static_cast<std::size_t>(size[0]), static_cast<std::size_t>(size[1]), scale[0], scale[1], offset[0], offset[1]};
}

std::optional<Lossy> ReadLossy(NSDictionary* described) {
    if (described == nil) return std::nullopt;
    return Lossy{[[described objectForKey:@"quality"] floatValue], [[described objectForKey:@"method"] intValue]};
}

// Whether all channels vary by at most a few levels within two pixels of a place. False within two pixels of an edge.
bool IsSmooth(const Picture& picture, std::size_t x, std::size_t y) {
    constexpr std::size_t kReach = 2;
    constexpr int kMaximumRange = 6;
    if (x < kReach || y < kReach || x + kReach >= picture.width || y + kReach >= picture.height) return false;
    for (std::size_t channel = 0; channel < 4; ++channel) {
        int minimum = 255, maximum = 0;
        for (std::size_t row = y - kReach; row <= y + kReach; ++row) {
            for (std::size_t column = x - kReach; column <= x + kReach; ++column) {
                const int level = picture.pixels[4 * (row * picture.width + column) + channel];
                minimum = std::min(minimum, level);
                maximum = std::max(maximum, level);
            }
        }
        if (maximum - minimum > kMaximumRange) return false;
    }
    return true;
}

// Interpolates a channel bilinearly.
double Sample(const Picture& picture, double x, double y, std::size_t channel) {
    const auto left = static_cast<std::size_t>(x), top = static_cast<std::size_t>(y);
    const double right = x - static_cast<double>(left), below = y - static_cast<double>(top);
    const auto at = [&](std::size_t column, std::size_t row) {
        return static_cast<double>(picture.pixels[4 * (row * picture.width + column) + channel]);
    };
    return (at(left, top) * (1 - right) + at(left + 1, top) * right) * (1 - below) +
           (at(left, top + 1) * (1 - right) + at(left + 1, top + 1) * right) * below;
}

// Returns the premultiplied linear light of a pixel, in levels; empty when a component is 0 or 255.
std::optional<std::array<double, 3>> Light(const std::uint8_t* pixel) {
    std::array<double, 3> light;
    for (std::size_t channel = 0; channel < 3; ++channel) {
        if (pixel[channel] == 0 || pixel[channel] == 255) return std::nullopt;
        const double value = static_cast<double>(pixel[channel]) / pixel[3];
        light[channel] = pixel[3] * (value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4));
    }
    return light;
}

std::uint8_t Multiply(std::uint8_t value, std::uint8_t alpha) {
    return static_cast<std::uint8_t>((value * alpha + 127) / 255);
}

}  // namespace

std::string Folder() {
    const char* folder = std::getenv("ZEVA_GOLDEN");
    return std::string(folder != nullptr ? folder : ZEVA_GOLDEN_FOLDER) + "/";
}

bool IsPresent() { return [[NSFileManager defaultManager] fileExistsAtPath:String(Folder())]; }

std::vector<std::string> CaseNames() {
    std::vector<std::string> names;
    NSFileManager* files = [NSFileManager defaultManager];
    const auto isCase = [&](const std::string& name) {
        return [files fileExistsAtPath:String(Folder() + name + "/case.json")];
    };
    for (NSString* name in [files directoryContentsAtPath:String(Folder())]) {
        const std::string folder = [name UTF8String];
        if (isCase(folder)) names.push_back(folder);
        for (NSString* inner in [files directoryContentsAtPath:String(Folder() + folder)]) {
            const std::string both = folder + "/" + [inner UTF8String];
            if (isCase(both)) names.push_back(both);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::optional<Case> ReadCase(const std::string& name) {
    const std::string folder = Folder() + name + "/";
    NSData* text = [NSData dataWithContentsOfFile:String(folder + "case.json")];
    NSDictionary* described = text == nil ? nil : [NSJSONSerialization JSONObjectWithData:text options:0 error:nullptr];
    if (![described isKindOfClass:[NSDictionary class]] || [described objectForKey:@"filter"] == nil)
        return std::nullopt;
    const std::vector<double> origin = Numbers([described objectForKey:@"outputOrigin"]);
    const std::vector<double> size = Numbers([described objectForKey:@"outputSize"]);
    NSString* output = [described objectForKey:@"output"];
    if (origin.size() != 2 || size.size() != 2 || output == nil) return std::nullopt;
    Case read;
    read.name = name;
    read.steps = ReadSteps(described, folder);
    read.isRender = [[described objectForKey:@"kind"] isEqual:@"render"];
    read.view = ReadView([described objectForKey:@"view"]);
    read.lossy = ReadLossy([described objectForKey:@"lossy"]);
    read.originX = origin[0];
    read.originY = origin[1];
    read.width = static_cast<std::size_t>(size[0]);
    read.height = static_cast<std::size_t>(size[1]);
    read.outputPath = folder + [output UTF8String];
    return read;
}

std::optional<Picture> PictureOfFile(const std::string& path) {
    CGImageSourceRef source = CGImageSourceCreateWithURL((CFURLRef)[NSURL fileURLWithPath:String(path)], nullptr);
    if (source == nullptr) return std::nullopt;
    CGImageRef image = CGImageSourceCreateImageAtIndex(source, 0, nullptr);
    std::optional<Picture> picture = PictureOfImage(image);
    CGImageRelease(image);
    CFRelease(source);
    return picture;
}

std::optional<Picture> PictureOfImage(CGImageRef image) {
    if (image == nullptr) return std::nullopt;
    Picture picture;
    picture.width = CGImageGetWidth(image);
    picture.height = CGImageGetHeight(image);
    const bool isStraight = CGImageGetAlphaInfo(image) == kCGImageAlphaLast;
    NSData* data = [(NSData*)CGDataProviderCopyData(CGImageGetDataProvider(image)) autorelease];
    const auto* bytes = static_cast<const std::uint8_t*>([data bytes]);
    for (std::size_t y = 0; y < picture.height; ++y) {
        const std::uint8_t* row = bytes + y * CGImageGetBytesPerRow(image);
        picture.pixels.insert(picture.pixels.end(), row, row + picture.width * 4);
    }
    for (std::size_t index = 0; isStraight && index < picture.pixels.size(); index += 4) {
        std::uint8_t* pixel = &picture.pixels[index];
        for (int channel = 0; channel < 3; ++channel) pixel[channel] = Multiply(pixel[channel], pixel[3]);
    }
    return picture;
}

std::optional<Difference> Compare(const Picture& first, const Picture& second) {
    if (first.width != second.width || first.height != second.height) return std::nullopt;
    Difference difference;
    double squares = 0;
    for (std::size_t index = 0; index < first.pixels.size(); ++index) {
        const double apart = std::abs(static_cast<double>(first.pixels[index]) - second.pixels[index]);
        difference.largest = std::max(difference.largest, apart);
        squares += apart * apart;
    }
    difference.rms = std::sqrt(squares / static_cast<double>(std::max<std::size_t>(first.pixels.size(), 1)));
    return difference;
}

std::optional<Difference> CompareTints(const Picture& first, const Picture& second) {
    if (first.width != second.width || first.height != second.height) return std::nullopt;
    Difference difference;
    double squares = 0, count = 0;
    for (std::size_t index = 0; index < first.pixels.size(); index += 4) {
        const auto one = Light(&first.pixels[index]), other = Light(&second.pixels[index]);
        if (!one || !other) continue;
        for (std::size_t channel = 0; channel < 2; ++channel) {
            const double apart =
                std::abs((*one)[channel] - (*one)[channel + 1] - (*other)[channel] + (*other)[channel + 1]);
            difference.largest = std::max(difference.largest, apart);
            squares += apart * apart;
            ++count;
        }
    }
    if (count == 0) return std::nullopt;
    difference.rms = std::sqrt(squares / count);
    return difference;
}

std::optional<Difference> CompareView(const Picture& render, const Picture& picture, const View& view) {
    if (render.width != view.width || render.height != view.height) return std::nullopt;
    Difference difference;
    double squares = 0, count = 0;
    for (std::size_t y = 0; y < picture.height; ++y) {
        for (std::size_t x = 0; x < picture.width; ++x) {
            const double renderX = view.scaleX * static_cast<double>(x) + view.offsetX;
            const double renderY = view.scaleY * static_cast<double>(y) + view.offsetY;
            if (renderX < 0 || renderY < 0 || !IsSmooth(picture, x, y)) continue;
            if (!IsSmooth(render, static_cast<std::size_t>(renderX), static_cast<std::size_t>(renderY))) continue;
            for (std::size_t channel = 0; channel < 4; ++channel) {
                const double level = picture.pixels[4 * (y * picture.width + x) + channel];
                const double apart = std::abs(Sample(render, renderX, renderY, channel) - level);
                difference.largest = std::max(difference.largest, apart);
                squares += apart * apart;
                ++count;
            }
        }
    }
    if (count == 0) return std::nullopt;
    difference.rms = std::sqrt(squares / count);
    return difference;
}

}  // namespace golden
