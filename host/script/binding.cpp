// binding.cpp - opens the parts of the binding in a state.

#include "host/script/binding.h"

#include "host/script/class_values.h"
#include "host/script/error_values.h"
#include "host/script/member_functions.h"
#include "host/script/object_values.h"

namespace host::script {

int OpenBinding(lua_State* lua) {
    OpenErrorValues(lua);
    OpenMemberFunctions(lua);
    OpenObjectValues(lua);
    OpenClassValues(lua);
    return 0;
}

}  // namespace host::script
