// version.cpp - collects the version and the properties of this build.

#include "host/program/version.h"

#include "host/program/platform_pool.h"

std::string VersionText(const ProgramOptions& options) {
    const auto host = MakeHost(options);
    const std::string set = InstructionSet();
    return std::string("zeva ") + ZEVA_VERSION + "\nhost version " + host::NumberText(host->Version()) + "\nABI " +
           kAbi + "\ninstruction set " + (set.empty() ? "unknown, the filter module does not use this engine" : set);
}
