// rendering.h - images out of a few numbers and numbers out of images, and the exceptions that things raise.

#pragma once

#import <CoreImage/CoreImage.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// An image of linear, premultiplied floats, four a pixel, the topmost row first.
CIImage* ImageOfFloats(std::size_t width, std::size_t height, const std::vector<float>& pixels);

// An image of straight sRGB bytes.
CIImage* ImageOfBytes(std::size_t width, std::size_t height, const std::vector<std::uint8_t>& pixels);

// Pixels that are all different, some translucent: as bytes, straight.
std::vector<std::uint8_t> VariedBytes(std::size_t width, std::size_t height);

// What a rectangle renders to: linear floats, or premultiplied sRGB bytes.
std::vector<float> Floats(CIImage* image, CGRect rect);
std::vector<std::uint8_t> Bytes(CIImage* image, CGRect rect);

// A filter with an input image, which may be nil.
CIFilter* FilterOn(NSString* name, CIImage* image);

// What an action raises, autoreleased; nil when it raises nothing.
NSException* RaisedBy(const std::function<void()>& action);

// The UTF-8 text of a string.
std::string Text(NSString* string);
