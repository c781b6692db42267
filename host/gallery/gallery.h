// gallery.h - writes pictures of every filter, and the pages that show them. A class of an added module that is not a
// filter gets a page of its properties.

#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "host/batch/batch.h"
#include "host/runtime/errors.h"
#include "host/runtime/host.h"

// A photo that cannot be used.
class PhotoError : public host::HostError {
  public:
    using HostError::HostError;
};

// Writes the gallery of some photos to a folder, which is created when it is missing. A filter of two pictures gets the
// second one as the other picture, or the next photo when `second` is empty. It shows the filters, and the recipes of a
// folder. The pictures are made by workers, whose jobs are those of RunGalleryJob. Prints each program that failed and,
// unless it is quiet, the progress.
//
// Returns whether all pictures were made. In either case the pages are complete and give the reason for each missing
// picture.
//
// Fails:  PhotoError; HostError when a photo lies where a picture would be written, and when a page cannot be written.
// Thread: the host's.
[[nodiscard]] bool WriteGallery(host::Host& host, const BatchOptions& workers, const std::vector<std::string>& photos,
                                const std::string& second, const std::string& folder,
                                const std::filesystem::path& recipes, const std::set<const host::Class*>& addedClasses,
                                bool isQuiet);

// The side of a worker: does a job of WriteGallery. Throws when it fails.
void RunGalleryJob(host::Host& host, const std::string& request);
