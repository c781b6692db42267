// apply.cpp - "zeva apply": filters, one after another, on one picture or on many.

#include <CLI/CLI.hpp>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>

#include "host/runtime/errors.h"
#include "host/batch/batch.h"
#include "host/program/commands.h"
#include "host/batch/progress.h"
#include "host/recipe/recipe.h"
#include "host/recipe/setting_value.h"

namespace {

using host::Host;
using host::HostError;
using host::ObjectReference;
using host::Value;
using std::filesystem::path;

// What the command line asks for.
struct Request {
    std::vector<std::string> words;  // filters, settings and inputs
    std::string output;
    std::string rectangle;  // x, y, width and height; empty for the output's own extent
    bool keepSize = false;  // crop the result to the input's extent
};

// Told of each step that is done and what came of it.
using StepReport = std::function<void(const char* step, const std::string& what)>;

// Prints each step with the time since the one before.
class StepPrinter {
  public:
    void operator()(const char* step, const std::string& what) {
        const auto now = std::chrono::steady_clock::now();
        const std::chrono::duration<double, std::milli> elapsed = now - last_;
        std::printf("%-7s%9.1f ms  %s\n", step, elapsed.count(), what.c_str());
        std::fflush(stdout);
        last_ = now;
    }

  private:
    std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

// A rectangle in an image's coordinates.
struct Rectangle {
    double x, y, width, height;
    bool IsInfinite() const {
        // The platform writes an infinite extent as numbers that nobody wants to read.
        constexpr double kBeyondAnyImage = 1e30;
        return width > kBeyondAnyImage || height > kBeyondAnyImage;
    }
};

Rectangle ExtentOf(Host& session, const ObjectReference& image) {
    const Value extent = session.Get(image.Get(), "Extent");
    double numbers[4];
    for (std::int32_t i = 0; i < 4; ++i) {
        const Value index[] = {i};
        numbers[i] = std::get<double>(session.Call(std::get<ObjectReference>(extent).Get(), "ValueAt", index));
    }
    return {numbers[0], numbers[1], numbers[2], numbers[3]};
}

// An image's extent as text: "512 x 600", with its corner unless that is 0, 0.
std::string ExtentText(Host& session, const ObjectReference& image) {
    const Rectangle extent = ExtentOf(session, image);
    if (extent.IsInfinite()) return "without end";
    std::string text = host::NumberText(extent.width) + " x " + host::NumberText(extent.height);
    if (extent.x != 0 || extent.y != 0) {
        text += " at " + host::NumberText(extent.x) + ", " + host::NumberText(extent.y);
    }
    return text;
}

// The part of an image inside a CIVectorQOR.
ObjectReference Cropped(Host& session, const ObjectReference& image, const Value& rectangle) {
    const Value arguments[] = {rectangle};
    return std::get<ObjectReference>(session.Call(image.Get(), "Crop", arguments));
}

// The part of the result that is to be written.
ObjectReference Framed(Host& session, const Request& request, const Value& input, const ObjectReference& image) {
    if (request.keepSize) {
        if (std::holds_alternative<std::monostate>(input)) throw HostError("--keep-size", "there is no input picture");
        return Cropped(session, image, session.Get(std::get<ObjectReference>(input).Get(), "Extent"));
    }
    if (!request.rectangle.empty()) {
        const Value list[] = {host::TextValue(request.rectangle)};
        return Cropped(session, image, session.CallShared("CIVectorQOR", "FromNumbers", list));
    }
    if (ExtentOf(session, image).IsInfinite()) {
        throw HostError(request.output, "the result has no end, --rect X,Y,W,H says which part of it to write");
    }
    return image;
}

// Takes one picture, or none, through the filters. The output file stays as it was when anything fails.
void Process(Host& session, const Request& request, const Recipe& recipe, const std::string& input,
             const std::string& output, const StepReport& report) {
    CheckRecipe(session, recipe);
    Value opened;
    if (!input.empty()) {
        const Value file[] = {host::TextValue(input)};
        opened = session.CallShared("CIImageQOR", "Open", file);
        report("open", input + ", " + ExtentText(session, std::get<ObjectReference>(opened)));
    }
    Value image = opened;
    for (const RecipeStep& step : recipe.steps) {
        const ObjectReference result = RunStep(session, step, image);
        report("filter", StepText(step) + ", " + ExtentText(session, result));
        image = result;
    }
    const ObjectReference result = Framed(session, request, opened, std::get<ObjectReference>(image));
    const Value target[] = {host::TextValue(output)};
    session.Call(result.Get(), "Save", target);
    report("write", output + ", " + ExtentText(session, result));
}

bool IsFolder(const std::string& output) { return output.ends_with('/') || std::filesystem::is_directory(output); }

// Where each input's result goes. Throws HostError when two would share a file or an input would be written over.
std::vector<std::string> TargetsInFolder(const std::string& folder, const std::vector<std::string>& inputs) {
    std::vector<std::string> targets;
    std::map<path, std::string> taken;
    for (const std::string& input : inputs) {
        const path target = path(folder) / path(input).filename();
        const auto [other, isNew] = taken.emplace(target, input);
        if (!isNew) {
            throw HostError(target.string(),
                            other->second + " and " + input + " would both go there, nothing is written");
        }
        std::error_code missing;
        if (std::filesystem::equivalent(target, input, missing)) {
            throw HostError(input, "its result would be written over it, nothing is written");
        }
        targets.push_back(target.string());
    }
    return targets;
}

// One picture or none: tells each step.
void ApplyToOne(const SessionOptions& options, const Request& request, const Recipe& recipe) {
    StepPrinter report;
    const auto session = OpenSession(options);
    report("load", std::to_string(session->Modules().size()) + " modules, " +
                       std::to_string(session->Classes().All().size()) + " classes, host version " +
                       host::NumberText(session->Version()));
    const std::string input = recipe.inputs.empty() ? "" : recipe.inputs[0];
    std::string output = request.output;
    if (!input.empty() && IsFolder(output)) {
        std::filesystem::create_directories(output);
        output = TargetsInFolder(output, recipe.inputs)[0];
    }
    Process(*session, request, recipe, input, output, std::ref(report));
}

// Many pictures, in parallel: tells failures, the progress and a summary.
void ApplyToMany(const SessionOptions& options, const Request& request, const Recipe& recipe) {
    if (!options.trace.empty()) {
        throw HostError("--trace", "it tells of one picture at a time, got " + std::to_string(recipe.inputs.size()));
    }
    if (!IsFolder(request.output) && path(request.output).has_extension()) {
        throw HostError(request.output,
                        std::to_string(recipe.inputs.size()) + " inputs need a folder to be written to");
    }
    const std::vector<std::string> targets = TargetsInFolder(request.output, recipe.inputs);
    std::filesystem::create_directories(request.output);
    Progress progress(targets.size());
    const auto prepare = [&]() -> BatchJob {
        return [&, session = std::shared_ptr<Host>(OpenSession(options))](std::size_t i) {
            Process(*session, request, recipe, recipe.inputs[i], targets[i], [](auto&&...) {});
        };
    };
    RunBatch(targets.size(), prepare, [&](std::size_t i, const std::string& failure) {
        progress.Done(failure.empty() ? "" : recipe.inputs[i] + ": " + failure);
    });
    progress.Summarize("written to " + request.output);
    if (progress.Failures() > 0) throw CLI::RuntimeError(1);
}

void Apply(const SessionOptions& options, const Request& request) {
    if (!request.rectangle.empty() && NumbersIn("--rect", request.rectangle).size() != 4) {
        throw HostError("--rect", "'" + request.rectangle + "' is no rectangle, expected X,Y,W,H");
    }
    const Recipe recipe = ReadRecipe(request.words);
    if (recipe.inputs.size() > 1) {
        ApplyToMany(options, request, recipe);
    } else {
        ApplyToOne(options, request, recipe);
    }
}

// Help that begins with a usage line of our own.
// Why: the library would write the words as one list, though they differ in meaning.
class UsageFormatter : public CLI::Formatter {
  public:
    std::string make_usage(const CLI::App*, std::string) const override {
        return "Usage: zeva apply FILTER [KEY=VALUE ...] [+ FILTER [KEY=VALUE ...] ...] [IN ...] -o OUT|DIR\n";
    }
};

constexpr const char* kValues = R"(
Values of KEY=VALUE, by the key's type (zeva describe FILTER):
  number        inputRadius=12.5
  vector        inputCenter=150,150
  color        inputColor=#ff8000  #ff800080  1,0.5,0  1,0.5,0,0.5
  image         inputMaskImage=mask.png    - for the picture that comes in
  transform     inputTransform=1,0,0,1,20,0  "rotate:30 scale:1.2 translate:10,0"
  color cube   inputCubeData=warm.cube  @floats.raw  numbers with commas
  color space  inputColorSpace=sRGB

The picture goes into inputImage of the first filter, or into the keys that say KEY=-; the output of each filter goes
into the next.)";

}  // namespace

void AddApply(CLI::App& program, const SessionOptions& session) {
    CLI::App* apply = program.add_subcommand("apply", "Applies filters to pictures.");
    apply->formatter(std::make_shared<UsageFormatter>());
    const auto request = std::make_shared<Request>();
    apply
        ->add_option("FILTER", request->words,
                     "GaussianBlur, CIGaussianBlur or CIFilterGaussianBlurQOR, its settings, and pictures, PNG or JPEG")
        ->required()
        ->expected(1, -1);
    apply
        ->add_option("-o,--output", request->output,
                     "picture to write, its suffix says PNG or JPEG; or folder, for results under their inputs' names")
        ->required();
    CLI::Option* rectangle = apply->add_option(
        "--rect", request->rectangle, "X,Y,W,H: part of the result to write, y up; else all of it, if it has an end");
    apply->add_flag("--keep-size", request->keepSize, "write the part inside the input's extent")->excludes(rectangle);
    apply->footer(program.get_footer() + "\n" + kValues);
    apply->callback([request, &session] { Apply(session, *request); });
}
