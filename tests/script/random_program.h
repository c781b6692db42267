// random_program.h - programs in Lua that nobody would write: members of all classes, called in any order, with values
// that mostly fit and sometimes do not.
//
// A program is made of the records that a host has read and of a number, the seed; the same classes and the same seed
// give the same program. It is a text, so what went wrong can be kept, cut down and run again with zeva run.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/runtime/class.h"

// A program of so many lines. Each line stands by itself: what it raises is caught. The program ends with an error whose
// text has a letter for each line, "+" where it went through and "-" where it did not.
std::string RandomProgram(const std::vector<const host::Class*>& classes, std::uint32_t seed, int lines);
