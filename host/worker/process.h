// process.h - starts this program again as a worker, and tells how it ended.
//
//   Process worker({.role = "batch"});
//   if (worker.GetChannel().Send("...")) reply = worker.GetChannel().Receive();
//   if (!reply) text = worker.Wait().Text();   // "its process was terminated: Segmentation fault"
//
// Why processes: a process has one host, on one thread, and code that crashes ends only its own. Why posix_spawn and
// not fork: a fork of a process with threads copies locks that nobody releases.
//
// Lifetime: the destructor kills a worker that still runs. A worker is also killed when the thread that started it
//           ends, so no worker outlives a starter that was killed.
// Threads:  any number of threads may start workers; each worker belongs to one of them, which must live as long.

#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "host/worker/channel.h"

namespace worker {

struct StartOptions {
    std::string role;
    int output = -1;          // standard output and standard error of the worker; -1 for those of this process
    bool leadsGroup = false;  // whether it leads a process group, which Kill ends as a whole
    bool blocksStops = true;  // whether SIGINT and SIGTERM leave it alone: its starter decides
    std::vector<int> passed;  // descriptors that become those from kFirstPassedDescriptor on
};

// How a process ended.
struct End {
    int signal = 0;  // 0 for a process that exited
    int status = 0;  // of a process that exited

    // "its process was terminated: Segmentation fault" or "its process ended with status 1".
    [[nodiscard]] std::string Text() const;
};

class Process {
  public:
    // Throws std::system_error when the system cannot start a process.
    explicit Process(const StartOptions& options);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    [[nodiscard]] Channel& GetChannel() { return channel_; }
    [[nodiscard]] pid_t Id() const { return id_; }

    // Sends SIGKILL, to the group that it leads if it leads one. Does nothing once the worker has been waited for,
    // except to a group, whose other processes may live on.
    void Kill();

    // Waits until the process has ended.
    End Wait();

    // Returns how the process ended; nothing while it runs.
    std::optional<End> Poll();

  private:
    End Note(int status);

    Channel channel_;
    pid_t id_ = -1;
    bool leadsGroup_;
    std::optional<End> end_;
};

}  // namespace worker
