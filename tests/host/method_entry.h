// method_entry.h - makes the entries of method tables in tests.

#pragma once

#include "interface/entry_point.h"
#include "interface/tables.h"

// An entry of a class's method table: a method, a read-only property, or a property with a setter.
template <typename Getter>
ZEVAmethod Entry(const char* declaration, Getter* function) {
    return {{reinterpret_cast<ZEVAentry>(function), nullptr, declaration, kHostFlags}, {}};
}

template <typename Getter, typename Setter>
ZEVAmethod Entry(const char* declaration, Getter* function, Setter* setter) {
    return {{reinterpret_cast<ZEVAentry>(function), reinterpret_cast<ZEVAentry>(setter), declaration, kHostFlags}, {}};
}
