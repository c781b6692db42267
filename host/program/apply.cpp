// apply.cpp - "zeva apply": applies a chain of filters to one picture or to many.
//
// Everything that is wrong with the arguments is found before anything is created. For one picture that happens on the
// way; for many pictures, a worker process prepares the recipe first and reports what is wrong once.
//
// One picture is processed here, with a line on standard error for each step (apply_one.cpp). Many pictures are
// processed in parallel by worker processes, each with a host of its own (apply_many.cpp).

#include "host/program/apply.h"

#include <memory>
#include <string>
#include <vector>

#include "host/program/apply_picture.h"
#include "host/program/apply_request.h"
#include "host/program/commands.h"
#include "host/program/exit_status.h"
#include "host/program/output_names.h"
#include "host/program/output_options.h"
#include "host/program/picture_streams.h"
#include "host/recipe/recipe.h"
#include "host/recipe/setting_value.h"
#include "host/runtime/errors.h"

namespace {

using host::HostError;

// Throws HostError when --rect is not a rectangle of at least one pixel.
void CheckRectangle(const std::string& text) {
    const std::vector<double> numbers = NumbersIn("--rect", text);
    if (numbers.size() != 4) throw HostError("--rect", "'" + text + "' is not a rectangle, expected X,Y,W,H");
    if (!(numbers[2] > 0 && numbers[3] > 0)) {
        throw HostError("--rect", "'" + text + "' is empty, expected a width and a height above 0");
    }
}

// Throws UsageError for options that contradict one another.
void CheckOptions(const ApplyRequest& request) {
    if (!request.rectangle.empty()) CheckRectangle(request.rectangle);
    static_cast<void>(ResizeOf(request));
    if (request.output.empty() && !request.isInPlace) throw UsageError("--output is required");
    const bool isToOutput = request.output == kStandardStream;
    if (isToOutput && request.options.format.empty()) {
        throw UsageError("--output -: expected --format with the format of the picture, such as png");
    }
    if (!isToOutput && !request.options.format.empty()) {
        throw UsageError("--format: it is for --output -; the suffix of a file is its format");
    }
}

int Apply(const ProgramOptions& options, const ApplyRequest& request) {
    CheckOptions(request);
    const Recipe recipe = ReadRecipe(request.words);
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
                 "a filter (GaussianBlur, CIGaussianBlur or CIFilterGaussianBlurQOR), its settings, and pictures (- "
                 "for standard input)",
                 /*isRequired=*/true},
                {"-o,--output", &request->output,
                 "picture to write, in the format of its suffix; a folder for results with the names of their inputs; "
                 "a pattern with {name}, {ext}, {dir}, {width}, {height} and {index}; or - for standard output"},
                {"--format", &request->options.format, "format of a picture on standard output, such as png or jpeg"},
                {.names = "--in-place",
                 .target = &request->isInPlace,
                 .help = "write each result over its input",
                 .excludes = "--output"},
                {"--no-clobber", &request->keepsExisting, "leave results alone that exist"},
                {"--recursive", &request->isRecursive,
                 "take all pictures in and below the folders among the inputs, by their content"},
                {"--resize", &request->resize, "resize the result: 1024 (its longer side), 1024x768 or 50%"},
                {"--fit", &request->isFit, "keep the proportions: the largest size within that of --resize"},
                {.names = "--fill",
                 .target = &request->isFill,
                 .help = "keep the proportions: fill the size of --resize and cut off the rest",
                 .excludes = "--fit"},
                {"--rect", &request->rectangle,
                 "X,Y,W,H: the part of the result to write, y up; default: all of a finite result"},
                {.names = "--keep-size",
                 .target = &request->keepSize,
                 .help = "write the part inside the extent of the input",
                 .excludes = "--rect"},
            },
        .run = [request](const ProgramOptions& options) { return Apply(options, *request); },
        .usage = "zeva apply FILTER [KEY=VALUE ...] [+ FILTER [KEY=VALUE ...] ...] [IN ...] -o OUT|DIR|-",
        .footer = std::string(kSharedFooter) + "\n" + kValues,
    };
    const std::vector<Argument> outputs = OutputArguments(request->options);
    command.arguments.insert(command.arguments.end(), outputs.begin(), outputs.end());
    return command;
}
