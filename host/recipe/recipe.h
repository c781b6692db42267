// recipe.h - the filter chain of an apply command.
//
//   GaussianBlur inputRadius=8 + ColorControls inputSaturation=0 photo.jpg
//
// The first word and the word after each + name a filter. KEY=VALUE sets a key of that filter (setting_value.h).
// Every other word is an input picture. The picture becomes the inputImage of the first filter, or the value of each
// key set with KEY=-; the output of each filter is passed to the next in the same way.
//
// Lifetime: a recipe owns its text and may be used with any number of hosts.
// Threads:  reading and checking keep no state; a step runs on the thread of its host.

#pragma once

#include <string>
#include <vector>

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

// Throws HostError when a step names an unknown filter or key. A recipe that passes may still fail when it runs.
void CheckRecipe(host::Host& host, const Recipe& recipe);

// Returns the class and the settings as text: "CIFilterGaussianBlurQOR inputRadius=8".
[[nodiscard]] std::string StepText(const RecipeStep& step);

// Returns the output image of one step. `image` is the incoming image, or nil when there is none.
//
// Fails: HostError for a value of the wrong type, for an incoming image that no key takes, and for a filter without an
//        output image; HostException when the module raises.
[[nodiscard]] host::ObjectReference RunStep(host::Host& host, const RecipeStep& step, const host::Value& image);
