// sandbox.h - keeps a module under check away from the machine: its process can read what programs and libraries need,
// and write to one private folder only; it cannot open sockets or start programs and processes. Threads stay allowed.
//
// Landlock decides about files, seccomp about the rest. A try is noted for the report and fails as it would for a user
// without the right: EACCES for files, EPERM for the rest. A process that tries while it blocks all signals, as
// posix_spawn does, is ended with SIGSYS instead. clone3, whose flags no filter can see, is unknown to the
// process (ENOSYS), so that libraries use clone instead.
//
// Lifetime: a process that has entered the sandbox cannot leave it; the processes that it would start are in it, too.
// Failure:  std::system_error when the system refuses although it has everything that is needed.
// Threads:  entered by the only thread of a process.

#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace checker {

// What a process in the sandbox can use.
struct Sandbox {
    std::filesystem::path folder;                 // can be written; also its home and its folder for temporary files
    std::vector<std::filesystem::path> readable;  // folders, in addition to those of the system and of this program
};

// Returns what the system lacks for the sandbox, in words; empty when it has everything.
[[nodiscard]] std::string ObstacleToSandbox();

// Puts this process into the sandbox. From then on NoteTry (child.h) gets each try.
void EnterSandbox(const Sandbox& sandbox);

}  // namespace checker
