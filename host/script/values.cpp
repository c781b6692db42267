// values.cpp - converts each kind of value in both directions.

#include "host/script/values.h"

#include <cstdint>
#include <limits>
#include <utility>
#include <variant>

#include "host/runtime/describe.h"
#include "host/runtime/errors.h"
#include "host/runtime/string.h"
#include "host/script/allowed_paths.h"
#include "host/script/class_values.h"
#include "host/script/object_values.h"

namespace host::script {

namespace {

Value NumberAt(lua_State* lua, int index) {
    if (lua_isinteger(lua, index) == 0) return lua_tonumber(lua, index);
    const lua_Integer integer = lua_tointeger(lua, index);
    using Limits = std::numeric_limits<std::int32_t>;
    if (integer < Limits::min() || integer > Limits::max()) return static_cast<double>(integer);
    return static_cast<std::int32_t>(integer);
}

Value StringAt(lua_State* lua, int index) {
    std::size_t size = 0;
    const char* bytes = lua_tolstring(lua, index, &size);
    return NewString({bytes, size});
}

struct Pusher {
    lua_State* lua;

    void operator()(std::monostate) const { lua_pushnil(lua); }
    void operator()(double number) const { lua_pushnumber(lua, number); }
    void operator()(std::int32_t number) const { lua_pushinteger(lua, number); }
    void operator()(bool truth) const { lua_pushboolean(lua, truth ? 1 : 0); }
    void operator()(const StringReference& string) const {
        lua_pushlstring(lua, string->bytes.data(), string->bytes.size());
    }
    void operator()(const ObjectReference& object) const { PushObject(lua, object); }
};

}  // namespace

std::optional<Value> ValueAt(lua_State* lua, int index) {
    switch (lua_type(lua, index)) {
        case LUA_TNIL:
            return Value();
        case LUA_TBOOLEAN:
            return lua_toboolean(lua, index) != 0;
        case LUA_TNUMBER:
            return NumberAt(lua, index);
        case LUA_TSTRING:
            return StringAt(lua, index);
        case LUA_TUSERDATA:
            if (IsObject(lua, index)) return ObjectAt(lua, index);
            break;
        default:
            break;
    }
    return std::nullopt;
}

std::string DescribeAt(lua_State* lua, int index) {
    if (lua_isnone(lua, index)) return "nothing";
    if (const Class* isa = ClassAt(lua, index)) return "the class " + isa->Name();
    if (const auto value = ValueAt(lua, index)) return Describe(*value);
    return std::string("a ") + luaL_typename(lua, index);
}

std::string_view NameAt(lua_State* lua, int index, const std::string& className) {
    if (lua_type(lua, index) != LUA_TSTRING) {
        throw HostError(className, "expected a string as member name, got " + DescribeAt(lua, index));
    }
    std::size_t size = 0;
    const char* name = lua_tolstring(lua, index, &size);
    return {name, size};
}

void PushValue(lua_State* lua, Value value) { std::visit(Pusher{lua}, value); }

Value PropertyValueAt(lua_State* lua, int index, const std::string& subject, const Member* property) {
    std::optional<Value> value = ValueAt(lua, index);
    if (!value && property != nullptr && property->setter != nullptr) {
        throw HostError(subject, "expected " + property->declaration.result.word + ", got " + DescribeAt(lua, index) +
                                     "; the property keeps its value");
    }
    return value.value_or(Value());
}

std::vector<Value> ArgumentsFrom(lua_State* lua, int first, const std::string& subject,
                                 const std::vector<Parameter>& parameters) {
    std::vector<Value> arguments(static_cast<std::size_t>(lua_gettop(lua) - first + 1));
    if (arguments.size() != parameters.size()) return arguments;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const int index = first + static_cast<int>(i);
        std::optional<Value> value = ValueAt(lua, index);
        if (!value) {
            throw HostError(subject, "expected " + parameters[i].type.word + " for " + parameters[i].name + ", got " +
                                         DescribeAt(lua, index));
        }
        CheckPath(lua, index, subject, parameters[i]);
        arguments[i] = std::move(*value);
    }
    return arguments;
}

}  // namespace host::script
