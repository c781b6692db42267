// picture_streams.h - pictures on standard input and output.
//
// Fails:   a Failure that names the stream.
// Threads: the host's thread.

#pragma once

#include <functional>
#include <string>

#include "host/runtime/host.h"

// The name of a standard stream in place of a file.
inline constexpr const char* kStandardStream = "-";

// Reads standard input to its end and opens the picture that it is.
[[nodiscard]] host::Value OpenedFromInput(host::Host& host);

// Saves a picture in a format, the suffix of a file, and writes the file to standard output.
//
// Why a file in between: some formats are written in no particular order, and nothing goes to standard output when
// saving fails.
void WriteToOutput(const std::string& format, const std::function<void(const std::string& file)>& save);
