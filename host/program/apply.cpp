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
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include "host/batch/batch.h"
#include "host/batch/progress.h"
#include "host/program/commands.h"
#include "host/program/exit_status.h"
#include "host/program/output_options.h"
#include "host/program/protected_files.h"
#include "host/recipe/recipe.h"
#include "host/recipe/setting_value.h"
#include "host/runtime/errors.h"
#include "host/runtime/text.h"

namespace {

using host::Host;
using host::HostError;
using host::ObjectReference;
using host::Value;
using std::filesystem::path;

struct ApplyRequest {
    std::vector<std::string> words;  // filters, settings and inputs
    std::string output;
    std::string rectangle;  // "X,Y,W,H"; empty for the extent of the result
    bool keepSize = false;  // crop the result to the extent of the input
    OutputOptions options;
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

// Prepares the recipe and checks the output options. A target that is not empty must be writable.
std::vector<PreparedStep> Prepare(Host& host, const ApplyRequest& request, const Recipe& recipe,
                                  const std::string& target) {
    const bool hasInput = !recipe.inputs.empty();
    if (request.keepSize && !hasInput) throw HostError("--keep-size", "there is no input picture");
    std::vector<PreparedStep> steps = PrepareRecipe(host, recipe, hasInput);
    CheckTarget(host, target, request.options);
    return steps;
}

// The three stages of one picture, or of none when the input is empty.

Value Opened(Host& host, const std::string& input, const StepReport& report) {
    if (input.empty()) return {};
    const Value file[] = {host::TextValue(input)};
    Value opened = host.CallShared("CIImageQOR", "Open", file);
    report("open", input + ", " + ExtentText(host, std::get<ObjectReference>(opened)));
    return opened;
}

ObjectReference Filtered(Host& host, const ApplyRequest& request, const std::vector<PreparedStep>& steps,
                         const Value& opened, const StepReport& report) {
    Value image = opened;
    for (const PreparedStep& step : steps) {
        const ObjectReference result = RunStep(host, step, image);
        report("filter", StepText(step) + ", " + ExtentText(host, result));
        image = result;
    }
    return Framed(host, request, opened, std::get<ObjectReference>(image));
}

// On failure, an existing file is unchanged.
void Save(Host& host, const ApplyRequest& request, const Value& opened, const ObjectReference& image,
          const std::string& output, const StepReport& report) {
    const Value arguments[] = {host::TextValue(output), opened, host::TextValue(OptionsText(request.options))};
    host.Call(image.Get(), "SaveLike", arguments);
    report("write", output + ", " + ExtentText(host, image));
}

bool IsFolder(const std::string& output) {
    std::error_code error;
    return output.ends_with('/') || std::filesystem::is_directory(output, error);
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

// The output file of each input. Throws HostError when two inputs would share a file.
std::vector<std::string> TargetsInFolder(const std::string& folder, const std::vector<std::string>& inputs) {
    std::vector<std::string> targets;
    std::map<path, std::string> taken;
    for (const std::string& input : inputs) {
        const path target = path(folder) / path(input).filename();
        const auto [other, isNew] = taken.emplace(target, input);
        if (!isNew) {
            throw HostError(target.string(), "the results of " + other->second + " and " + input +
                                                 " would both be written there; nothing was written");
        }
        targets.push_back(target.string());
    }
    return targets;
}

// The files that the command reads.
std::vector<std::string> InputFiles(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe) {
    std::vector<std::string> files = FilesOfSettings(recipe);
    files.insert(files.begin(), recipe.inputs.begin(), recipe.inputs.end());
    if (!options.module.empty()) files.push_back(options.module);
    const std::vector<std::string> profiles = FilesOfOptions(request.options);
    files.insert(files.end(), profiles.begin(), profiles.end());
    return files;
}

// Throws UsageError when a result would overwrite a file that the command reads, or another result.
void ProtectInputs(const std::vector<std::string>& inputs, const std::vector<std::string>& targets) {
    ProtectedFiles files;
    for (const std::string& input : inputs) files.Add(input);
    for (const std::string& target : targets) files.AddOutput(target, "a result", "nothing was written");
}

// Processes one picture or none, and prints each step.
void ApplyToOne(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe) {
    StepReport report = [](auto&&...) {};
    if (!options.isQuiet) report = StepPrinter();
    const std::string input = recipe.inputs.empty() ? "" : recipe.inputs[0];
    const bool isIntoFolder = !input.empty() && IsFolder(request.output);
    const std::string output = isIntoFolder ? TargetsInFolder(request.output, recipe.inputs)[0] : request.output;
    std::vector<std::string> files = InputFiles(options, request, recipe);
    ProtectInputs(files, {output});
    files.push_back(output);
    const auto host = MakeHost(options, files);
    report("load", std::to_string(host->Modules().size()) + " modules, " +
                       std::to_string(host->Classes().All().size()) + " classes, host version " +
                       host::NumberText(host->Version()));
    const auto steps = WithStatus(kWrongUsage, [&] { return Prepare(*host, request, recipe, output); });
    const Value opened = WithStatus(kFailed, [&] { return Opened(*host, input, report); });
    // Without a picture, only the settings can be the cause of a failure.
    const auto image = WithStatus(input.empty() ? kWrongUsage : kFailed,
                                  [&] { return Filtered(*host, request, steps, opened, report); });
    if (isIntoFolder) CreateFolder(request.output);
    WithStatus(kWrongUsage, [&] { Save(*host, request, opened, image, output, report); });
}

// A worker's host and what it needs to process a picture.
struct Worker {
    std::unique_ptr<Host> host;
    std::vector<PreparedStep> steps;
};

// Prepares the recipe in a process of its own. Throws a Failure with what is wrong.
void CheckInWorker(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe) {
    const auto check = [&]() -> BatchJob {
        return [&](std::size_t) {
            const auto host = MakeHost(options);
            CheckOutputs(*host, Prepare(*host, request, recipe, ""), /*hasInput=*/true);
        };
    };
    std::string problem;
    int status = kDone;
    RunBatch(1, check, [&](std::size_t, const std::string& failure, int errorNumber) {
        problem = failure;
        status = StatusOfNumber(errorNumber, kWrongUsage);
    });
    if (!problem.empty()) throw Failure(status, problem);
}

// Processes many pictures in parallel, and prints failures, the progress and a summary. Returns the exit status.
int ApplyToMany(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe) {
    if (!options.trace.empty()) {
        throw HostError("--trace", "one picture at a time can be traced, got " + std::to_string(recipe.inputs.size()) +
                                       " pictures");
    }
    if (!IsFolder(request.output) && path(request.output).has_extension()) {
        throw HostError(request.output, std::to_string(recipe.inputs.size()) + " inputs need an output folder");
    }
    const std::vector<std::string> targets = TargetsInFolder(request.output, recipe.inputs);
    ProtectInputs(InputFiles(options, request, recipe), targets);
    CheckInWorker(options, request, recipe);
    CreateFolder(request.output);
    Progress progress(targets.size(), options.isQuiet);
    const auto prepare = [&]() -> BatchJob {
        const auto worker = std::make_shared<Worker>();
        worker->host = MakeHost(options);
        worker->steps = Prepare(*worker->host, request, recipe, "");
        return [&, worker](std::size_t i) {
            const StepReport quiet = [](auto&&...) {};
            Host& host = *worker->host;
            const Value opened = Opened(host, recipe.inputs[i], quiet);
            const auto image = Filtered(host, request, worker->steps, opened, quiet);
            Save(host, request, opened, image, targets[i], quiet);
        };
    };
    int status = kDone;
    RunBatch(targets.size(), prepare, [&](std::size_t i, const std::string& failure, int errorNumber) {
        const std::string& input = recipe.inputs[i];
        const bool isNamed =
            failure.empty() || host::PrintableText(failure).starts_with(host::PrintableText(input) + ": ");
        progress.Done(isNamed ? failure : input + ": " + failure);
        const bool isMachine = StatusOfNumber(errorNumber, kFailed) == kMachineFailed;
        if (!failure.empty()) status = std::max(status, isMachine ? kMachineFailed : kFailed);
    });
    progress.Summarize("written to " + request.output);
    return status;
}

// Throws HostError when --rect is not a rectangle of at least one pixel.
void CheckRectangle(const std::string& text) {
    const std::vector<double> numbers = NumbersIn("--rect", text);
    if (numbers.size() != 4) throw HostError("--rect", "'" + text + "' is not a rectangle, expected X,Y,W,H");
    if (!(numbers[2] > 0 && numbers[3] > 0)) {
        throw HostError("--rect", "'" + text + "' is empty, expected a width and a height above 0");
    }
}

int Apply(const ProgramOptions& options, const ApplyRequest& request) {
    if (!request.rectangle.empty()) CheckRectangle(request.rectangle);
    const Recipe recipe = ReadRecipe(request.words);
    if (recipe.inputs.size() > 1) return ApplyToMany(options, request, recipe);
    ApplyToOne(options, request, recipe);
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

Case does not matter in names, and a key may leave out its "input": radius=12.5.
The picture becomes the inputImage of the first filter, or the value of each key set with KEY=-. The output of each
filter is the incoming picture of the next.)";

}  // namespace

Command ApplyCommand() {
    const auto request = std::make_shared<ApplyRequest>();
    Command command = {
        .name = "apply",
        .help = "Applies filters to pictures.",
        .arguments =
            {
                {"FILTER", &request->words,
                 "a filter (GaussianBlur, CIGaussianBlur or CIFilterGaussianBlurQOR), its settings, and pictures",
                 /*isRequired=*/true},
                {"-o,--output", &request->output,
                 "picture to write, in the format of its suffix; or a folder for results with the names of their "
                 "inputs",
                 /*isRequired=*/true},
                {"--rect", &request->rectangle,
                 "X,Y,W,H: the part of the result to write, y up; default: all of a finite result"},
                {.names = "--keep-size",
                 .target = &request->keepSize,
                 .help = "write the part inside the extent of the input",
                 .excludes = "--rect"},
            },
        .run = [request](const ProgramOptions& options) { return Apply(options, *request); },
        .usage = "zeva apply FILTER [KEY=VALUE ...] [+ FILTER [KEY=VALUE ...] ...] [IN ...] -o OUT|DIR",
        .footer = std::string(kSharedFooter) + "\n" + kValues,
    };
    const std::vector<Argument> outputs = OutputArguments(request->options);
    command.arguments.insert(command.arguments.end(), outputs.begin(), outputs.end());
    return command;
}
