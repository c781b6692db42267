// boundary.cpp - every type of the boundary and every function of zeva/host.h, in a library with full debug
// information.
//
// abi_test.py compares what a tool reads from that information with a snapshot: sizes, offsets, types, signatures and
// the values of enumerations. A type counts only if a function of the library uses it.

#include "host/library/zeva/host.h"
#include "interface/class_definition.h"
#include "interface/entry_point.h"
#include "interface/handles.h"
#include "interface/host_version.h"
#include "interface/services.h"
#include "interface/string_data.h"
#include "interface/tables.h"
#include "interface/text_encoding.h"

namespace {

// One member for each service, in the order of the list.
struct Services {
#define SERVICE(name, wrapper, slot, result, parameters, arguments, missing, failure, ownership, users) \
    result(*name) parameters;
#define SERVICE_AT_LOAD(name, result, parameters, missing, failure, ownership, users) result(*name) parameters;
#include "interface/services.def"
};

}  // namespace

// One member for each function of zeva/host.h; the build makes the list from the header.
struct HostFunctions {
#define HOST_FUNCTION(name) decltype(&::name) name;
#include "host_functions.inc"
#undef HOST_FUNCTION
};

extern "C" {

__attribute__((visibility("default"))) void UseRecords(ZEVAclassDefinition*, ZEVAclassDefinitionDownLevel*) {}
__attribute__((visibility("default"))) void UseTables(ZEVAmethod*, ZEVAmethodDownLevel*, ZEVAproperty*,
                                                      ZEVApropertyDownLevel*, ZEVApair*, ZEVApairDownLevel*,
                                                      ZEVAtriple*, ZEVAtripleDownLevel*) {}
__attribute__((visibility("default"))) void UseTexts(ZEVAstringData*) {}
__attribute__((visibility("default"))) void UseServices(Services*, ZEVAresolver) {}
__attribute__((visibility("default"))) void UseHost(HostFunctions*) {}
}
