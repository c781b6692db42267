// errors.h - the two kinds of failure that the host throws.
//
// HostError:     the host itself refuses (an unknown name, a wrong type, a file that is not a module). Nothing was
//                called.
// HostException: a host exception was raised while a module ran. What the module did before that is not undone.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "host/runtime/reference.h"

namespace host {

// A refusal by the host. The message is the subject ("CIImageQOR.Crop", a file), a colon and the problem. The error
// number is the system's; 0 if the system is not the cause.
class HostError : public std::runtime_error {
  public:
    HostError(const std::string& subject, const std::string& problem, int errorNumber = 0)
        : std::runtime_error(subject + ": " + problem),
          subject_(subject),
          problem_(problem),
          errorNumber_(errorNumber) {}

    const std::string& Subject() const { return subject_; }
    const std::string& Problem() const { return problem_; }
    int ErrorNumber() const { return errorNumber_; }

  private:
    std::string subject_;
    std::string problem_;
    int errorNumber_;
};

// There is no memory for an object, a string or a block of so many bytes; 0 if the number is not known.
class OutOfMemory : public HostError {
  public:
    OutOfMemory(const std::string& subject, std::size_t bytes)
        : HostError(subject, bytes == 0 ? "out of memory" : "out of memory for " + std::to_string(bytes) + " bytes"),
          bytes_(bytes) {}

    std::size_t Bytes() const { return bytes_; }

  private:
    std::size_t bytes_;
};

// A raised host exception: its object and the object's message. what() is "class: message".
//
// Copies share the reference to the object. An exception that is caught only after the Host has ended keeps its text
// but loses its object.
class HostException : public std::runtime_error {
  public:
    HostException(std::shared_ptr<ObjectReference> object, const std::string& className, const std::string& message,
                  std::int32_t errorNumber)
        : std::runtime_error(message.empty() ? className : className + ": " + message),
          object_(std::move(object)),
          className_(className),
          message_(message),
          errorNumber_(errorNumber) {}

    const ObjectReference& Object() const { return *object_; }
    const std::string& ClassName() const { return className_; }
    const std::string& Message() const { return message_; }
    std::int32_t ErrorNumber() const { return errorNumber_; }

  private:
    std::shared_ptr<ObjectReference> object_;
    std::string className_;
    std::string message_;
    std::int32_t errorNumber_;
};

}  // namespace host
