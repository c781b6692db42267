// apply_request.h - what the words and options of "zeva apply" ask for.

#pragma once

#include <string>
#include <vector>

#include "host/program/command.h"
#include "host/program/output_options.h"

// How many pictures are processed (docs/cluster.md).
struct BatchRequest {
    std::string list;             // a file with the names of more inputs, kStandardStream, or empty
    unsigned jobs = 0;            // worker processes; 0 for one per processor
    std::string shard;            // "i/n"; empty for all pictures
    std::string report;           // a file with a line for each picture; empty for none
    std::string resume;           // empty, kResume or kVerify
    bool stopsAtFailure = false;  // no picture begins after the first that failed
    unsigned retries = 0;         // of a picture for which the machine failed
};

inline constexpr const char* kResume = "changed";
inline constexpr const char* kVerify = "verify";

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

    BatchRequest batch;
};

// The arguments of the command, which store their values in the request.
[[nodiscard]] std::vector<Argument> ApplyArguments(ApplyRequest& request);

// Whether the options of many pictures are used, so that even one picture is a batch: a list or a shard may have one.
[[nodiscard]] bool IsBatch(const BatchRequest& request);
