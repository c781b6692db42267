// error_text.h - the text and the number of an error.
//
// Call these in a catch block.

#pragma once

#include <stdexcept>
#include <string>

// An error whose text and number are known.
class NumberedError : public std::runtime_error {
  public:
    NumberedError(const std::string& text, int number) : std::runtime_error(text), number_(number) {}
    [[nodiscard]] int Number() const { return number_; }

  private:
    int number_;
};

// Returns the text of the current exception, without a line feed at its end.
[[nodiscard]] std::string ErrorText();

// Returns the system's number for the cause of the current exception; 0 if the system is not the cause.
[[nodiscard]] int ErrorNumber();
