// prepared_recipe.h - a recipe that is ready to run: names are looked up, values are read, images are numbered.
//
// The original picture is image 0, the result of step i is image i. The incoming picture of step i is image i - 1. It
// becomes the inputImage of a filter, or what a method is called on, unless a setting says otherwise.
//
// A recipe is prepared once, which reads and checks every setting, and then runs on any number of pictures.
//
// Lifetime: refers to the recipe, and must end before its host.
// Threads:  the host's thread.

#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "host/description/names.h"
#include "host/recipe/recipe.h"
#include "host/runtime/host.h"

// The value of a key: a value, or the number of an image.
struct PreparedValue {
    std::string key;
    std::variant<host::Value, std::size_t> value;
};

struct PreparedStep {
    const RecipeStep* step;
    StepClass isa;
    std::vector<PreparedValue> values;  // in the order in which they are set; of a method, its arguments
    std::size_t receiver = 0;           // the image that a method is called on
    std::string text;                   // with full names: "CIFilterGaussianBlurQOR inputRadius=8"
};

struct PreparedRecipe {
    std::vector<PreparedStep> steps;
};

// Reads the files and values of all settings. `hasInput` tells whether there is an original picture.
//
// Fails: RecipeError, or HostError for a word of a command: an unknown name, a value of the wrong type, a wrong number
//        of elements, a negative radius or width, a picture or result that nothing takes; HostException when a value
//        cannot be made, such as an image whose file is missing.
[[nodiscard]] PreparedRecipe PrepareRecipe(host::Host& host, const Recipe& recipe, bool hasInput);

// Returns the files that a recipe names, itself included. A value that happens to be the name of a file counts too.
[[nodiscard]] std::vector<std::string> FilesOfRecipe(const Recipe& recipe);

// A filter has no output image because keys are not set. The message names them.
class MissingKeys : public RecipeError {
  public:
    using RecipeError::RecipeError;
};

// Called after each step with its result.
using StepDone = std::function<void(const PreparedStep& step, const host::ObjectReference& result)>;

// Runs the steps on a picture, or on none when it is nil, and returns the last result. Nothing is rendered.
//
// Fails: MissingKeys; HostError for another filter without an output image; HostException when the module raises.
[[nodiscard]] host::Value RunRecipe(host::Host& host, const PreparedRecipe& recipe, const host::Value& picture,
                                    const StepDone& done = {});

// Runs the steps on a plain color instead of a picture, without rendering anything. Throws MissingKeys when a setting
// is missing; every other failure is left to the run on a picture.
void CheckOutputs(host::Host& host, const PreparedRecipe& recipe, bool hasInput);
