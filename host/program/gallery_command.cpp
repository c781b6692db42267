// gallery_command.cpp - "zeva gallery": writes pages that show every filter.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/batch/batch.h"
#include "host/gallery/gallery.h"
#include "host/program/commands.h"
#include "host/runtime/errors.h"

namespace {

struct GalleryRequest {
    std::vector<std::string> photos;
    std::string second;
    std::string folder;
};

int Run(ProgramOptions options, const GalleryRequest& request) {
    if (!options.trace.empty())
        throw host::HostError("--trace", "several processes write a gallery and are not traced");
    options.workers = WorkersOfBatch(SIZE_MAX);
    const auto host = MakeHost(options);
    try {
        const bool isWhole =
            WriteGallery(*host, request.photos, request.second, request.folder, SharedRecipes(), options.isQuiet);
        return isWhole ? kDone : kFailed;
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
