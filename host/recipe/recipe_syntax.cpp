// recipe_syntax.cpp - one reader of lines for files and commands: both are split into words first.

#include "host/recipe/recipe_syntax.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include "host/recipe/recipe_link.h"
#include "host/recipe/recipe_option_table.h"
#include "host/runtime/suggestion.h"
#include "host/runtime/text.h"

namespace {

using host::HostError;

// A word of a line.
struct Word {
    std::string value;    // with references, as in a Setting
    std::string text;     // as it was written
    bool isPlain = true;  // without quotes; only a plain word is an operator
    RecipePlace place;

    bool Is(const char* operatorText) const { return isPlain && value == operatorText; }
};

// Reads a word as a setting; empty when it is not KEY=VALUE. A key has only letters and digits, so a path that contains
// = can be written ./a=b.png.
std::optional<Setting> SettingOf(const Word& word) {
    const std::size_t sign = word.value.find('=');
    const bool isKey =
        sign != 0 && sign != std::string::npos &&
        std::all_of(word.value.begin(), word.value.begin() + static_cast<std::ptrdiff_t>(sign), IsNameCharacter);
    if (!isKey) return std::nullopt;
    return Setting{word.text, word.value.substr(0, sign), word.value.substr(sign + 1), word.place};
}

// Splits a line of a file into words.
class Splitter {
  public:
    Splitter(std::string_view line, RecipePlace place) : line_(line), place_(std::move(place)) {}

    std::vector<Word> Words() {
        std::vector<Word> words;
        for (;;) {
            while (at_ < line_.size() && IsSpace(line_[at_])) ++at_;
            if (at_ == line_.size() || line_[at_] == '#') return words;
            words.push_back(NextWord());
        }
    }

  private:
    static bool IsSpace(char c) { return c == ' ' || c == '\t'; }

    Word NextWord() {
        Word word;
        const std::size_t start = at_;
        word.place = place_;
        word.place.column = static_cast<int>(start) + 1;
        bool isQuoting = false;
        for (; at_ < line_.size() && (isQuoting || !IsSpace(line_[at_])); ++at_) {
            const char c = line_[at_];
            if (c == '"') {
                isQuoting = !isQuoting;
                word.isPlain = false;
            } else if (c == '\\') {
                if (++at_ == line_.size()) Refuse(word, "a backslash at the end of the line quotes nothing");
                AddText(word, line_[at_]);
                word.isPlain = false;
            } else if (isQuoting) {
                AddText(word, c);
            } else {
                isInReference_ = c == '$' || (isInReference_ && IsNameCharacter(c));
                word.value += c;
            }
        }
        word.text = line_.substr(start, at_ - start);
        if (isQuoting) Refuse(word, "the quotes are not closed");
        isInReference_ = false;
        return word;
    }

    // Adds a quoted character.
    void AddText(Word& word, char c) {
        if (c == '\\' || c == '$' || (isInReference_ && IsNameCharacter(c))) word.value += '\\';
        isInReference_ = false;
        word.value += c;
    }

    [[noreturn]] void Refuse(const Word& word, const char* problem) const {
        const auto start = static_cast<std::size_t>(word.place.column) - 1;
        throw RecipeError(word.place, std::string(line_.substr(start)), problem);
    }

    std::string_view line_;
    RecipePlace place_;
    std::size_t at_ = 0;
    bool isInReference_ = false;  // whether the next letter would belong to a reference
};

// Reads lines that are split into words into a recipe.
class LineReader {
  public:
    LineReader(Recipe& recipe, bool isCommand) : recipe_(recipe), isCommand_(isCommand) {}

    void Read(const std::vector<Word>& line) {
        if (!isCommand_ && line[0].value.starts_with("--")) {
            ReadOptions(line);
        } else if (line.size() > 1 && line[1].Is(kEquals)) {
            ReadParameter(line);
        } else if (line.size() > 2 && line[0].Is(kPicture) && line[2].Is(kEquals)) {
            ReadPicture(line);
        } else {
            ReadStep(line);
        }
    }

    // Takes a word of a command that is neither a step nor a setting.
    void AddInput(const Word& word) {
        if (word.text.empty()) throw RecipeError(word.place, "''", "expected the name of a picture");
        recipe_.inputs.push_back(word.text);
    }

