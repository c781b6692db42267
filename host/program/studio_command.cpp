// studio_command.cpp - "zeva studio": shows filters live in the browser, and what its workers do.
//
// The server is a library that is loaded here (host/studio/server.h). The program that starts it does nothing else.

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "host/program/commands.h"
#include "host/program/program_arguments.h"
#include "host/studio/message.h"
#include "host/studio/server.h"
#include "host/studio/worker.h"

namespace {

namespace fs = std::filesystem;

// One for the screen and one for what can wait (host/studio/calls.h).
constexpr std::size_t kWorkers = 2;

struct StudioRequest {
    std::vector<std::string> photos;
    std::string folder;
    unsigned port = 0;
    bool opensNothing = false;
};

// Loads the server. Throws UsageError when it was not built or lacks a library.
studio::StudioFunction LoadServer(const fs::path& program) {
    const fs::path library = program.parent_path().parent_path() / "lib" / "libstudio_server.so";
    // Never closed: its threads and handlers remain.
    void* opened = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* function = opened != nullptr ? dlsym(opened, studio::kStudioFunction) : nullptr;
    if (function == nullptr) {
        std::error_code error;
        const bool isBuilt = fs::exists(library, error);
        throw UsageError(isBuilt ? "studio: the web server's library is missing; install libcivetweb1"
                                 : "studio: it was not built; install libcivetweb-dev and build zeva again");
    }
    return reinterpret_cast<studio::StudioFunction>(function);
}

// The folder for what the user keeps.
std::string DataFolder() {
    const char* data = std::getenv("XDG_DATA_HOME");
    if (data != nullptr && *data == '/') return std::string(data) + "/zeva";
    const char* home = std::getenv("HOME");
    return home != nullptr && *home == '/' ? std::string(home) + "/.local/share/zeva" : "";
}

int RunStudio(const ProgramOptions& options, const StudioRequest& request) {
    if (!options.trace.empty()) throw UsageError("--trace: several processes run in a studio and are not traced");
    constexpr unsigned kLargestPort = 65535;
    if (request.port > kLargestPort) throw UsageError("--port must be from 0 to 65535");
    std::error_code error;
    if (fs::exists(request.folder, error) && !fs::is_directory(request.folder, error)) {
        throw UsageError("--folder: " + request.folder + " is not a folder");
    }
    const fs::path program = fs::read_symlink("/proc/self/exe");
    const studio::StudioFunction run = LoadServer(program);
    ProgramOptions ofWorker = options;
    ofWorker.workers = kWorkers;
    studio::StudioResult result;
    run({.photos = request.photos,
         .folder = request.folder,
         .sharedRecipes = SharedRecipes().string(),
         .ownRecipes = DataFolder().empty() ? "" : DataFolder() + "/recipes",
         .port = static_cast<int>(request.port),
         .opensBrowser = !request.opensNothing,
         .isQuiet = options.isQuiet,
         .workerSetup = SetupOf(ofWorker)},
        result);
    if (!result.failure.empty()) throw Failure(result.isUsage ? kWrongUsage : kFailed, result.failure);
    constexpr int kEndedBySignal = 128;
    return kEndedBySignal + result.signal;
}

}  // namespace

Command StudioCommand() {
    const auto request = std::make_shared<StudioRequest>();
    return {
        .name = "studio",
        .help = "Shows filters live in the browser.",
        .arguments =
            {
                {"PHOTO", &request->photos, "photo to open; more can be dropped on the page"},
                {"--folder", &request->folder, "folder whose pictures are opened and in which results are saved"},
                {"--port", &request->port, "port to listen on; default: any that is free"},
                {"--no-open", &request->opensNothing, "print the link only, do not open a browser"},
            },
        .run = [request](const ProgramOptions& options) { return RunStudio(options, *request); },
    };
}

worker::Role StudioRole() {
    return {studio::kWorkerRole, [](worker::Channel& channel) -> int {
                const std::optional<std::string> setup = channel.Receive();
                if (!setup) return kDone;
                const auto host = MakeHost(OptionsIn(*setup));
                studio::RunWorker(*host, channel);
                return kDone;
            }};
}
