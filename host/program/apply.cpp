// apply.cpp - "zeva apply": applies a chain of filters to one picture or to many.
//
// Everything that is wrong with the arguments is found before anything is created. For one picture that happens on the
// way; for many pictures, a worker process prepares the recipe first and reports what is wrong once.
//
// One picture is processed here, with a line on standard error for each step (apply_one.cpp). Many pictures are
// processed in parallel by worker processes, each with a host of its own (apply_many.cpp).

#include "host/program/apply.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "host/program/apply_picture.h"
#include "host/program/apply_request.h"
#include "host/program/commands.h"
#include "host/program/exit_status.h"
#include "host/program/output_names.h"
#include "host/program/picture_list.h"
#include "host/program/picture_streams.h"
#include "host/recipe/recipe_syntax.h"
#include "host/runtime/errors.h"

namespace {

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

// Throws UsageError for options of many pictures that contradict one another or the others.
void CheckBatch(const ApplyRequest& request) {
    const BatchRequest& batch = request.batch;
    static_cast<void>(ReadShard(batch.shard));
    if (!batch.resume.empty() && batch.resume != kResume && batch.resume != kVerify) {
        throw UsageError("--resume: '" + batch.resume +
                         "' is not a way to resume, expected --resume or --resume=verify");
    }
    if (!batch.resume.empty() && batch.report.empty()) throw UsageError("--resume: expected --report with the report");
    if (!batch.resume.empty() && request.isInPlace) {
        throw UsageError(
            "--in-place and --resume cannot be combined: a picture that was replaced and not yet noted "
            "would be filtered twice");
    }
    if (IsBatch(batch) && request.output == kStandardStream) {
        throw UsageError("--output -: expected one picture and no option of many pictures");
    }
}

int Apply(const ProgramOptions& options, ApplyRequest request) {
    if (request.words.empty() && request.batch.list.empty()) throw UsageError("FILTER is required");
    const Recipe recipe = RecipeOf(request);
    CheckAtRecipe(recipe, [&] { CheckOptions(request); });
    CheckBatch(request);
    const std::vector<InputPicture> pictures = PicturesOf(options, request, recipe);
    if (pictures.empty() && !request.batch.list.empty()) {
        throw Failure(kFailed, request.batch.list + ": the list names no pictures; nothing was written");
    }
    if (pictures.empty() && !recipe.inputs.empty()) {
        throw Failure(kFailed, recipe.inputs[0] + ": the folder contains no pictures; nothing was written");
    }
    const bool isOne = pictures.size() <= 1 && !IsBatch(request.batch);
    if (!isOne && request.output == kStandardStream) {
        throw UsageError("--output -: expected one picture, got " + std::to_string(pictures.size()));
    }
    if (request.isInPlace && pictures.empty()) throw UsageError("--in-place: there is no input picture");
    if (!isOne && pictures.empty()) throw UsageError("--report, --shard and --jobs: there is no input picture");
    const bool isFound = isOne && !pictures.empty() && std::ranges::count(recipe.inputs, pictures[0].path) == 0;
    const bool isSeries = !isOne || (isFound && request.output != kStandardStream);
    const OutputNames names =
        request.isInPlace ? OutputNames() : OutputNames(request.output, pictures.size(), isSeries);
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

Recipe RecipeOf(ApplyRequest& request) {
    Recipe recipe = ParseCommand(request.words, SharedRecipes());
    AddRecipeOptions(request, recipe);
    return recipe;
}

std::vector<Argument> ApplyArguments(ApplyRequest& request) {
    BatchRequest& batch = request.batch;
    std::vector<Argument> arguments = {
        {"FILTER", &request.words,
         "a filter (GaussianBlur, CIGaussianBlur or CIFilterGaussianBlurQOR) or a recipe, its settings, and pictures "
         "(- for standard input)"},
        {.names = "-o,--output",
         .target = &request.output,
         .help = "picture to write, in the format of its suffix; a folder for results with the names of their inputs; "
                 "a pattern with {name}, {ext}, {dir}, {width}, {height} and {index}; or - for standard output",
         .mayBeEmpty = true},
        {"--format", &request.options.format, "format of a picture on standard output, such as png or jpeg"},
        {.names = "--in-place",
         .target = &request.isInPlace,
         .help = "write each result over its input",
         .excludes = "--output"},
        {"--save-recipe", &request.recipeFile, "file for the filters, settings and output options as a recipe"},
        {"--no-clobber", &request.keepsExisting, "leave results alone that exist"},
        {"--recursive", &request.isRecursive,
         "take all pictures in and below the folders among the inputs, by their content"},
        {"--files-from", &batch.list,
         "file with the names of more inputs, one per line or ended by zero bytes; - for standard input"},
        {.names = "--jobs",
         .target = &batch.jobs,
         .help = "pictures at a time; default: one per processor",
         .isPositive = true},
        {"--shard", &batch.shard, "i/n: only part i, from 0, of n parts of the pictures; a picture's name decides"},
        {"--report", &batch.report, "file for a line of JSON for each picture that is done or failed"},
        {.names = "--resume",
         .target = &batch.resume,
         .help = "leave out what --report says is done; --resume=verify compares the hashes of all files",
         .defaultValue = kResume},
        {"--fail-fast", &batch.stopsAtFailure, "begin no picture after the first that failed"},
        {"--retry", &batch.retries, "times that a picture is tried again for which the machine failed"},
    };
    const std::vector<Argument> results = ResultArguments(request);
    arguments.insert(arguments.end(), results.begin(), results.end());
    return arguments;
}

bool IsBatch(const BatchRequest& request) {
    return !request.list.empty() || request.jobs != 0 || !request.shard.empty() || !request.report.empty() ||
           !request.resume.empty() || request.stopsAtFailure || request.retries != 0;
}

Command ApplyCommand() {
    const auto request = std::make_shared<ApplyRequest>();
    return {
        .name = "apply",
        .help = "Applies filters to pictures.",
        .arguments = ApplyArguments(*request),
        .run = [request](const ProgramOptions& options) { return Apply(options, *request); },
        .usage = "zeva apply FILTER|RECIPE [KEY=VALUE ...] [+ FILTER [KEY=VALUE ...] ...] [IN ...] -o OUT|DIR|-",
        .footer = std::string(kSharedFooter) + "\n" + kValues,
    };
}
