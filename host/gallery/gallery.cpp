// gallery.cpp - runs the programs of the gallery and writes its files.
//
// The programs run in worker processes, so that a filter that crashes costs one picture and all processors are used. A
// job of a worker is a list of texts: the file of a photo to open; or a folder, and a program to run there with its
// name and its arguments.

#include "host/gallery/gallery.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <span>
#include <tuple>
#include <variant>

#include "host/batch/batch.h"
#include "host/batch/progress.h"
#include "host/description/class_description.h"
#include "host/gallery/pages.h"
#include "host/recipe/prepared_recipe.h"
#include "host/recipe/recipe_lua.h"
#include "host/recipe/recipe_syntax.h"
#include "host/runtime/errors.h"
#include "host/runtime/text.h"
#include "host/runtime/write_file.h"
#include "host/script/script.h"
#include "host/worker/texts.h"

// The texts of gallery.css, gallery.js and prepare.lua.
extern const char kColorStyle[];
extern const char kGalleryStyle[];
extern const char kGalleryScript[];
extern const char kPrepareScript[];

namespace {

using host::Host;
using host::HostError;
using host::ObjectReference;
using std::filesystem::path;

// A sample or a recipe to run for a photo.
struct Job {
    const GalleryPhoto* photo;
    const GalleryFilter* filter;
    const Sample* sample;
    const GalleryRecipe* recipe = nullptr;  // in place of the filter and the sample
};

// The kinds of jobs that workers do: open a photo; run a program in a folder; run a recipe in a folder.
constexpr const char* kOpen = "open";
constexpr const char* kRunProgram = "run";
constexpr const char* kRunRecipe = "recipe";

// The recipes of a folder.
std::vector<GalleryRecipe> Recipes(const path& folder) {
    std::vector<GalleryRecipe> recipes;
    for (const std::string& name : RecipeNamesIn(folder)) {
        const std::string file = (folder / name).string();
        std::ifstream stream(file);
        const std::string text{std::istreambuf_iterator<char>(stream), {}};
        const std::string picture = "recipe-" + path(name).stem().string() + ".jpg";
        recipes.push_back({name, file, ParseRecipe(text, file).title, text, picture});
    }
    return recipes;
}

// The filters of the loaded modules, in the order of the overview: by category and title.
std::vector<GalleryFilter> Filters(Host& host) {
    std::vector<GalleryFilter> filters;
    for (const host::Class* isa : host.Classes().All()) {
        host.Classes().Linked(isa->Name());
        if (!IsFilter(*isa)) continue;
        ClassDescription description = DescribeClass(host, *isa);
        std::vector<Sample> samples = SamplesOf(description);
        filters.push_back({std::move(description), std::move(samples)});
    }
    std::sort(filters.begin(), filters.end(), [](const GalleryFilter& a, const GalleryFilter& b) {
        return std::tie(a.Title().category, a.Title().displayName) <
               std::tie(b.Title().category, b.Title().displayName);
    });
    return filters;
}

// The classes that are not filters, in the order of their registration.
std::vector<ClassDescription> OtherClasses(Host& host, const std::set<const host::Class*>& classes) {
    std::vector<ClassDescription> descriptions;
    for (const host::Class* isa : host.Classes().All()) {
        if (classes.contains(isa) && !IsFilter(*isa)) descriptions.push_back(DescribeClass(host, *isa));
    }
    return descriptions;
}

// The folder of each photo. Its name is the photo's, with only characters that need no escape anywhere; a number
// keeps equal names apart.
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
        photos.push_back({host::PrintableText(path(file).filename().string()),
                          "pictures/" + folder + (number > 1 ? "." + std::to_string(number) : ""), 0, 0});
    }
    return photos;
}

// Runs a job for each photo. Throws PhotoError for the first one that fails.
void RunForPhotos(const BatchOptions& workers, const std::vector<std::string>& files,
                  const std::function<std::vector<std::string>(std::size_t)>& job) {
    std::string failure;
    int number = 0;
    const auto request = [&](std::size_t i) { return worker::Pack(job(i)); };
    static_cast<void>(RunBatch(workers, files.size(), request, [&](const BatchResult& result) {
        if (!failure.empty() || result.failure.empty()) return AfterJob::kGoOn;
        failure = files[result.number] + ": " + result.failure;
        number = result.errorNumber;
        return AfterJob::kStop;
    }));
    if (!failure.empty()) throw PhotoError(failure, "no gallery was written", number);
}

// Opens each photo, so that one that cannot be used is found before anything is created.
void Check(const BatchOptions& workers, const std::vector<std::string>& files) {
    RunForPhotos(workers, files, [&](std::size_t i) { return std::vector<std::string>{kOpen, files[i]}; });
}

// Fills the photos' folders. A filter of two pictures gets the second one, or the next photo.
void Prepare(const BatchOptions& workers, const std::vector<GalleryPhoto>& photos,
             const std::vector<std::string>& files, const std::string& second, const path& target) {
    const auto whole = [](const std::string& file) { return std::filesystem::absolute(file).string(); };
    RunForPhotos(workers, files, [&](std::size_t i) {
        std::vector<std::string> job = {kRunProgram, (target / photos[i].folder).string(), kPrepareScript,
                                        "prepare.lua", whole(files[i])};
        if (!second.empty()) {
            job.push_back(whole(second));
        } else if (files.size() > 1) {
            job.push_back(whole(files[(i + 1) % files.size()]));
        }
        return job;
    });
}

// The reason of a failure. A script that reads a nil output image fails with a message about nil, which is translated.
std::string Reason(const std::string& failure) {
    return failure.find("'outputImage'") != std::string::npos ? "the filter has no output image" : failure;
}

