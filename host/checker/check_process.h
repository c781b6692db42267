// check_process.h - the processes in which checks run: one for each check, and one for each part that a check runs
// apart from itself (CheckContext::RunInChild).
//
// Failure: a process that dies is part of the result. std::system_error when the system cannot start one.
// Threads: any; a thread waits for its process.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/checker/check.h"
#include "host/checker/child.h"
#include "host/runtime/call_scope.h"

namespace checker {

// Returns what children can do for the checker. Their modules are called within a scope.
[[nodiscard]] std::vector<ChildWork> CheckWorks(host::CallScope callScope);

// The reply of a check that ran to its end.
struct CheckReply {
    std::string skipReason;  // empty for a check that was not skipped
    std::vector<Finding> findings;
    std::vector<std::string> stack;  // of the first part that crashed, and its last calls
    std::vector<std::string> calls;
};

// Runs a check in a process of its own.
[[nodiscard]] ChildResult RunCheckInChild(const CheckCall& call);

// Reads the reply from what the process returned; nothing for anything else, because the module under check could write
// to any descriptor.
[[nodiscard]] std::optional<CheckReply> ReplyIn(const std::string& text);

}  // namespace checker
