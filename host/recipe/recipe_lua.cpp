// recipe_lua.cpp - writes each step as a person would: the filter, its settings, its output image.

#include "host/recipe/recipe_lua.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <variant>
#include <vector>

#include "host/recipe/recipe_option_table.h"
#include "host/recipe/resolved_value.h"
#include "host/recipe/setting_value.h"

namespace {

// A function that a program needs when it uses the name.
struct LuaHelper {
    std::string_view name;
    std::string_view text;
};

constexpr LuaHelper kLuaHelpers[] = {
    {"floats", R"(
-- Numbers as the 32-bit floats of a color table.
local function floats(numbers)
    local parts = {}
    for i, number in ipairs(numbers) do parts[i] = string.pack("<f", number) end
    return MemoryBlock.FromBytes(table.concat(parts))
end
)"},
    {"cube", R"(
-- The colors of a .cube file, each with alpha.
local function cube(path)
    local numbers = {}
    for line in io.lines(path) do
        local red, green, blue = line:match("^%s*(%S+)%s+(%S+)%s+(%S+)%s*$")
        local color = { tonumber(red), tonumber(green), tonumber(blue), 1 }
        if #color == 4 then table.move(color, 1, 4, #numbers + 1, numbers) end
    end
    return floats(numbers)
end
)"},
    {"raw", R"(
-- The bytes of a file.
local function raw(path)
    local file <close> = assert(io.open(path, "rb"))
    return MemoryBlock.FromBytes(file:read("a"))
end
)"},
};

// A string of Lua. Bytes that are not printable ASCII become escapes of three digits.
std::string LuaString(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        const auto byte = static_cast<std::uint8_t>(c);
        if (c == '"' || c == '\\') {
            quoted.append({'\\', c});
        } else if (byte < ' ' || byte > '~') {
            quoted.append({'\\', static_cast<char>('0' + byte / 100), static_cast<char>('0' + byte / 10 % 10),
                           static_cast<char>('0' + byte % 10)});
        } else {
            quoted += c;
        }
    }
    return quoted + "\"";
}

// A number of Lua. Its integers have no negative zero.
std::string LuaNumber(const std::string& number) { return number == "-0" ? "-0.0" : number; }

template <std::size_t kCount>
std::string LuaArguments(const std::array<double, kCount>& numbers) {
    std::string list;
    for (const double number : numbers) list += (list.empty() ? "" : ", ") + LuaNumber(host::NumberText(number));
    return "(" + list + ")";
}

// The expression of a text's value.
std::string LuaValue(const host::Type& type, const ResolvedValue& value) {
    const std::string& text = value.text;
    if (type.word == "string") return LuaString(text);
    if (type.word == "boolean") return CanonicalValue(type, value.subject, text) == "yes" ? "true" : "false";
    if (type.word == "CIVectorQOR") {
        return "CIVectorQOR.FromNumbers(" + LuaString(CanonicalValue(type, value.subject, text)) + ")";
    }
    if (type.word == "CIColorQOR") return "CIColorQOR.RGBA" + LuaArguments(ColorIn(value.subject, text));
    if (type.word == "CIImageQOR") return "CIImageQOR.Open(" + LuaString(text) + ")";
    if (type.word == "NSAffineTransformQOR") {
        return "NSAffineTransformQOR.Make" + LuaArguments(TransformIn(value.subject, text));
    }
    if (type.word == "CGColorSpaceQOR") return "CGColorSpaceQOR.Named(" + LuaString(text) + ")";
    if (type.word != "memoryblock") return LuaNumber(CanonicalValue(type, value.subject, text));
    const std::size_t path = PathIn(type, text);
    if (path == 0) return "cube(" + LuaString(text) + ")";
    if (path != std::string::npos) return "raw(" + LuaString(text.substr(path)) + ")";
    return "floats { " + CanonicalValue(type, value.subject, text) + " }";
}

// Writes the steps of one recipe.
class LuaWriter {
  public:
    LuaWriter(const Recipe& recipe, const PreparedRecipe& prepared, bool hasInput)
        : recipe_(recipe), prepared_(prepared), hasInput_(hasInput) {}

    std::string Program() {
        for (std::size_t i = 0; i < prepared_.steps.size(); ++i) AddStep(i);
        AddOptions();
        std::string program = "-- Made by zeva recipe --lua. zeva run runs it with the " +
                              std::string(hasInput_ ? "picture to open and the" : "name of the") +
                              " picture to write.\n";
        program += hasInput_ ? "local file, target = ...\n" : "local target = ...\n";
        for (const LuaHelper& helper : kLuaHelpers) {
            // One helper uses the one in front of it.
            const bool isUsed = Uses(helper.name) || (helper.name == "floats" && Uses("cube"));
            if (isUsed) program += helper.text;
        }
        program += "\n";
        if (hasInput_) program += "local input = CIImageQOR.Open(file)\n";
        if (hasName_) program += "local results = {}\n";
        program += hasInput_ ? "local image = input\n" : "local image\n";
        if (hasFilter_) program += "local filter\n";
        return program + lines_;
    }

