// standard_streams.cpp - checks the streams in a function that runs when the program exits.

#include "host/program/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "host/program/exit_status.h"
#include "host/runtime/text.h"

namespace {

bool isOutputLost = false;

// Takes the number of a closed stream, in a way that makes reading from it or writing to it fail.
void KeepClosed(int stream) {
    if (fcntl(stream, F_GETFD) >= 0) return;
    const int opposite = stream == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    const int file = open("/dev/null", opposite | O_CLOEXEC);
    if (file >= 0 && file != stream) close(file);
}

// Lets a broken pipe end the program, as it ends others. Why a function and not the system's default: Foundation
// ignores the signal if it finds the default, and a script that prints in a loop would then never stop.
void EndByBrokenPipe() {
    struct sigaction action = {};
    if (sigaction(SIGPIPE, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) return;
    action.sa_handler = [](int number) { std::raise(number); };
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_NODEFER;
    sigaction(SIGPIPE, &action, nullptr);
}

// Returns why standard output could not be written to its end; 0 if it was.
int OutputError() {
    if (std::fflush(stdout) != 0) return errno;
    if (std::ferror(stdout) == 0) return 0;
    // An earlier flush failed and its reason is forgotten. The output is incomplete anyway, so one more try may show
    // it.
    std::clearerr(stdout);
    return std::fputc('\n', stdout) == EOF || std::fflush(stdout) != 0 ? errno : EIO;
}

void CheckAtExit() {
    if (const int error = OutputError(); error != 0) {
        NoteLostOutput("standard output: " + host::SystemReason(error) + "; the output is incomplete");
    }
    if (std::fflush(stderr) != 0 || std::ferror(stderr) != 0) isOutputLost = true;
    // The exit status is fixed by now, so this is the only way to change it.
    if (isOutputLost) _exit(kMachineFailed);
}

}  // namespace

void GuardStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) KeepClosed(stream);
    std::signal(SIGXFSZ, SIG_IGN);
    EndByBrokenPipe();
    // A larger buffer than usual: when it is flushed at the end, the reason of a failure is still known.
    static char buffer[1 << 16];
    if (isatty(STDOUT_FILENO) == 0) std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
    std::atexit(CheckAtExit);
}

void NoteLostOutput(const std::string& message) {
    isOutputLost = true;
    PrintError(message);
}

void PrintError(const std::string& text) { std::fprintf(stderr, "zeva: %s\n", host::PrintableText(text).c_str()); }
