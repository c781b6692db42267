// apply_picture.cpp - calls the companion's CIImageQOR for everything but the filters.

#include "host/program/apply_picture.h"

#include <cstdint>
#include <variant>

#include "host/program/exit_status.h"
#include "host/program/picture_streams.h"
#include "host/recipe/canonical_recipe.h"
#include "host/recipe/recipe_syntax.h"
#include "host/runtime/errors.h"
#include "host/runtime/text.h"
#include "host/runtime/write_file.h"

namespace {

using host::Host;
using host::HostError;
using host::ObjectReference;
using host::Value;

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
        const ObjectReference part = Cropped(host, image, host.CallShared("CIVectorQOR", "FromNumbers", list));
        if (ExtentOf(host, part).width > 0 || ExtentOf(host, image).width <= 0) return part;
        throw HostError("--rect", "'" + request.rectangle + "' lies outside the result, which is " +
                                      ExtentText(host, image) + "; nothing was written");
    }
    if (ExtentOf(host, image).IsInfinite()) {
        throw HostError(request.output, "the result is infinite, --rect X,Y,W,H selects the part to write");
    }
    return image;
}

// On failure, an existing file is unchanged.
void SaveToFile(Host& host, const ApplyRequest& request, const Value& opened, const ObjectReference& image,
                const std::string& output) {
    const Value arguments[] = {host::TextValue(output), opened, host::TextValue(OptionsText(request.options))};
    host.Call(image.Get(), "SaveLike", arguments);
}

}  // namespace

Plan PreparePlan(Host& host, const ApplyRequest& request, const Recipe& recipe, const std::string& target) {
    const bool hasInput = !recipe.inputs.empty();
    if (request.keepSize && !hasInput) throw HostError("--keep-size", "there is no input picture");
    Plan plan = {PrepareRecipe(host, recipe, hasInput), ResizeOf(request)};
    CheckAtRecipe(recipe, [&] { CheckTarget(host, target, request.options); });
    return plan;
}

void SaveRecipe(Host& host, const ApplyRequest& request, const Recipe& recipe) {
    if (request.recipeFile.empty()) return;
    Recipe whole = recipe;
    whole.options = RecipeOptionsOf(request);
    host::WriteFile(request.recipeFile, RecipeText(CanonicalRecipe(host, whole, request.recipeFile)));
}

// The three stages of one picture, or of none when the input is empty.

Value Opened(Host& host, const std::string& input, const StepReport& report) {
    if (input.empty()) return {};
    Value opened;
    if (input == kStandardStream) {
        opened = OpenedFromInput(host);
    } else {
        const Value file[] = {host::TextValue(input)};
        opened = host.CallShared("CIImageQOR", "Open", file);
    }
    report("open", input + ", " + ExtentText(host, std::get<ObjectReference>(opened)));
    return opened;
}

ObjectReference Filtered(Host& host, const ApplyRequest& request, const Plan& plan, const Value& opened,
                         const StepReport& report) {
    const Value image =
        RunRecipe(host, plan.recipe, opened, [&](const PreparedStep& step, const ObjectReference& result) {
            report("filter", step.text + ", " + ExtentText(host, result));
        });
    const ObjectReference framed = Framed(host, request, opened, std::get<ObjectReference>(image));
    if (!plan.resize) return framed;
    std::string step;
    const Rectangle extent = ExtentOf(host, framed);
    const ObjectReference resized = Resized(host, *plan.resize, framed, extent.width, extent.height, &step);
    report("filter", step + ", " + ExtentText(host, resized));
    return resized;
}

ResultSize SizeOf(Host& host, const ObjectReference& image) {
    const Rectangle extent = ExtentOf(host, image);
    return {extent.width, extent.height};
}

void Save(Host& host, const ApplyRequest& request, const Value& opened, const ObjectReference& image,
          const std::string& output, const StepReport& report) {
    const auto save = [&](const std::string& file) { SaveToFile(host, request, opened, image, file); };
    if (output == kStandardStream) {
        WriteToOutput(request.options.format, save);
    } else {
        save(output);
    }
    report("write", output + ", " + ExtentText(host, image));
}
