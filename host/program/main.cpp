// main.cpp - the entry point of zeva.

#include <clocale>

#include "host/program/command_line.h"
#include "host/program/standard_streams.h"

namespace {

// Numbers are read and printed with a point, and messages are in English, whatever the user's language is.
//
// Why for this thread and not with setlocale: libraries that load later set the process to the user's language, and
// this has no effect on a thread with a locale of its own. Other threads neither read nor print.
void UseOwnLocale() {
    for (const char* name : {"C.UTF-8", "C"}) {
        const locale_t locale = newlocale(LC_ALL_MASK, name, nullptr);
        if (locale == nullptr) continue;
        uselocale(locale);
        return;
    }
}

}  // namespace

int main(int argumentCount, char** arguments) {
    GuardStandardStreams();
    UseOwnLocale();
    return RunCommandLine(argumentCount, arguments);
}
