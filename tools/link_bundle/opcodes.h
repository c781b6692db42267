// opcodes.h - encodes what a loader has to change in a bundle (host/macho/link_info.h decodes it).

#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace linker {

using Bytes = std::vector<unsigned char>;

// Four bytes of a bundle, as the programs name them.
struct Place {
    std::uint32_t segment = 0;  // its number, from 0
    std::uint32_t offset = 0;   // within the segment

    auto operator<=>(const Place&) const = default;
};

// A symbol and the number of its library, from 1.
struct Imported {
    std::string name;
    std::uint32_t library = 0;
};

// The program that adds the load address to these places, which are sorted.
[[nodiscard]] Bytes EncodeRebases(const std::vector<Place>& places);

// The program that fills these places, which are grouped by symbol and sorted.
struct BoundPlace {
    Imported symbol;
    Place place;
    std::int32_t addend = 0;
};
[[nodiscard]] Bytes EncodeBinds(const std::vector<BoundPlace>& binds);

// The part of a lazy program that fills one place.
[[nodiscard]] Bytes EncodeLazyBind(const Imported& symbol, Place place);

// The tree of exported names with their addresses.
[[nodiscard]] Bytes EncodeExports(const std::map<std::string, std::uint32_t>& exports);

}  // namespace linker
