// texts.cpp - from cards to a recipe and back; the recipe language does the rest.

#include "host/studio/texts.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <set>
#include <string_view>

#include "host/description/names.h"
#include "host/recipe/canonical_recipe.h"
#include "host/recipe/prepared_recipe.h"
#include "host/recipe/recipe_forms.h"
#include "host/recipe/recipe_link.h"
#include "host/recipe/recipe_lua.h"
#include "host/recipe/recipe_option_table.h"
#include "host/recipe/recipe_syntax.h"
#include "host/recipe/resolved_value.h"
#include "host/recipe/setting_value.h"
#include "host/runtime/errors.h"

namespace studio {
namespace {

using host::Host;
using host::HostError;

constexpr const char* kImageType = "CIImageQOR";
constexpr std::string_view kInput = "$input";

// ---- From cards to a recipe

// What a card reads: the image before it, the photo, and other cards by their positions.
struct Needs {
    bool incoming = false;
    bool photo = false;
    std::set<std::size_t> cards;
};

Needs NeedsOf(Host& host, const std::vector<Card>& cards, std::size_t index) {
    const StepClass step = StepNamed(host, cards[index].filter);
    Needs needs;
    needs.incoming = step.method != nullptr || step.isa->FindMember(kImageKey) != nullptr;
    for (const auto& [name, text] : cards[index].settings) {
        const StepKey key = StepKeyNamed(step, name, name);
        if (key.name == kImageKey && text != kIncoming) needs.incoming = false;
    }
    for (const auto& [name, text] : cards[index].settings) {
        if (StepKeyNamed(step, name, name).type.word != kImageType) continue;
        needs.incoming |= text == kIncoming;
        needs.photo |= text == kInput;
        for (std::size_t i = 0; i < index; ++i) {
            if (text == "$" + cards[i].name) needs.cards.insert(i);
        }
    }
    return needs;
}

// The name of a file in a recipe.
std::string NameOfFile(const std::string& number) { return "file" + number; }

// The rectangle of a photo as a setting.
std::string FrameText(double width, double height) {
    return "0,0," + host::NumberText(width) + "," + host::NumberText(height);
}

// ---- Words of a shell

// Splits a command as a shell does, without expanding anything.
std::vector<std::string> ShellWords(const std::string& text) {
    std::vector<std::string> words;
    std::optional<std::string> word;
    char quote = '\0';
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quote == '\'' || (quote == '"' && c != '\\')) {
            if (c == quote) {
                quote = '\0';
            } else {
                *word += c;
            }
        } else if (c == '\\' && i + 1 < text.size()) {
            if (text[++i] == '\n') continue;
            if (!word) word.emplace();
            *word += text[i];
        } else if (c == '\'' || c == '"') {
            if (!word) word.emplace();
            quote = c;
        } else if (std::isspace(static_cast<unsigned char>(c)) != 0) {
            if (word) words.push_back(std::move(*word));
            word.reset();
        } else if (std::string_view(";|&<>`()").find(c) != std::string_view::npos) {
            throw HostError(std::string(1, c), "only one zeva apply command can be pasted; nothing was executed");
        } else {
            if (!word) word.emplace();
            *word += c;
        }
    }
    if (quote != '\0') throw HostError(std::string(1, quote), "the quote does not end");
    if (word) words.push_back(std::move(*word));
    return words;
}

// Takes the options out of the words of a command. Those about files and processes have no meaning here.
std::vector<RecipeOption> TakeOptions(std::vector<std::string>& words) {
    std::vector<RecipeOption> options;
    std::vector<std::string> rest;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (!word.starts_with('-') || word == kIncoming || word.starts_with("->")) {
            rest.push_back(word);
            continue;
        }
        const std::size_t sign = word.find('=');
        const std::string name = word.substr(0, sign);
        const RecipeOptionRow* row = FindRecipeOption(name);
        const bool isTarget = name == "-o" || name == "--output";
        if (row == nullptr && !isTarget) throw HostError(word, "the studio has no such option");
        const bool takesNext = sign == std::string::npos && (isTarget || row->kind == RecipeOptionKind::kValue);
        std::string value = sign == std::string::npos ? "" : word.substr(sign + 1);
        if (takesNext && i + 1 < words.size()) value = words[++i];
        if (row != nullptr) options.push_back({name, value, {}});
    }
    words = rest;
    return options;
}

// ---- Programs in Lua

constexpr std::string_view kLuaHeader = "-- Made by zeva studio ";
constexpr std::string_view kLuaRecipe = "--| ";

// A sum over a text by which a change is noticed (FNV-1a).
std::string SumOf(std::string_view text) {
    std::uint64_t sum = 0xcbf29ce484222325;
    for (const char c : text) sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(sum));
    return digits;
}

