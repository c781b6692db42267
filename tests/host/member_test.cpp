// member_test.cpp - reading, writing and calling members: how values are passed, and what is refused.

#include <algorithm>
#include <limits>

#include "host/runtime/memory_block.h"
#include "tests/host/box_class.h"
#include "tests/host/host_test.h"

namespace {

using host::ObjectReference;
using host::StringReference;
using host::Value;

class MemberTest : public HostTest {
  protected:
    MemberTest() {
        host.Classes().Register(&kBoxClass.record);
        Register("SmallBox", "Box");
        box = host.NewInstance("Box");
    }

    // Writes a property and reads it back.
    Value RoundTrip(const char* property, const Value& value) {
        host.Set(box.Get(), property, value);
        return host.Get(box.Get(), property);
    }

    // The reason why a property cannot be written; empty if it can.
    std::string Refusal(const char* property, const Value& value) {
        return TextOfError([&] { host.Set(box.Get(), property, value); });
    }

    ObjectReference box;
};

TEST_F(MemberTest, NumbersAndBooleansReadBackAsWritten) {
    EXPECT_EQ(RoundTrip("Number", 0.1), Value(0.1));
    EXPECT_EQ(RoundTrip("Integer", -2147483647 - 1), Value(-2147483647 - 1));
    EXPECT_EQ(RoundTrip("Truth", true), Value(true));
    EXPECT_EQ(RoundTrip("Truth", false), Value(false));
    BoxOf(box.Get())->truth = 2;
    EXPECT_EQ(host.Get(box.Get(), "Truth"), Value(true));
}

TEST_F(MemberTest, StringsArePassedByReference) {
    const Value text = host::TextValue("Grüße");
    const Value back = RoundTrip("Text", text);
    EXPECT_EQ(std::get<StringReference>(back).Get(), std::get<StringReference>(text).Get());
    EXPECT_EQ(std::get<StringReference>(text)->references, 3);
    EXPECT_EQ(host.LiveStrings(), 1);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(RoundTrip("Text", {})));
    EXPECT_EQ(std::get<StringReference>(text)->references, 2);
}

TEST_F(MemberTest, ObjectsArePassedByReferenceAndCanBeOfASubclass) {
    const auto small = host.NewInstance("SmallBox");
    const Value back = RoundTrip("Held", small);
    EXPECT_EQ(std::get<ObjectReference>(back).Get(), small.Get());
    EXPECT_EQ(small->references, 3);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(RoundTrip("Held", {})));
    EXPECT_EQ(small->references, 2);
}

TEST_F(MemberTest, AnIntegerFitsADouble) { EXPECT_EQ(RoundTrip("Number", 3), Value(3.0)); }

TEST_F(MemberTest, AWholeDoubleFitsAnInteger) {
    EXPECT_EQ(RoundTrip("Integer", 3.0), Value(3));
    EXPECT_EQ(RoundTrip("Integer", -2147483648.0), Value(-2147483647 - 1));
    EXPECT_EQ(Refusal("Integer", 2147483648.0),
              "Box.Integer: expected integer, got double 2147483648; the property keeps its value");
    EXPECT_EQ(Refusal("Integer", std::numeric_limits<double>::quiet_NaN()),
              "Box.Integer: expected integer, got double nan; the property keeps its value");
}

TEST_F(MemberTest, RefusesOtherTypesAndKeepsTheValue) {
    host.Set(box.Get(), "Number", 5.0);
    EXPECT_EQ(Refusal("Number", host::TextValue("abc")),
              "Box.Number: expected double, got string \"abc\"; the property keeps its value");
    EXPECT_EQ(Refusal("Number", {}), "Box.Number: expected double, got nil; the property keeps its value");
    EXPECT_EQ(Refusal("Integer", 2.5), "Box.Integer: expected integer, got double 2.5; the property keeps its value");
    EXPECT_EQ(Refusal("Truth", 1), "Box.Truth: expected boolean, got integer 1; the property keeps its value");
    EXPECT_EQ(Refusal("Text", true), "Box.Text: expected string, got boolean true; the property keeps its value");
    EXPECT_EQ(
        Refusal("Number", host::TextValue(std::string(100, 'x'))),
        "Box.Number: expected double, got string \"" + std::string(60, 'x') + "...\"; the property keeps its value");
    EXPECT_EQ(Refusal("Held", 1.0), "Box.Held: expected Box, got double 1; the property keeps its value");
    EXPECT_EQ(host.Get(box.Get(), "Number"), Value(5.0));
}

TEST_F(MemberTest, RefusesAnObjectOfAnotherClass) {
    EXPECT_EQ(Refusal("Held", host.NewInstance("RuntimeException")),
              "Box.Held: expected Box, got RuntimeException; the property keeps its value");
    EXPECT_EQ(Refusal("Bytes", box), "Box.Bytes: expected memoryblock, got Box; the property keeps its value");
    EXPECT_EQ(Refusal("Bytes", host::NewMemoryBlock(4)), "");
}

TEST_F(MemberTest, RefusesToWriteAReadOnlyProperty) {
    EXPECT_EQ(Refusal("Fixed", 1.0), "Box.Fixed: the property is read-only; it keeps its value");
}

TEST_F(MemberTest, UnknownMemberNamesGetASuggestion) {
    EXPECT_EQ(Refusal("Nubmer", 1.0), "Box.Nubmer: the class has no such property, did you mean Number");
    EXPECT_EQ(TextOfError([&] { host.Call(box.Get(), "Wiegh"); }),
              "Box.Wiegh: the class has no such method, did you mean Weigh");
    EXPECT_EQ(TextOfError([&] { host.CallShared("Box", "Weigh"); }), "Box.Weigh: the class has no such method");
}

