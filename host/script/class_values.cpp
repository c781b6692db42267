// class_values.cpp - the value of a class: finding it by name, calling it and using its shared members.

#include "host/script/class_values.h"

#include <string>
#include <string_view>
#include <vector>

#include "host/runtime/errors.h"
#include "host/runtime/host.h"
#include "host/runtime/suggestion.h"
#include "host/script/error_values.h"
#include "host/script/member_functions.h"
#include "host/script/values.h"

namespace host::script {

namespace {

constexpr const char* kClass = "host class";

// The class whose function runs. Scripts reach the functions through the debug library, so the receiver may be
// anything.
const Class& Receiver(lua_State* lua) {
    if (const Class* isa = ClassAt(lua, 1)) return *isa;
    throw HostError("host class", "expected a class, got " + DescribeAt(lua, 1));
}

// Class(...)
int Construct(lua_State* lua) {
    return Protected(lua, [&] {
        const Class& isa = Host::Current().Classes().Linked(Receiver(lua).Name());
        const Member* constructor = isa.FindConstructor(static_cast<std::size_t>(lua_gettop(lua) - 1));
        const auto arguments =
            ArgumentsFrom(lua, 2, isa.Name() + ".Constructor",
                          constructor != nullptr ? constructor->declaration.parameters : std::vector<Parameter>());
        PushValue(lua, Host::Current().Construct(isa.Name(), arguments));
        return 1;
    });
}

// Class.name
int IndexClass(lua_State* lua) {
    return Protected(lua, [&] {
        Host& host = Host::Current();
        const Class& isa = host.Classes().Linked(Receiver(lua).Name());
        const std::string_view name = NameAt(lua, 2, isa.Name());
        const Member* member = isa.FindSharedMember(name);
        if (member == nullptr || member->declaration.kind == MemberKind::kProperty) {
            PushValue(lua, host.GetShared(isa.Name(), name));
        } else {
            PushSharedMethod(lua, isa, *member);
        }
        return 1;
    });
}

// Class.name = value
int SetClassIndex(lua_State* lua) {
    return Protected(lua, [&] {
        Host& host = Host::Current();
        const Class& isa = host.Classes().Linked(Receiver(lua).Name());
        const std::string name(NameAt(lua, 2, isa.Name()));
        const std::string subject = isa.Name() + "." + name;
        host.SetShared(isa.Name(), name, PropertyValueAt(lua, 3, subject, isa.FindSharedMember(name)));
        return 0;
    });
}

int ClassText(lua_State* lua) {
    return Protected(lua, [&] {
        lua_pushfstring(lua, "class %s", Receiver(lua).Name().c_str());
        return 1;
    });
}

// Looks up a global that has no value. If it names a class, the class becomes the global's value. A name that nearly
// matches a class is an error, because a nil would only be noticed later. Any other name is nil, as usual in Lua.
int FindGlobal(lua_State* lua) {
    return Protected(lua, [&] {
        if (lua_type(lua, 1) != LUA_TTABLE || lua_type(lua, 2) != LUA_TSTRING) return 0;
        const std::string name(NameAt(lua, 2, "_G"));
        const ClassRegistry& classes = Host::Current().Classes();
        if (const Class* isa = classes.Find(name)) {
            *static_cast<const Class**>(lua_newuserdatauv(lua, sizeof(const Class*), 0)) = isa;
            luaL_setmetatable(lua, kClass);
            lua_pushvalue(lua, 2);
            lua_pushvalue(lua, -2);
            lua_rawset(lua, 1);
            return 1;
        }
        std::vector<std::string> known;
        for (const Class* each : classes.All()) known.push_back(each->Name());
        const std::string suggestion = Suggestion(name, known);
        if (!suggestion.empty()) throw HostError("class " + name, "it is not registered" + suggestion);
        return 0;
    });
}

}  // namespace

void OpenClassValues(lua_State* lua) {
    const luaL_Reg functions[] = {{"__call", Construct},
                                  {"__index", IndexClass},
                                  {"__newindex", SetClassIndex},
                                  {"__tostring", ClassText},
                                  {nullptr, nullptr}};
    luaL_newmetatable(lua, kClass);
    luaL_setfuncs(lua, functions, 0);
    lua_pushliteral(lua, "host class");
    lua_setfield(lua, -2, "__metatable");
    lua_pop(lua, 1);

    lua_pushglobaltable(lua);
    lua_createtable(lua, 0, 1);
    lua_pushcfunction(lua, FindGlobal);
    lua_setfield(lua, -2, "__index");
    lua_setmetatable(lua, -2);
    lua_pop(lua, 1);
}

const Class* ClassAt(lua_State* lua, int index) {
    const auto* isa = static_cast<const Class**>(luaL_testudata(lua, index, kClass));
    return isa != nullptr ? *isa : nullptr;
}

}  // namespace host::script
