// link_test.cpp - what a link carries, and what is wrong with a damaged one.

#include <string>

#include "host/recipe/recipe_link.h"
#include "tests/recipe/recipe_checks.h"

namespace {

std::string LinkMistake(const std::string& link) {
    return MessageOf([&] { return ParseLink(link); });
}

TEST(RecipeLinks, OnlyUnreservedCharactersStandForThemselves) {
    EXPECT_EQ(RecipeLink(ParsedLines("Gloom a=b~_.- c=\"\xC3\xA9 %\"")),
              "#zeva1=zeva-recipe%201%0AGloom%20a%3Db~_.-%20c%3D%22%C3%A9%20%25%22%0A");
}

TEST(RecipeLinks, ALoneDollarSignIsTextWithAndWithoutABackslash) {
    const Recipe recipe = ParsedLines("price = 5$-\nGloom a=$price b=1$2");
    EXPECT_TRUE(IsSameRecipe(recipe, ParseLink(RecipeLink(recipe))));
    EXPECT_TRUE(IsSameRecipe(recipe, ParsedLines("price = 5\\$-\nGloom a=$price b=1\\$2")));
    EXPECT_FALSE(IsSameRecipe(recipe, ParsedLines("price = 5$-\nGloom a=\\$price b=1$2")));
}

TEST(RecipeLinks, AnAddressMayStandInFront) {
    const Recipe recipe = ParseLink("http://localhost:8080/page?x=1#zeva1=zeva-recipe%201%0aGloom%20radius=3");
    EXPECT_TRUE(IsSameRecipe(recipe, ParsedLines("Gloom radius=3")));
    EXPECT_FALSE(IsRecipeLink("http://localhost:8080/page#zeva2=x"));
    EXPECT_EQ(ParseCommand({"x#zeva1=zeva-recipe%201%0AGloom", "a.jpg"}).inputs[0], "a.jpg");
}

TEST(RecipeLinks, DamagedLinksAreRefused) {
    EXPECT_EQ(LinkMistake("#zeva1=zeva-recipe%2"),
              "link: %2: expected two hexadecimal digits after the %; the link is damaged; nothing was run");
    EXPECT_EQ(LinkMistake("#zeva1=zeva-recipe%201%0AGl%xxm"),
              "link: %xx: expected two hexadecimal digits after the %; the link is damaged; nothing was run");
    EXPECT_EQ(LinkMistake("#zeva1="), "link:1: '': not a recipe, whose first line is zeva-recipe 1; nothing was run");
    EXPECT_EQ(LinkMistake("#zeva1=zeva-recipe%201%0AGloom%00"),
              "link:2: a zero byte, this is not text; nothing was run");
    EXPECT_EQ(LinkMistake("#zeva1=zeva-recipe%201%0A%0AGloom%20x"),
              "link:3: x: expected KEY=VALUE or -> $NAME; nothing was run");
}

TEST(RecipeLinks, HaveAtMost32Kilobytes) {
    const std::string start = "#zeva1=zeva-recipe%201%0AGloom%20r%3D";
    const auto linkOf = [](std::size_t length) {
        return MessageOf([&] { return RecipeLink(ParsedLines("Gloom r=" + std::string(length, 'x'))); });
    };
    const std::size_t most = kLongestLink - start.size() - 3;  // the line feed at the end
    EXPECT_EQ(linkOf(most), "");
    EXPECT_EQ(linkOf(most + 1),
              "--link: the link would have 32769 bytes, more than the 32768 bytes of the longest link");
    EXPECT_EQ(LinkMistake(start + std::string(kLongestLink, 'x')),
              "link: more than the 32768 bytes of the longest link; nothing was run");
}

}  // namespace
