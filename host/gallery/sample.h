// sample.h - the Lua programs that make the gallery's pictures, built from the settings in gallery.json.
//
// A page shows exactly the text that ran. It runs in a folder that prepare.lua has filled, and writes its pictures
// there.
//
// gallery.json:
//   times     the values of inputTime at which a transition is shown
//   helpers   what a setting may use: names, the Lua lines that define them, and for a picture its file and a
//             description. A sample contains only the helpers whose names it uses, in the order of the list.
//   filters   by name: the settings, which are Lua expressions by key; and the result, which is the expression of the
//             picture to write when it is not the output image in the photo's frame
//
// Adding a filter: its entry. A filter without an entry is shown once, with its defaults.

#pragma once

#include <string>
#include <vector>

#include "host/description/class_description.h"

// A picture that a sample reads beside the photo.
struct HelperPicture {
    std::string file;
    std::string about;  // "the mask"
};

// A program and the pictures that it writes.
struct Sample {
    std::string caption;                // the setting in words
    std::string text;                   // Lua
    std::vector<std::string> pictures;  // the files that it writes; for a transition one per time
    std::vector<HelperPicture> helpers;
};

// Returns the samples of a filter. The first one is shown on the filter's card. Throws HostError for a setting whose
// key the filter does not have.
[[nodiscard]] std::vector<Sample> SamplesOf(const ClassDescription& filter);
