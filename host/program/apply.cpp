// apply.cpp - "zeva apply": applies a chain of filters to one picture or to many.
//
// Everything that is wrong with the arguments is found before anything is created. For one picture that happens on the
// way; for many pictures, a worker process prepares the recipe first and reports what is wrong once.
//
// One picture is processed here, with a line on standard error for each step. Many pictures are processed in parallel
// by worker processes, each with a host of its own (host/batch/batch.h).

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include "host/batch/batch.h"
#include "host/batch/progress.h"
#include "host/batch/shared_array.h"
#include "host/program/commands.h"
#include "host/program/exit_status.h"
#include "host/program/output_names.h"
#include "host/program/picture_folder.h"
#include "host/program/picture_streams.h"
#include "host/program/protected_files.h"
#include "host/program/resize_option.h"
#include "host/program/result_options.h"
#include "host/recipe/canonical_recipe.h"
#include "host/recipe/prepared_recipe.h"
#include "host/recipe/recipe_syntax.h"
#include "host/recipe/setting_value.h"
#include "host/runtime/errors.h"
#include "host/runtime/text.h"
#include "host/runtime/write_file.h"

namespace {

using host::Host;
using host::HostError;
using host::ObjectReference;
using host::Value;
using std::filesystem::path;

struct ApplyRequest : ResultOptions {
    std::vector<std::string> words;  // filters, settings and inputs
    std::string output;              // a path or a pattern, kStandardStream, or empty for results in place

    std::string recipeFile;      // receives the recipe; empty for none
    bool isInPlace = false;      // results replace their pictures
    bool isRecursive = false;    // inputs may be folders
    bool keepsExisting = false;  // results that exist are left alone
};

// Called after each step with its result.
using StepReport = std::function<void(const char* step, const std::string& result)>;

// Prints each step with the time since the previous one, on standard error.
class StepPrinter {
  public:
    void operator()(const char* step, const std::string& result) {
        const auto now = std::chrono::steady_clock::now();
        const std::chrono::duration<double, std::milli> elapsed = now - last_;
        std::fprintf(stderr, "%-7s%9.1f ms  %s\n", step, elapsed.count(), host::PrintableText(result).c_str());
        last_ = now;
    }

  private:
    std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

// A rectangle in the coordinates of an image.
struct Rectangle {
    double x, y, width, height;