  private:
    bool Uses(std::string_view helper) const {
        return lines_.find(std::string(helper) + "(\"") != std::string::npos ||
               lines_.find(std::string(helper) + " {") != std::string::npos;
    }

    void AddStep(std::size_t index) {
        const PreparedStep& step = prepared_.steps[index];
        lines_ += "\n";
        if (step.isa.method != nullptr) {
            std::string arguments;
            for (const PreparedValue& value : step.values) {
                arguments += (arguments.empty() ? "" : ", ") + ValueText(index, value);
            }
            lines_ += "image = " + Image(index, step.receiver) + ":" + step.isa.Name() + "(" + arguments + ")\n";
        } else {
            hasFilter_ = true;
            lines_ += "filter = " + step.isa.Name() + "()\n";
            for (const PreparedValue& value : step.values) {
                lines_ += "filter." + value.key + " = " + ValueText(index, value) + "\n";
            }
            lines_ += "image = filter.outputImage\n";
        }
        if (step.step->result.empty()) return;
        hasName_ = true;
        lines_ += Result(step.step->result) + " = image\n";
    }

    // An image as a step sees it.
    std::string Image(std::size_t step, std::size_t image) const {
        if (image == step) return "image";
        return image == 0 ? "input" : Result(recipe_.steps[image - 1].result);
    }

    // A named result. Why not results.name: a name may be a keyword of Lua.
    static std::string Result(const std::string& name) { return "results[\"" + name + "\"]"; }

    // The expression of a value: an image, what a setting says, or a number that was added.
    std::string ValueText(std::size_t index, const PreparedValue& value) const {
        if (const auto* image = std::get_if<std::size_t>(&value.value)) return Image(index, *image);
        const PreparedStep& step = prepared_.steps[index];
        for (const Setting& setting : step.step->settings) {
            const StepKey key = StepKeyNamed(step.isa, setting.key, setting.text);
            if (key.name == value.key) return LuaValue(key.type, Resolved(recipe_, index, setting, key.type));
        }
        return host::NumberText(std::get<double>(std::get<host::Value>(value.value)));
    }

    const RecipeOption* Option(std::string_view name) const {
        const auto found = std::ranges::find(recipe_.options, name, &RecipeOption::name);
        return found == recipe_.options.end() ? nullptr : &*found;
    }

    void AddOptions() {
        lines_ += "\n";
        if (const RecipeOption* rectangle = Option("--rect")) {
            lines_ += "image = image:Crop(CIVectorQOR.FromNumbers(" + LuaString(rectangle->value) + "))\n";
        }
        if (Option("--keep-size") != nullptr) lines_ += "image = image:Crop(input.Extent)\n";
        if (const RecipeOption* size = Option("--resize")) AddResize(size->value);
        lines_ += "image:SaveLike(target, " + std::string(hasInput_ ? "input" : "nil") + ", " +
                  LuaString(SavingOptions()) + ")\n";
    }

    // The forms of --resize: "50%", "1024x768" and "1024".
    void AddResize(const std::string& size) {
        const bool isFit = Option("--fit") != nullptr, isFill = Option("--fill") != nullptr;
        const std::size_t times = size.find('x');
        if (size.ends_with('%')) {
            lines_ += "local scale = " + size.substr(0, size.size() - 1) + " / 100\n" +
                      "local function scaled(side) return math.max(1, math.floor(side * scale + 0.5)) end\n" +
                      "image = image:Resized(scaled(image.Extent.Width), scaled(image.Extent.Height), \"stretch\")\n";
        } else if (times != std::string::npos) {
            const char* mode = isFit ? "fit" : isFill ? "fill" : "stretch";
            lines_ += "image = image:Resized(" + size.substr(0, times) + ", " + size.substr(times + 1) + ", " +
                      LuaString(mode) + ")\n";
        } else {
            lines_ += "image = image:Resized(" + size + ", " + size + ", " + LuaString(isFill ? "fill" : "fit") + ")\n";
        }
    }

    // The options that SaveLike takes.
    std::string SavingOptions() const {
        std::string text;
        for (const RecipeOption& option : recipe_.options) {
            if (!FindRecipeOption(option.name)->group.empty()) continue;
            text += (text.empty() ? "" : " ") + option.name.substr(2);
            if (!option.value.empty()) text += "=";
            for (const char c : ResolvedOption(option)) {
                if (c == ';' || c == '\\') text += '\\';
                text += c;
            }
            text += ";";
        }
        return text;
    }

    const Recipe& recipe_;
    const PreparedRecipe& prepared_;
    bool hasInput_;
    bool hasFilter_ = false;
    bool hasName_ = false;
    std::string lines_;
};

}  // namespace

std::string RecipeLua(const Recipe& recipe, const PreparedRecipe& prepared, bool hasInput) {
    return LuaWriter(recipe, prepared, hasInput).Program();
}
