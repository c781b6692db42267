// class_registration.h - hands class records to the host, in the layout that the host reads.
//
// Lifetime: records are static and are changed in place, so each is registered at most once per process. Down-level
//           tables are never freed: the host keeps pointers to them.
// Threads:  the host's loading thread.

#pragma once

#include "interface/class_definition.h"
#include "interface/tables.h"

// Registers one class. Rounds its data size up to a multiple of 16 and writes the negotiated record version into it.
// For a host of record version 9, the first 25 words are rewritten into the down-level layout first.
//
// Fails: without a report. A host without the registration service registers nothing; a class is skipped when there is
//        no memory to rewrite its record.
void MyZEVARegisterClass(ZEVAclassDefinition* record);

// Returns a new down-level copy of a property table, which the caller owns (free). Returns null for a null table, for a
// count that is not positive or too large for 32 bits, and when there is no memory.
[[nodiscard]] ZEVAproperty* FixProperties(ZEVAproperty* table, int count);
