// forms_test.cpp - the command, the file, the link and the Lua program of a recipe write the same bytes, for each
// filter.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/description/class_description.h"
#include "host/description/names.h"
#include "host/recipe/canonical_recipe.h"
#include "host/recipe/prepared_recipe.h"
#include "host/recipe/recipe_link.h"
#include "host/recipe/recipe_lua.h"
#include "host/script/script.h"
#include "tests/recipe/recipe_checks.h"
#include "tests/script/module_scripts.h"
#include "tests/support/catalogue_counts.h"
#include "tests/support/read_file.h"

namespace {

using host::ObjectReference;
using host::Value;
using std::filesystem::path;

// A folder with two pictures and a color table, in which programs run.
class RecipeForms : public testing::Test {
  protected:
    RecipeForms() : before_(std::filesystem::current_path()) {
        char name[] = "/tmp/recipe_forms_XXXXXX";
        folder_ = mkdtemp(name);
        std::filesystem::current_path(folder_);
        WritePicture("photo.png", 5);
        WritePicture("second.png", 11);
        std::ofstream table("table.cube");
        table << "LUT_3D_SIZE 2\n";
        for (int i = 0; i < 8; ++i)
            table << (i & 1) * 0.9 << " " << (i >> 1 & 1) * 0.7 + 0.1 << " " << (i >> 2) << "\n";
    }
    ~RecipeForms() override {
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(folder_);
    }

    static void WritePicture(const std::string& file, int step) {
        host::Host& runtime = HostWithModules();  // values belong to a host
        std::string pixels;
        for (int i = 0; i < 24 * 16; ++i) {
            for (const int factor : {1, 3, 7}) pixels += static_cast<char>(i * step * factor % 256);
            pixels += '\xFF';
        }
        const Value bytes[] = {host::TextValue(pixels)};
        const Value arguments[] = {runtime.CallShared("MemoryBlock", "FromBytes", bytes), 24, 16};
        const Value image = runtime.CallShared("CIImageQOR", "FromPixels", arguments);
        const Value target[] = {host::TextValue(file)};
        runtime.Call(std::get<ObjectReference>(image).Get(), "Save", target);
    }

    // Runs a recipe and returns the bytes of its file.
    static std::string Rendered(const Recipe& recipe) {
        host::Host& runtime = HostWithModules();
        const PreparedRecipe prepared = PrepareRecipe(runtime, recipe, /*hasInput=*/true);
        const Value file[] = {host::TextValue("photo.png")};
        const Value input = runtime.CallShared("CIImageQOR", "Open", file);
        const Value result = RunRecipe(runtime, prepared, input);
        const Value arguments[] = {host::TextValue("out.png"), input, host::TextValue("")};
        runtime.Call(std::get<ObjectReference>(result).Get(), "SaveLike", arguments);
        return ReadFile("out.png");
    }

    static std::string RenderedByLua(const Recipe& recipe) {
        host::Host& runtime = HostWithModules();
        const PreparedRecipe prepared = PrepareRecipe(runtime, recipe, /*hasInput=*/true);
        const std::string arguments[] = {"photo.png", "lua.png"};
        host::script::Script(runtime).RunText(RecipeLua(recipe, prepared, true), "recipe.lua", arguments);
        return ReadFile("lua.png");
    }

    // A recipe that uses a filter with a value for each key: a parameter, a named picture and references.
    static Recipe RecipeWith(const host::Class& isa) {
        std::string lines = "picture second = second.png\npicture table = table.cube\n", settings;
        const ObjectReference filter = HostWithModules().Construct(isa.Name());
        bool takesInput = false;
        for (const std::string& key : KeyNames(isa)) {
            const host::Member& member = *isa.FindMember(key);
            const std::string& word = member.declaration.result.word;
            takesInput |= key == "inputImage";
            if (key == "inputImage" || key == "inputCubeDimension") continue;
            if (word == "CIImageQOR") settings += " " + key + "=$second";
            if (word == "memoryblock") settings += " " + key + "=$table";
            if (word == "CGColorSpaceQOR") settings += " " + key + "=sRGB";
            const std::string standard = DefaultText(DescribeProperty(HostWithModules(), filter, member));
            if (word == "CIImageQOR" || word == "memoryblock" || word == "CGColorSpaceQOR" || standard.empty())
                continue;
            if (word == "double") {
                lines += key + " = " + standard + "\n";
                settings += " " + key + "=$" + key;
            } else {
                settings += " " + key + "=" + standard;
            }
        }
        lines += isa.Name() + settings + " -> $result\n";
        lines += "AffineTransform inputImage=$input inputTransform=0.5,0,0,0.5,0,0\n";
        lines += "Over inputImage=- background=$result\n";
        lines += "Crop inputRectangle=0,0,24,16\n";
        return ParseRecipe("zeva-recipe 1\n" + lines, takesInput ? "image.recipe" : "generator.recipe");
    }

    path before_;
    path folder_;
};

TEST_F(RecipeForms, GiveTheSameBytesForEachFilter) {
    std::size_t filters = 0, changed = 0;
    const std::string untouched = Rendered(ParsedLines("Crop inputRectangle=0,0,24,16"));
    for (const std::string& name : FilterNames(HostWithModules())) {
        SCOPED_TRACE(name);
        const Recipe recipe = RecipeWith(FilterNamed(HostWithModules(), name));
        const std::string bytes = Rendered(recipe);
        const Recipe canonical = CanonicalRecipe(HostWithModules(), recipe, "");
        EXPECT_EQ(Rendered(ParseRecipe(RecipeText(canonical), "a.recipe")), bytes);
        EXPECT_EQ(Rendered(ParseCommand(CommandWords(canonical))), bytes);
        Recipe linked = ParseLink(RecipeLink(LinkableRecipe(HostWithModules(), recipe)));
        BindParameter(linked, {"second=second.png", "second", "second.png", {}});
        BindParameter(linked, {"table=table.cube", "table", "table.cube", {}});
        EXPECT_EQ(Rendered(linked), bytes);
        EXPECT_EQ(RenderedByLua(recipe), bytes);
        ++filters;
        changed += bytes != untouched ? 1 : 0;
    }
    EXPECT_EQ(filters, CatalogueCount("classes"));
    EXPECT_EQ(changed, filters);
}

}  // namespace