// Runs all samples. Prints each failure and notes the pictures that are missing because of it.
void Render(const BatchOptions& workers, Gallery& gallery, const path& target, bool isQuiet) {
    std::vector<Job> jobs;
    for (const GalleryPhoto& photo : gallery.photos) {
        for (const GalleryFilter& filter : gallery.filters) {
            for (const Sample& sample : filter.samples) jobs.push_back({&photo, &filter, &sample});
        }
        for (const GalleryRecipe& recipe : gallery.recipes) jobs.push_back({&photo, nullptr, nullptr, &recipe});
    }
    Progress progress(jobs.size(), isQuiet);
    const auto request = [&](std::size_t i) {
        const auto& [photo, filter, sample, recipe] = jobs[i];
        const std::string folder = (target / photo->folder).string();
        if (recipe != nullptr) return worker::Pack({kRunRecipe, folder, recipe->file, recipe->name, recipe->picture});
        return worker::Pack({kRunProgram, folder, sample->text, filter->Title().name});
    };
    const auto note = [&](std::size_t i, const std::string& failure) {
        const auto& [photo, filter, sample, recipe] = jobs[i];
        if (failure.empty()) return progress.Done("");
        const std::vector<std::string> pictures = recipe != nullptr ? std::vector{recipe->picture} : sample->pictures;
        for (const std::string& picture : pictures) {
            gallery.missing[photo->folder + "/" + picture] = host::PrintableText(Reason(failure));
        }
        if (recipe != nullptr) return progress.Done(recipe->name + ", " + photo->name + ": " + Reason(failure));
        progress.Done(filter->Title().name + ", " + sample->caption + ", " + photo->name + ": " + Reason(failure));
    };
    static_cast<void>(RunBatch(workers, jobs.size(), request, [&](const BatchResult& result) {
        note(result.number, result.failure);
        return AfterJob::kGoOn;
    }));
    progress.Summarize("written to " + target.string());
}

// Reads the size at which each photo is shown.
void Measure(Host& host, std::vector<GalleryPhoto>& photos, const path& target) {
    for (GalleryPhoto& photo : photos) {
        const host::Value file[] = {host::TextValue((target / photo.folder / "photo.jpg").string())};
        const host::Value image = host.CallShared("CIImageQOR", "Open", file);
        const host::Value extent = host.Get(std::get<ObjectReference>(image).Get(), "Extent");
        const auto side = [&](const char* name) {
            return static_cast<int>(std::get<double>(host.Get(std::get<ObjectReference>(extent).Get(), name)));
        };
        photo.width = side("Width");
        photo.height = side("Height");
    }
}

void WritePages(const Gallery& gallery, const path& target) {
    host::WriteFile(target / "index.html", IndexPage(gallery));
    for (std::size_t i = 0; i < gallery.filters.size(); ++i) {
        host::WriteFile(target / PageName(gallery.filters[i]), FilterPage(gallery, i));
    }
    if (!gallery.recipes.empty()) host::WriteFile(target / kRecipesPage, RecipesPage(gallery));
    for (const ClassDescription& description : gallery.classes) {
        host::WriteFile(target / PageName(description), ClassPage(description));
    }
    host::WriteFile(target / "gallery.css", std::string(kColorStyle) + "\n" + kGalleryStyle);
    host::WriteFile(target / "gallery.js", kGalleryScript);
    host::WriteFile(target / "prepare.lua", kPrepareScript);
}

}  // namespace

void RunGalleryJob(Host& host, const std::string& request) {
    const std::vector<std::string> texts = worker::Unpack(request).value();
    if (texts.at(0) == kOpen) {
        const host::Value file[] = {host::TextValue(texts.at(1))};
        host.CallShared("CIImageQOR", "Open", file);
        return;
    }
    std::string program = texts.at(2);
    std::vector<std::string> arguments(texts.begin() + 4, texts.end());
    if (texts[0] == kRunRecipe) {
        const Recipe recipe = ReadRecipeFile(program);
        program = RecipeLua(recipe, PrepareRecipe(host, recipe, /*hasInput=*/true), /*hasInput=*/true);
        arguments.insert(arguments.begin(), "photo.jpg");
    }
    std::filesystem::current_path(texts[1]);
    host::script::Script(host).RunText(program, texts.at(3), arguments);
}

bool WriteGallery(Host& host, const BatchOptions& workers, const std::vector<std::string>& photos,
                  const std::string& second, const std::string& folder, const path& recipes,
                  const std::set<const host::Class*>& addedClasses, bool isQuiet) {
    Gallery gallery = {Photos(photos),
                       Filters(host),
                       Recipes(std::filesystem::absolute(recipes)),
                       OtherClasses(host, addedClasses),
                       {}};
    const path target = std::filesystem::absolute(folder).lexically_normal();
    const path pictures = std::filesystem::weakly_canonical(target / "pictures");
    std::vector<std::string> inputs = photos;
    if (!second.empty()) inputs.push_back(second);
    for (const std::string& photo : inputs) {
        const path relative = std::filesystem::weakly_canonical(photo).lexically_relative(pictures);
        if (!relative.empty() && *relative.begin() != "..") {
            throw HostError(photo, "the gallery would overwrite it; nothing was written");
        }
    }
    Check(workers, inputs);
    for (const GalleryPhoto& photo : gallery.photos) std::filesystem::create_directories(target / photo.folder);
    Prepare(workers, gallery.photos, photos, second, target);
    Render(workers, gallery, target, isQuiet);
    Measure(host, gallery.photos, target);
    WritePages(gallery, target);
    return gallery.missing.empty();
}