  private:
    // Reads NAME of a declaration.
    static std::string NameIn(const Word& word) {
        if (IsRecipeName(word.value) && word.isPlain) return word.value;
        if (const std::string name = ReferenceOf(word.value); !name.empty()) {
            throw RecipeError(word.place, word.text,
                              "a declaration has the name without $, expected " + name + " = ...");
        }
        throw RecipeError(word.place, word.text, "expected a name of letters and digits");
    }

    // Reads the VALUE of a declaration behind the = at an index, and the inputs of a command behind it.
    const Word& ValueIn(const std::vector<Word>& line, std::size_t equals) {
        if (line.size() == equals + 1) {
            throw RecipeError(line[0].place, line[0].text,
                              "expected a value after the =, in quotes if it is empty or begins with #");
        }
        const Word& value = line[equals + 1];
        if (std::ranges::any_of(PartsOf(value.value), &ValuePart::isReference)) {
            throw RecipeError(value.place, value.text, "a declaration takes no references");
        }
        for (std::size_t i = equals + 2; i < line.size(); ++i) {
            if (!isCommand_) {
                throw RecipeError(line[i].place, line[i].text,
                                  "expected one value after the =, a value with spaces needs quotes");
            }
            AddInput(line[i]);
        }
        return value;
    }

    void ReadParameter(const std::vector<Word>& line) {
        const std::string name = NameIn(line[0]);
        const Word& value = ValueIn(line, 1);
        recipe_.parameters.push_back({name, value.value, value.place, name + " = " + value.text});
    }

    void ReadPicture(const std::vector<Word>& line) {
        const std::string name = NameIn(line[1]);
        const Word& value = ValueIn(line, 2);
        recipe_.pictures.push_back(
            {name, TextOfValue(value.value), value.place, "picture " + name + " = " + value.text});
    }

    void ReadStep(const std::vector<Word>& line) {
        const Word& name = line[0];
        CheckStepName(line);
        RecipeStep step = {TextOfValue(name.value), {}, {}, name.place};
        for (std::size_t i = 1; i < line.size(); ++i) {
            const Word& word = line[i];
            if (word.Is(kArrow)) {
                step.result = ResultBehind(line, i, step.result);
                ++i;
            } else if (std::optional<Setting> setting = SettingOf(word)) {
                if (!step.result.empty() && !isCommand_) RefuseBehindResult(word);
                step.settings.push_back(std::move(*setting));
            } else if (isCommand_) {
                AddInput(word);
            } else if (!step.result.empty()) {
                RefuseBehindResult(word);
            } else {
                throw RecipeError(word.place, word.text,
                                  word.Is(kSeparator) ? "each step has a line of its own in a recipe"
                                                      : "expected KEY=VALUE or -> $NAME");
            }
        }
        recipe_.steps.push_back(std::move(step));
    }

    // Refuses what looks like a declaration and is none.
    void CheckStepName(const std::vector<Word>& line) const {
        const Word& name = line[0];
        const auto setting = SettingOf(name);
        if (setting && isCommand_) throw RecipeError(name.place, name.text, "there is no filter to set it of");
        if (setting) {
            throw RecipeError(name.place, name.text,
                              "there is no filter to set it of; a parameter has spaces around the =: " + setting->key +
                                  " = " + setting->value);
        }
        const bool isNearlyDeclaration = line.size() > 1 && line[1].isPlain && line[1].value.starts_with('=');
        if (isNearlyDeclaration || (name.isPlain && name.value.ends_with('='))) {
            throw RecipeError(name.place, name.text, "a parameter has spaces around the =, expected NAME = VALUE");
        }
        if (name.Is(kPicture)) throw RecipeError(name.place, name.text, "expected picture NAME = FILE");
    }

    static std::string ResultBehind(const std::vector<Word>& line, std::size_t arrow, const std::string& other) {
        const Word& sign = line[arrow];
        if (!other.empty()) throw RecipeError(sign.place, sign.text, "the result has a name already, $" + other);
        const std::string name = arrow + 1 < line.size() ? ReferenceOf(line[arrow + 1].value) : std::string();
        if (name.empty()) throw RecipeError(sign.place, sign.text, "expected a name after it, such as -> $soft");
        return name;
    }

