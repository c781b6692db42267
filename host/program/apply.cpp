// apply.cpp - "zeva apply": applies a chain of filters to one picture or to many.
//
// One picture is processed here, with a line for each step. Many pictures are processed in parallel by worker
// processes, each with a host of its own (host/batch/batch.h).

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
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
#include "host/recipe/recipe.h"
#include "host/recipe/setting_value.h"
#include "host/runtime/errors.h"
#include "host/runtime/memory_block.h"

namespace {

using host::Host;
using host::HostError;
using host::ObjectReference;
using host::Value;
using std::filesystem::path;

struct ApplyRequest {
    std::vector<std::string> words;  // filters, settings and inputs
    std::string output;
    std::string rectangle;     // "X,Y,W,H"; empty for the extent of the result
    std::string workingSpace;  // linear, none or a profile; empty for linear
    bool keepSize = false;     // crop the result to the extent of the input
};

// Called after each step with its result.
using StepReport = std::function<void(const char* step, const std::string& result)>;

// Prints each step with the time since the previous one.
class StepPrinter {
  public:
    void operator()(const char* step, const std::string& result) {
        const auto now = std::chrono::steady_clock::now();
        const std::chrono::duration<double, std::milli> elapsed = now - last_;
        std::printf("%-7s%9.1f ms  %s\n", step, elapsed.count(), result.c_str());
        std::fflush(stdout);
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
        if (std::holds_alternative<std::monostate>(input)) throw HostError("--keep-size", "there is no input picture");
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

// The space that filters work in, nil for none. Not for linear light.
Value WorkingSpace(Host& host, const std::string& name) {
    if (name == "none") return {};
    std::ifstream file(name, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (bytes.empty()) {
        throw HostError("--working-space", "'" + name + "' is not a file, expected linear, none or an ICC profile");
    }
    const ObjectReference block = host::NewMemoryBlock(static_cast<std::int32_t>(bytes.size()));
    std::memcpy(reinterpret_cast<ZEVAmemoryBlockStruct*>(block.Get())->bytes, bytes.data(), bytes.size());
    const Value profile[] = {block};
    return host.CallShared("CGColorSpaceQOR", "FromProfile", profile);
}

void Save(Host& host, const ObjectReference& image, const std::string& output, const std::string& workingSpace) {
    if (workingSpace.empty() || workingSpace == "linear") {
        const Value target[] = {host::TextValue(output)};
        host.Call(image.Get(), "Save", target);
        return;
    }
    const Value arguments[] = {host::TextValue(output), WorkingSpace(host, workingSpace)};
    host.Call(image.Get(), "SaveInWorkingSpace", arguments);
}

// Applies the filters to one picture, or to none when the input is empty. On failure the output file is unchanged.
void Process(Host& host, const ApplyRequest& request, const Recipe& recipe, const std::string& input,
             const std::string& output, const StepReport& report) {
    CheckRecipe(host, recipe);
    Value opened;
    if (!input.empty()) {
        const Value file[] = {host::TextValue(input)};
        opened = host.CallShared("CIImageQOR", "Open", file);
        report("open", input + ", " + ExtentText(host, std::get<ObjectReference>(opened)));
    }
    Value image = opened;
    for (const RecipeStep& step : recipe.steps) {
        const ObjectReference result = RunStep(host, step, image);
        report("filter", StepText(step) + ", " + ExtentText(host, result));
        image = result;
    }
    const ObjectReference result = Framed(host, request, opened, std::get<ObjectReference>(image));
    Save(host, result, output, request.workingSpace);
    report("write", output + ", " + ExtentText(host, result));
}

bool IsFolder(const std::string& output) { return output.ends_with('/') || std::filesystem::is_directory(output); }

// The output file of each input. Throws HostError when two inputs would share a file or an input would be overwritten.
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
        std::error_code missing;
        if (std::filesystem::equivalent(target, input, missing)) {
            throw HostError(input, "its result would overwrite it; nothing was written");
        }
        targets.push_back(target.string());
    }
    return targets;
}

// Processes one picture or none, and prints each step.
void ApplyToOne(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe) {
    StepPrinter report;
    const auto host = MakeHost(options);
    report("load", std::to_string(host->Modules().size()) + " modules, " +
                       std::to_string(host->Classes().All().size()) + " classes, host version " +
                       host::NumberText(host->Version()));
    const std::string input = recipe.inputs.empty() ? "" : recipe.inputs[0];
    std::string output = request.output;
    if (!input.empty() && IsFolder(output)) {
        std::filesystem::create_directories(output);
        output = TargetsInFolder(output, recipe.inputs)[0];
    }
    Process(*host, request, recipe, input, output, std::ref(report));
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
    std::filesystem::create_directories(request.output);
    Progress progress(targets.size());
    const auto prepare = [&]() -> BatchJob {
        return [&, host = std::shared_ptr<Host>(MakeHost(options))](std::size_t i) {
            Process(*host, request, recipe, recipe.inputs[i], targets[i], [](auto&&...) {});
        };
    };
    RunBatch(targets.size(), prepare, [&](std::size_t i, const std::string& failure) {
        progress.Done(failure.empty() ? "" : recipe.inputs[i] + ": " + failure);
    });
    progress.Summarize("written to " + request.output);
    return progress.Failures() > 0 ? kFailed : kDone;
}

int Apply(const ProgramOptions& options, const ApplyRequest& request) {
    if (!request.rectangle.empty() && NumbersIn("--rect", request.rectangle).size() != 4) {
        throw HostError("--rect", "'" + request.rectangle + "' is not a rectangle, expected X,Y,W,H");
    }
    const Recipe recipe = ReadRecipe(request.words);
    if (recipe.inputs.size() > 1) return ApplyToMany(options, request, recipe);
    ApplyToOne(options, request, recipe);
    return kDone;
}

constexpr const char* kValues = R"(
Values of KEY=VALUE, by the key's type (zeva describe FILTER):
  number        inputRadius=12.5
  vector        inputCenter=150,150
  color         inputColor=#ff8000  #ff800080  1,0.5,0  1,0.5,0,0.5
  image         inputMaskImage=mask.png    - for the incoming picture
  transform     inputTransform=1,0,0,1,20,0  "rotate:30 scale:1.2 translate:10,0"
  color cube    inputCubeData=warm.cube  @floats.raw  numbers with commas
  color space   inputColorSpace=sRGB

The picture becomes the inputImage of the first filter, or the value of each key set with KEY=-. The output of each
filter is the incoming picture of the next.)";

}  // namespace

