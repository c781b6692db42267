// ending_signals.cpp - a handler that runs once and raises the signal again.

#include "host/program/ending_signals.h"

#include <unistd.h>

#include <atomic>
#include <csignal>

namespace {

std::atomic<void (*)()> removeFiles = nullptr;
std::atomic<const char*> emptyFolder = nullptr;

void EndCleanly(int number) {
    removeFiles.load()();
    if (const char* const folder = emptyFolder; folder != nullptr) rmdir(folder);
    std::raise(number);
}

}  // namespace

void RemoveAtSignals(void (*remove)()) {
    if (remove == nullptr) return;
    removeFiles = remove;
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
        action.sa_handler = EndCleanly;
        // The signal that is raised again has its usual effect.
        action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_NODEFER;
        sigaction(number, &action, nullptr);
    }
}

void RemoveFolderAtSignals(const char* folder) { emptyFolder = folder; }
