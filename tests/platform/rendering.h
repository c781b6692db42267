// rendering.h - helpers that make images from numbers, render images to numbers, and catch exceptions.
//
// Lifetime: Objective-C objects are returned autoreleased.
// Failure:  an image or filter that cannot be made is nil.

#pragma once

#import <CoreImage/CoreImage.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// Returns an image of linear, premultiplied RGBA floats, top row first.
CIImage* ImageOfFloats(std::size_t width, std::size_t height, const std::vector<float>& pixels);

// Returns an image of sRGB RGBA bytes with straight alpha, top row first.
CIImage* ImageOfBytes(std::size_t width, std::size_t height, const std::vector<std::uint8_t>& pixels);

// Returns pseudo-random RGBA bytes with straight alpha; every other pixel is opaque.
std::vector<std::uint8_t> VariedBytes(std::size_t width, std::size_t height);

// Render a rectangle of an image to linear floats, or to premultiplied sRGB bytes.
std::vector<float> Floats(CIImage* image, CGRect rect);
std::vector<std::uint8_t> Bytes(CIImage* image, CGRect rect);

// Returns a new filter with its input image set, which may be nil.
CIFilter* FilterOn(NSString* name, CIImage* image);

// Runs an action and returns the exception that it raises; nil when it raises none.
NSException* RaisedBy(const std::function<void()>& action);

// Returns a string as UTF-8; empty for nil.
std::string Text(NSString* string);
