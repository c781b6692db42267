// apply_request.h - what the words and options of "zeva apply" ask for.

#pragma once

#include <string>
#include <vector>

#include "host/program/output_options.h"

struct ApplyRequest {
    std::vector<std::string> words;  // filters, settings and inputs
    std::string output;              // a path or a pattern, kStandardStream, or empty for results in place
    std::string rectangle;           // "X,Y,W,H"; empty for the extent of the result
    bool keepSize = false;           // crop the result to the extent of the input
    OutputOptions options;

    std::string resize;  // resize_option.h; empty for the size of the result
    bool isFit = false, isFill = false;

    bool isInPlace = false;      // results replace their pictures
    bool isRecursive = false;    // inputs may be folders
    bool keepsExisting = false;  // results that exist are left alone
};
