// apply.h - "zeva apply": one filter on one picture.

#pragma once

#include <string>
#include <vector>

#include "host/host.h"

// What the command line asks for.
struct ApplyRequest {
    std::string filter;                 // in any of its spellings
    std::vector<std::string> settings;  // KEY=VALUE, numbers only
    std::string input;
    std::string output;
    bool keepSize = false;  // crop the result to the input's extent
    double hostVersion = host::HostOptions().version;
    std::string module;  // the filter module; that of the build when empty
};

// Does it and prints a line per step. Throws HostError and HostException; the output file is then as it was.
void Apply(const ApplyRequest& request);
