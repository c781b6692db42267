// version.h - the text of "zeva --version", and the name of this width.

#pragma once

#include <string>

#include "host/program/program_host.h"

// The application binary interface of this build.
inline constexpr const char* kAbi = sizeof(void*) == 4 ? "i386" : "x86_64";

// Returns the version of the program, the host version that modules see, the ABI, and the instruction set that the
// engine uses on this processor, one per line. Loads the modules, because the engine comes with them; throws like
// MakeHost.
[[nodiscard]] std::string VersionText(const ProgramOptions& options);
