// foreign_exception.cpp - throws and catches a C++ exception of its own type.

#include "tests/boundary/foreign_exception.h"

namespace {

struct Foreign {};

}  // namespace

void ThrowForeign() { throw Foreign{}; }

bool ThrowsForeign(void (*work)(void* context), void* context) {
    try {
        work(context);
    } catch (const Foreign&) {
        return true;
    }
    return false;
}