std::string LuaOfChain(Host& host, const ChainRecipe& chain, const std::string& recipe) {
    std::string body;
    for (std::size_t at = 0; at < recipe.size();) {
        const std::size_t end = std::min(recipe.find('\n', at), recipe.size());
        body += std::string(kLuaRecipe) + recipe.substr(at, end - at) + "\n";
        at = end + 1;
    }
    body += "\n" + RecipeLua(chain.recipe, PrepareRecipe(host, chain.recipe, chain.hasInput), chain.hasInput);
    return std::string(kLuaHeader) + SumOf(body) + "\n" + body;
}

Recipe RecipeOfLua(const std::string& text) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string body = text.substr(std::min(end + 1, text.size()));
    // A pasted text may have lost its last line end.
    if (!body.ends_with('\n')) body += '\n';
    std::string sum = text.substr(kLuaHeader.size(), end - kLuaHeader.size());
    if (sum != SumOf(body)) {
        throw HostError("Lua", "the program was changed after Copy wrote it; only its own form can be pasted");
    }
    std::string recipe;
    for (std::size_t at = 0; body.compare(at, kLuaRecipe.size(), kLuaRecipe) == 0;) {
        const std::size_t lineEnd = body.find('\n', at);
        recipe += body.substr(at + kLuaRecipe.size(), lineEnd + 1 - at - kLuaRecipe.size());
        at = lineEnd + 1;
    }
    return ParseRecipe(recipe, "Lua");
}

// ---- From a recipe to cards

bool LooksLikeLua(std::string_view text) {
    return text.starts_with("local ") || text.starts_with("--") || text.find("\nlocal ") != std::string_view::npos;
}

// The path of a recipe that comes with the program. Why no other: a pasted text must not make the program read files.
std::string SharedRecipe(const std::string& name, const std::string& shared) {
    const std::vector<std::string> known = RecipeNamesIn(shared);
    if (std::ranges::count(known, name) == 0) {
        throw HostError(name, "not a recipe that comes with the program; paste the text of the file instead");
    }
    return shared + "/" + name;
}

Recipe RecipeOfText(const std::string& text, const std::string& shared, ReadChain& chain) {
    if (text.starts_with(kLuaHeader)) return RecipeOfLua(text);
    if (IsRecipeLink(text)) return ParseLink(text);
    if (text.starts_with("zeva-recipe") || text.starts_with("\xef\xbb\xbfzeva-recipe"))
        return ParseRecipe(text, "recipe");
    if (LooksLikeLua(text))
        throw HostError("Lua", "only a program as Copy writes it can be pasted; nothing was executed");
    std::vector<std::string> words = ShellWords(text);
    if (!words.empty() && words[0] == "$") words.erase(words.begin());
    if (!words.empty() && words[0] == "zeva") words.erase(words.begin());
    if (!words.empty() && words[0] == "apply") words.erase(words.begin());
    std::vector<RecipeOption> options = TakeOptions(words);
    if (words.empty()) throw HostError("paste", "expected a command, a recipe, a link or a program as Copy writes it");
    if (words[0].ends_with(kRecipeSuffix)) words[0] = SharedRecipe(words[0], shared);
    Recipe recipe = ParseCommand(words, shared);
    if (!recipe.inputs.empty()) chain.photo = recipe.inputs[0];
    recipe.options.insert(recipe.options.end(), options.begin(), options.end());
    return recipe;
}

Card CardOf(Host& host, const Recipe& recipe, std::size_t index, ReadChain& chain) {
    const RecipeStep& step = recipe.steps[index];
    const StepClass isa = AtPlace(step.place, step.name, [&] { return StepNamed(host, step.name); });
    const auto nameOf = [](std::size_t image) { return "s" + std::to_string(image); };
    const std::string shortName = isa.method != nullptr ? isa.Name() : FilterShortName(isa.Name());
    Card card = {nameOf(index + 1), shortName, {}};
    for (const Setting& setting : step.settings) {
        const StepKey key =
            AtPlace(setting.place, setting.text, [&] { return StepKeyNamed(isa, setting.key, setting.text); });
        const RecipePicture* slot = FindPicture(recipe, ReferenceOf(setting.value));
        if (slot != nullptr && slot->path.empty()) {
            chain.notes.push_back(key.name + " of " + shortName + " has no picture yet");
            continue;
        }
        const ResolvedValue value = Resolved(recipe, index, setting, key.type);
        std::string text;
        if (value.image) {
            const bool isIncoming = setting.value == kIncoming;
            text = isIncoming ? kIncoming : *value.image == 0 ? std::string(kInput) : "$" + nameOf(*value.image);
        } else if (key.type.word == kImageType) {
            text = "file:" + value.text;
        } else if (IsFileName(key.type)) {
            const bool isTable = value.text.ends_with(".cube") || value.text.starts_with('@');
            text = isTable ? "file:" + value.text : value.text;
        } else {
            text = AtPlace(value.place, value.subject,
                           [&] { return CanonicalValue(key.type, value.subject, value.text); });
        }
        card.settings.emplace_back(key.name, text);
    }
    return card;
}

}  // namespace

