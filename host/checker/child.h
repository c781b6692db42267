// child.h - runs work in a child process, so that a crash or an infinite loop ends only that process.
//
// The child is a worker (host/worker/process.h) with the role kChildRole. It takes the name of a work and an argument,
// sends the text that the work returns, and exits. Its standard output and standard error go to a file of their own.
// The child notes each step before the step begins, in memory that both processes share, so the last step is known even
// after a crash. So are the last calls across the boundary, the stack, and what the child tried that its sandbox
// refuses.
//
// Children nest. When a child ends, its own children are killed with it.
//
// Threads: any; a thread waits for its child.

#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "host/worker/role.h"

namespace checker {

// Something that a sandbox refused (sandbox.h), and the step in which it was tried.
struct Try {
    std::string step;
    std::string what;  // "opening \"/var/tmp/notes\""

    bool operator==(const Try&) const = default;
};

// How a child exits after its work: with _exit, or with exit, which runs destructors and exit handlers.
enum class ChildExit { kImmediate, kNormal };

// What a child returned, and how it ended.
struct ChildResult {
    std::string text;          // what the work returned; incomplete when it did not return
    bool hasReturned = false;  // whether the work returned
    bool timedOut = false;     // whether the child was killed at the time limit
    int signal = 0;            // the signal that ended the child; 0 when it exited
    int exitStatus = 0;
    std::string step;                // the last step that the child noted
    std::string output;              // what the child printed, standard output and standard error
    std::vector<std::string> stack;  // of a child that a signal ended: a line for each frame (crash.h)
    std::vector<std::string> calls;  // the last calls across the boundary that the child noted
    std::vector<Try> tries;          // what the child's sandbox refused, each once
    std::chrono::duration<double> seconds{};

    [[nodiscard]] bool Succeeded() const { return hasReturned && !timedOut && signal == 0 && exitStatus == 0; }
};

// What a child can do, by name. The argument says on what.
struct ChildWork {
    std::string name;
    std::function<std::string(const std::string& argument)> run;
};

inline constexpr const char* kChildRole = "checker-child";

// The role of children that do one of these works.
[[nodiscard]] worker::Role ChildRole(std::vector<ChildWork> works);

// Runs a work in a child and waits for its end, at most until the limit. Throws std::system_error when the system
// cannot create a process or shared memory.
ChildResult RunInChild(const std::string& work, const std::string& argument, std::chrono::duration<double> limit,
                       ChildExit childExit = ChildExit::kImmediate);

// Returns how a child failed, in words: "SIGSEGV while reading Jug.Volume".
[[nodiscard]] std::string FailureText(const ChildResult& child);

// Notes what this process is about to do. The last note of a child becomes ChildResult::step.
void NoteStep(const std::string& step);

// Notes a call across the boundary. The last ones become ChildResult::calls.
void NoteCall(const char* call);

// Notes a try that the sandbox refuses: "opening" and a path, or words alone. May be called by the handler of a signal.
void NoteTry(const char* words, const char* path);

}  // namespace checker
