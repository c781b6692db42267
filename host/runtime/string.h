// string.h - a host string: bytes and the encoding they are tagged with.
//
// The tag is kept as it is given and never checked against the bytes: a module may tag bytes above 127 as ASCII. Shown
// to people, the bytes are taken for UTF-8, of which ASCII is a part.
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

// A new string of the bytes; UTF-8 unless said otherwise.
StringReference NewString(std::string_view bytes, std::uint32_t encoding = kEncodingUtf8);

// Fills data with a copy of the bytes, closed by a zero that does not count; false when there is no memory.
//
// The copy comes from malloc, so that a module whose host cannot take it back may free it. Host words: the number of
// bytes, the encoding, 0, 0.
bool LendBytes(const ZEVAstringStruct& string, ZEVAstringData* data);

// Takes back what LendBytes gave.
void TakeBackBytes(ZEVAstringData* data);

}  // namespace host