ChainRecipe RecipeOfChain(Host& host, const std::vector<Card>& cards, const ChainContext& context) {
    ChainRecipe chain;
    std::vector<bool> isKept(cards.size(), false);
    std::set<std::size_t> named;
    if (cards.empty()) chain.hasInput = true;
    if (!cards.empty()) isKept.back() = true;
    for (std::size_t i = cards.size(); i-- > 0;) {
        if (!isKept[i]) continue;
        const Needs needs = NeedsOf(host, cards, i);
        if (needs.incoming && i > 0) isKept[i - 1] = true;
        chain.hasInput |= needs.photo || (needs.incoming && i == 0);
        for (const std::size_t other : needs.cards) {
            isKept[other] = true;
            named.insert(other);
        }
    }
    Recipe& recipe = chain.recipe;
    std::set<std::string> files;
    for (std::size_t i = 0; i < cards.size(); ++i) {
        if (!isKept[i]) continue;
        const StepClass isa = StepNamed(host, cards[i].filter);
        RecipeStep step = {isa.Name(), {}, named.contains(i) ? cards[i].name : "", {}};
        for (const auto& [name, text] : cards[i].settings) {
            const StepKey key = StepKeyNamed(isa, name, name);
            std::string value = ValueOfText(text);
            if (key.type.word == kImageType) value = text;
            if (IsFileName(key.type) && text.starts_with('#')) {
                const std::string number = text.substr(1);
                value = "$" + NameOfFile(number);
                if (files.insert(number).second) {
                    recipe.pictures.push_back({NameOfFile(number), context.path(number), {}, text});
                }
            }
            step.settings.push_back({key.name + "=" + value, key.name, value, {}});
        }
        recipe.steps.push_back(std::move(step));
    }
    if (context.keepsSize && chain.hasInput) recipe.options.push_back({"--keep-size", "", {}});
    if (context.keepsSize && !chain.hasInput) {
        recipe.options.push_back({"--rect", FrameText(context.width, context.height), {}});
    }
    return chain;
}

ChainTexts TextsOfChain(Host& host, const std::vector<Card>& cards, const ChainContext& context) {
    if (cards.empty()) throw HostError("copy", "there is no card to copy");
    const ChainRecipe chain = RecipeOfChain(host, cards, context);
    const Recipe canonical = CanonicalRecipe(host, chain.recipe, "");
    ChainTexts texts;
    texts.recipe = RecipeText(canonical);
    texts.command =
        RecipeCommandLine(canonical) + (chain.hasInput ? " " + ShellWord(context.photo) : "") + " -o result.png";
    if (chain.hasInput) {
        texts.folderCommand = RecipeCommandLine(canonical) + " --recursive " + ShellWord(context.folder) + " -o " +
                              ShellWord(context.folder + "-results/");
    }
    texts.lua = LuaOfChain(host, chain, texts.recipe);
    texts.link = RecipeLink(LinkableRecipe(host, chain.recipe));
    return texts;
}

ReadChain ReadChainText(Host& host, const std::string& text, const std::string& shared,
                        const std::array<double, 2>& frame) {
    const std::size_t begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string::npos) throw HostError("paste", "there is no text");
    ReadChain chain;
    const std::string trimmed = text.substr(begin, text.find_last_not_of(" \t\r\n") + 1 - begin);
    const Recipe recipe = RecipeOfText(trimmed, shared, chain);
    CheckReferences(recipe);
    for (std::size_t i = 0; i < recipe.steps.size(); ++i) chain.cards.push_back(CardOf(host, recipe, i, chain));
    for (const RecipeOption& option : recipe.options) {
        if (option.name == "--keep-size" ||
            (option.name == "--rect" && option.value == FrameText(frame[0], frame[1]))) {
            chain.keepsSize = true;
        } else if (option.name == "--rect") {
            const std::string name = "s" + std::to_string(recipe.steps.size() + 1);
            chain.cards.push_back({name, "Crop", {{"inputRectangle", option.value}}});
        } else {
            const char* instead = option.name == "--quality" ? "; Save asks for it" : "; add it to the copied command";
            chain.notes.push_back(option.name + " is left out" + instead);
        }
    }
    return chain;
}

}  // namespace studio
