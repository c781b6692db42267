// gallery.cpp - "zeva gallery": pictures of every filter, and the pages that show them.
//
// The programs of gallery.json are run in worker processes, so that a filter that fails costs one picture and both processors
// work. The modules are loaded before the workers begin, and nothing is rendered in this process: what a worker inherits has
// one thread.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>

#include "host/runtime/errors.h"
#include "host/batch/batch.h"
#include "host/description/class_description.h"
#include "host/program/commands.h"
#include "host/gallery/pages.h"
#include "host/batch/progress.h"
#include "host/script/script.h"

// The texts of the files of these names.
extern const char kGalleryStyle[];
extern const char kGalleryScript[];
extern const char kPrepareScript[];

namespace {

using host::Host;
using host::HostError;
using host::ObjectReference;
using std::filesystem::path;

// A program to run for a photo.
struct Job {
    const GalleryPhoto* photo;
    const GalleryFilter* filter;
    const Sample* sample;
};

void WriteText(const path& file, const std::string& text) {
    std::ofstream stream(file, std::ios::binary);
    stream << text;
    stream.close();
    if (!stream) throw HostError(file.string(), "it could not be written");
}

// The filters of the loaded modules, as the overview shows them.
std::vector<GalleryFilter> Filters(Host& session) {
    std::vector<GalleryFilter> filters;
    for (const host::Class* isa : session.Classes().All()) {
        session.Classes().Linked(isa->Name());
        if (!IsFilter(*isa)) continue;
        Json description = ClassJson(session, *isa);
        std::vector<Sample> samples = SamplesOf(description);
        filters.push_back({std::move(description), std::move(samples)});
    }
    const auto place = [](const GalleryFilter& filter) {
        return std::pair<std::string, std::string>(filter.description["category"], filter.description["displayName"]);
    };
    std::sort(filters.begin(), filters.end(), [&](const auto& a, const auto& b) { return place(a) < place(b); });
    return filters;
}

// A folder for each photo, called after it in characters that need no escape anywhere; a number tells equal ones apart.
std::vector<GalleryPhoto> Photos(const std::vector<std::string>& files) {
    std::vector<GalleryPhoto> photos;
    std::map<std::string, int> taken;
    for (const std::string& file : files) {
        std::string folder = path(file).stem().string();
        for (char& c : folder) {
            const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
            if (!isPlain) c = '-';
        }
        const int number = ++taken[folder];
        photos.push_back({path(file).filename().string(),
                          "pictures/" + folder + (number > 1 ? "." + std::to_string(number) : ""), 0, 0});
    }
    return photos;
}

// Runs a program in a folder.
void RunIn(Host& session, const path& folder, const std::string& text, const std::string& name,
           std::span<const std::string> arguments = {}) {
    std::filesystem::current_path(folder);
    host::script::Script(session).RunText(text, name, arguments);
}

// Fills the photos' folders; throws for the first photo that cannot be used, with nothing rendered.
void Prepare(Host& session, const std::vector<GalleryPhoto>& photos, const std::vector<std::string>& files,
             const path& target) {
    std::vector<std::string> inputs;
    for (const std::string& file : files) inputs.push_back(std::filesystem::absolute(file).string());
    const auto prepare = [&]() -> BatchJob {
        return [&](std::size_t i) {
            std::vector<std::string> arguments = {inputs[i]};
            if (inputs.size() > 1) arguments.push_back(inputs[(i + 1) % inputs.size()]);
            RunIn(session, target / photos[i].folder, kPrepareScript, "prepare.lua", arguments);
        };
    };
    std::string failure;
    RunBatch(photos.size(), prepare, [&](std::size_t i, const std::string& why) {
        if (failure.empty() && !why.empty()) failure = files[i] + ": " + why;
    });
    if (!failure.empty()) throw HostError(failure, "no gallery is made");
}

// Why a program failed, in words: a filter without an output image is told as that.
std::string Reason(const std::string& failure) {
    return failure.find("'outputImage'") != std::string::npos ? "the filter gave no image" : failure;
}

// Runs all programs; notes the pictures that are missing afterwards and tells of them.
void Render(Host& session, Gallery& gallery, const path& target) {
    std::vector<Job> jobs;
    for (const GalleryPhoto& photo : gallery.photos) {
        for (const GalleryFilter& filter : gallery.filters) {
            for (const Sample& sample : filter.samples) jobs.push_back({&photo, &filter, &sample});
        }
    }
    Progress progress(jobs.size());
    const auto prepare = [&]() -> BatchJob {
        return [&](std::size_t i) {
            const std::string name = jobs[i].filter->description["filter"];
            RunIn(session, target / jobs[i].photo->folder, jobs[i].sample->text, name);
        };
    };
    RunBatch(jobs.size(), prepare, [&](std::size_t i, const std::string& failure) {
        const auto& [photo, filter, sample] = jobs[i];
        if (failure.empty()) return progress.Done("");
        for (const std::string& picture : sample->pictures)
            gallery.missing[photo->folder + "/" + picture] = Reason(failure);
        progress.Done(std::string(filter->description["filter"]) + ", " + sample->caption + ", " + photo->name + ": " +
                      Reason(failure));
    });
    progress.Summarize("written to " + target.string());
}

// Reads how large the photos are as they are shown.
void Measure(Host& session, std::vector<GalleryPhoto>& photos, const path& target) {
    for (GalleryPhoto& photo : photos) {
        const host::Value file[] = {host::TextValue((target / photo.folder / "photo.jpg").string())};
        const host::Value image = session.CallShared("CIImageQOR", "Open", file);
        const host::Value extent = session.Get(std::get<ObjectReference>(image).Get(), "Extent");
        const auto side = [&](const char* name) {
            return static_cast<int>(std::get<double>(session.Get(std::get<ObjectReference>(extent).Get(), name)));
        };
        photo.width = side("Width");
        photo.height = side("Height");
    }
}

void WritePages(const Gallery& gallery, const path& target) {
    WriteText(target / "index.html", IndexPage(gallery));
    for (std::size_t i = 0; i < gallery.filters.size(); ++i) {
        WriteText(target / PageName(gallery.filters[i]), FilterPage(gallery, i));
    }
    WriteText(target / "gallery.css", kGalleryStyle);
    WriteText(target / "gallery.js", kGalleryScript);
    WriteText(target / "prepare.lua", kPrepareScript);
}

void MakeGallery(const SessionOptions& options, const std::vector<std::string>& files, const std::string& folder) {
    if (!options.trace.empty()) throw HostError("--trace", "it tells of one process, a gallery is made by several");
    const auto session = OpenSession(options);
    Gallery gallery = {Photos(files), Filters(*session), {}};
    const path target = std::filesystem::absolute(folder).lexically_normal();
    for (const GalleryPhoto& photo : gallery.photos) std::filesystem::create_directories(target / photo.folder);
    Prepare(*session, gallery.photos, files, target);
    Render(*session, gallery, target);
    Measure(*session, gallery.photos, target);
    WritePages(gallery, target);
    if (!gallery.missing.empty()) throw CLI::RuntimeError(1);
}

}  // namespace

void AddGallery(CLI::App& program, const SessionOptions& session) {
    CLI::App* gallery =
        program.add_subcommand("gallery", "Shows what every filter does to photos, on pages to browse.");
    const auto photos = std::make_shared<std::vector<std::string>>();
    const auto folder = std::make_shared<std::string>();
    gallery->add_option("PHOTO", *photos, "PNG or JPEG; one above 800 pixels is scaled down")->required();
    gallery->add_option("-o,--output", *folder, "folder for the pages; index.html is the one to open")->required();
    gallery->callback([=, &session] { MakeGallery(session, *photos, *folder); });
}
