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
// Adding a type: a row in kReaders.

#pragma once

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

// Returns the names that a value of a type can have, for completion; none where values have no names.
[[nodiscard]] std::vector<std::string> KnownValues(const host::Type& type);

// Whether a value of a type can be the name of a file.
[[nodiscard]] bool IsFileName(const host::Type& type);

// Returns the numbers of a list with commas. Throws HostError, which names the subject, for any other text.
[[nodiscard]] std::vector<double> NumbersIn(const std::string& subject, std::string_view text);
