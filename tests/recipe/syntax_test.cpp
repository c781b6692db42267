// syntax_test.cpp - files and commands: what is read, and the message for each mistake.

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/recipe/recipe_checks.h"

namespace {

using Words = std::vector<std::string>;

TEST(RecipeSyntax, ReadsEveryKindOfLine) {
    const Recipe recipe = ParseRecipe(
        "zeva-recipe 1\n# Warm film\n\nradius = 8 # pixels\npicture mask = \"my mask.png\"\n"
        "\tGaussianBlur  radius=$radius -> $soft\nBlendWithMask inputMaskImage=$mask background=$soft\n"
        "--quality 90 --keep-size\n--strip=gps",
        "folder/a.recipe");
    EXPECT_EQ(recipe.title, "Warm film");
    ASSERT_EQ(recipe.parameters.size(), 1U);
    EXPECT_EQ(recipe.parameters[0].name + "=" + recipe.parameters[0].value, "radius=8");
    ASSERT_EQ(recipe.pictures.size(), 1U);
    EXPECT_EQ(recipe.pictures[0].path, "my mask.png");
    EXPECT_EQ(recipe.pictures[0].place.Folder(), "folder");
    ASSERT_EQ(recipe.steps.size(), 2U);
    EXPECT_EQ(recipe.steps[0].result, "soft");
    EXPECT_EQ(recipe.steps[1].settings[0].value, "$mask");
    EXPECT_EQ(recipe.steps[1].place.line, 7);
    EXPECT_EQ(recipe.steps[1].settings[0].place.column, 15);
    ASSERT_EQ(recipe.options.size(), 3U);
    EXPECT_EQ(recipe.options[0].value, "90");
    EXPECT_EQ(recipe.options[2].value, "gps");
}

TEST(RecipeSyntax, LineEndsAndByteOrderMarkDoNotMatter) {
    const Recipe plain = ParsedLines("Gloom radius=3\nBloom\n");
    EXPECT_TRUE(IsSameRecipe(ParseRecipe("zeva-recipe 1\r\nGloom radius=3\r\nBloom\r\n", "a"), plain));
    EXPECT_TRUE(IsSameRecipe(ParseRecipe("\xEF\xBB\xBFzeva-recipe 1\nGloom radius=3\nBloom", "a"), plain));
    EXPECT_TRUE(IsSameRecipe(ParseRecipe("zeva-recipe 1\n\n  \t\nGloom radius=3\n#\nBloom\n\n\n", "a"), plain));
}

TEST(RecipeSyntax, QuotesMakeText) {
    const Recipe recipe = ParsedLines("Gloom a=\"x y\" b=x\\ y \"c=#1\" d=\\$e e=a\"\\\"\\\\\"b f=#f80 # comment\n");
    Words values;
    for (const Setting& setting : recipe.steps[0].settings) values.push_back(setting.value);
    EXPECT_EQ(values, (Words{"x y", "x y", "#1", "\\$e", "a\"\\\\b", "#f80"}));
}

TEST(RecipeSyntax, AReferenceEndsWhereQuotesBegin) {
    const Recipe recipe = ParsedLines("n = 1\nGloom a=x$n\"2\"y$n\n");
    const std::vector<ValuePart> parts = PartsOf(recipe.steps[0].settings[0].value);
    ASSERT_EQ(parts.size(), 4U);
    EXPECT_EQ(parts[0].text + parts[1].text + parts[2].text + parts[3].text, "xn2yn");
    EXPECT_TRUE(parts[1].isReference && parts[3].isReference && !parts[2].isReference);
}

TEST(RecipeSyntax, ADollarWithoutANameIsText) {
    EXPECT_EQ(PartsOf("a$").size(), 1U);
    EXPECT_EQ(PartsOf("$5.png")[0].text, "$5.png");
    EXPECT_EQ(PartsOf("\\$a\\\\$b")[0].text, "$a\\");
    EXPECT_TRUE(PartsOf("").empty());
    EXPECT_EQ(PartsOf(ValueOfText("$a\\$b\\"))[0].text, "$a\\$b\\");
}

TEST(RecipeSyntax, EveryMistakeNamesFileLineWordAndConsequence) {
    const struct {
        const char* lines;
        const char* message;
    } cases[] = {
        {"Gloom photo.jpg", "2: photo.jpg: expected KEY=VALUE or -> $NAME"},
        {"\nGloom + Bloom", "3: +: each step has a line of its own in a recipe"},
        {"Gloom ->", "2: ->: expected a name after it, such as -> $soft"},
        {"Gloom -> soft", "2: ->: expected a name after it, such as -> $soft"},
        {"Gloom -> $a -> $b", "2: ->: the result has a name already, $a"},
        {"Gloom -> $a radius=3", "2: radius=3: the name of the result is the last thing in a line"},
        {"Gloom -> $a b", "2: b: the name of the result is the last thing in a line"},
        {"Gloom \"->\" $a", "2: \"->\": expected KEY=VALUE or -> $NAME"},
        {"Gloom radius=\"3", "2: radius=\"3: the quotes are not closed"},
        {"Gloom radius=3\\", "2: radius=3\\: a backslash at the end of the line quotes nothing"},
        {"radius=8", "2: radius=8: there is no filter to set it of; a parameter has spaces around the =: radius = 8"},
        {"radius =8", "2: radius: a parameter has spaces around the =, expected NAME = VALUE"},
        {"radius= 8", "2: radius=: there is no filter to set it of; a parameter has spaces around the =: radius = "},
        {"radius =", "2: radius: expected a value after the =, in quotes if it is empty or begins with #"},
        {"color = #ff8000", "2: color: expected a value after the =, in quotes if it is empty or begins with #"},
        {"radius = 8 9", "2: 9: expected one value after the =, a value with spaces needs quotes"},
        {"$radius = 8", "2: $radius: a declaration has the name without $, expected radius = ..."},
        {"my-radius = 8", "2: my-radius: expected a name of letters and digits"},
        {"8 = 8", "2: 8: expected a name of letters and digits"},
        {"a = 1\nb = $a", "3: $a: a declaration takes no references"},
        {"picture mask.png", "2: picture: expected picture NAME = FILE"},
        {"picture m =", "2: picture: expected a value after the =, in quotes if it is empty or begins with #"},
        {"picture m = $x", "2: $x: a declaration takes no references"},
        {"a = 1\na = 2", "3: $a: the name is taken in line 2, expected another one"},
        {"a = 1\nGloom -> $a", "3: $a: the name is taken in line 2, expected another one"},
        {"picture a = 1\na = 1", "2: $a: the name is taken in line 3, expected another one"},
        {"input = 1", "2: $input: the name stands for the original picture, expected another one"},
        {"Gloom -> $input", "2: $input: the name stands for the original picture, expected another one"},
        {"Gloom radius=$a",
         "2: radius=$a: there is no $a; a reference names a parameter, a picture or the result of an "
         "earlier step"},
        {"radius = 3\nGloom radius=$radus",
         "3: radius=$radus: there is no $radus, did you mean $radius; a reference names a parameter, a picture or the "
         "result of an earlier step"},
        {"Gloom inputImage=$soft\nBloom -> $soft",
         "2: inputImage=$soft: $soft is the result of line 3, a step can only use results of earlier steps"},
        {"Gloom inputImage=$me -> $me",
         "2: inputImage=$me: $me is the result of line 2, a step can only use results of earlier steps"},
        {"Gloom radius=$r\nr = 3", "2: radius=$r: $r is declared in line 3, expected its declaration above this line"},
        {"--qualty 3",
         "2: --qualty: a recipe has no such option, did you mean --quality; it may have those about the "
         "look of the result"},
        {"--output x.png", "2: --output: a recipe has no such option; it may have those about the look of the result"},
        {"--quality", "2: --quality: expected a value after it"},
        {"--fit=3", "2: --fit=3: the option takes no value"},
        {"--fit 3", "2: 3: expected an option, which begins with --"},
        {"--quality 3\n--quality 4", "3: --quality: the option may be given only once"},
        {"q = 3\n--quality $q", "3: --quality: an option takes no references"},
    };
    for (const auto& [lines, message] : cases) {
        EXPECT_EQ(MistakeIn("zeva-recipe 1\n" + std::string(lines)),
                  "a.recipe:" + std::string(message) + "; nothing was run");
    }
}

TEST(RecipeSyntax, OnlyVersionOneIsRead) {
    const struct {
        std::string text, message;
    } cases[] = {
        {"", "a.recipe:1: '': not a recipe, whose first line is zeva-recipe 1"},
        {"\nzeva-recipe 1\n", "a.recipe:1: '': not a recipe, whose first line is zeva-recipe 1"},
        {"Gloom\n", "a.recipe:1: 'Gloom': not a recipe, whose first line is zeva-recipe 1"},
        {"zeva-recipe\n", "a.recipe:1: 'zeva-recipe': not a recipe, whose first line is zeva-recipe 1"},
        {"zeva-recipe 1 2\n", "a.recipe:1: 'zeva-recipe 1 2': not a recipe, whose first line is zeva-recipe 1"},
        {"zeva-recipe 2\n", "a.recipe:1: 'zeva-recipe 2': this program reads version 1 of recipes"},
        {std::string("zeva-recipe 1\nGloom\0\n", 21), "a.recipe:2: a zero byte, this is not text"},
        {std::string(kLargestRecipe + 1, 'x'), "a.recipe: more than the 1048576 bytes of the largest recipe"},
    };
    for (const auto& [text, message] : cases) EXPECT_EQ(MistakeIn(text), message + "; nothing was run");
}

TEST(RecipeSyntax, ALongWordIsCutInMessages) {
    const std::string message = MistakeIn("zeva-recipe 1\nGloom " + std::string(500000, 'x'));
    EXPECT_EQ(message, "a.recipe:2: " + std::string(80, 'x') + "...: expected KEY=VALUE or -> $NAME; nothing was run");
}

TEST(RecipeSyntax, TheErrorKnowsItsPlace) {
    try {
        static_cast<void>(ParsedLines("Gloom  -> soft"));
        FAIL();
    } catch (const RecipeError& error) {
        EXPECT_EQ(error.Place().file, "a.recipe");
        EXPECT_EQ(error.Place().line, 2);
        EXPECT_EQ(error.Place().column, 8);
        EXPECT_EQ(error.Word(), "->");
        EXPECT_EQ(error.Mistake(), "expected a name after it, such as -> $soft");
    }
}

TEST(RecipeSyntax, ACommandHasTheLinesOfAFile) {
    const Recipe file = ParsedLines("a = 2\npicture m = \"x y\"\nGloom radius=$a -> $soft\nBloom background=$soft");
    const Recipe command = ParseCommand({"a", "=", "2", "+", "picture", "m", "=", "x y", "1.jpg", "+", "Gloom",
                                         "radius=$a", "->", "$soft", "2.jpg", "+", "Bloom", "background=$soft"});
    EXPECT_TRUE(IsSameRecipe(file, command));
    EXPECT_EQ(command.inputs, (Words{"1.jpg", "2.jpg"}));
}

TEST(RecipeSyntax, MistakesInCommandsHaveNoPlace) {
    const struct {
        Words words;
        const char* message;
    } cases[] = {
        {{"Gloom", "+"}, "+: expected a filter name before and after it"},
        {{"photo.jpg", "+", "Gloom"}, "+: expected a filter name before and after it"},
        {{"radius=3"}, "radius=3: there is no filter to set it of"},
        {{"photo.jpg", "radius=3"}, "radius=3: there is no filter to set it of"},
        {{"Gloom", ""}, "'': expected the name of a picture"},
        {{"Gloom", "->"}, "->: expected a name after it, such as -> $soft"},
        {{"a", "=", "1", "+", "a", "=", "2"}, "$a: the name is taken before, expected another one"},
        {{"Gloom", "x=$s", "+", "Bloom", "->", "$s"},
         "x=$s: $s is the result of a later step, a step can only use results of earlier steps"},
        {{"Gloom", "+", "b.recipe"}, "b.recipe: a recipe can only be the first word"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(MessageOf([&] { return ParseCommand(each.words); }), each.message);
    }
}

// A folder with a recipe that has a parameter and a picture.
class RecipeFiles : public testing::Test {
  protected:
    RecipeFiles() {
        char name[] = "/tmp/recipe_test_XXXXXX";
        folder_ = mkdtemp(name);
        Write("warm.recipe",
              "zeva-recipe 1\nradius = 8\npicture mask = mask.png\nGloom radius=$radius m=$mask -> $g\n");
    }
    ~RecipeFiles() override { std::filesystem::remove_all(folder_); }

    void Write(const std::string& name, const std::string& text) const { std::ofstream(folder_ / name) << text; }
    std::string Path(const std::string& name) const { return (folder_ / name).string(); }

    std::filesystem::path folder_;
};

TEST_F(RecipeFiles, WordsBehindARecipeSetItsParameters) {
    const Recipe recipe = ParseCommand({Path("warm.recipe"), "radius=12", "a.jpg", "mask=b.png", "+", "Bloom", "i=$g"});
    EXPECT_EQ(recipe.parameters[0].value, "12");
    EXPECT_EQ(recipe.pictures[0].path, "b.png");
    EXPECT_EQ(recipe.pictures[0].place.Folder(), "");
    EXPECT_EQ(recipe.inputs, Words{"a.jpg"});
    EXPECT_EQ(recipe.steps.size(), 2U);
    EXPECT_EQ(recipe.file, Path("warm.recipe"));
    EXPECT_EQ(ParseCommand({Path("warm.recipe")}).pictures[0].place.Folder(), folder_.string());
}

TEST_F(RecipeFiles, WrongParametersAreRefused) {
    const std::string file = Path("warm.recipe");
    EXPECT_EQ(MessageOf([&] {
                  return ParseCommand({file, "radus=12"});
              }),
              "radus=12: " + file + " has no parameter radus, did you mean radius; it takes radius, mask");
    EXPECT_EQ(MessageOf([&] { return ParseCommand({file, "radius=1", "radius=2"}); }), "radius=2: radius is set twice");
    EXPECT_EQ(MessageOf([&] {
                  return ParseCommand({file, "radius=$g"});
              }),
              "radius=$g: the value of a parameter takes no references");
    Write("none.recipe", "zeva-recipe 1\nGloom\n");
    EXPECT_EQ(MessageOf([&] {
                  return ParseCommand({Path("none.recipe"), "x=1"});
              }),
              "x=1: " + Path("none.recipe") + " has no parameter x; it takes none");
}

TEST_F(RecipeFiles, AMissingRecipeIsLookedForAmongTheSharedOnes) {
    EXPECT_EQ(ParseCommand({"warm.recipe"}, folder_).file, Path("warm.recipe"));
    EXPECT_EQ(MessageOf([&] { return ParseCommand({"cold.recipe"}, folder_); }),
              "cold.recipe: no such file or directory; nothing was run");
    EXPECT_EQ(MessageOf([&] { return ParseCommand({"./warm.recipe"}, folder_); }),
              "./warm.recipe: no such file or directory; nothing was run");
    EXPECT_EQ(MessageOf([&] { return ReadRecipeFile(folder_.string()); }),
              folder_.string() + ": is a directory; nothing was run");
    EXPECT_EQ(RecipeNamesIn(folder_), Words{"warm.recipe"});
    EXPECT_EQ(RecipeNamesIn(folder_ / "none"), Words{});
}

TEST_F(RecipeFiles, AFileOfAnySizeIsReadUpToTheLimitOnly) {
    std::filesystem::resize_file(Path("warm.recipe"), 100'000'000);
    EXPECT_EQ(MessageOf([&] { return ReadRecipeFile(Path("warm.recipe")); }),
              Path("warm.recipe") + ": more than the 1048576 bytes of the largest recipe; nothing was run");
}

TEST(RecipeSyntax, UnusedNamesAreListed) {
    const Recipe recipe = ParsedLines("a = 1\nb = 1\npicture m = x.png\nGloom radius=$a -> $c\nBloom -> $d");
    EXPECT_EQ(UnusedNames(recipe),
              (Words{"a.recipe:3: the parameter $b is never used", "a.recipe:4: the picture $m is never used",
                     "a.recipe:5: the result $c is never used", "a.recipe:6: the result $d is never used"}));
}

TEST(RecipeSyntax, ALineBreakCannotBePrinted) {
    EXPECT_EQ(MessageOf([] {
                  return RecipeText(ParseCommand({"Gloom", "m=a\nb"}));
              }),
              "a\nb: a recipe cannot hold a line break or a zero byte");
}

}  // namespace
