// recipe.h - the filter chain of an apply command.
//
//   GaussianBlur inputRadius=8 + ColorControls inputSaturation=0 photo.jpg
//
// The first word and the word after each + name a filter. KEY=VALUE sets a key of that filter (setting_value.h).
// Every other word is an input picture. A first word with a point or a slash, or -, is one too: the chain is then empty
// and leaves the picture as it is. The picture becomes the inputImage of the first filter, or the value of each
// key set with KEY=-; the output of each filter is passed to the next in the same way.
//
// A recipe is prepared once, which reads and checks every setting, and then runs on any number of pictures.
//
// Lifetime: a recipe owns its text and may be used with any number of hosts. A prepared recipe refers to the recipe and
//           must end before its host.
// Threads:  reading and checking keep no state; a step runs on the thread of its host.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/runtime/errors.h"
#include "host/runtime/host.h"

// KEY=VALUE, split at the first =.
struct Setting {
    std::string text;  // as it was written
    std::string key;
    std::string value;
};

// A filter and its settings.
struct RecipeStep {
    std::string filter;  // in any of its spellings
    std::vector<Setting> settings;
};

struct Recipe {
    std::vector<RecipeStep> steps;
    std::vector<std::string> inputs;  // paths
};

// Reads the words of a command. Throws HostError for a + without a filter before or after it.
[[nodiscard]] Recipe ReadRecipe(const std::vector<std::string>& words);

// A step with the values of its settings, in the order in which they are set.
struct PreparedStep {
    const RecipeStep* step;
    const host::Class* isa;
    std::vector<std::pair<std::string, std::optional<host::Value>>> values;  // by key; none for the incoming picture
};

// Reads the files and values of all settings. `hasInput` tells whether there is a picture for the first step.
//
// Fails: HostError for an unknown filter or key, for a value of the wrong type, a wrong number of elements or a
// negative
//        radius or width, and for a picture that no key takes; HostException when a value cannot be made, such as an
//        image whose file is missing.
[[nodiscard]] std::vector<PreparedStep> PrepareRecipe(host::Host& host, const Recipe& recipe, bool hasInput);

// Returns the files that the settings name. A value that happens to be the name of a file counts too.
[[nodiscard]] std::vector<std::string> FilesOfSettings(const Recipe& recipe);

// Returns the class and the settings as text, with full names: "CIFilterGaussianBlurQOR inputRadius=8".
[[nodiscard]] std::string StepText(const PreparedStep& step);

// A filter has no output image because keys are not set. The message names them.
class MissingKeys : public host::HostError {
  public:
    using HostError::HostError;
};

// Returns the output image of one step. `image` is the incoming image, or nil when there is none.
//
// Fails: MissingKeys; HostError for another filter without an output image; HostException when the module raises.
[[nodiscard]] host::ObjectReference RunStep(host::Host& host, const PreparedStep& step, const host::Value& image);

// Runs the steps on a plain color instead of a picture, without rendering anything. Throws MissingKeys when a setting
// is missing; every other failure is left to the run on a picture.
void CheckOutputs(host::Host& host, const std::vector<PreparedStep>& steps, bool hasInput);
