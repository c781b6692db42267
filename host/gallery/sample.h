// sample.h - the Lua programs that make the gallery's pictures, written from the settings in gallery.json.
//
// What a page shows is the very text that ran. It works in a folder that prepare.lua has filled, and writes its pictures there.
//
// gallery.json:
//   times     the places of inputTime at which a transition is shown
//   helpers   what a setting may name: a regular expression for the names, the lines that make them, and for a picture
//             its file and what it is; a sample has only the lines whose names it uses, in the order of the list
//   filters   by name: the settings, values being Lua expressions by key, and the result, an expression of the picture to
//             write, where it is not the output image in the photo's frame
//
// Adding a filter: its entry; without one it is shown once, at its defaults.

#pragma once

#include <string>
#include <vector>

#include "host/description/value_json.h"

// A picture that a sample reads beside the photo.
struct HelperPicture {
    std::string file;
    std::string about;  // "the mask"
};

// A program and what it writes.
struct Sample {
    std::string caption;                // the setting in words
    std::string text;                   // Lua
    std::vector<std::string> pictures;  // the files that it writes, of a transition one for each time
    std::vector<HelperPicture> helpers;
};

// The samples of a filter that ClassJson describes, the first for the filter's card. Throws HostError for a setting of a
// key that the filter does not have.
std::vector<Sample> SamplesOf(const Json& filter);

// The times at which a transition is shown.
std::vector<std::string> TransitionTimes();
