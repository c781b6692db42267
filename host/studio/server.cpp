// server.cpp - prints links, and serves until a signal comes.

#include "host/studio/server.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <system_error>

#include "host/studio/calls.h"
#include "host/studio/web_server.h"

namespace studio {
namespace {

// Opens a link in the browser of a desktop. Without a desktop, nothing happens.
void OpenBrowser(const std::string& link) {
    if (std::getenv("DISPLAY") == nullptr && std::getenv("WAYLAND_DISPLAY") == nullptr) return;
    std::string program = "xdg-open";
    std::string argument = link;
    char* const words[] = {program.data(), argument.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
    }
    pid_t process = 0;
    posix_spawnp(&process, words[0], &actions, nullptr, words, environ);
    posix_spawn_file_actions_destroy(&actions);
}

void Print(const std::string& line) {
    std::printf("%s\n", line.c_str());
    if (std::fflush(stdout) != 0) throw std::system_error(errno, std::generic_category(), "standard output");
}

// Prints a new link for each Enter until a signal comes. Returns the signal.
int WaitForSignal(Server& server, int signals) {
    pollfd inputs[] = {{signals, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    for (;;) {
        if (poll(inputs, 2, -1) < 0) continue;
        if (inputs[0].revents != 0) {
            signalfd_siginfo info = {};
            if (read(signals, &info, sizeof info) == sizeof info) return static_cast<int>(info.ssi_signo);
        }
        if (inputs[1].revents != 0) {
            char typed[256];
            const ssize_t count = read(STDIN_FILENO, typed, sizeof typed);
            if (count <= 0) inputs[1].fd = -1;
            if (count > 0) Print(server.NewLink());
        }
    }
}

}  // namespace
}  // namespace studio

void RunZevaStudio(const studio::StudioOptions& options, studio::StudioResult& result) {
    using namespace studio;
    // Blocked before any thread starts, so that only this function receives them.
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&ending, signal);
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    const int signals = signalfd(-1, &ending, SFD_CLOEXEC);
    try {
        Server server(options);
        server.Listen();
        server.OpenPhotos();
        const std::string link = server.NewLink();
        Print(link);
        if (!options.isQuiet) std::fputs("Enter prints a new link, Ctrl-C ends the studio.\n", stderr);
        if (options.opensBrowser) OpenBrowser(link);
        result.signal = WaitForSignal(server, signals);
    } catch (const PhotoFailure& error) {
        result = {0, error.what(), false};
    } catch (const std::filesystem::filesystem_error& error) {
        result = {0, "--folder: " + error.path1().string() + ": " + error.code().message(), true};
    } catch (const std::exception& error) {
        result = {0, error.what(), true};
    }
    close(signals);
}
