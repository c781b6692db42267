// string.h - a host string: bytes and an encoding tag.
//
// The tag is stored as given and never checked against the bytes: a module may tag bytes above 127 as ASCII. When a
// string is shown to people, its bytes are read as UTF-8, which includes ASCII.
//
// Lifetime: counted references; a new string has one. Threads: the host's thread only.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/runtime/reference.h"
#include "interface/string_data.h"
#include "interface/text_encoding.h"

struct ZEVAstringStruct {
    std::int32_t references;
    std::uint32_t encoding;
    std::string bytes;
};

namespace host {

// A new string with these bytes, tagged as UTF-8 by default.
[[nodiscard]] StringReference NewString(std::string_view bytes, std::uint32_t encoding = kEncodingUtf8);

// Fills `data` with a copy of the bytes, followed by a zero byte that is not counted. Returns false when out of memory.
//
// The copy comes from malloc, so a module can free it if its host lacks the service that takes it back. The host words
// are the number of bytes, the encoding, 0 and 0.
[[nodiscard]] bool LendBytes(const ZEVAstringStruct& string, ZEVAstringData* data);

// Frees the copy that LendBytes made, and clears `data`.
void TakeBackBytes(ZEVAstringData* data);

}  // namespace host
