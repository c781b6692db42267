// picture_list.h - which pictures: names from a list, and the part of them that belongs to one of several machines.
//
// Threads: any.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Reads the names in a list: a file or standard input (kStandardStream). They are separated by zero bytes if there is
// one, and otherwise by line feeds; empty names are left out. Throws UsageError for a list that cannot be read.
[[nodiscard]] std::vector<std::string> NamesInList(const std::string& list);

// One of several parts of a list. A picture belongs to a part by its name alone, so that it stays there when names are
// added to the list.
struct Shard {
    std::uint64_t number = 0, count = 1;

    // Whether a name as it was listed belongs to the part: whether number is the name's 64-bit FNV-1a hash, its upper
    // half folded onto its lower one, modulo count.
    [[nodiscard]] bool Has(std::string_view name) const;
};

// Reads "i/n", where i counts from 0. Throws UsageError.
[[nodiscard]] Shard ReadShard(const std::string& text);
