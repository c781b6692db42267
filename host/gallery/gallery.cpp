// gallery.cpp - runs the programs of the gallery and writes its files.
//
// The programs run in worker processes, so that a filter that crashes costs one picture and all processors are used.
// The modules are loaded before the workers start, but nothing is rendered in this process: rendering starts threads,
// and a process with threads must not fork.

#include "host/gallery/gallery.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
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

// Runs a Lua program in a folder.
void RunIn(Host& host, const path& folder, const std::string& text, const std::string& name,
           std::span<const std::string> arguments = {}) {
    std::filesystem::current_path(folder);
    host::script::Script(host).RunText(text, name, arguments);
}

// Writes the picture of a recipe in the folder of a photo.
void RunRecipeIn(Host& host, const path& folder, const GalleryRecipe& recipe) {
    const Recipe parsed = ReadRecipeFile(recipe.file);
    const std::string program = RecipeLua(parsed, PrepareRecipe(host, parsed, /*hasInput=*/true), /*hasInput=*/true);
    const std::string arguments[] = {"photo.jpg", recipe.picture};
    RunIn(host, folder, program, recipe.name, arguments);
}

// Runs a job for each photo. Throws PhotoError for the first one that fails.
void RunForPhotos(const std::vector<std::string>& files, const BatchJob& job) {
    std::string failure;
    int number = 0;
    const auto prepare = [&] { return job; };
    RunBatch(files.size(), prepare, [&](std::size_t i, const std::string& why, int errorNumber) {
        if (!failure.empty() || why.empty()) return;
        failure = files[i] + ": " + why;
        number = errorNumber;
    });
    if (!failure.empty()) throw PhotoError(failure, "no gallery was written", number);
}

// Opens each photo, so that one that cannot be used is found before anything is created.
void Check(Host& host, const std::vector<std::string>& files) {
    RunForPhotos(files, [&](std::size_t i) {
        const host::Value file[] = {host::TextValue(files[i])};
        host.CallShared("CIImageQOR", "Open", file);
    });
}

// Fills the photos' folders. A filter of two pictures gets the second one, or the next photo.
void Prepare(Host& host, const std::vector<GalleryPhoto>& photos, const std::vector<std::string>& files,
             const std::string& second, const path& target) {
    const auto whole = [](const std::string& file) { return std::filesystem::absolute(file).string(); };
    RunForPhotos(files, [&](std::size_t i) {
        std::vector<std::string> arguments = {whole(files[i])};
        if (!second.empty()) {
            arguments.push_back(whole(second));
        } else if (files.size() > 1) {
            arguments.push_back(whole(files[(i + 1) % files.size()]));
        }
        RunIn(host, target / photos[i].folder, kPrepareScript, "prepare.lua", arguments);
    });
}

// The reason of a failure. A script that reads a nil output image fails with a message about nil, which is translated.
std::string Reason(const std::string& failure) {
    return failure.find("'outputImage'") != std::string::npos ? "the filter has no output image" : failure;
}

// Runs all samples. Prints each failure and notes the pictures that are missing because of it.
void Render(Host& host, Gallery& gallery, const path& target, bool isQuiet) {
    std::vector<Job> jobs;
    for (const GalleryPhoto& photo : gallery.photos) {
        for (const GalleryFilter& filter : gallery.filters) {
            for (const Sample& sample : filter.samples) jobs.push_back({&photo, &filter, &sample});
        }
        for (const GalleryRecipe& recipe : gallery.recipes) jobs.push_back({&photo, nullptr, nullptr, &recipe});
    }
    Progress progress(jobs.size(), isQuiet);
    const auto prepare = [&]() -> BatchJob {
        return [&](std::size_t i) {
            const path folder = target / jobs[i].photo->folder;
            if (jobs[i].recipe != nullptr) return RunRecipeIn(host, folder, *jobs[i].recipe);
            RunIn(host, folder, jobs[i].sample->text, jobs[i].filter->Title().name);
        };
    };
    RunBatch(jobs.size(), prepare, [&](std::size_t i, const std::string& failure, int) {
        const auto& [photo, filter, sample, recipe] = jobs[i];
        if (failure.empty()) return progress.Done("");
        const std::vector<std::string> pictures = recipe != nullptr ? std::vector{recipe->picture} : sample->pictures;
        for (const std::string& picture : pictures) {
            gallery.missing[photo->folder + "/" + picture] = host::PrintableText(Reason(failure));
        }
        if (recipe != nullptr) return progress.Done(recipe->name + ", " + photo->name + ": " + Reason(failure));
        progress.Done(filter->Title().name + ", " + sample->caption + ", " + photo->name + ": " + Reason(failure));
    });
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
    host::WriteFile(target / "gallery.css", std::string(kColorStyle) + "\n" + kGalleryStyle);
    host::WriteFile(target / "gallery.js", kGalleryScript);
    host::WriteFile(target / "prepare.lua", kPrepareScript);
}

}  // namespace

bool WriteGallery(Host& host, const std::vector<std::string>& photos, const std::string& second,
                  const std::string& folder, const path& recipes, bool isQuiet) {
    Gallery gallery = {Photos(photos), Filters(host), Recipes(std::filesystem::absolute(recipes)), {}};
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
    Check(host, inputs);
    for (const GalleryPhoto& photo : gallery.photos) std::filesystem::create_directories(target / photo.folder);
    Prepare(host, gallery.photos, photos, second, target);
    Render(host, gallery, target, isQuiet);
    Measure(host, gallery.photos, target);
    WritePages(gallery, target);
    return gallery.missing.empty();
}
