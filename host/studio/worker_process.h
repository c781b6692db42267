// worker_process.h - a process that decodes and renders for the studio, so that the server never does.
//
// It is this program, started with a hidden command. Its standard input is one end of a socket. It ends when the
// other end is closed. A damaged picture or a faulty filter ends at most this process.
//
// Lifetime: the object owns the process and ends it.
// Threads:  Ask is called by one thread; Stop by any.

#pragma once

#include <sys/types.h>

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include "host/studio/message.h"

namespace studio {

class WorkerProcess {
  public:
    // `command` is the program and its arguments.
    explicit WorkerProcess(std::vector<std::string> command) : command_(std::move(command)) {}
    ~WorkerProcess() { End(); }
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    enum class Outcome { kAnswered, kCrashed, kTookTooLong, kNotStarted };

    // Starts the process unless it runs, sends a request, and waits for the answer. Afterwards the process runs only if
    // it has answered.
    [[nodiscard]] Outcome Ask(const Message& request, std::chrono::seconds patience, Message& answer);

    // Ends the process at once. A request that waits fails, and so do all later ones.
    void Stop();

  private:
    bool Start();
    void End();

    std::vector<std::string> command_;
    std::mutex mutex_;  // guards what follows
    pid_t process_ = 0;
    bool isStopped_ = false;
    int socket_ = -1;  // used by the thread that asks
};

}  // namespace studio
