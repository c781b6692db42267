// version.h - the text of "zeva --version".

#pragma once

#include <string>

#include "host/program/program_host.h"

// Returns the version of the program, the host version that modules see, the ABI, and the instruction set that the
// engine uses on this processor, one per line. Loads the modules, because the engine comes with them; throws like
// MakeHost.
[[nodiscard]] std::string VersionText(const ProgramOptions& options);
