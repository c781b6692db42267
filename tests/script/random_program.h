// random_program.h - random Lua programs. They use the members of all classes in any order, with values that mostly fit
// and sometimes do not.
//
// A program depends only on the classes of a host and on a seed. It is a text, so a failing one can be saved, reduced
// and run again with zeva run.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/runtime/class.h"

// A program with this number of lines. Each line runs on its own, and its errors are caught. The program ends with an
// error whose text has one character for each line: "+" if it succeeded and "-" if it failed.
std::string RandomProgram(const std::vector<const host::Class*>& classes, std::uint32_t seed, int lines);
