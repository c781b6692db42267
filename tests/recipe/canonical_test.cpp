// canonical_test.cpp - the canonical form of names, values and paths, and what LinkableRecipe leaves out.

#include <string>
#include <vector>

#include "host/recipe/canonical_recipe.h"
#include "host/recipe/prepared_recipe.h"
#include "tests/recipe/recipe_checks.h"
#include "tests/script/module_scripts.h"

namespace {

// The lines of the canonical form.
std::string Canonical(const Recipe& recipe, const std::string& file = "a.recipe") {
    const std::string text = RecipeText(CanonicalRecipe(HostWithModules(), recipe, file));
    return text.substr(text.find('\n') + 1);
}

std::string Canonical(const std::string& lines) { return Canonical(ParsedLines(lines)); }

std::string Linkable(const std::string& lines) {
    const std::string text = RecipeText(LinkableRecipe(HostWithModules(), ParsedLines(lines)));
    return text.substr(text.find('\n') + 1);
}

std::string CanonicalMistake(const std::string& lines) {
    return MessageOf([&] { return Canonical(lines); });
}

std::string PreparedMistake(const std::string& lines, bool hasInput = true) {
    return MessageOf([&] { return PrepareRecipe(HostWithModules(), ParsedLines(lines), hasInput).steps.size(); });
}

TEST(CanonicalForm, HasFullNamesAndShortestNumbers) {
    EXPECT_EQ(Canonical("gaussianblur RADIUS=8.50"), "CIFilterGaussianBlurQOR inputRadius=8.5\n");
    EXPECT_EQ(Canonical("CIGaussianBlur inputRadius=1e1"), "CIFilterGaussianBlurQOR inputRadius=10\n");
    EXPECT_EQ(Canonical("Gloom radius=0.1000000000000000055"), "CIFilterGloomQOR inputRadius=0.1\n");
    EXPECT_EQ(Canonical("Crop rectangle=0.0,1,2.0,3e0"), "CIFilterCropQOR inputRectangle=0,1,2,3\n");
    EXPECT_EQ(Canonical("over BACKGROUND=$input"), "Over background=$input\n");
    EXPECT_EQ(Canonical("Resized width=08 height=9 mode=fit image=$input"),
              "Resized width=8 height=9 mode=fit inputImage=$input\n");
}

TEST(CanonicalForm, OfAColorIsHexadecimalWhereThatIsExact) {
    for (const auto& [text, canonical] : std::vector<std::pair<std::string, std::string>>{
             {"Orange", "#ffa500"},
             {"#F80", "#ff8800"},
             {"#ff8800", "#ff8800"},
             {"1,0,0", "#ff0000"},
             {"1,0,0,1.0", "#ff0000"},
             {"#ff000080", "#ff000080"},
             {"transparent", "#00000000"},
             {"0.50,0,0", "0.5,0,0"},
             {"2,0,0,0.5", "2,0,0,0.5"},
         }) {
        EXPECT_EQ(Canonical("ColorMonochrome color=" + text),
                  "CIFilterColorMonochromeQOR inputColor=" + canonical + "\n");
    }
}

TEST(CanonicalForm, OfATransformKeepsItsSteps) {
    EXPECT_EQ(Canonical("AffineTransform transform=1.0,0,0,1,5,-6"),
              "CIFilterAffineTransformQOR inputTransform=1,0,0,1,5,-6\n");
    EXPECT_EQ(Canonical("Transform transform=\"  rotate:30.0  scale:1,2.50\""),
              "Transform transform=\"rotate:30 scale:1,2.5\"\n");
}

TEST(CanonicalForm, OfAParameterFollowsTheKeysThatUseIt) {
    EXPECT_EQ(Canonical("a = 8.0\nb = 8.0\nc = 8.0\nGloom radius=$a\nCrop rectangle=0,0,$b,$b\n"),
              "a = 8\nb = 8.0\nc = 8.0\nCIFilterGloomQOR inputRadius=$a\nCIFilterCropQOR inputRectangle=0,0,$b,$b\n");
    EXPECT_EQ(Canonical("a = 1.0\nGloom radius=$a\nResized width=1 height=1 mode=$a\n"),
              "a = 1.0\nCIFilterGloomQOR inputRadius=$a\nResized width=1 height=1 mode=$a\n");
}

TEST(CanonicalForm, PutsDeclarationsFirstAndOptionsLast) {
    EXPECT_EQ(Canonical("--fit\nGloom\npicture m = x.png\na = 1\n# comment\nBlendWithMask maskImage=$m\n--resize 9"),
              "a = 1\npicture m = x.png\nCIFilterGloomQOR\nCIFilterBlendWithMaskQOR inputMaskImage=$m\n--fit\n"
              "--resize 9\n");
}

TEST(CanonicalForm, IsAFixedPoint) {
    const std::string once = Canonical(
        "r = 08\npicture m = \"a b.png\"\nGloom radius=$r -> $s\n"
        "BlendWithMask maskImage=$m backgroundImage=$s\n--color-space \"Display P3\"");
    EXPECT_EQ(Canonical(once), once);
}

TEST(CanonicalForm, HasPathsRelativeToItsFile) {
    const std::string lines =
        "zeva-recipe 1\npicture m = m.png\nBlendWithMask maskImage=$m backgroundImage=/b.png\n"
        "ColorCube inputCubeData=@c.raw\nColorCube inputCubeData=sub/c.cube\n";
    const Recipe recipe = ParseRecipe(lines, "one/a.recipe");
    const auto expected = [](const std::string& folder) {
        return "picture m = " + folder +
               "m.png\nCIFilterBlendWithMaskQOR inputMaskImage=$m "
               "inputBackgroundImage=/b.png\nCIFilterColorCubeQOR inputCubeData=@" +
               folder + "c.raw\nCIFilterColorCubeQOR inputCubeData=" + folder + "sub/c.cube\n";
    };
    EXPECT_EQ(Canonical(recipe, "one/b.recipe"), expected(""));
    EXPECT_EQ(Canonical(recipe, ""), expected("one/"));
    EXPECT_EQ(Canonical(recipe, "two/b.recipe"), expected("../one/"));
}

TEST(CanonicalForm, MistakesHaveTheirLine) {
    EXPECT_EQ(CanonicalMistake("\nGausian radius=3"),
              "a.recipe:3: filter Gausian: there is no such filter, did you mean GaussianBlur; nothing was run");
    EXPECT_EQ(CanonicalMistake("Gloom radus=3"),
              "a.recipe:2: radus=3: CIFilterGloomQOR has no key radus, did you mean inputRadius; it takes inputRadius, "
              "inputIntensity, inputImage; nothing was run");
    EXPECT_EQ(CanonicalMistake("Gloom radius=3px"), "a.recipe:2: radius=3px: '3px' is not a number; nothing was run");
    EXPECT_EQ(CanonicalMistake("r = abc\nGloom radius=$r"),
              "a.recipe:2: r = abc: 'abc' is not a number; nothing was run");
    EXPECT_EQ(CanonicalMistake("Gloom radius=3 inputRadius=4"),
              "a.recipe:2: inputRadius=4: inputRadius is set twice; nothing was run");
    EXPECT_EQ(CanonicalMistake("Gloom radius=$input"),
              "a.recipe:2: radius=$input: $input is a picture, expected a double; nothing was run");
    EXPECT_EQ(CanonicalMistake("Gloom inputImage=a$input"),
              "a.recipe:2: inputImage=a$input: $input is a picture, only a parameter can be a part of a value; nothing "
              "was run");
    EXPECT_EQ(CanonicalMistake("picture m = x.png\nGloom radius=$m"),
              "a.recipe:3: radius=$m: $m is a picture, expected a double; nothing was run");
    EXPECT_EQ(CanonicalMistake("Ovr background=$input"),
              "a.recipe:2: filter Ovr: there is no such filter, did you mean Over; nothing was run");
    EXPECT_EQ(CanonicalMistake("Over foreground=$input"),
              "a.recipe:2: foreground=$input: Over has no key foreground, did you mean background; it takes "
              "background, inputImage; nothing was "
              "run");
}

TEST(Preparing, RefusesWhatNothingTakes) {
    EXPECT_EQ(PreparedMistake("Gloom\nCheckerboardGenerator"),
              "a.recipe:3: filter CheckerboardGenerator: it takes no image; nothing was run");
    EXPECT_EQ(PreparedMistake("Gloom\nBloom inputImage=$input"),
              "a.recipe:3: filter Bloom: inputImage is set, so no key takes the incoming picture; KEY=- passes it to a "
              "key; nothing was run");
    EXPECT_EQ(PreparedMistake("CheckerboardGenerator -> $c\nGloom inputImage=$input\nOver background=$c"), "");
    EXPECT_EQ(PreparedMistake("Gloom inputImage=$input", /*hasInput=*/false),
              "a.recipe:2: inputImage=$input: there is no incoming picture; nothing was run");
    EXPECT_EQ(PreparedMistake("CheckerboardGenerator", /*hasInput=*/false), "");
}

TEST(Preparing, ChecksTheArgumentsOfMethods) {
    EXPECT_EQ(PreparedMistake("Resized width=1 height=1"),
              "a.recipe:2: Resized: mode is not set; Resized takes width, height, mode, inputImage; nothing was run");
    EXPECT_EQ(PreparedMistake("Resized width=1 height=1 mode=huge").substr(0, 22), "a.recipe:2: Resized: C");
    EXPECT_EQ(PreparedMistake("Resized width=0 height=1 mode=fit").substr(0, 22), "a.recipe:2: Resized: C");
    EXPECT_EQ(PreparedMistake("Resized width=1.5 height=1 mode=fit"),
              "a.recipe:2: width=1.5: '1.5' is not a whole number; nothing was run");
    EXPECT_EQ(PreparedMistake("Transform transform=0,0,0,0,0,0").substr(0, 24), "a.recipe:2: Transform: C");
}

TEST(Preparing, NamesTheLineOfAMissingFile) {
    const auto mistake = [](const std::string& lines) {
        return MessageOf([&] {
            return PrepareRecipe(HostWithModules(), ParseRecipe("zeva-recipe 1\n" + lines, "none/a.recipe"), true)
                .steps.size();
        });
    };
    EXPECT_EQ(mistake("picture m = m.png\nBlendWithMask maskImage=$m"),
              "none/a.recipe:2: picture m = m.png: none/m.png: no such file or directory; no image was opened; nothing "
              "was run");
    EXPECT_EQ(mistake("ColorCube inputCubeData=c.cube"),
              "none/a.recipe:2: none/c.cube: cannot be read (no such file or directory); nothing was run");
    EXPECT_EQ(mistake("picture m = \"\"\nBlendWithMask maskImage=$m"),
              "none/a.recipe:3: maskImage=$m: the picture $m is an empty slot, m=FILE fills it; nothing was run");
}

TEST(LinkableForm, HasEmptySlotsForFiles) {
    EXPECT_EQ(
        Linkable("picture m = secret/m.png\nfile = secret/n.png\nBlendWithMask maskImage=$m inputImage=$input "
                 "backgroundImage=x/y.png\nBlendWithMask maskImage=- backgroundImage=z.png inputImage=$file\n"
                 "ColorCube cubeData=warm.cube\nColorCube cubeData=0,0,0,1"),
        "picture m = \"\"\npicture file = \"\"\npicture inputBackgroundImage = \"\"\n"
        "picture inputBackgroundImage2 = \"\"\npicture inputCubeData = \"\"\npicture inputCubeData2 = \"\"\n"
        "CIFilterBlendWithMaskQOR inputMaskImage=$m inputImage=$input "
        "inputBackgroundImage=$inputBackgroundImage\n"
        "CIFilterBlendWithMaskQOR inputMaskImage=- inputBackgroundImage=$inputBackgroundImage2 inputImage=$file\n"
        "CIFilterColorCubeQOR inputCubeData=$inputCubeData\nCIFilterColorCubeQOR inputCubeData=$inputCubeData2\n");
}

TEST(LinkableForm, HasNoProfile) {
    EXPECT_EQ(
        MessageOf([] { return Linkable("--color-space my/wide.icc"); }),
        "--color-space my/wide.icc: a link carries no files, expected the name of a color space; no link was made");
    EXPECT_EQ(Linkable("--color-space \"Display P3\""), "--color-space \"Display P3\"\n");
}

}  // namespace
