// member_functions.cpp - makes the functions and runs them.

#include "host/script/member_functions.h"

#include <string>
#include <utility>

#include "host/runtime/errors.h"
#include "host/runtime/host.h"
#include "host/script/class_values.h"
#include "host/script/error_values.h"
#include "host/script/object_values.h"
#include "host/script/values.h"

namespace host::script {

namespace {

// Registry key of the table that maps methods to functions.
constexpr char kFunctions = 0;

// The class and the method of the running function, and "Class.method" for messages.
const Class& ClassOfFunction(lua_State* lua) {
    return *static_cast<const Class*>(lua_touserdata(lua, lua_upvalueindex(1)));
}
const Member& MethodOfFunction(lua_State* lua) {
    return *static_cast<const Member*>(lua_touserdata(lua, lua_upvalueindex(2)));
}
std::string SubjectOfFunction(lua_State* lua) {
    return ClassOfFunction(lua).Name() + "." + MethodOfFunction(lua).declaration.name;
}

// Pushes a method's result and returns the number of values pushed.
int PushResult(lua_State* lua, const Declaration& declaration, Value result) {
    if (declaration.result.kind == TypeKind::kNone) return 0;
    PushValue(lua, std::move(result));
    return 1;
}

int CallMethod(lua_State* lua) {
    return Protected(lua, [&] {
        const Member& method = MethodOfFunction(lua);
        const std::string& name = method.declaration.name;
        const std::string subject = SubjectOfFunction(lua);
        const bool hasObject = IsObject(lua, 1) && ClassOfObjectAt(lua, 1).FindMember(name) == &method;
        if (!hasObject) {
            throw HostError(subject,
                            "expected the object as first argument (object:" + name + "), got " + DescribeAt(lua, 1));
        }
        const ObjectReference self = ObjectAt(lua, 1);
        const auto arguments = ArgumentsFrom(lua, 2, subject, method.declaration.parameters);
        return PushResult(lua, method.declaration, Host::Current().Call(self.Get(), name, arguments));
    });
}

int CallSharedMethod(lua_State* lua) {
    return Protected(lua, [&] {
        const Declaration& declaration = MethodOfFunction(lua).declaration;
        const std::string subject = SubjectOfFunction(lua);
        if (lua_gettop(lua) > 0 && ClassAt(lua, 1) != nullptr) {
            throw HostError(subject, "a shared method is called with a dot (" + subject + "), not a colon");
        }
        const auto arguments = ArgumentsFrom(lua, 1, subject, declaration.parameters);
        Value result = Host::Current().CallShared(ClassOfFunction(lua).Name(), declaration.name, arguments);
        return PushResult(lua, declaration, std::move(result));
    });
}

// Pushes the function of a method. Makes it on first use.
void PushFunction(lua_State* lua, const Class& isa, const Member& method, lua_CFunction function) {
    lua_rawgetp(lua, LUA_REGISTRYINDEX, &kFunctions);
    if (lua_rawgetp(lua, -1, &method) == LUA_TNIL) {
        lua_pop(lua, 1);
        lua_pushlightuserdata(lua, const_cast<Class*>(&isa));
        lua_pushlightuserdata(lua, const_cast<Member*>(&method));
        lua_pushcclosure(lua, function, 2);
        lua_pushvalue(lua, -1);
        lua_rawsetp(lua, -3, &method);
    }
    lua_remove(lua, -2);
}

}  // namespace

void OpenMemberFunctions(lua_State* lua) {
    lua_newtable(lua);
    lua_rawsetp(lua, LUA_REGISTRYINDEX, &kFunctions);
}

void PushMethod(lua_State* lua, const Class& isa, const Member& method) { PushFunction(lua, isa, method, CallMethod); }

void PushSharedMethod(lua_State* lua, const Class& isa, const Member& method) {
    PushFunction(lua, isa, method, CallSharedMethod);
}

}  // namespace host::script
