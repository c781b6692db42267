// class_registration.h - hands class records to the host, in the layout that it reads.
//
// Lifetime: records are static and are changed in place, so each is registered at most once per process. Tables made
//           for an old host are never freed: the host keeps pointers to them.
// Threads:  the host's loading thread.

#pragma once

#include "plugin/zeva.h"

// Registers one class. The data size is rounded up to a multiple of 16 and the record takes the negotiated version; for
// a host of record version 9 its first 25 words are rewritten into the down-level layout. A host that cannot register
// classes is left alone, silently, as is a class whose rewriting finds no memory.
void MyZEVARegisterClass(ZEVAclassDefinition* record);

// A down-level copy of a property table; null for a null or empty table, and when there is no memory for it.
ZEVAproperty* FixProperties(ZEVAproperty* table, int count);
