// exit_status.h - what the exit status of the program says, and the exceptions that carry one.
//
//   0        done
//   1        an input picture or a script failed, or a check did
//   2        wrong arguments, which include every file that a setting names; nothing was created
//   3        the machine failed: disk, memory, an output
//   128 + n  the program was ended by signal n

#pragma once

#include <stdexcept>
#include <string>

inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongUsage = 2;
inline constexpr int kMachineFailed = 3;
inline constexpr int kEndedBySignal = 128;  // and the number of the signal

// A failure whose exit status is known where it happens.
class Failure : public std::runtime_error {
  public:
    Failure(int status, const std::string& text) : std::runtime_error(text), status_(status) {}
    int Status() const { return status_; }

  private:
    int status_;
};

// Wrong arguments that only the command can detect. The text names the argument.
class UsageError : public Failure {
  public:
    explicit UsageError(const std::string& text) : Failure(kWrongUsage, text) {}
};

// Returns the status for an error number of the system: whether a wrong name is the cause, or the machine. 0, which
// means that the system is not the cause, gives `otherwise`.
[[nodiscard]] int StatusOfNumber(int errorNumber, int otherwise);

// Returns the current exception as a Failure. `ofException` is the status for an exception that a module raised for a
// reason of its own. Call it in a catch block.
[[nodiscard]] Failure FailureOfError(int ofException);

// Runs work, and throws what it throws as a Failure.
template <typename Work>
auto WithStatus(int ofException, Work work) {
    try {
        return work();
    } catch (const std::exception&) {
        throw FailureOfError(ofException);
    }
}
