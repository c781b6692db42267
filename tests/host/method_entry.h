// method_entry.h - entries of method tables, as tests write them.

#pragma once

#include "interface/entry_point.h"
#include "interface/tables.h"

// A method entry, as a class's table holds it.
template <typename Getter>
ZEVAmethod Entry(const char* declaration, Getter* function) {
    return {{reinterpret_cast<ZEVAentry>(function), nullptr, declaration, kHostFlags}, {}};
}

template <typename Getter, typename Setter>
ZEVAmethod Entry(const char* declaration, Getter* function, Setter* setter) {
    return {{reinterpret_cast<ZEVAentry>(function), reinterpret_cast<ZEVAentry>(setter), declaration, kHostFlags}, {}};
}
