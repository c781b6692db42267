// process.cpp - posix_spawn, with the descriptors of the worker in their places.

#include "host/worker/process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <system_error>

#include "host/worker/role.h"

namespace worker {

namespace {

[[noreturn]] void Throw(int error, const char* what) { throw std::system_error(error, std::generic_category(), what); }

// Copies of descriptors, out of the way of the numbers that a worker expects its own at.
class Copies {
  public:
    ~Copies() {
        for (const int copy : copies_) close(copy);
    }
    Copies() = default;
    Copies(const Copies&) = delete;

    int Of(int descriptor) {
        constexpr int kOutOfTheWay = 64;
        const int copy = fcntl(descriptor, F_DUPFD_CLOEXEC, kOutOfTheWay);
        if (copy < 0) Throw(errno, "cannot pass a descriptor to a worker process");
        copies_.push_back(copy);
        return copy;
    }

  private:
    std::vector<int> copies_;
};

// The two parameters of posix_spawn that are made step by step.
struct SpawnParameters {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;

    SpawnParameters() {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
    }
    ~SpawnParameters() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnParameters(const SpawnParameters&) = delete;

    void Place(int descriptor, int number) {
        const int error = posix_spawn_file_actions_adddup2(&actions, descriptor, number);
        if (error != 0) Throw(error, "cannot start a worker process");
    }
};

}  // namespace

std::string End::Text() const {
    if (signal != 0) return std::string("its process was terminated: ") + strsignal(signal);
    return "its process ended with status " + std::to_string(status);
}

Process::Process(const StartOptions& options) : channel_(-1), leadsGroup_(options.leadsGroup) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        Throw(errno, "cannot create the channel of a worker process");
    }
    channel_ = Channel(ends[0]);
    const Channel ofWorker(ends[1]);
    Copies copies;
    SpawnParameters spawn;
    spawn.Place(copies.Of(ofWorker.Descriptor()), kChannelDescriptor);
    for (std::size_t i = 0; i < options.passed.size(); ++i) {
        spawn.Place(copies.Of(options.passed[i]), kFirstPassedDescriptor + static_cast<int>(i));
    }
    if (options.output >= 0) {
        const int output = copies.Of(options.output);
        spawn.Place(output, STDOUT_FILENO);
        spawn.Place(output, STDERR_FILENO);
    }
    short flags = POSIX_SPAWN_SETSIGMASK;
    sigset_t blocked;
    sigemptyset(&blocked);
    if (options.blocksStops) {
        sigaddset(&blocked, SIGINT);
        sigaddset(&blocked, SIGTERM);
    }
    posix_spawnattr_setsigmask(&spawn.attributes, &blocked);
    if (leadsGroup_) flags |= POSIX_SPAWN_SETPGROUP;
    posix_spawnattr_setflags(&spawn.attributes, flags);
    char program[] = "zeva";
    std::string command = kCommand, role = options.role;
    char* arguments[] = {program, command.data(), role.data(), nullptr};
    // The link stands for the program that runs, even when its file has been replaced.
    const int error = posix_spawn(&id_, "/proc/self/exe", &spawn.actions, &spawn.attributes, arguments, environ);
    if (error != 0) Throw(error, "cannot start a worker process");
}

Process::~Process() {
    Kill();
    Wait();
}

void Process::Kill() {
    if (leadsGroup_) kill(-id_, SIGKILL);
    if (!end_) kill(id_, SIGKILL);
}

End Process::Wait() {
    int status = 0;
    while (!end_) {
        const pid_t ended = waitpid(id_, &status, 0);
        if (ended < 0 && errno == EINTR) continue;
        Note(ended < 0 ? 0 : status);
    }
    return *end_;
}

std::optional<End> Process::Poll() {
    int status = 0;
    if (!end_ && waitpid(id_, &status, WNOHANG) == id_) Note(status);
    return end_;
}

End Process::Note(int status) {
    end_ = End{WIFSIGNALED(status) ? WTERMSIG(status) : 0, WIFEXITED(status) ? WEXITSTATUS(status) : 0};
    return *end_;
}

}  // namespace worker
