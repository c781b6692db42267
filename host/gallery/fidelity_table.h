// fidelity_table.h - the rows of docs/fidelity.md, compiled in: how close each filter is to the platform's.
//
// make_fidelity_table.py writes the table when the program is built.

#pragma once

#include <span>

// A row of the page. The texts of its columns; "-" where there is none.
struct FidelityRow {
    const char* filter;
    const char* checkedAgainst;
    const char* differsBy;  // in levels of 8 bits
    const char* bound;
    const char* platform;
    const char* certainty;
};

extern const std::span<const FidelityRow> kFidelity;
