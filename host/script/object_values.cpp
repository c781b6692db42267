// object_values.cpp - the value of an object: its lifetime, properties and methods.

#include "host/script/object_values.h"

#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "host/runtime/errors.h"
#include "host/runtime/host.h"
#include "host/script/error_values.h"
#include "host/script/member_functions.h"
#include "host/script/memory_growth.h"
#include "host/script/values.h"

namespace host::script {

namespace {

constexpr const char* kObject = "host object";

// Registry keys: the weak table that maps objects to values, and the MemoryGrowth of the state.
constexpr char kValues = 0;
constexpr char kGrowth = 0;

// The content of a value.
struct ObjectValue {
    ObjectReference object;  // null when closed
    const Class* isa;
};

ObjectValue* ValueOf(lua_State* lua, int index) {
    return static_cast<ObjectValue*>(luaL_testudata(lua, index, kObject));
}

// The value whose function runs. Scripts reach the functions through the debug library, so the receiver may be
// anything.
ObjectValue& ReceivingValue(lua_State* lua) {
    if (ObjectValue* value = ValueOf(lua, 1)) return *value;
    throw HostError("host object", "expected an object, got " + DescribeAt(lua, 1));
}

// The object whose function runs. Throws HostError if it was closed.
ObjectReference OpenReceiver(lua_State* lua) {
    ReceivingValue(lua);
    return ObjectAt(lua, 1);
}

// object.name
int IndexObject(lua_State* lua) {
    return Protected(lua, [&] {
        const ObjectReference object = OpenReceiver(lua);
        const std::string_view name = NameAt(lua, 2, object->isa->Name());
        const Member* member = object->isa->FindMember(name);
        if (member != nullptr && member->declaration.kind == MemberKind::kMethod) {
            PushMethod(lua, *object->isa, *member);
        } else {
            PushValue(lua, Host::Current().Get(object.Get(), name));
        }
        return 1;
    });
}

// object.name = value
int SetObjectIndex(lua_State* lua) {
    return Protected(lua, [&] {
        const ObjectReference object = OpenReceiver(lua);
        const std::string_view name = NameAt(lua, 2, object->isa->Name());
        const std::string subject = object->isa->Name() + "." + std::string(name);
        Host::Current().Set(object.Get(), name, PropertyValueAt(lua, 3, subject, object->isa->FindMember(name)));
        return 0;
    });
}

// Releases the reference when the value is collected or closed. A closed value is removed from the table, so the script
// gets a new value if it receives the object again.
int Close(lua_State* lua) {
    ObjectValue* value = ValueOf(lua, 1);
    if (value == nullptr || !value->object) return 0;
    lua_rawgetp(lua, LUA_REGISTRYINDEX, &kValues);
    if (lua_rawgetp(lua, -1, value->object.Get()) == LUA_TUSERDATA && lua_touserdata(lua, -1) == value) {
        lua_pushnil(lua);
        lua_rawsetp(lua, -3, value->object.Get());
    }
    value->object = {};
    return 0;
}

int ObjectText(lua_State* lua) {
    return Protected(lua, [&] {
        const ObjectValue& value = ReceivingValue(lua);
        if (value.object) {
            lua_pushfstring(lua, "%s: %p", value.isa->Name().c_str(), static_cast<void*>(value.object.Get()));
        } else {
            lua_pushfstring(lua, "%s: closed", value.isa->Name().c_str());
        }
        return 1;
    });
}

// Pushes a new value that holds an object.
void PushNewValue(lua_State* lua, ObjectReference object) {
    lua_rawgetp(lua, LUA_REGISTRYINDEX, &kGrowth);
    static_cast<MemoryGrowth*>(lua_touserdata(lua, -1))->Check(lua);
    lua_pop(lua, 1);
    void* memory = lua_newuserdatauv(lua, sizeof(ObjectValue), 0);
    const Class* isa = object->isa;
    new (memory) ObjectValue{std::move(object), isa};
    luaL_setmetatable(lua, kObject);
}

}  // namespace

void OpenObjectValues(lua_State* lua) {
    const luaL_Reg functions[] = {{"__index", IndexObject}, {"__newindex", SetObjectIndex}, {"__gc", Close},
                                  {"__close", Close},       {"__tostring", ObjectText},     {nullptr, nullptr}};
    luaL_newmetatable(lua, kObject);
    luaL_setfuncs(lua, functions, 0);
    // Hides the metatable from scripts.
    lua_pushliteral(lua, "host object");
    lua_setfield(lua, -2, "__metatable");
    lua_pop(lua, 1);

    lua_newtable(lua);
    lua_createtable(lua, 0, 1);
    lua_pushliteral(lua, "v");
    lua_setfield(lua, -2, "__mode");
    lua_setmetatable(lua, -2);
    lua_rawsetp(lua, LUA_REGISTRYINDEX, &kValues);

    new (lua_newuserdatauv(lua, sizeof(MemoryGrowth), 0)) MemoryGrowth();
    lua_rawsetp(lua, LUA_REGISTRYINDEX, &kGrowth);
}

void PushObject(lua_State* lua, ObjectReference object) {
    if (!object) return lua_pushnil(lua);
    ZEVAobjectStruct* key = object.Get();
    lua_rawgetp(lua, LUA_REGISTRYINDEX, &kValues);
    if (lua_rawgetp(lua, -1, key) == LUA_TNIL) {
        lua_pop(lua, 1);
        PushNewValue(lua, std::move(object));
        lua_pushvalue(lua, -1);
        lua_rawsetp(lua, -3, key);
    }
    lua_remove(lua, -2);
}

bool IsObject(lua_State* lua, int index) { return ValueOf(lua, index) != nullptr; }

const Class& ClassOfObjectAt(lua_State* lua, int index) { return *ValueOf(lua, index)->isa; }

ObjectReference ObjectAt(lua_State* lua, int index) {
    const ObjectValue* value = ValueOf(lua, index);
    if (!value->object) throw HostError(value->isa->Name(), "the object was closed at the end of its scope");
    return value->object;
}

}  // namespace host::script
