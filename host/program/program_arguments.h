// program_arguments.h - the options that every command shares, as arguments; and the values of any arguments as text,
// for a worker process that does a part of the command.

#pragma once

#include <string>
#include <vector>

#include "host/program/command.h"
#include "host/program/program_host.h"

// The options that every command shares, which store their values in the structure.
[[nodiscard]] std::vector<Argument> ProgramArguments(ProgramOptions& options);

// Returns the values of arguments.
[[nodiscard]] std::vector<std::string> ValuesOf(const std::vector<Argument>& arguments);

// Stores the values that ValuesOf returned for the same arguments, perhaps in another process.
void SetValues(const std::vector<Argument>& arguments, const std::vector<std::string>& values);

// The options of a worker of this program as text, and back.
[[nodiscard]] std::string SetupOf(const ProgramOptions& options);
[[nodiscard]] ProgramOptions OptionsIn(const std::string& setup);
