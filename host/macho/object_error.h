// object_error.h - why an object file cannot be loaded.

#pragma once

#include <stdexcept>
#include <string>

namespace host::macho {

// The message is the subject ("symbol _open", "section __TEXT,__text"), a colon and the problem.
class ObjectError : public std::runtime_error {
  public:
    ObjectError(const std::string& subject, const std::string& problem)
        : std::runtime_error(subject + ": " + problem) {}
};

}  // namespace host::macho
