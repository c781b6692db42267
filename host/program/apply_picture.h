// apply_picture.h - the stages of one picture: opened, filtered, framed and resized, saved.
//
// A plan is prepared once and used for any number of pictures. Each stage takes the empty path, and the nil value that
// becomes of it, for a chain without an input.
//
// Lifetime: a plan refers to its recipe and must end before its host.
// Failure:  HostException and HostError, whose status depends on the stage (exit_status.h).
// Threads:  the host's thread.

#pragma once

#include <functional>
#include <optional>
#include <string>

#include "host/program/apply_request.h"
#include "host/program/output_names.h"
#include "host/program/resize_option.h"
#include "host/recipe/prepared_recipe.h"
#include "host/runtime/host.h"

// Called after each step with its result.
using StepReport = std::function<void(const char* step, const std::string& result)>;

// What is the same for all pictures.
struct Plan {
    PreparedRecipe recipe;
    std::optional<ResizeOption> resize;
};

// Prepares the recipe and checks the output options. A target that is not empty must be writable.
[[nodiscard]] Plan PreparePlan(host::Host& host, const ApplyRequest& request, const Recipe& recipe,
                               const std::string& target);

// Writes the recipe to the file that the command asks for.
void SaveRecipe(host::Host& host, const ApplyRequest& request, const Recipe& recipe);

// Opens a file, or what standard input has.
[[nodiscard]] host::Value Opened(host::Host& host, const std::string& input, const StepReport& report);

// Runs the plan's steps on an opened picture.
[[nodiscard]] host::ObjectReference Filtered(host::Host& host, const ApplyRequest& request, const Plan& plan,
                                             const host::Value& opened, const StepReport& report);

[[nodiscard]] ResultSize SizeOf(host::Host& host, const host::ObjectReference& image);

// Writes a result to a file or to standard output, with the properties of the opened picture. On failure, an existing
// file is unchanged.
void Save(host::Host& host, const ApplyRequest& request, const host::Value& opened, const host::ObjectReference& image,
          const std::string& output, const StepReport& report);
