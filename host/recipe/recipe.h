// recipe.h - the filters of an apply command, one after another.
//
//   GaussianBlur inputRadius=8 + ColorControls inputSaturation=0 photo.jpg
//
// The first word and each word behind a + name a filter; KEY=VALUE sets one of its keys (setting_value.h); every other word is
// an input picture. The picture goes into the first filter, each filter's output into the next: into inputImage, or into the
// keys that say KEY=-.

#pragma once

#include "host/runtime/host.h"

// A filter and what its keys are set to.
struct RecipeStep {
    std::string filter;                 // in any of its spellings
    std::vector<std::string> settings;  // KEY=VALUE
};

struct Recipe {
    std::vector<RecipeStep> steps;
    std::vector<std::string> inputs;  // paths
};

// Sorts the words of a command. Throws HostError for a + without a filter behind it.
Recipe ReadRecipe(const std::vector<std::string>& words);

// Throws HostError when a step names a filter or a key that there is not. What this accepts may still fail when it runs.
void CheckRecipe(host::Host& session, const Recipe& recipe);

// The class and settings in words: "CIFilterGaussianBlurQOR inputRadius=8".
std::string StepText(const RecipeStep& step);

// The output of one step. The image that comes in is nil when there is none.
//
// Throws HostError for a value that does not fit, an image that no key takes, and a filter that gives no image from these
// inputs.
host::ObjectReference RunStep(host::Host& session, const RecipeStep& step, const host::Value& image);
