// restriction_test.cpp - what a script cannot do: crash the process through the debug library or precompiled programs
// and, when it is restricted, reach files and native code or exceed its limits.

#include "tests/script/script_test.h"

namespace {

using host::script::Script;
using host::script::ScriptOptions;

class RestrictionTest : public ScriptTest {
  protected:
    // Runs a text as a restricted script with the argument "given.png". Returns the text of the error.
    std::string RunRestricted(const std::string& text, std::size_t memory = 0, std::uint64_t steps = 0) {
        Script script(host, ScriptOptions{.isRestricted = true, .memory = memory, .steps = steps});
        const std::string arguments[] = {"given.png"};
        return TextOfError([&] { script.RunText(text, "test", arguments); });
    }
};

TEST_F(RestrictionTest, MetamethodsAndMethodsRefuseAForeignReceiver) {
    EXPECT_EQ(Run(R"lua(
        local box, count = Box(), 0
        for _, value in ipairs { box, Box } do
            for name, call in pairs(debug.getmetatable(value)) do
                if type(call) == "function" and name ~= "__gc" and name ~= "__close" then
                    for _, receiver in ipairs { io.stdout, 1, "text", {} } do
                        local done, problem = pcall(call, receiver, "Number", 1)
                        assert(not done and problem:find("expected an? %w+, got "), problem)
                        count = count + 1
                    end
                    assert(not pcall(call))
                end
            end
        end
        assert(count == 4 * (3 + 4), count)
        debug.getmetatable(box).__gc(io.stdout)
        local done, problem = pcall(box.Clear, io.stdout)
        assert(not done and problem:find("Box.Clear: expected the object as first argument", 1, true), problem)
        assert(getmetatable(_G).__index(1, "Box") == nil)
    )lua"),
              "");
}

TEST_F(RestrictionTest, PrecompiledProgramsAreRefusedEverywhere) {
    EXPECT_EQ(Run(R"lua(
        local program = string.dump(function() return 1 end)
        local file = os.tmpname()
        local handle = io.open(file, "wb")
        handle:write(program)
        handle:close()
        local refusal = "attempt to load a binary chunk %(mode is 't'%)"
        for _, mode in ipairs { false, "t", "bt" } do
            local loaded, problem = load(program, "name", mode or nil)
            assert(not loaded and problem:find(refusal), problem)
            loaded, problem = loadfile(file, mode or nil)
            assert(not loaded and problem:find(refusal), problem)
        end
        assert(select(2, load("return 1", "name", "b")) == "programs are loaded as text only")
        assert(select(2, loadfile(file, "b")) == "programs are loaded as text only")
        package.path = file
        for _, run in ipairs { dofile, require } do
            local done, problem = pcall(run, file)
            assert(not done and problem:find(refusal), problem)
        end
        os.remove(file)
    )lua"),
              "");
    Script script(host);
    EXPECT_EQ(TextOfError([&] { script.RunText("\x1bLua", "test"); }), "attempt to load a binary chunk (mode is 't')");
}

TEST_F(RestrictionTest, LoadKeepsItsOtherArguments) {
    EXPECT_EQ(Run(R"lua(
        assert(load("return a", "name", nil, { a = 5 })() == 5)
        assert(load("return a", "name", "t", nil) and not pcall(load("return a", "name", "t", nil)))
        assert(load("return print")() == print)
        local parts = { "return ", "7" }
        assert(load(function() return table.remove(parts, 1) end)() == 7)
        assert(select(2, load("=", "=name")):find("name:1:", 1, true) == 1)
    )lua"),
              "");
}

TEST_F(RestrictionTest, ARestrictedScriptHasNoLibraryThatReachesFilesOrNativeCode) {
    EXPECT_EQ(RunRestricted(R"lua(
        local names = {}
        for name in pairs(_G) do names[#names + 1] = name end
        table.sort(names)
        assert(table.concat(names, " ") == "_G _VERSION arg assert collectgarbage coroutine error getmetatable " ..
            "ipairs load math next pairs pcall print rawequal rawget rawlen rawset select setmetatable string " ..
            "table tonumber tostring type utf8 warn xpcall", table.concat(names, " "))
        assert(load("return 2")() == 2 and not load(string.dump(print and function() end)))
        local box = Box()
        box.Number = 3
        assert(box.Number == 3)
    )lua"),
              "");
}

TEST_F(RestrictionTest, AScriptThatLoopsEndsAtItsLimitOfSteps) {
    const std::string limit = "the limit of 100000 steps is reached";
    for (const char* text : {
             "while true do end",
             "while true do pcall(function() while true do end end) end",
             "while true do coroutine.resume(coroutine.create(function() while true do end end)) end",
             "local function again() xpcall(again, again) end again() while true do end",
         }) {
        EXPECT_EQ(RunRestricted(text, 0, 100'000), "test:1: " + limit) << text;
    }
    EXPECT_EQ(RunRestricted("for i = 1, 10000 do end", 0, 100'000), "");
    EXPECT_EQ(RunRestricted("setmetatable({}, { __gc = function() while true do end end })", 0, 100'000),
              "test:1: setmetatable: a restricted script has no finalizers (__gc)");
}

TEST_F(RestrictionTest, AScriptThatKeepsTooMuchEndsAtItsLimitOfMemory) {
    constexpr std::size_t kLimit = std::size_t{4} << 20;
    EXPECT_EQ(RunRestricted("local all = {} for i = 1, 1e9 do all[i] = {} end", kLimit),
              "not enough memory, the limit of the script is 4 MB");
    EXPECT_EQ(RunRestricted("return ('x'):rep(5 << 20)", kLimit), "not enough memory, the limit of the script is 4 MB");
    EXPECT_EQ(RunRestricted("for i = 1, 100 do local text = ('x'):rep(1 << 20) .. i end", kLimit), "");
}

}  // namespace