    [[noreturn]] static void RefuseBehindResult(const Word& word) {
        throw RecipeError(word.place, word.text, "the name of the result is the last thing in a line");
    }

    void ReadOptions(const std::vector<Word>& line) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            const Word& word = line[i];
            const std::size_t sign = word.value.find('=');
            const bool hasValue = sign != std::string::npos;
            const std::string name = word.value.substr(0, sign);
            const RecipeOptionRow* row = FindRecipeOption(name);
            if (row == nullptr) RefuseOption(word, name);
            RecipeOption option = {name, hasValue ? word.value.substr(sign + 1) : std::string(), word.place};
            if (row->kind == RecipeOptionKind::kFlag) {
                if (hasValue) throw RecipeError(word.place, word.text, "the option takes no value");
            } else if (!hasValue && row->kind == RecipeOptionKind::kOptionalValue) {
                option.value = row->standard;
            } else if (!hasValue) {
                if (++i == line.size()) throw RecipeError(word.place, word.text, "expected a value after it");
                option.value = line[i].value;
            }
            if (std::ranges::any_of(PartsOf(option.value), &ValuePart::isReference)) {
                throw RecipeError(word.place, word.text, "an option takes no references");
            }
            option.value = TextOfValue(option.value);
            AddOption(word, std::move(option));
        }
    }

    [[noreturn]] static void RefuseOption(const Word& word, const std::string& name) {
        if (!name.starts_with("--")) {
            throw RecipeError(word.place, word.text, "expected an option, which begins with --");
        }
        std::vector<std::string> names;
        for (const RecipeOptionRow& each : kRecipeOptions) names.emplace_back(each.name);
        throw RecipeError(word.place, word.text,
                          "a recipe has no such option" + host::Suggestion(name, names) +
                              "; it may have those about the look of the result");
    }

    void AddOption(const Word& word, RecipeOption option) {
        const auto isSame = [&](const RecipeOption& other) { return other.name == option.name; };
        if (std::ranges::any_of(recipe_.options, isSame)) {
            throw RecipeError(word.place, word.text, "the option may be given only once");
        }
        recipe_.options.push_back(std::move(option));
    }

    Recipe& recipe_;
    bool isCommand_;
};

// Whether a word is the name of a file and not that of a filter, which has neither a point nor a slash.
bool IsFile(const std::string& word) { return word == kIncoming || word.find_first_of("./") != std::string::npos; }

// A word of a command, which the shell has split and unquoted.
Word CommandWord(const std::string& text) { return {text, text, true, {}}; }

// Reads a recipe with the words that set its parameters; other words are pictures.
Recipe ReadBound(const std::vector<Word>& line, const std::filesystem::path& shared) {
    const std::string& name = line[0].text;
    Recipe recipe;
    if (IsRecipeLink(name)) {
        recipe = ParseLink(name);
        recipe.file = kLinkFile;
    } else {
        std::error_code error;
        const bool isShared = !shared.empty() && name.find('/') == std::string::npos &&
                              !std::filesystem::exists(name, error) && std::filesystem::exists(shared / name, error);
        recipe.file = isShared ? (shared / name).string() : name;
        std::string file = recipe.file;
        recipe = ReadRecipeFile(file);
        recipe.file = std::move(file);
    }
    std::set<std::string> bound;
    LineReader reader(recipe, /*isCommand=*/true);
    for (std::size_t i = 1; i < line.size(); ++i) {
        if (std::optional<Setting> setting = SettingOf(line[i])) {
            BindParameter(recipe, *setting);
            if (!bound.insert(setting->key).second) {
                throw RecipeError(setting->place, setting->text, setting->key + " is set twice");
            }
        } else {
            reader.AddInput(line[i]);
        }
    }
    return recipe;
}

// The comment below the first line.
std::string TitleIn(std::string_view line) {
    const std::size_t start = line.find_first_not_of("# \t");
    if (!line.starts_with('#') || start == std::string_view::npos) return {};
    return std::string(line.substr(start, line.find_last_not_of(" \t") + 1 - start));
}

