// worker_process.cpp - starts the worker with posix_spawn: the server has threads and cannot fork.

#include "host/studio/worker_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

extern char** environ;

namespace studio {
namespace {

// Starts the command with the socket as standard input, in a process group of its own, so that the terminal's
// interrupt does not reach it. Returns 0 when that failed.
pid_t Spawn(const std::vector<std::string>& command, int socket) {
    std::vector<char*> words;
    for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, socket, STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
    posix_spawnattr_setpgroup(&attributes, 0);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    pid_t process = 0;
    const int error = posix_spawn(&process, words[0], &actions, &attributes, words.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? process : 0;
}

}  // namespace

bool WorkerProcess::Start() {
    const std::scoped_lock lock(mutex_);
    if (isStopped_) return false;
    if (process_ != 0) return true;
    int sockets[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) return false;
    process_ = Spawn(command_, sockets[1]);
    close(sockets[1]);
    socket_ = sockets[0];
    if (process_ == 0) {
        close(socket_);
        socket_ = -1;
    }
    return process_ != 0;
}

void WorkerProcess::End() {
    const std::scoped_lock lock(mutex_);
    if (socket_ >= 0) close(socket_);
    socket_ = -1;
    if (process_ == 0) return;
    kill(process_, SIGKILL);
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
    process_ = 0;
}

void WorkerProcess::Stop() {
    const std::scoped_lock lock(mutex_);
    isStopped_ = true;
    if (process_ != 0) kill(process_, SIGKILL);
}

WorkerProcess::Outcome WorkerProcess::Ask(const Message& request, std::chrono::seconds patience, Message& answer) {
    if (!Start()) return Outcome::kNotStarted;
    Outcome outcome = Outcome::kCrashed;
    if (Send(socket_, request)) {
        pollfd readable = {socket_, POLLIN, 0};
        const auto end = std::chrono::steady_clock::now() + patience;
        int ready = -1;
        do {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
            ready = poll(&readable, 1, static_cast<int>(std::max(left.count(), decltype(left.count()){0})));
        } while (ready < 0 && errno == EINTR);
        if (ready == 0) outcome = Outcome::kTookTooLong;
        if (ready > 0 && Receive(socket_, answer)) return Outcome::kAnswered;
    }
    End();
    return outcome;
}

}  // namespace studio
