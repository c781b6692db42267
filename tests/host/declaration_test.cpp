// declaration_test.cpp - parsing the declarations in class records.

#include "host/runtime/declaration.h"

#include <gtest/gtest.h>

namespace {

using host::MemberKind;
using host::ParseDeclaration;
using host::TypeKind;

std::string ErrorFor(const char* text) {
    try {
        ParseDeclaration(text);
    } catch (const host::DeclarationError& error) {
        return error.what();
    }
    return "";
}

TEST(Declaration, NameAndTypeDeclareAProperty) {
    const auto declaration = ParseDeclaration("inputRadius as double");
    EXPECT_EQ(declaration.kind, MemberKind::kProperty);
    EXPECT_EQ(declaration.name, "inputRadius");
    EXPECT_EQ(declaration.result.kind, TypeKind::kDouble);
    EXPECT_TRUE(declaration.parameters.empty());
}

TEST(Declaration, EachTypeWordHasItsKind) {
    EXPECT_EQ(ParseDeclaration("x as double").result.kind, TypeKind::kDouble);
    EXPECT_EQ(ParseDeclaration("x as integer").result.kind, TypeKind::kInteger);
    EXPECT_EQ(ParseDeclaration("x as boolean").result.kind, TypeKind::kBoolean);
    EXPECT_EQ(ParseDeclaration("x as string").result.kind, TypeKind::kString);
}

TEST(Declaration, AnyOtherTypeWordIsAClassName) {
    const auto type = ParseDeclaration("AttributeX as CIAttributeQOR").result;
    EXPECT_EQ(type.kind, TypeKind::kObject);
    EXPECT_EQ(type.className, "CIAttributeQOR");
    EXPECT_EQ(ParseDeclaration("x as Double").result.kind, TypeKind::kObject);
}

TEST(Declaration, MemoryblockIsAnObjectOfTheClassMemoryBlock) {
    const auto type = ParseDeclaration("inputCubeData as memoryblock").result;
    EXPECT_EQ(type.kind, TypeKind::kObject);
    EXPECT_EQ(type.word, "memoryblock");
    EXPECT_EQ(type.className, "MemoryBlock");
}

TEST(Declaration, ConstructorsCanHaveParameters) {
    EXPECT_EQ(ParseDeclaration("Constructor").kind, MemberKind::kConstructor);
    const auto declaration = ParseDeclaration("Constructor(path as string)");
    EXPECT_EQ(declaration.kind, MemberKind::kConstructor);
    ASSERT_EQ(declaration.parameters.size(), 1u);
    EXPECT_EQ(declaration.parameters[0].name, "path");
    EXPECT_EQ(declaration.parameters[0].type.kind, TypeKind::kString);
}

TEST(Declaration, MethodsCanHaveAResult) {
    const auto crop = ParseDeclaration("Crop(x as double, y as double) as CIImageQOR");
    EXPECT_EQ(crop.kind, MemberKind::kMethod);
    EXPECT_EQ(crop.parameters.size(), 2u);
    EXPECT_EQ(crop.result.className, "CIImageQOR");
    EXPECT_EQ(host::ParameterText(crop), "(x as double, y as double)");
    const auto save = ParseDeclaration("Save(path as string)");
    EXPECT_EQ(save.kind, MemberKind::kMethod);
    EXPECT_EQ(save.result.kind, TypeKind::kNone);
}

TEST(Declaration, ANameAloneOrWithEmptyParenthesesIsAMethod) {
    EXPECT_EQ(ParseDeclaration("Reset").kind, MemberKind::kMethod);
    EXPECT_EQ(ParseDeclaration("Reset()").kind, MemberKind::kMethod);
    EXPECT_EQ(ParseDeclaration("Count() as integer").kind, MemberKind::kMethod);
}

TEST(Declaration, SpacesBetweenWordsDoNotMatter) {
    const auto declaration = ParseDeclaration("  Crop ( x  as double ,y as double )as CIImageQOR ");
    EXPECT_EQ(declaration.parameters[1].name, "y");
    EXPECT_EQ(declaration.result.word, "CIImageQOR");
}

TEST(Declaration, ErrorsSayWhatWasExpectedAndWhatWasFound) {
    EXPECT_EQ(ErrorFor(""), "expected a name, found the end");
    EXPECT_EQ(ErrorFor("3x as double"), "expected a name, found '3x as double'");
    EXPECT_EQ(ErrorFor("x is double"), "expected 'as', found 'is double'");
    EXPECT_EQ(ErrorFor("x as"), "expected a type, found the end");
    EXPECT_EQ(ErrorFor("x as double twice"), "expected nothing more, found 'twice'");
    EXPECT_EQ(ErrorFor("Crop(x)"), "expected 'as', found ')'");
    EXPECT_EQ(ErrorFor("Crop(x as double"), "expected ',' or ')', found the end");
    EXPECT_EQ(ErrorFor("Crop(x as double,)"), "expected a parameter, found ')'");
    EXPECT_EQ(ErrorFor("Constructor as double"), "a constructor has no result");
}

TEST(Declaration, AcceptsFifteenParametersAndRefusesSixteen) {
    std::string text = "Sum(p as double";
    for (int i = 1; i < 15; ++i) text += ", p as double";
    EXPECT_EQ(ParseDeclaration(text + ")").parameters.size(), 15u);
    EXPECT_EQ(ErrorFor((text + ", p as double)").c_str()), "more than 15 parameters");
}

}  // namespace
