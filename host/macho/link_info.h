// link_info.h - decodes what has to change in a bundle when it is loaded, and what it exports.
//
// The link information of a bundle is a few programs. Decoding runs them without changing anything: each result has
// been checked, so that whoever applies it need not. Every place is four bytes in a writable segment, every library one
// that the bundle names.
//
// Failure: ObjectError, which names the program and the position in it.
// Lifetime: the results contain views of the file's bytes.
// Threads:  any.

#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/macho/object_file.h"

namespace host::macho {

// A place that gets the address of a symbol.
struct Bind {
    std::uint32_t address = 0;
    std::uint32_t library = 0;  // index in ObjectFile::libraries
    std::string_view symbol;
    std::uint32_t addend = 0;
};

// The places to which the load address is added.
[[nodiscard]] std::vector<std::uint32_t> DecodeRebases(const ObjectFile& bundle);

// The places that are filled when the bundle is loaded.
[[nodiscard]] std::vector<Bind> DecodeBinds(const ObjectFile& bundle);

// The places that are filled when a stub is called for the first time, by the number that the stub hands over: the
// position at which its program begins.
[[nodiscard]] std::map<std::uint32_t, Bind> DecodeLazyBinds(const ObjectFile& bundle);

// The addresses of the exported symbols.
[[nodiscard]] std::map<std::string, std::uint32_t> DecodeExports(const ObjectFile& bundle);

}  // namespace host::macho
