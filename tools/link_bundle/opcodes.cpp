// opcodes.cpp - writes the programs, and the tree of exports with the longest common beginnings as its edges.

#include "tools/link_bundle/opcodes.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "host/macho/format.h"

namespace linker {

namespace {

namespace format = host::macho::format;

void AppendNumber(Bytes& bytes, std::uint32_t number) {
    for (; number >= 0x80; number >>= 7) bytes.push_back(static_cast<unsigned char>(number | 0x80));
    bytes.push_back(static_cast<unsigned char>(number));
}

void AppendSignedNumber(Bytes& bytes, std::int32_t number) {
    // The last byte's second bit is the sign.
    for (; number < -0x40 || number >= 0x40; number >>= 7) bytes.push_back(static_cast<unsigned char>(number | 0x80));
    bytes.push_back(static_cast<unsigned char>(number & 0x7F));
}

void AppendName(Bytes& bytes, std::string_view name) {
    bytes.insert(bytes.end(), name.begin(), name.end());
    bytes.push_back(0);
}

void AppendOpcode(Bytes& bytes, unsigned opcode, std::uint32_t operand) {
    bytes.push_back(static_cast<unsigned char>(opcode | operand));
}

void AppendLibrary(Bytes& bytes, std::uint32_t library) {
    if (library <= format::kOperandMask) return AppendOpcode(bytes, format::kBindSetLibrary, library);
    AppendOpcode(bytes, format::kBindSetManyLibrary, 0);
    AppendNumber(bytes, library);
}

void AppendPlace(Bytes& bytes, unsigned opcode, Place place) {
    AppendOpcode(bytes, opcode, place.segment);
    AppendNumber(bytes, place.offset);
}

void AppendSymbol(Bytes& bytes, const Imported& symbol) {
    AppendLibrary(bytes, symbol.library);
    AppendOpcode(bytes, format::kBindSetSymbol, 0);
    AppendName(bytes, symbol.name);
}

}  // namespace

Bytes EncodeRebases(const std::vector<Place>& places) {
    Bytes bytes;
    if (places.empty()) return bytes;
    AppendOpcode(bytes, format::kRebaseSetType, format::kPointerType);
    std::optional<Place> at;
    for (std::size_t i = 0; i < places.size();) {
        if (!at || at->segment != places[i].segment || at->offset > places[i].offset) {
            AppendPlace(bytes, format::kRebaseSetPlace, places[i]);
        } else if (at->offset != places[i].offset) {
            AppendOpcode(bytes, format::kRebaseAdvance, 0);
            AppendNumber(bytes, places[i].offset - at->offset);
        }
        at = places[i];
        // As many places as are equally far apart.
        const auto distanceAt = [&](std::size_t k) {
            return k + 1 < places.size() && places[k].segment == places[k + 1].segment
                       ? places[k + 1].offset - places[k].offset
                       : 0;
        };
        const std::uint32_t distance = distanceAt(i);
        std::size_t count = 1;
        while (distance != 0 && distanceAt(i + count - 1) == distance) ++count;
        if (count <= 2 && distance != 4) count = 1;
        if (count == 1) {
            AppendOpcode(bytes, format::kRebaseTimes, 1);
            at->offset += 4;
        } else if (distance == 4) {
            AppendOpcode(bytes, format::kRebaseManyTimes, 0);
            AppendNumber(bytes, static_cast<std::uint32_t>(count));
            at->offset += 4 * static_cast<std::uint32_t>(count);
        } else {
            AppendOpcode(bytes, format::kRebaseManyTimesAndAdvance, 0);
            AppendNumber(bytes, static_cast<std::uint32_t>(count));
            AppendNumber(bytes, distance - 4);
            at->offset += distance * static_cast<std::uint32_t>(count);
        }
        i += count;
    }
    AppendOpcode(bytes, format::kRebaseDone, 0);
    return bytes;
}

Bytes EncodeBinds(const std::vector<BoundPlace>& binds) {
    Bytes bytes;
    if (binds.empty()) return bytes;
    AppendOpcode(bytes, format::kBindSetType, format::kPointerType);
    std::int32_t addend = 0;
    std::optional<Place> at;
    for (std::size_t i = 0; i < binds.size(); ++i) {
        const BoundPlace& bind = binds[i];
        if (i == 0 || bind.symbol.name != binds[i - 1].symbol.name) AppendSymbol(bytes, bind.symbol);
        if (bind.addend != addend) {
            AppendOpcode(bytes, format::kBindSetAddend, 0);
            AppendSignedNumber(bytes, addend = bind.addend);
        }
        if (!at || at->segment != bind.place.segment || at->offset > bind.place.offset) {
            AppendPlace(bytes, format::kBindSetPlace, bind.place);
        } else if (at->offset != bind.place.offset) {
            AppendOpcode(bytes, format::kBindAdvance, 0);
            AppendNumber(bytes, bind.place.offset - at->offset);
        }
        AppendOpcode(bytes, format::kBind, 0);
        at = Place{bind.place.segment, bind.place.offset + 4};
    }
    AppendOpcode(bytes, format::kBindDone, 0);
    return bytes;
}

Bytes EncodeLazyBind(const Imported& symbol, Place place) {
    Bytes bytes;
    AppendPlace(bytes, format::kBindSetPlace, place);
    AppendSymbol(bytes, symbol);
    AppendOpcode(bytes, format::kBind, 0);
    AppendOpcode(bytes, format::kBindDone, 0);
    return bytes;
}

namespace {

// A node of the tree of exports.
struct Node {
    std::optional<std::uint32_t> address;  // if a name ends here
    std::vector<std::pair<std::string, std::unique_ptr<Node>>> children;
    std::uint32_t position = 0;
};

using Exports = std::map<std::string, std::uint32_t>;

// The tree of the names from `begin` to `end`, all of which have the same first `length` characters.
std::unique_ptr<Node> TreeOf(Exports::const_iterator begin, Exports::const_iterator end, std::size_t length) {
    auto node = std::make_unique<Node>();
    if (begin != end && begin->first.size() == length) node->address = (begin++)->second;
    while (begin != end) {
        auto next = begin;
        while (next != end && next->first[length] == begin->first[length]) ++next;
        // The names are sorted, so what the first and the last have in common, all have.
        const std::string& first = begin->first;
        const std::string& last = std::prev(next)->first;
        const auto common = static_cast<std::size_t>(
            std::mismatch(first.begin(), first.end(), last.begin(), last.end()).first - first.begin());
        node->children.emplace_back(first.substr(length, common - length), TreeOf(begin, next, common));
        begin = next;
    }
    return node;
}

Bytes EncodeNode(const Node& node) {
    Bytes own;
    if (node.address) {
        AppendNumber(own, 0);  // a plain symbol
        AppendNumber(own, *node.address);
    }
    Bytes bytes;
    AppendNumber(bytes, static_cast<std::uint32_t>(own.size()));
    bytes.insert(bytes.end(), own.begin(), own.end());
    bytes.push_back(static_cast<unsigned char>(node.children.size()));
    for (const auto& [text, child] : node.children) {
        AppendName(bytes, text);
        AppendNumber(bytes, child->position);
    }
    return bytes;
}

void ListNodes(Node& node, std::vector<Node*>& nodes) {
    nodes.push_back(&node);
    for (const auto& [text, child] : node.children) ListNodes(*child, nodes);
}

}  // namespace

Bytes EncodeExports(const std::map<std::string, std::uint32_t>& exports) {
    if (exports.empty()) return {};
    const std::unique_ptr<Node> root = TreeOf(exports.begin(), exports.end(), 0);
    std::vector<Node*> nodes;
    ListNodes(*root, nodes);
    // A position has as many bytes as it needs, so positions move until they fit. They only grow.
    for (bool isMoving = true; isMoving;) {
        isMoving = false;
        std::uint32_t position = 0;
        for (Node* node : nodes) {
            isMoving |= std::exchange(node->position, position) != position;
            position += static_cast<std::uint32_t>(EncodeNode(*node).size());
        }
    }
    Bytes bytes;
    for (const Node* node : nodes) {
        const Bytes part = EncodeNode(*node);
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

}  // namespace linker