    bool IsInfinite() const {
        // The platform represents an infinite extent by very large numbers.
        constexpr double kBeyondAnyImage = 1e30;
        return width > kBeyondAnyImage || height > kBeyondAnyImage;
    }
};

Rectangle ExtentOf(Host& host, const ObjectReference& image) {
    const Value extent = host.Get(image.Get(), "Extent");
    double numbers[4];
    for (std::int32_t i = 0; i < 4; ++i) {
        const Value index[] = {i};
        numbers[i] = std::get<double>(host.Call(std::get<ObjectReference>(extent).Get(), "ValueAt", index));
    }
    return {numbers[0], numbers[1], numbers[2], numbers[3]};
}

// The extent of an image as text: "512 x 600", followed by its corner unless that is 0, 0.
std::string ExtentText(Host& host, const ObjectReference& image) {
    const Rectangle extent = ExtentOf(host, image);
    if (extent.IsInfinite()) return "infinite";
    std::string text = host::NumberText(extent.width) + " x " + host::NumberText(extent.height);
    if (extent.x != 0 || extent.y != 0) {
        text += " at " + host::NumberText(extent.x) + ", " + host::NumberText(extent.y);
    }
    return text;
}

// The part of an image inside a CIVectorQOR.
ObjectReference Cropped(Host& host, const ObjectReference& image, const Value& rectangle) {
    const Value arguments[] = {rectangle};
    return std::get<ObjectReference>(host.Call(image.Get(), "Crop", arguments));
}

// The part of the result that --rect or --keep-size selects.
ObjectReference Framed(Host& host, const ApplyRequest& request, const Value& input, const ObjectReference& image) {
    if (request.keepSize) {
        return Cropped(host, image, host.Get(std::get<ObjectReference>(input).Get(), "Extent"));
    }
    if (!request.rectangle.empty()) {
        const Value list[] = {host::TextValue(request.rectangle)};
        return Cropped(host, image, host.CallShared("CIVectorQOR", "FromNumbers", list));
    }
    if (ExtentOf(host, image).IsInfinite()) {
        throw HostError(request.output, "the result is infinite, --rect X,Y,W,H selects the part to write");
    }
    return image;
}

// What is the same for all pictures.
struct Plan {
    PreparedRecipe recipe;
    std::optional<ResizeOption> resize;
};

// Prepares the recipe and checks the output options. A target that is not empty must be writable.
Plan Prepare(Host& host, const ApplyRequest& request, const Recipe& recipe, const std::string& target) {
    const bool hasInput = !recipe.inputs.empty();
    if (request.keepSize && !hasInput) throw HostError("--keep-size", "there is no input picture");
    Plan plan = {PrepareRecipe(host, recipe, hasInput), ResizeOf(request)};
    CheckAtRecipe(recipe, [&] { CheckTarget(host, target, request.options); });
    return plan;
}

// Writes the recipe to the file that the command asks for.
void SaveRecipe(Host& host, const ApplyRequest& request, const Recipe& recipe) {
    if (request.recipeFile.empty()) return;
    Recipe whole = recipe;
    whole.options = RecipeOptionsOf(request);
    host::WriteFile(request.recipeFile, RecipeText(CanonicalRecipe(host, whole, request.recipeFile)));
}

// The three stages of one picture, or of none when the input is empty.

Value Opened(Host& host, const std::string& input, const StepReport& report) {
    if (input.empty()) return {};
    Value opened;
    if (input == kStandardStream) {
        opened = OpenedFromInput(host);
    } else {
        const Value file[] = {host::TextValue(input)};
        opened = host.CallShared("CIImageQOR", "Open", file);
    }
    report("open", input + ", " + ExtentText(host, std::get<ObjectReference>(opened)));
    return opened;
}

ObjectReference Filtered(Host& host, const ApplyRequest& request, const Plan& plan, const Value& opened,
                         const StepReport& report) {
    const Value image =
        RunRecipe(host, plan.recipe, opened, [&](const PreparedStep& step, const ObjectReference& result) {
            report("filter", step.text + ", " + ExtentText(host, result));
        });
    const ObjectReference framed = Framed(host, request, opened, std::get<ObjectReference>(image));
    if (!plan.resize) return framed;
    std::string step;
    const Rectangle extent = ExtentOf(host, framed);
    const ObjectReference resized = Resized(host, *plan.resize, framed, extent.width, extent.height, &step);
    report("filter", step + ", " + ExtentText(host, resized));
    return resized;
}

ResultSize SizeOf(Host& host, const ObjectReference& image) {
    const Rectangle extent = ExtentOf(host, image);
    return {extent.width, extent.height};
}

// On failure, an existing file is unchanged.
void SaveToFile(Host& host, const ApplyRequest& request, const Value& opened, const ObjectReference& image,
                const std::string& output) {
    const Value arguments[] = {host::TextValue(output), opened, host::TextValue(OptionsText(request.options))};
    host.Call(image.Get(), "SaveLike", arguments);
}

void Save(Host& host, const ApplyRequest& request, const Value& opened, const ObjectReference& image,
          const std::string& output, const StepReport& report) {
    const auto save = [&](const std::string& file) { SaveToFile(host, request, opened, image, file); };
    if (output == kStandardStream) {
        WriteToOutput(request.options.format, save);
    } else {
        save(output);
    }
    report("write", output + ", " + ExtentText(host, image));
}

// Creates the folder of the results, unless it exists and can be written to.
void CreateFolder(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    const bool isWritable = faccessat(AT_FDCWD, folder.c_str(), W_OK, AT_EACCESS) == 0;
    if (!error && !isWritable) error.assign(errno, std::generic_category());
    if (error) {
        throw HostError(
            folder,
            "results cannot be written to this folder (" + host::SystemReason(error.value()) + "); nothing was written",
            error.value());
    }
}

// A picture and the file for its result.
struct Job {
    InputPicture picture;
    std::string target;
};

// Stores the target of each job, whose size is that of its result. Throws UsageError when two would share a file.
void NameTargets(const OutputNames& names, const std::vector<ResultSize>& sizes, std::vector<Job>& jobs) {
    std::map<path, std::string> taken;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        const std::string& input = jobs[i].picture.path;
        jobs[i].target = names.Of(jobs[i].picture, sizes[i]);
        const auto [other, isNew] = taken.emplace(path(jobs[i].target).lexically_normal(), input);
        if (!isNew) {
            throw UsageError(jobs[i].target + ": the results of " + other->second + " and " + input +
                             " would both be written there; nothing was written");
        }
    }
}

std::string FolderOf(const std::string& target) {
    const path folder = path(target).parent_path();
    return folder.empty() ? "." : folder.string();
}

// Whether a result is to be left alone, because its file exists.
bool IsKept(const ApplyRequest& request, const std::string& target) {
    std::error_code error;
    return request.keepsExisting && std::filesystem::exists(std::filesystem::symlink_status(target, error));
}

// The files that the command reads, apart from its pictures.
std::vector<std::string> OtherFiles(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe) {
    std::vector<std::string> files = FilesOfRecipe(recipe);
    if (!options.module.empty()) files.push_back(options.module);
    const std::vector<std::string> profiles = FilesOfOptions(request.options);
    files.insert(files.end(), profiles.begin(), profiles.end());
    return files;
}

// Throws UsageError when a result would overwrite a file that the command reads, or another result. In place, a result
// overwrites its own picture.
void ProtectInputs(const ApplyRequest& request, const std::vector<std::string>& others, const std::vector<Job>& jobs) {
    ProtectedFiles files;
    for (const Job& job : jobs) {
        if (!request.isInPlace && job.picture.path != kStandardStream) files.Add(job.picture.path);
    }
    for (const std::string& other : others) files.Add(other);
    for (const Job& job : jobs) {
        if (job.target != kStandardStream) files.AddOutput(job.target, "a result", "nothing was written");
    }
    if (!request.recipeFile.empty()) files.AddOutput(request.recipeFile, "the recipe", "nothing was written");
}

// Processes one picture or none, and prints each step.
void ApplyToOne(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe,
                const OutputNames& names, const std::vector<InputPicture>& pictures) {
    StepReport report = [](auto&&...) {};
    if (!options.isQuiet) report = StepPrinter();
    const InputPicture picture = pictures.empty() ? InputPicture{} : pictures[0];
    const std::vector<std::string> others = OtherFiles(options, request, recipe);
    // Returns whether there is something to do.
    const auto isWanted = [&](const std::string& target) {
        ProtectInputs(request, others, {{picture, target}});
        if (!IsKept(request, target)) return true;
        report("skip", target + ", which exists");
        return false;
    };
    std::string target = names.Of(picture, {});
    std::vector<std::string> files = others;
    if (!names.HasSizes()) {
        if (!isWanted(target)) return;
        files.push_back(target);
    }
    if (!pictures.empty()) files.push_back(picture.path);
    const auto host = MakeHost(options, files);
    report("load", std::to_string(host->Modules().size()) + " modules, " +
                       std::to_string(host->Classes().All().size()) + " classes, host version " +
                       host::NumberText(host->Version()));
    const Plan plan = WithStatus(kWrongUsage, [&] { return Prepare(*host, request, recipe, target); });
    SaveRecipe(*host, request, recipe);
    const Value opened = WithStatus(kFailed, [&] { return Opened(*host, picture.path, report); });
    // Without a picture, only the settings can be the cause of a failure.
    const auto image = WithStatus(pictures.empty() ? kWrongUsage : kFailed,
                                  [&] { return Filtered(*host, request, plan, opened, report); });
    if (names.HasSizes()) {
        target = names.Of(picture, SizeOf(*host, image));
        if (!isWanted(target)) return;
    }
    if (names.IsPerPicture()) CreateFolder(FolderOf(target));
    WithStatus(kWrongUsage, [&] { Save(*host, request, opened, image, target, report); });
}

// A worker's host and what it needs to process a picture.
struct Worker {
    std::unique_ptr<Host> host;
    Plan plan;
};

// Runs one job in a process of its own. Throws a Failure with what is wrong.
void RunInWorker(const std::function<void()>& job) {
    std::string problem;
    int status = kDone;
    RunBatch(
        1, [&]() -> BatchJob { return [&](std::size_t) { job(); }; },
        [&](std::size_t, const std::string& failure, int errorNumber) {
            problem = failure;
            status = StatusOfNumber(errorNumber, kWrongUsage);
        });
    if (!problem.empty()) throw Failure(status, problem);
}

// A job that failed, and why.
struct JobFailure {
    Job job;
    std::string text;
    int errorNumber;
};

// Calls a function with a worker and the index of each job, in parallel.
void RunJobs(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe,
             const std::vector<Job>& jobs, const std::function<void(const Worker&, std::size_t)>& function,
             const BatchReport& report) {
    ProgramOptions ofWorker = options;
    ofWorker.workers = WorkersOfBatch(jobs.size());
    const auto prepare = [&]() -> BatchJob {
        const auto worker = std::make_shared<Worker>();
        worker->host = MakeHost(ofWorker);
        worker->plan = Prepare(*worker->host, request, recipe, "");
        return [&, worker](std::size_t i) { function(*worker, i); };
    };
    RunBatch(jobs.size(), prepare, report);
}

// Returns the size of each job's result. Moves the jobs that fail to the failures.
std::vector<ResultSize> Measure(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe,
                                std::vector<Job>& jobs, std::vector<JobFailure>& failures) {
    const StepReport quiet = [](auto&&...) {};
    const SharedArray<ResultSize> measured(jobs.size());
    std::vector<bool> hasFailed(jobs.size());
    RunJobs(
        options, request, recipe, jobs,
        [&](const Worker& worker, std::size_t i) {
            const Value opened = Opened(*worker.host, jobs[i].picture.path, quiet);
            measured[i] = SizeOf(*worker.host, Filtered(*worker.host, request, worker.plan, opened, quiet));
        },
        [&](std::size_t i, const std::string& failure, int errorNumber) {
            if (failure.empty()) return;
            failures.push_back({jobs[i], failure, errorNumber});
            hasFailed[i] = true;
        });
    std::vector<Job> sound;
    std::vector<ResultSize> sizes;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        if (hasFailed[i]) continue;
        sound.push_back(jobs[i]);
        sizes.push_back(measured[i]);
    }
    jobs = std::move(sound);
    return sizes;
}

