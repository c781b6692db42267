// server.h - the studio's server: pages, files and a web socket for this machine's browser only.
//
// It is a library of its own, which the program loads when the studio starts (StudioFunction), because it needs the
// web server's library. The program works without either.
//
// The server has threads. It decodes and renders nothing, and parses no picture, recipe or color table: two workers do
// (dispatcher.h), one for what is on the screen and one for what can wait.
//
// Failure: StartFailure before anything is served.

#pragma once

#include <string>
#include <vector>

namespace studio {

struct StudioOptions {
    std::vector<std::string> photos;
    std::string folder;         // empty for none
    std::string sharedRecipes;  // the folder of the recipes that come with the program
    std::string ownRecipes;     // the folder of the user's own recipes; empty when there is none
    int port = 0;               // 0 for any that is free
    bool opensBrowser = true;
    bool isQuiet = false;
    std::string workerSetup;  // the first message of each worker
};

// What RunStudio returns.
struct StudioResult {
    int signal = 0;        // that ended it
    std::string failure;   // why it did not start; empty otherwise
    bool isUsage = false;  // the arguments are the cause
};

// Serves until the program is interrupted.
using StudioFunction = void (*)(const StudioOptions& options, StudioResult& result);

inline constexpr const char* kStudioFunction = "RunZevaStudio";

}  // namespace studio

extern "C" void RunZevaStudio(const studio::StudioOptions& options, studio::StudioResult& result);
