// value_test.cpp - passing values to members and back, according to the types that the record declares.

#include "tests/script/script_test.h"

namespace {

TEST_F(ScriptTest, ReadsAndWritesPropertiesOfEachKind) {
    EXPECT_EQ(Run(R"(
        local box, other = Box(), Box()
        box.Number, box.Integer, box.Truth, box.Text, box.Held = 0.1, -2147483648, true, "Grüße\0!", other
        assert(box.Number == 0.1 and box.Integer == -2147483648 and box.Truth == true)
        assert(box.Text == "Grüße\0!" and box.Held == other)
        box.Text, box.Held = nil, nil
        assert(box.Text == nil and box.Held == nil)
    )"),
              "");
}

TEST_F(ScriptTest, ConvertsWholeNumbersBetweenIntegerAndDouble) {
    EXPECT_EQ(Run(R"(
        local box = Box()
        box.Number, box.Integer = 3, 6 / 2
        assert(math.type(box.Number) == "float" and box.Number == 3)
        assert(math.type(box.Integer) == "integer" and box.Integer == 3)
        box.Number = 1 << 40
        assert(box.Number == 1099511627776.0)
    )"),
              "");
}

TEST_F(ScriptTest, MethodsTakeTheirArgumentsInOrder) {
    EXPECT_EQ(Run(R"(
        local box = Box()
        assert(box:Weigh(1.5, 2, 3, true, "four") == 1.5 + 20 + 300 + 1000 + 40000)
        assert(select("#", box:Clear()) == 0 and box.Number == 0)
        assert(box.Weigh == Box().Weigh and Box.Add == Box.Add)
    )"),
              "");
}

TEST_F(ScriptTest, TheNumberOfArgumentsSelectsTheConstructor) {
    EXPECT_EQ(Run(R"(
        assert(Box().Number == 1)
        local box = Box(2.5, 7)
        assert(box.Number == 2.5 and box.Integer == 7)
    )"),
              "");
    EXPECT_EQ(ErrorOf("Box(1)"), "Box: the class has no constructor with 1 argument");
    EXPECT_EQ(ErrorOf("Box(1, {})"), "Box.Constructor: expected integer for integer, got a table");
}

TEST_F(ScriptTest, SharedMembersBelongToTheClass) {
    EXPECT_EQ(Run(R"(
        assert(Box.Add(40, 2) == 42)
        Box.Limit = 12
        assert(Box.Limit == 12)
    )"),
              "");
    EXPECT_EQ(ErrorOf("Box:Add(40, 2)"), "Box.Add: a shared method is called with a dot (Box.Add), not a colon");
    EXPECT_EQ(ErrorOf("return Box.Limmit"), "Box.Limmit: the class has no such property, did you mean Limit");
    EXPECT_EQ(ErrorOf("Box.Limit = {}"), "Box.Limit: expected integer, got a table; the property keeps its value");
    EXPECT_EQ(ErrorOf("Box.Limit = nil"), "Box.Limit: expected integer, got nil; the property keeps its value");
}

TEST_F(ScriptTest, FindsAClassThatIsRegisteredLater) {
    host::script::Script script(host);
    script.RunText("assert(Cup == nil)", "before");
    Register("Cup", "Box");
    EXPECT_EQ(TextOfError([&] { script.RunText("assert(Cup.Add(1, 2) == 3 and Cup == Cup)", "after"); }), "");
}

TEST_F(ScriptTest, AnUnknownGlobalIsNilUnlessItNearlyNamesAClass) {
    EXPECT_EQ(Run("assert(whatever == nil and _G[1] == nil)"), "");
    EXPECT_EQ(ErrorOf("RuntimException()"),
              "class RuntimException: it is not registered, did you mean RuntimeException");
}

TEST_F(ScriptTest, RefusesAClassWithoutItsSuperclass) {
    Register("Orphan", "Parent");
    EXPECT_EQ(ErrorOf("Orphan()"), "Orphan: its superclass Parent is not registered; it cannot have objects");
}

TEST_F(ScriptTest, TheSameObjectIsTheSameValue) {
    EXPECT_EQ(Run(R"(
        local box, other = Box(), Box()
        box.Held = other
        assert(rawequal(box.Held, other) and box.Held ~= box and Box() ~= Box())
        local counts = {[other] = 5}
        assert(counts[box.Held] == 5)
    )"),
              "");
}

TEST_F(ScriptTest, ValuesHaveDescriptiveText) {
    EXPECT_EQ(Run(R"(
        assert(tostring(Box) == "class Box" and tostring(Box()):match("^Box: 0x%x+$"))
        assert(getmetatable(Box) == "host class" and getmetatable(Box()) == "host object")
    )"),
              "");
}

}  // namespace