TEST_F(MemberTest, PropertiesCannotBeCalledAndMethodsCannotBeRead) {
    EXPECT_EQ(TextOfError([&] { host.Get(box.Get(), "Clear"); }), "Box.Clear: it is a method, not a property");
    EXPECT_EQ(TextOfError([&] { host.Call(box.Get(), "Number"); }), "Box.Number: it is a property, not a method");
}

TEST_F(MemberTest, AConstructorIsNotAMethod) {
    EXPECT_EQ(TextOfError([&] { host.Call(box.Get(), "Constructor"); }),
              "Box.Constructor: the class has no such method");
}

TEST_F(MemberTest, NilHasNoMembers) {
    EXPECT_EQ(TextOfError([&] { host.Get(nullptr, "Number"); }), "nil.Number: there is no object");
    EXPECT_EQ(TextOfError([&] { host.Set(nullptr, "Number", 1.0); }), "nil.Number: there is no object");
    EXPECT_EQ(TextOfError([&] { host.Call(nullptr, "Clear"); }), "nil.Clear: there is no object");
}

TEST_F(MemberTest, ArgumentsArriveInOrder) {
    const Value arguments[] = {1.5, 2, 3.0, true, host::TextValue("four")};
    EXPECT_EQ(host.Call(box.Get(), "Weigh", arguments), Value(1.5 + 20 + 300 + 1000 + 40000));
    EXPECT_EQ(host.LiveStrings(), 1);
}

TEST_F(MemberTest, AMethodWithoutResultReturnsNil) {
    host.Set(box.Get(), "Number", 5.0);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(host.Call(box.Get(), "Clear")));
    EXPECT_EQ(host.Get(box.Get(), "Number"), Value(0.0));
}

TEST_F(MemberTest, RefusesACallWithWrongArguments) {
    const Value one[] = {1.0};
    EXPECT_EQ(TextOfError([&] { host.Call(box.Get(), "Clear", one); }), "Box.Clear: it takes 0 arguments (), got 1");
    EXPECT_EQ(TextOfError([&] { host.CallShared("Box", "Add", {}); }),
              "Box.Add: it takes 2 arguments (a as integer, b as integer), got 0");
    const Value mixed[] = {1, 2.5};
    EXPECT_EQ(TextOfError([&] { host.CallShared("Box", "Add", mixed); }),
              "Box.Add: expected integer for b, got double 2.5");
}

TEST_F(MemberTest, SharedMethodsAreCalledWithoutAnObject) {
    const Value arguments[] = {40, 2};
    EXPECT_EQ(host.CallShared("Box", "Add", arguments), Value(42));
    EXPECT_EQ(host.CallShared("SmallBox", "Add", arguments), Value(42));
}

TEST_F(MemberTest, SharedPropertiesNeedNoObject) {
    host.SetShared("Box", "Limit", 7);
    EXPECT_EQ(host.GetShared("SmallBox", "Limit"), Value(7));
    EXPECT_EQ(TextOfError([&] { host.SetShared("Box", "Limit", {}); }),
              "Box.Limit: expected integer, got nil; the property keeps its value");
    EXPECT_EQ(TextOfError([&] { host.GetShared("Box", "Limmit"); }),
              "Box.Limmit: the class has no such property, did you mean Limit");
    EXPECT_EQ(TextOfError([&] { host.GetShared("Box", "Number"); }), "Box.Number: the class has no such property");
    EXPECT_EQ(TextOfError([&] { host.GetShared("Box", "Add"); }), "Box.Add: it is a method, not a property");
}

TEST_F(MemberTest, TheNumberOfArgumentsSelectsTheConstructor) {
    EXPECT_EQ(host.Get(host.Construct("Box").Get(), "Number"), Value(1.0));
    const Value arguments[] = {2.0, 3};
    const auto made = host.Construct("SmallBox", arguments);
    EXPECT_EQ(host.Get(made.Get(), "Number"), Value(2.0));
    EXPECT_EQ(host.Get(made.Get(), "Integer"), Value(3));
    EXPECT_EQ(TextOfError([&] { host.Construct("Box", std::span(arguments, 1)); }),
              "Box: the class has no constructor with 1 argument");
}

TEST_F(MemberTest, AClassWithoutConstructorIsConstructedWithoutArguments) {
    Register("Cup");
    EXPECT_TRUE(host.Construct("Cup"));
}

TEST_F(MemberTest, EachCallRunsInsideOneScope) {
    static int open = 0, opened = 0, deepest = 0;
    open = opened = deepest = 0;
    const host::CallScope scope = {[]() -> void* {
                                       ++opened;
                                       deepest = std::max(deepest, ++open);
                                       return &open;
                                   },
                                   [](void* given) {
                                       EXPECT_EQ(given, &open);
                                       --open;
                                   }};
    box = {};
    host.~Host();
    new (&host) host::Host({.callScope = scope});
    const auto exception = host.NewInstance("RuntimeException");
    opened = 0;
    host.Set(exception.Get(), "ErrorNumber", 5);
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(host.Get(exception.Get(), "ErrorNumber"), Value(5));
    EXPECT_EQ(opened, 2);
    EXPECT_EQ(deepest, 1);
    EXPECT_EQ(open, 0);
}

}  // namespace
