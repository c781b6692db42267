// error_text.h - the text and the number of an error.
//
// Call these in a catch block.

#pragma once

#include <string>

// Returns the text of the current exception, without a line feed at its end.
[[nodiscard]] std::string ErrorText();

// Returns the system's number for the cause of the current exception; 0 if the system is not the cause.
[[nodiscard]] int ErrorNumber();
