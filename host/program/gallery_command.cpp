// gallery_command.cpp - "zeva gallery": writes pages that show every filter.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/batch/batch.h"
#include "host/gallery/gallery.h"
#include "host/program/commands.h"
#include "host/program/program_arguments.h"
#include "host/runtime/errors.h"

namespace {

struct GalleryRequest {
    std::vector<std::string> photos;
    std::string second;
    std::string folder;
};

constexpr const char* kGalleryRole = "gallery";

int Run(const ProgramOptions& options, const GalleryRequest& request) {
    if (!options.trace.empty())
        throw host::HostError("--trace", "several processes write a gallery and are not traced");
    ProgramOptions ofWorker = options;
    ofWorker.workers = WorkersOfBatch(SIZE_MAX);
    const BatchOptions workers = {.role = kGalleryRole, .setup = SetupOf(ofWorker)};
    const auto host = MakeHost(ofWorker);
    try {
        const auto added = ClassesOfAddedModules(*host);
        const bool isComplete = WriteGallery(*host, workers, request.photos, request.second, request.folder,
                                             SharedRecipes(), added, options.isQuiet);
        return isComplete ? kDone : kFailed;
    } catch (const PhotoError& error) {
        throw Failure(StatusOfNumber(error.ErrorNumber(), kFailed), error.what());
    }
}

}  // namespace

Command GalleryCommand() {
    const auto request = std::make_shared<GalleryRequest>();
    return {
        .name = "gallery",
        .help = "Writes pages that show every filter and recipe on photos.",
        .arguments =
            {
                {"PHOTO", &request->photos, "photo; scaled down to at most 800 pixels", /*isRequired=*/true},
                {"-o,--output", &request->folder, "folder for the pages; index.html is the first", /*isRequired=*/true},
                {"--second", &request->second, "picture for filters that take two; default: the next photo"},
            },
        .run = [request](const ProgramOptions& options) { return Run(options, *request); },
    };
}

worker::Role GalleryRole() {
    return BatchRole(kGalleryRole, [](const std::string& setup) -> BatchJob {
        const std::shared_ptr<host::Host> host = MakeHost(OptionsIn(setup));
        return [host](const std::string& request) {
            RunGalleryJob(*host, request);
            return std::string();
        };
    });
}