// Processes many pictures in parallel, and prints failures, the progress and a summary. Returns the exit status.
int ApplyToMany(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe,
                const OutputNames& names, const std::vector<InputPicture>& pictures) {
    if (!options.trace.empty()) {
        throw HostError("--trace",
                        "one picture at a time can be traced, got " + std::to_string(pictures.size()) + " pictures");
    }
    const bool isFromInput = std::ranges::count(pictures, kStandardStream, &InputPicture::path) > 0;
    if (isFromInput) throw UsageError("-: standard input can only be the only picture");
    const std::vector<std::string> others = OtherFiles(options, request, recipe);
    std::vector<Job> jobs;
    for (const InputPicture& picture : pictures) jobs.push_back({picture, ""});
    const auto nameTargets = [&](const std::vector<ResultSize>& sizes) {
        NameTargets(names, sizes, jobs);
        ProtectInputs(request, others, jobs);
    };
    if (!names.HasSizes()) nameTargets(std::vector<ResultSize>(jobs.size()));
    RunInWorker([&] {
        const auto host = MakeHost(options);
        const std::string target = names.NamesFormat() ? request.output : "";
        CheckOutputs(*host, Prepare(*host, request, recipe, target).recipe, /*hasInput=*/true);
        SaveRecipe(*host, request, recipe);
    });
    std::vector<JobFailure> failures;
    if (names.HasSizes()) nameTargets(Measure(options, request, recipe, jobs, failures));
    const std::size_t kept = std::erase_if(jobs, [&](const Job& job) { return IsKept(request, job.target); });
    if (names.IsPerPicture()) {
        std::set<std::string> folders;
        for (const Job& job : jobs) folders.insert(FolderOf(job.target));
        for (const std::string& folder : folders) CreateFolder(folder);
    }
    Progress progress(failures.size() + jobs.size(), options.isQuiet);
    int status = kDone;
    const auto report = [&](const Job& job, const std::string& failure, int errorNumber) {
        const std::string& input = job.picture.path;
        const bool isNamed =
            failure.empty() || host::PrintableText(failure).starts_with(host::PrintableText(input) + ": ");
        progress.Done(isNamed ? failure : input + ": " + failure);
        const bool isMachine = StatusOfNumber(errorNumber, kFailed) == kMachineFailed;
        if (!failure.empty()) status = std::max(status, isMachine ? kMachineFailed : kFailed);
    };
    for (const JobFailure& failure : failures) report(failure.job, failure.text, failure.errorNumber);
    RunJobs(
        options, request, recipe, jobs,
        [&](const Worker& worker, std::size_t i) {
            const StepReport quiet = [](auto&&...) {};
            const Value opened = Opened(*worker.host, jobs[i].picture.path, quiet);
            const auto image = Filtered(*worker.host, request, worker.plan, opened, quiet);
            Save(*worker.host, request, opened, image, jobs[i].target, quiet);
        },
        [&](std::size_t i, const std::string& failure, int errorNumber) { report(jobs[i], failure, errorNumber); });
    const std::string where = request.isInPlace ? "written in place" : "written to " + request.output;
    progress.Summarize(kept == 0 ? where : where + " (" + std::to_string(kept) + " existed)");
    return status;
}

