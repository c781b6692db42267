// check.h - the checks as functions, and what a function finds.
//
// A function judges one rule of checks.def. It runs once, when the report is first read; checks of what the program did
// read what the classes of the probe have noted until then. Functions may rely on the checks that theirs needs, but on
// nothing else that a host does: whatever the host returns is examined before it is used.
//
// Threads: the host's thread.

#pragma once

#include <cstdint>

#include "interface/services.h"

namespace probe {

enum class Verdict { kPassed, kFailed, kSkipped };

// What a check finds: passed unless it says otherwise. The first finding stays.
class Finding {
  public:
    // The rule is broken. The text tells what was expected and what the host did.
    void Fail(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // The rule cannot be judged.
    void Skip(const char* format, ...) __attribute__((format(printf, 2, 3)));

    // Whether the host lacks one of the services; the check is skipped then.
    template <typename... Services>
    [[nodiscard]] bool Lacks() {
        return (LacksService(Services::kName) || ...);
    }

    Verdict Result() const { return verdict_; }
    const char* Reason() const { return reason_; }

  private:
    void Set(Verdict verdict, const char* format, __builtin_va_list arguments);
    bool LacksService(const char* name);

    Verdict verdict_ = Verdict::kPassed;
    char reason_[160] = "";
};

#define CHECK(function, ...) void function(Finding&);
#include "probe/checks.def"

}  // namespace probe
