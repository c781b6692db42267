// apply_request.h - what the words and options of "zeva apply" ask for.

#pragma once

#include <string>
#include <vector>

#include "host/program/command.h"
#include "host/program/result_options.h"
#include "host/recipe/recipe.h"

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

struct ApplyRequest : ResultOptions {
    std::vector<std::string> words;  // filters, settings and inputs
    std::string output;              // a path or a pattern, kStandardStream, or empty for results in place
    std::string recipeFile;          // receives the recipe; empty for none

    bool isInPlace = false;      // results replace their pictures
    bool isRecursive = false;    // inputs may be folders
    bool keepsExisting = false;  // results that exist are left alone

    BatchRequest batch;
};

// The arguments of the command, which store their values in the request.
[[nodiscard]] std::vector<Argument> ApplyArguments(ApplyRequest& request);

// Returns the recipe that the words are, and adds its options to those of the request.
[[nodiscard]] Recipe RecipeOf(ApplyRequest& request);

// Whether the options of many pictures are used, so that even one picture is a batch: a list or a shard may have one.
[[nodiscard]] bool IsBatch(const BatchRequest& request);