std::vector<InputPicture> Numbered(std::vector<InputPicture> pictures) {
    for (std::size_t i = 0; i < pictures.size(); ++i) pictures[i].number = i + 1;
    return pictures;
}

// The pictures that the words name. With --recursive, a folder stands for the pictures in it, whatever their names are.
std::vector<InputPicture> PicturesOf(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe) {
    std::vector<InputPicture> pictures;
    std::vector<std::size_t> found;  // the indices of files that may be pictures or not
    for (const std::string& input : recipe.inputs) {
        std::error_code error;
        if (!request.isRecursive || !std::filesystem::is_directory(input, error)) {
            pictures.push_back({input});
            continue;
        }
        for (InputPicture& file : FilesBelow(input, request.output)) {
            found.push_back(pictures.size());
            pictures.push_back(std::move(file));
        }
    }
    if (found.empty()) return Numbered(std::move(pictures));
    SharedArray<bool> isPicture(pictures.size());
    RunInWorker([&] {
        const auto host = MakeHost(options);
        for (const std::size_t i : found) {
            const Value file[] = {host::TextValue(pictures[i].path)};
            isPicture[i] = std::get<bool>(host->CallShared("CIImageQOR", "IsPicture", file));
        }
    });
    std::vector<InputPicture> chosen;
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        if (isPicture[i] || !std::ranges::binary_search(found, i)) chosen.push_back(std::move(pictures[i]));
    }
    return Numbered(std::move(chosen));
}

