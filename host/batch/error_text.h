// error_text.h - a failure as one line.

#pragma once

#include <string>

// The text of the exception that is being handled, on one line. To be called in a catch block.
std::string ErrorText();

// A text as one line, whatever it brought.
std::string OneLine(std::string text);
