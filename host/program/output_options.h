// output_options.h - the options of a command that say how its pictures are written.
//
// The companion module reads their values (docs/companion.md, SaveLike); the program only passes them on, so that an
// option has the same name, the same values and the same messages in a script.

#pragma once

#include <string>
#include <vector>

#include "host/program/command.h"
#include "host/runtime/host.h"

struct OutputOptions {
    std::string quality;
    std::string compression;
    std::string depth;
    std::string subsampling;
    bool isProgressive = false;
    bool isLossless = false;
    std::string strip;  // "all" for an option without a value
    std::string colorSpace;
    std::string workingSpace;
    std::string format;  // replaces the suffix of a target
};

// The arguments of a command that store their values in the options.
[[nodiscard]] std::vector<Argument> OutputArguments(OutputOptions& options);

// The options as the text that SaveLike takes.
[[nodiscard]] std::string OptionsText(const OutputOptions& options);

// The files that the options name.
[[nodiscard]] std::vector<std::string> FilesOfOptions(const OutputOptions& options);

// Checks the options and, unless it is empty, whether the format of a target can be written. Throws HostException.
void CheckTarget(host::Host& host, const std::string& target, const OutputOptions& options);
