// string_data.h - a string's bytes as the host lends them.
//
// Filled by PluginGetStringData and given back with PluginDisposeStringData (services.def). The bytes belong to the
// host in between. They are allocated with malloc, so that a module whose host cannot take them back can free them.

#pragma once

#include "interface/word.h"

struct ZEVAstringData {
    void* bytes;
    ZEVAword hostWords[4];
};

// The host words that the host fills; the other two are 0.
inline constexpr int kStringDataLength = 0;    // the number of bytes
inline constexpr int kStringDataEncoding = 1;  // their text encoding (text_encoding.h)

static_assert(sizeof(ZEVAstringData) == 5 * sizeof(ZEVAword));
