// command_line.h - reads the arguments of the program and runs a command.

#pragma once

// Runs the command that the arguments name.
//
// Returns the exit status (exit_status.h); unless it is 0, a line on standard error says why. Never throws.
[[nodiscard]] int RunCommandLine(int argumentCount, const char* const* arguments);
