// error_test.cpp - the errors that scripts get, and how they can handle them.

#include "tests/script/script_test.h"

namespace {

using host::script::Script;
using host::script::ScriptError;

TEST_F(ScriptTest, AnUnknownPropertyGetsASuggestion) {
    EXPECT_EQ(ErrorOf("box.Nubmer = 1"), "Box.Nubmer: the class has no such property, did you mean Number");
    EXPECT_EQ(ErrorOf("return box.Nubmer"), "Box.Nubmer: the class has no such property, did you mean Number");
    EXPECT_EQ(ErrorOf("return box[1]"), "Box: expected a string as member name, got integer 1");
    EXPECT_EQ(ErrorOf("box[box] = 1"), "Box: expected a string as member name, got Box");
}

TEST_F(ScriptTest, AnErrorNamesTheWrongAndTheExpectedType) {
    const std::string kept = "; the property keeps its value";
    EXPECT_EQ(ErrorOf("box.Number = 'abc'"), "Box.Number: expected double, got string \"abc\"" + kept);
    EXPECT_EQ(ErrorOf("box.Number = nil"), "Box.Number: expected double, got nil" + kept);
    EXPECT_EQ(ErrorOf("box.Number = {}"), "Box.Number: expected double, got a table" + kept);
    EXPECT_EQ(ErrorOf("box.Integer = 2.5"), "Box.Integer: expected integer, got double 2.5" + kept);
    EXPECT_EQ(ErrorOf("box.Text = 5"), "Box.Text: expected string, got integer 5" + kept);
    EXPECT_EQ(ErrorOf("box.Truth = 1"), "Box.Truth: expected boolean, got integer 1" + kept);
    EXPECT_EQ(ErrorOf("box.Held = Box"), "Box.Held: expected Box, got the class Box" + kept);
    EXPECT_EQ(ErrorOf("box.Held = RuntimeException()"), "Box.Held: expected Box, got RuntimeException" + kept);
    EXPECT_EQ(ErrorOf("box.Held = io.stdout"), "Box.Held: expected Box, got a userdata" + kept);
}

TEST_F(ScriptTest, RefusesToWriteReadOnlyPropertiesAndMethods) {
    EXPECT_EQ(ErrorOf("box.Fixed = 1"), "Box.Fixed: the property is read-only; it keeps its value");
    EXPECT_EQ(ErrorOf("box.Fixed = {}"), "Box.Fixed: the property is read-only; it keeps its value");
    EXPECT_EQ(ErrorOf("box.Clear = 1"), "Box.Clear: it is a method, not a property");
}

TEST_F(ScriptTest, AWrongCallIsAnErrorThatNamesTheParameters) {
    EXPECT_EQ(ErrorOf("box:Fail()"), "Box.Fail: it takes 1 argument (message as string), got 0");
    EXPECT_EQ(ErrorOf("box:Fail({}, 1)"), "Box.Fail: it takes 1 argument (message as string), got 2");
    EXPECT_EQ(ErrorOf("box:Fail(print)"), "Box.Fail: expected string for message, got a function");
    EXPECT_EQ(ErrorOf("box:Fail(1)"), "Box.Fail: expected string for message, got integer 1");
    EXPECT_EQ(ErrorOf("box.Clear()"), "Box.Clear: expected the object as first argument (object:Clear), got nothing");
    EXPECT_EQ(ErrorOf("box.Fail('a')"),
              "Box.Fail: expected the object as first argument (object:Fail), got string \"a\"");
    EXPECT_EQ(ErrorOf("box.Clear(RuntimeException())"),
              "Box.Clear: expected the object as first argument (object:Clear), got RuntimeException");
}

TEST_F(ScriptTest, AHostExceptionIsAnErrorWithItsClassAndMessage) {
    EXPECT_EQ(ErrorOf("box:Fail('no such lid')"), "RuntimeException: no such lid");
}

TEST_F(ScriptTest, ACaughtHostExceptionHasFields) {
    EXPECT_EQ(Run(R"(
        local box = Box(1, 42)
        local ok, failure = pcall(function() box:Fail("no such lid") end)
        assert(not ok and failure.class == "RuntimeException" and failure.message == "no such lid")
        assert(failure.number == 42 and failure.object.Message == "no such lid")
        assert(tostring(failure) == "test:3: RuntimeException: no such lid")
        assert("it failed: " .. failure == "it failed: test:3: RuntimeException: no such lid")
        assert(failure .. "." == "test:3: RuntimeException: no such lid.")
    )"),
              "");
}

TEST_F(ScriptTest, TheTracebackShowsTheLinesOfTheScript) {
    Script script(host);
    try {
        script.RunText("local function deep()\n Box():Fail('lid')\nend\nlocal function top() deep() end\ntop()",
                       "test");
        FAIL() << "nothing was thrown";
    } catch (const ScriptError& error) {
        EXPECT_STREQ(error.what(), "test:2: RuntimeException: lid");
        EXPECT_EQ(error.Traceback(),
                  "stack traceback:\n\t[C]: in method 'Fail'\n\ttest:2: in upvalue 'deep'\n"
                  "\ttest:4: in local 'top'\n\ttest:5: in main chunk\n");
    }
}

TEST_F(ScriptTest, AnyLuaValueCanBeAnError) {
    EXPECT_EQ(Run("error({1})").substr(0, 7), "table: ");
    EXPECT_EQ(Run("error()"), "nil");
    EXPECT_EQ(Run("error(setmetatable({}, {__tostring = function() return 'mine' end}))"), "mine");
    EXPECT_EQ(Run("local = 1"), "test:1: <name> expected near '='");
}

TEST_F(ScriptTest, AScriptCanContinueAfterAnError) {
    Script script(host);
    EXPECT_NE(TextOfError([&] { script.RunText("box = Box() box:Fail('lid')", "test"); }), "");
    EXPECT_EQ(TextOfError([&] { script.RunText("box.Number = 5 assert(box.Number == 5)", "test"); }), "");
}

TEST_F(ScriptTest, CoroutinesUseTheSameObjects) {
    EXPECT_EQ(Run(R"(
        local box = Box()
        local step = coroutine.wrap(function(held)
            box.Held = held
            coroutine.yield(box.Held)
            box:Fail("inside")
        end)
        local other = Box()
        assert(step(other) == other)
        local ok, failure = pcall(step)
        assert(not ok and failure.message == "inside")
    )"),
              "");
}

}  // namespace
