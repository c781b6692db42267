// setting_value.h - turns the VALUE of KEY=VALUE into a value of the key's type.
//
//   double                 12.5
//   integer                3
//   boolean                yes, no, true, false
//   string                 any text
//   CIVectorQOR            1,2,3
//   CIColorQOR             orange  #rgb  #rgba  #rrggbb  #rrggbbaa  r,g,b  r,g,b,a      components 0...1, not
//                          premultiplied, in sRGB; names as in CSS
//   CIImageQOR             path of a picture
//   NSAffineTransformQOR   a,b,c,d,tx,ty  or steps that are applied in order, in degrees and pixels:
//                          "rotate:30 scale:1.2 translate:10,0"
//   CGColorSpaceQOR        name of a color space
//   memoryblock            table.cube  @file of raw 32-bit floats  or the numbers themselves
//
// Threads: the host's thread.
// Adding a type: a row in kTypes.

#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/runtime/host.h"

// Returns the value that the text represents. `setting` is the whole KEY=VALUE, for messages.
//
// Fails: HostError for a text that is not of the type; HostException when the value cannot be made, such as an image
//        whose file is missing.
[[nodiscard]] host::Value SettingValue(host::Host& host, const host::Type& type, const std::string& setting,
                                       std::string_view text);

// Returns the canonical text of a value: numbers as the shortest decimals that read back equal, colors as #rrggbb or
// #rrggbbaa where these are exact. Throws HostError for a text that is not of the type; reads no files.
[[nodiscard]] std::string CanonicalValue(const host::Type& type, const std::string& setting, std::string_view text);

// Returns the index in a value at which the path of a file begins; npos for a value that names no file.
[[nodiscard]] std::size_t PathIn(const host::Type& type, std::string_view text);

// The components of a color from 0 to 1, red, green, blue and alpha. Throws HostError for a text that is not a color.
[[nodiscard]] std::array<double, 4> ColorIn(const std::string& setting, std::string_view text);

// The elements a, b, c, d, tx, ty of a transform. Throws HostError for a text that is not a transform.
[[nodiscard]] std::array<double, 6> TransformIn(const std::string& setting, std::string_view text);

// Returns the names that a value of a type can have, for completion; none where values have no names.
[[nodiscard]] std::vector<std::string> KnownValues(const host::Type& type);

// Whether a value of a type can be the name of a file.
[[nodiscard]] bool IsFileName(const host::Type& type);

// Returns the numbers of a list with commas. Throws HostError, which names the subject, for any other text.
[[nodiscard]] std::vector<double> NumbersIn(const std::string& subject, std::string_view text);
