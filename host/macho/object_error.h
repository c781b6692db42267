// object_error.h - why an object file cannot be loaded.

#pragma once

#include <stdexcept>
#include <string>

namespace host::macho {

// What it is about ("symbol _open", "section __TEXT,__text") and what is wrong, joined by a colon in the message.
class ObjectError : public std::runtime_error {
  public:
    ObjectError(const std::string& subject, const std::string& problem)
        : std::runtime_error(subject + ": " + problem) {}
};

}  // namespace host::macho
