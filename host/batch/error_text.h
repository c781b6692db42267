// error_text.h - the text of an error as one line.

#pragma once

#include <string>

// Returns the text of the current exception on one line. Call it in a catch block.
[[nodiscard]] std::string ErrorText();

// Returns a text with its line feeds replaced by spaces.
[[nodiscard]] std::string OneLine(std::string text);
