// role.h - what a worker process does. A worker is this program, started by the hidden command "worker ROLE"
// (process.h), with its channel as the first descriptor behind the standard streams.
//
// Adding a role: a function that takes the channel and returns the exit status, and its row in the program's list
//                (host/program/worker_command.cpp). A program that is not zeva, such as a test, calls RunRole from its
//                main function when its first argument is kCommand.
// Threads: the worker's main thread.

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/worker/channel.h"

namespace worker {

inline constexpr const char* kCommand = "worker";

// The descriptor of a worker's channel, and the first of those that its starter passes on to it.
inline constexpr int kChannelDescriptor = 3;
inline constexpr int kFirstPassedDescriptor = 4;

struct Role {
    std::string name;
    std::function<int(Channel& channel)> run;  // returns the exit status
};

// Runs a role in this process, which a Process started. SIGINT and SIGTERM stay with the starter, which decides what
// becomes of the work; the worker ends with it. Throws std::runtime_error for an unknown role, and when there is no
// channel because the command was typed.
[[nodiscard]] int RunRole(const std::string& name, const std::vector<Role>& roles);

}  // namespace worker
