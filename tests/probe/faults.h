// faults.h - the faulty hosts: one fault for each check of the probe.
//
// A fault is as broad as a real mistake may be, as long as only the one check fails; checks that need that one are
// skipped. Faults keep the host itself sound: they pretend, where a real one would corrupt memory.

#pragma once

#include <span>

#include "interface/host_version.h"

namespace faulty {

struct Fault {
    const char* check;                    // the check that finds it, and no other
    void (*install)();                    // replaces services (faulty_host.h)
    double version = kNewestHostVersion;  // of the host
};

// Each list is in the file of its name.
extern const std::span<const Fault> kLoadFaults, kStringFaults, kObjectFaults, kBlockFaults, kProgramFaults;

}  // namespace faulty
