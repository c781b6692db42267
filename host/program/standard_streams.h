// standard_streams.h - sees to it that nothing that the program prints or records is lost in silence.
//
// Why when the program exits: a script may end it at any place, and only the last flush shows whether everything was
// written.

#pragma once

#include <string>

// Call it once, before anything is printed. From then on,
// - a standard stream that was closed when the program started stays closed: no file takes its place, which would
//   receive what is printed;
// - writing to a file beyond the limit of its size is an error and not a signal, and a broken pipe ends the program;
// - the exit status is kMachineFailed (exit_status.h), and a line on standard error says why, when standard output or
// standard error
//   could not be written to its end.
void GuardStandardStreams();

// Prints the message, and makes the exit status kMachineFailed.
void NoteLostOutput(const std::string& message);

// Prints a line on standard error: "zeva: <text>". Bytes that a terminal cannot show or would obey are escaped.
void PrintError(const std::string& text);