// Throws UsageError for options that contradict one another.
void CheckOptions(const ApplyRequest& request) {
    CheckResultOptions(request);
    if (request.output.empty() && !request.isInPlace) throw UsageError("--output is required");
    const bool isToOutput = request.output == kStandardStream;
    if (isToOutput && request.options.format.empty()) {
        throw UsageError("--output -: expected --format with the format of the picture, such as png");
    }
    if (!isToOutput && !request.options.format.empty()) {
        throw UsageError("--format: it is for --output -; the suffix of a file is its format");
    }
}

int Apply(const ProgramOptions& options, ApplyRequest request) {
    Recipe recipe = ParseCommand(request.words, SharedRecipes());
    AddRecipeOptions(request, recipe);
    CheckAtRecipe(recipe, [&] { CheckOptions(request); });
    const std::vector<InputPicture> pictures = PicturesOf(options, request, recipe);
    if (pictures.empty() && !recipe.inputs.empty()) {
        throw Failure(kFailed, recipe.inputs[0] + ": the folder contains no pictures; nothing was written");
    }
    const bool isOne = pictures.size() <= 1;
    if (!isOne && request.output == kStandardStream) {
        throw UsageError("--output -: expected one picture, got " + std::to_string(pictures.size()));
    }
    if (request.isInPlace && pictures.empty()) throw UsageError("--in-place: there is no input picture");
    const OutputNames names = request.isInPlace ? OutputNames() : OutputNames(request.output, pictures.size());
    if (!isOne) return ApplyToMany(options, request, recipe, names, pictures);
    ApplyToOne(options, request, recipe, names, pictures);
    return kDone;
}

