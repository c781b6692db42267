// failure.cpp - one buffer per thread.

#include "engine/failure.h"

#include <cstdarg>
#include <cstdio>

namespace core_image {
namespace {

thread_local char latest[200];

}  // namespace

void NoteFailure(const char* format, ...) noexcept {
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(latest, sizeof latest, format, arguments);
    va_end(arguments);
}

void ForgetFailure() noexcept { latest[0] = '\0'; }

const char* LatestFailure() noexcept { return latest; }

}  // namespace core_image
