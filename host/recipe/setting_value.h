// setting_value.h - what people write behind KEY= on the command line, as a value of the key's type.
//
//   double                 12.5
//   integer                3
//   boolean                yes, no, true, false
//   string                 any text
//   CIVectorQOR            1,2,3
//   CIColorQOR             #rrggbb  #rrggbbaa  r,g,b  r,g,b,a      components 0...1, not premultiplied, in sRGB
//   CIImageQOR             path of a PNG or JPEG
//   NSAffineTransformQOR   a,b,c,d,tx,ty  or steps applied in turn: "rotate:30 scale:1.2 translate:10,0", degrees and pixels
//   CGColorSpaceQOR        name of a color space
//   memoryblock            table.cube  @file of raw 32-bit floats  or the numbers themselves
//
// Adding a type: a row in kReaders.

#pragma once

#include "host/runtime/host.h"

// The value. Throws HostError, about the setting as it was written, for a text that is none of the type, and HostException
// when the value cannot be made, as for an image that is missing.
host::Value SettingValue(host::Host& session, const host::Type& type, const std::string& setting,
                         std::string_view text);

// Numbers with commas between them; throws HostError about the subject for anything else.
std::vector<double> NumbersIn(const std::string& subject, std::string_view text);
