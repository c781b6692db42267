// foreign_exception.cpp - the exception itself.

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