constexpr const char* kValues = R"(
Values of KEY=VALUE, by the key's type (zeva describe FILTER):
  number        inputRadius=12.5
  vector        inputCenter=150,150
  color         inputColor=orange  #f80  #ff8000  #ff800080  1,0.5,0  1,0.5,0,0.5
  image         inputMaskImage=mask.png    - for the incoming picture
  transform     inputTransform=1,0,0,1,20,0  "rotate:30 scale:1.2 translate:10,0"
  color cube    inputCubeData=warm.cube  @floats.raw  numbers with commas
  color space   inputColorSpace=sRGB

A value may be a reference: '$input' is the original picture, and '$soft' the result of an earlier step that ends in
'->' '$soft'. A first word that ends in .recipe is a file with such steps (docs/recipes.md); KEY=VALUE sets its
parameters.

Case does not matter in names, and a key may leave out its "input": radius=12.5.
The picture becomes the inputImage of the first filter, or the value of each key set with KEY=-. The output of each
filter is the incoming picture of the next. Without a filter, a picture is only resized or converted: its name needs a
point or a slash then.)";

}  // namespace

Command ApplyCommand() {
    const auto request = std::make_shared<ApplyRequest>();
    Command command = {
        .name = "apply",
        .help = "Applies filters to pictures.",
        .arguments =
            {
                {"FILTER", &request->words,
                 "a filter (GaussianBlur, CIGaussianBlur or CIFilterGaussianBlurQOR) or a recipe, its settings, and "
                 "pictures (- for standard input)",
                 /*isRequired=*/true},
                {"-o,--output", &request->output,
                 "picture to write, in the format of its suffix; a folder for results with the names of their inputs; "
                 "a pattern with {name}, {ext}, {dir}, {width}, {height} and {index}; or - for standard output"},
                {"--format", &request->options.format, "format of a picture on standard output, such as png or jpeg"},
                {.names = "--in-place",
                 .target = &request->isInPlace,
                 .help = "write each result over its input",
                 .excludes = "--output"},
                {"--save-recipe", &request->recipeFile,
                 "file for the filters, settings and output options as a recipe"},
                {"--no-clobber", &request->keepsExisting, "leave results alone that exist"},
                {"--recursive", &request->isRecursive,
                 "take all pictures in and below the folders among the inputs, by their content"},
            },
        .run = [request](const ProgramOptions& options) { return Apply(options, *request); },
        .usage = "zeva apply FILTER|RECIPE [KEY=VALUE ...] [+ FILTER [KEY=VALUE ...] ...] [IN ...] -o OUT|DIR|-",
        .footer = std::string(kSharedFooter) + "\n" + kValues,
    };
    const std::vector<Argument> results = ResultArguments(*request);
    command.arguments.insert(command.arguments.end(), results.begin(), results.end());
    return command;
}
