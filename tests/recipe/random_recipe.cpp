// random_recipe.cpp - chooses declarations first, so that steps can refer to them.

#include "tests/recipe/random_recipe.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "host/description/names.h"
#include "host/recipe/recipe_option_table.h"
#include "host/runtime/value.h"

namespace {

using Words = std::vector<std::string>;

class Maker {
  public:
    Maker(host::Host& host, RandomNumbers& random) : host_(host), random_(random) {}

    Recipe Make() {
        for (int i = Below(3); i > 0; --i) {
            recipe_.parameters.push_back({NewName(), host::NumberText(Number()), {}, "parameter"});
        }
        for (int i = Below(3); i > 0; --i) recipe_.pictures.push_back({NewName(), Path(), {}, "picture"});
        Words names = FilterNames(host_);
        for (const std::string& method : StepMethodNames(host_)) names.push_back(method);
        for (int i = 1 + Below(8); i > 0; --i) AddStep(names[static_cast<std::size_t>(Below(names.size()))]);
        for (const RecipeOptionRow& row : kRecipeOptions) {
            if (Below(4) > 0) continue;
            const char* values[] = {"90", "a b", "#1", "\"", "$x\\", ""};
            const bool isFlag = row.kind == RecipeOptionKind::kFlag;
            recipe_.options.push_back({std::string(row.name), isFlag ? "" : values[Below(5)], {}});
        }
        return recipe_;
    }

  private:
    template <typename Count>
    int Below(Count count) {
        return static_cast<int>(random_() % static_cast<std::uint32_t>(count));
    }

    // Any finite number: of any size, or a short one.
    double Number() {
        if (Below(2) == 0) return Below(2000) / 8.0 - 100;
        for (;;) {
            const std::uint64_t bits = (std::uint64_t{random_()} << 32) | random_();
            double number;
            std::memcpy(&number, &bits, sizeof number);
            if (number - number == 0) return number;
        }
    }

    std::string Numbers(int count) {
        std::string list = host::NumberText(Number());
        while (--count > 0) list += "," + host::NumberText(Number());
        return list;
    }

    std::string NewName() { return "n" + std::to_string(++names_) + (Below(2) == 0 ? "x" : ""); }

    // A path of strange characters. It is not "-", which is the incoming picture, and not empty.
    std::string Path() {
        const char* parts[] = {"a", "b.png", " ", "\"", "\\",       "$",    "$input", "#",
                               "=", "->",    "+", "\t", "\xC3\xA9", "\xFF", "7"};
        std::string path = "p";
        for (int i = Below(6); i > 0; --i) path += parts[Below(std::size(parts))];
        return path;
    }

    // A value of a type, which may be a reference.
    std::string Value(const host::Type& type) {
        const std::string& word = type.word;
        if (word == "CIImageQOR") return Image();
        if (word == "memoryblock") return Below(2) == 0 ? ValueOfText("@" + Path()) : Numbers(32);
        if (word == "boolean") return Below(2) == 0 ? "yes" : "no";
        if (word == "integer") return std::to_string(static_cast<std::int32_t>(random_()));
        if (word == "string" || word == "CGColorSpaceQOR") return ValueOfText(Path());
        if (word == "CIColorQOR") return Below(2) == 0 ? "#a0b1c2" : Numbers(4);
        if (word == "NSAffineTransformQOR") return Below(2) == 0 ? Numbers(6) : "rotate:" + Numbers(1) + " scale:2,3";
        const bool isList = word == "CIVectorQOR";
        if (recipe_.parameters.empty() || Below(3) > 0) return Numbers(isList ? 1 + Below(9) : 1);
        const std::string& parameter =
            recipe_.parameters[static_cast<std::size_t>(Below(recipe_.parameters.size()))].name;
        return isList && Below(2) == 0 ? "1,$" + parameter + ",-2" : "$" + parameter;
    }

    std::string Image() {
        switch (Below(5)) {
            case 0:
                return kIncoming;
            case 1:
                return "$input";
            case 2:
                return ValueOfText(Path());
            case 3:
                if (!results_.empty()) return "$" + results_[static_cast<std::size_t>(Below(results_.size()))];
                return "$input";
            default:
                if (recipe_.pictures.empty()) return "$input";
                return "$" + recipe_.pictures[static_cast<std::size_t>(Below(recipe_.pictures.size()))].name;
        }
    }

    void AddStep(const std::string& name) {
        const StepClass isa = StepNamed(host_, name);
        RecipeStep step = {isa.Name(), {}, "", {}};
        for (const StepKey& key : KeysOf(isa)) {
            if (Below(3) == 0) continue;
            const std::string value = Value(key.type);
            step.settings.push_back({key.name + "=" + value, key.name, value, {}});
        }
        if (Below(2) == 0) results_.push_back(step.result = NewName());
        recipe_.steps.push_back(std::move(step));
    }

    host::Host& host_;
    RandomNumbers& random_;
    Recipe recipe_;
    Words results_;
    int names_ = 0;
};

}  // namespace

Recipe RandomRecipe(host::Host& host, RandomNumbers& random) { return Maker(host, random).Make(); }
