// lifetime_test.cpp - when references are released: the counts are exact, in any order and after any failure.

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "host/script/binding.h"
#include "tests/script/script_test.h"

namespace {

using host::script::OpenBinding;
using host::script::Script;

TEST_F(ScriptTest, CollectionReleasesDroppedObjects) {
    Script script(host);
    script.RunText("boxes = {} for i = 1, 100 do boxes[i] = Box() end", "test");
    EXPECT_EQ(host.LiveObjects(), 100);
    script.RunText("for i = 1, 60 do boxes[i] = nil end collectgarbage()", "test");
    EXPECT_EQ(host.LiveObjects(), 40);
    script.RunText("boxes = nil collectgarbage()", "test");
    EXPECT_EQ(host.LiveObjects(), 0);
}

TEST_F(ScriptTest, ObjectsCanBeDroppedInAnyOrder) {
    Script script(host);
    script.RunText("box, other = Box(), Box() box.Held = other for i = 1, 10 do local held = box.Held end", "test");
    script.RunText("other = nil collectgarbage()", "test");
    EXPECT_EQ(host.LiveObjects(), 2);
    script.RunText("assert(box.Held.Number == 1) box = nil collectgarbage() collectgarbage()", "test");
    EXPECT_EQ(host.LiveObjects(), 0);
    script.RunText("box, other = Box(), Box() box.Held = other box = nil collectgarbage()", "test");
    EXPECT_EQ(host.LiveObjects(), 1);
}

TEST_F(ScriptTest, AVariableMarkedCloseReleasesItsObjectAtTheEndOfItsScope) {
    Script script(host);
    script.RunText("collectgarbage('stop') do local box <close> = Box() kept = box end", "test");
    EXPECT_EQ(host.LiveObjects(), 0);
    EXPECT_EQ(TextOfError([&] { script.RunText("kept.Number = 1", "test"); }),
              "test:1: Box: the object was closed at the end of its scope");
    EXPECT_EQ(TextOfError([&] { script.RunText("kept:Clear()", "test"); }),
              "test:1: Box: the object was closed at the end of its scope");
    EXPECT_EQ(TextOfError([&] { script.RunText("Box().Held = kept", "test"); }),
              "test:1: Box: the object was closed at the end of its scope");
    EXPECT_EQ(TextOfError([&] { script.RunText("assert(tostring(kept) == 'Box: closed')", "test"); }), "");
}

TEST_F(ScriptTest, AClosedObjectThatReturnsGetsANewValue) {
    EXPECT_EQ(Run(R"(
        local box, first = Box(), nil
        do
            local other <close> = Box()
            box.Held, first = other, other
        end
        assert(box.Held.Number == 1 and box.Held == box.Held and box.Held ~= first)
    )"),
              "");
}

TEST_F(ScriptTest, AnErrorThatEndsTheScriptReleasesItsObjects) {
    Script script(host);
    EXPECT_NE(TextOfError([&] { script.RunText("box = Box() box.Held = Box() box:Fail('lid')", "test"); }), "");
}

TEST_F(ScriptTest, AnErrorKeepsItsObjectAlive) {
    EXPECT_EQ(Run(R"(
        local ok, failure = pcall(function() Box():Fail("lid") end)
        collectgarbage()
        assert(failure.object.Message == "lid")
    )"),
              "");
}

// A Lua state that runs out of memory after a given number of allocations.
class LimitedState {
  public:
    explicit LimitedState(int allocations) : left_(allocations), lua_(lua_newstate(Allocate, this)) {}
    ~LimitedState() {
        if (lua_ != nullptr) lua_close(lua_);
    }

    // Whether the script ran to completion.
    bool Run(const char* script) {
        if (lua_ == nullptr) return false;
        lua_pushcfunction(lua_, [](lua_State* lua) {
            luaL_requiref(lua, LUA_GNAME, luaopen_base, 1);
            return OpenBinding(lua);
        });
        if (lua_pcall(lua_, 0, 0, 0) != LUA_OK || luaL_loadstring(lua_, script) != LUA_OK) return false;
        return lua_pcall(lua_, 0, 0, 0) == LUA_OK;
    }

  private:
    static void* Allocate(void* self, void* block, std::size_t oldSize, std::size_t size) {
        if (size == 0) {
            std::free(block);
            return nullptr;
        }
        const bool isGrowing = block == nullptr || size > oldSize;
        if (isGrowing && --static_cast<LimitedState*>(self)->left_ < 0) return nullptr;
        return std::realloc(block, size);
    }

    int left_;
    lua_State* lua_;
};

TEST_F(ScriptTest, NothingLeaksWhereverMemoryRunsOut) {
    constexpr char kScript[] = R"(
        local box = Box(2.5, 7)
        box.Held, box.Text = Box(), "text"
        assert(box:Weigh(1, 2, 3, true, box.Text) and Box.Add(1, 2) == 3 and box.Held)
        local ok, failure = pcall(function() box:Fail("lid") end)
        if type(failure) == "string" then error(failure) end
        assert(tostring(failure) ~= "" and not pcall(function() box.Nubmer = {} end))
    )";
    int allocations = 0;
    bool isDone = false;
    for (; !isDone && allocations < 5000; ++allocations) {
        isDone = LimitedState(allocations).Run(kScript);
        ASSERT_EQ(host.LiveObjects(), 0) << "after " << allocations << " allocations";
        ASSERT_EQ(host.LiveStrings(), 0) << "after " << allocations << " allocations";
    }
    EXPECT_TRUE(isDone);
    EXPECT_GT(allocations, 100);
}

// An object that holds a megabyte outside Lua.
struct Crate {
    ZEVAobjectStruct object;
    void* bytes;
};
constexpr std::size_t kCrateBytes = std::size_t{1} << 20;
int maximumCrates = 0;

void Fill(ZEVAobjectStruct* self) {
    void*& bytes = reinterpret_cast<Crate*>(self)->bytes;
    bytes = std::malloc(kCrateBytes);
    std::memset(bytes, 1, kCrateBytes);
    maximumCrates = std::max(maximumCrates, static_cast<int>(host::Host::Current().LiveObjects()));
}
void Empty(ZEVAobjectStruct* self) { std::free(reinterpret_cast<Crate*>(self)->bytes); }

TEST_F(ScriptTest, MemoryHeldByObjectsTriggersCollection) {
    const ZEVAclassDefinitionDownLevel record = {.version = kRecordVersion,
                                                 .className = "Crate",
                                                 .instanceDataSize = sizeof(void*),
                                                 .initialize = Fill,
                                                 .finalize = Empty};
    host.Classes().Register(&record);
    EXPECT_EQ(Run("for i = 1, 400 do Crate() end"), "");
    EXPECT_LT(maximumCrates, 80);
}

}  // namespace
