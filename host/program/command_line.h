// command_line.h - reads the arguments of the program and runs a command.

#pragma once

// Runs the command that the arguments name.
//
// Returns the exit status: 0 done, 1 when the command failed (one line on standard error says why), 2 for wrong
// arguments. Never throws.
[[nodiscard]] int RunCommandLine(int argumentCount, const char* const* arguments);