Command ApplyCommand() {
    const auto request = std::make_shared<ApplyRequest>();
    return {
        .name = "apply",
        .help = "Applies filters to pictures.",
        .arguments =
            {
                {"FILTER", &request->words,
                 "a filter (GaussianBlur, CIGaussianBlur or CIFilterGaussianBlurQOR), its settings, and pictures (PNG "
                 "or "
                 "JPEG)",
                 /*isRequired=*/true},
                {"-o,--output", &request->output,
                 "picture to write, PNG or JPEG by its suffix; or a folder for results with the names of their inputs",
                 /*isRequired=*/true},
                {"--rect", &request->rectangle,
                 "X,Y,W,H: the part of the result to write, y up; default: all of a finite result"},
                {.names = "--keep-size",
                 .target = &request->keepSize,
                 .help = "write the part inside the extent of the input",
                 .excludes = "--rect"},
                {"--working-space", &request->workingSpace,
                 "the numbers that filters work on: linear (light, the default), none (those of the files) or FILE.icc "
                 "(an RGB profile of curves and a matrix)"},
            },
        .run = [request](const ProgramOptions& options) { return Apply(options, *request); },
        .usage = "zeva apply FILTER [KEY=VALUE ...] [+ FILTER [KEY=VALUE ...] ...] [IN ...] -o OUT|DIR",
        .footer = std::string(kSharedFooter) + "\n" + kValues,
    };
}
