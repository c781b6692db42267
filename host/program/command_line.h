// command_line.h - the program's commands and their options.

#pragma once

// Runs the command that the arguments name. Answers the program's exit status: 0, 1 when the command failed (one line
// on standard error says why), 2 when the arguments are wrong.
int RunCommandLine(int argumentCount, const char* const* arguments);