// Checks the first line of a recipe.
void CheckHeader(const std::vector<Word>& line, const RecipePlace& place) {
    const std::string wanted(kRecipeHeader);
    if (line.size() == 2 && line[0].value + " " + line[1].value == wanted) return;
    const bool isVersion = line.size() == 2 && line[0].value == wanted.substr(0, wanted.find(' '));
    std::string text;
    for (const Word& word : line) text += (text.empty() ? "" : " ") + word.text;
    throw RecipeError(
        place, text.empty() ? "''" : "'" + text + "'",
        isVersion ? "this program reads version 1 of recipes" : "not a recipe, whose first line is " + wanted);
}

struct FileCloser {
    void operator()(std::FILE* file) const {
        if (file != stdin) std::fclose(file);
    }
};

}  // namespace

Recipe ParseRecipe(std::string_view text, const std::string& file) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    RecipePlace place = {file, 0, 0};
    if (text.size() > kLargestRecipe) {
        throw RecipeError(place, "",
                          "more than the " + std::to_string(kLargestRecipe) + " bytes of the largest recipe");
    }
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    Recipe recipe;
    LineReader reader(recipe, /*isCommand=*/false);
    do {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.ends_with('\r')) line.remove_suffix(1);
        ++place.line;
        if (line.find('\0') != std::string_view::npos) throw RecipeError(place, "", "a zero byte, this is not text");
        const std::vector<Word> words = Splitter(line, place).Words();
        if (place.line == 1) {
            CheckHeader(words, place);
        } else if (!words.empty()) {
            reader.Read(words);
        } else if (place.line == 2) {
            recipe.title = TitleIn(line);
        }
    } while (!text.empty());
    CheckReferences(recipe);
    return recipe;
}

Recipe ReadRecipeFile(const std::string& file) {
    const RecipePlace place = {file, 0, 0};
    const auto refuse = [&](int error) { throw RecipeError(place, "", host::SystemReason(error), error); };
    const std::unique_ptr<std::FILE, FileCloser> stream(file == "-" ? stdin : std::fopen(file.c_str(), "rbe"));
    if (stream == nullptr) refuse(errno);
    std::string text(kLargestRecipe + 1, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), stream.get()));
    if (std::ferror(stream.get()) != 0) refuse(errno);
    return ParseRecipe(text, file);
}

Recipe ParseCommand(const std::vector<std::string>& words, const std::filesystem::path& shared) {
    if (words.empty()) return {};
    std::vector<std::vector<Word>> lines(1);
    for (const std::string& word : words) {
        if (word == kSeparator) {
            lines.emplace_back();
        } else {
            lines.back().push_back(CommandWord(word));
        }
    }
    if (std::ranges::any_of(lines, [](const auto& line) { return line.empty(); })) {
        throw RecipeError({}, kSeparator, "expected a filter name before and after it");
    }
    Recipe recipe;
    std::size_t first = 0;
    const std::string& word = lines[0][0].text;
    if (word.ends_with(kRecipeSuffix) || IsRecipeLink(word)) {
        recipe = ReadBound(lines[first++], shared);
    } else if (IsFile(word)) {
        LineReader reader(recipe, /*isCommand=*/true);
        for (const Word& each : lines[first++]) {
            if (SettingOf(each)) throw RecipeError(each.place, each.text, "there is no filter to set it of");
            reader.AddInput(each);
        }
        if (lines.size() > 1) throw RecipeError({}, kSeparator, "expected a filter name before and after it");
    }
    LineReader reader(recipe, /*isCommand=*/true);
    for (; first < lines.size(); ++first) {
        if (lines[first][0].text.ends_with(kRecipeSuffix) || IsRecipeLink(lines[first][0].text)) {
            throw RecipeError({}, lines[first][0].text, "a recipe can only be the first word");
        }
        reader.Read(lines[first]);
    }
    CheckReferences(recipe);
    return recipe;
}

std::vector<std::string> RecipeNamesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        std::string name = entry.path().filename().string();
        if (name.ends_with(kRecipeSuffix)) names.push_back(std::move(name));
    }
    std::ranges::sort(names);
    return names;
}
