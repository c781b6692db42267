// link_info.cpp - runs the programs.

#include "host/macho/link_info.h"

#include <set>
#include <utility>

#include "host/macho/leb128.h"
#include "host/macho/object_error.h"

namespace host::macho {

namespace {

// No symbol of a module is longer; a longer one means that the tree of exports is damaged.
constexpr std::size_t kLongestName = 4096;

// Reads a program from its beginning to its end.
class Program {
  public:
    Program(const char* name, std::span<const unsigned char> bytes) : name_(name), bytes_(bytes) {}

    bool AtEnd() const { return at_ == bytes_.size(); }
    std::uint32_t Position() const { return static_cast<std::uint32_t>(at_); }

    void MoveTo(std::uint32_t position) {
        if (position > bytes_.size()) Refuse("position " + std::to_string(position) + " lies outside it");
        at_ = position;
    }

    unsigned Byte() {
        if (AtEnd()) Refuse("it ends within an entry");
        return bytes_[at_++];
    }

    // Bits beyond 32 are dropped: addresses wrap.
    std::uint32_t Number() {
        return ReadNumber([this] { return Byte(); });
    }

    std::uint32_t SignedNumber() {
        std::uint32_t number = 0;
        for (unsigned shift = 0;;) {
            const unsigned byte = Byte();
            if (shift < 32) number |= (byte & 0x7F) << shift;
            shift += 7;
            if ((byte & 0x80) != 0) continue;
            if (shift < 32 && (byte & 0x40) != 0) number |= ~std::uint32_t{0} << shift;
            return number;
        }
    }

    std::string_view Name() {
        const std::string_view rest(reinterpret_cast<const char*>(bytes_.data()) + at_, bytes_.size() - at_);
        const std::size_t length = rest.find('\0');
        if (length == std::string_view::npos) Refuse("a name does not end in it");
        at_ += length + 1;
        return rest.substr(0, length);
    }

    [[noreturn]] void Refuse(const std::string& problem) const {
        throw ObjectError(std::string(name_) + ", byte " + std::to_string(at_), problem);
    }

  private:
    const char* name_;
    std::span<const unsigned char> bytes_;
    std::size_t at_ = 0;
};

// The place that a program changes next.
class Place {
  public:
    Place(const ObjectFile& bundle, const Program& program) : bundle_(bundle), program_(program) {}

    void Set(unsigned segment, std::uint32_t offset) {
        if (segment >= bundle_.segments.size()) {
            program_.Refuse("there is no segment " + std::to_string(segment));
        }
        segment_ = &bundle_.segments[segment];
        offset_ = offset;
    }

    void Advance(std::uint32_t distance) { offset_ += distance; }

    // The address of the place, which may be changed. Moves on by its four bytes.
    std::uint32_t Take() {
        if (segment_ == nullptr) program_.Refuse("it changes a place before it names one");
        if ((segment_->protection & format::kWritable) == 0) {
            program_.Refuse("it changes segment " + segment_->name + ", which is not writable");
        }
        if (segment_->size < 4 || offset_ > segment_->size - 4) {
            program_.Refuse("offset " + std::to_string(offset_) + " lies outside segment " + segment_->name);
        }
        // A damaged count could repeat forever.
        if (++taken_ > bundle_.size / 4) program_.Refuse("it changes more places than there are");
        return segment_->address + std::exchange(offset_, offset_ + 4);
    }

  private:
    const ObjectFile& bundle_;
    const Program& program_;
    const Segment* segment_ = nullptr;
    std::uint32_t offset_ = 0;
    std::uint32_t taken_ = 0;
};

void CheckType(const Program& program, unsigned type) {
    if (type != format::kPointerType) program.Refuse("type " + std::to_string(type) + " is not that of pointers");
}

[[noreturn]] void RefuseOpcode(const Program& program, unsigned byte) {
    program.Refuse("opcode " + std::to_string(byte & format::kOpcodeMask) + " is unknown");
}

// Runs a program of bindings and calls a function with each, and with the position at which its part of the program
// began. The parts of a lazy program end with "done" and begin with a state of their own.
template <typename Function>
void RunBinds(const ObjectFile& bundle, Program& program, bool isLazy, Function function) {
    Bind bind;
    bool hasSymbol = false;
    std::uint32_t begin = 0;
    Place place(bundle, program);
    const auto setLibrary = [&](std::uint32_t number) {
        if (number == 0 || number > bundle.libraries.size()) {
            program.Refuse("there is no library " + std::to_string(number));
        }
        bind.library = number - 1;
    };
    const auto take = [&] {
        if (!hasSymbol) program.Refuse("it binds a place before it names a symbol");
        if (bind.library >= bundle.libraries.size()) program.Refuse("it binds a place before it names a library");
        bind.address = place.Take();
        function(begin, bind);
    };
    bind.library = static_cast<std::uint32_t>(bundle.libraries.size());
    while (!program.AtEnd()) {
        const unsigned byte = program.Byte();
        const unsigned operand = byte & format::kOperandMask;
        switch (byte & format::kOpcodeMask) {
            case format::kBindDone:
                if (!isLazy) return;
                begin = program.Position();
                bind = {.address = 0, .library = static_cast<std::uint32_t>(bundle.libraries.size())};
                hasSymbol = false;
                break;
            case format::kBindSetLibrary:
                setLibrary(operand);
                break;
            case format::kBindSetManyLibrary:
                setLibrary(program.Number());
                break;
            case format::kBindSetSpecialLibrary:
                program.Refuse("symbols that are not of a certain library are not supported");
            case format::kBindSetSymbol:
                if (operand != 0) program.Refuse("symbols with flags are not supported");
                bind.symbol = program.Name();
                hasSymbol = true;
                break;
            case format::kBindSetType:
                CheckType(program, operand);
                break;
            case format::kBindSetAddend:
                bind.addend = program.SignedNumber();
                break;
            case format::kBindSetPlace:
                place.Set(operand, program.Number());
                break;
            case format::kBindAdvance:
                place.Advance(program.Number());
                break;
            case format::kBind:
                take();
                break;
            case format::kBindAndAdvance:
                take();
                place.Advance(program.Number());
                break;
            case format::kBindAndAdvanceWords:
                take();
                place.Advance(operand * 4);
                break;
            case format::kBindManyTimesAndAdvance: {
                const std::uint32_t count = program.Number();
                const std::uint32_t distance = program.Number();
                for (std::uint32_t i = 0; i < count; ++i) {
                    take();
                    place.Advance(distance);
                }
                break;
            }
            default:
                RefuseOpcode(program, byte);
        }
    }
}

}  // namespace

std::vector<std::uint32_t> DecodeRebases(const ObjectFile& bundle) {
    std::vector<std::uint32_t> addresses;
    Program program("rebase information", bundle.linkInfo.rebase);
    Place place(bundle, program);
    const auto take = [&](std::uint32_t count, std::uint32_t distance) {
        for (std::uint32_t i = 0; i < count; ++i) {
            addresses.push_back(place.Take());
            place.Advance(distance);
        }
    };
    while (!program.AtEnd()) {
        const unsigned byte = program.Byte();
        const unsigned operand = byte & format::kOperandMask;
        switch (byte & format::kOpcodeMask) {
            case format::kRebaseDone:
                return addresses;
            case format::kRebaseSetType:
                CheckType(program, operand);
                break;
            case format::kRebaseSetPlace:
                place.Set(operand, program.Number());
                break;
            case format::kRebaseAdvance:
                place.Advance(program.Number());
                break;
            case format::kRebaseAdvanceWords:
                place.Advance(operand * 4);
                break;
            case format::kRebaseTimes:
                take(operand, 0);
                break;
            case format::kRebaseManyTimes:
                take(program.Number(), 0);
                break;
            case format::kRebaseAndAdvance:
                take(1, program.Number());
                break;
            case format::kRebaseManyTimesAndAdvance: {
                const std::uint32_t count = program.Number();
                take(count, program.Number());
                break;
            }
            default:
                RefuseOpcode(program, byte);
        }
    }
    return addresses;
}

std::vector<Bind> DecodeBinds(const ObjectFile& bundle) {
    std::vector<Bind> binds;
    Program program("bind information", bundle.linkInfo.bind);
    RunBinds(bundle, program, /*isLazy=*/false, [&](std::uint32_t, const Bind& bind) { binds.push_back(bind); });
    return binds;
}

std::map<std::uint32_t, Bind> DecodeLazyBinds(const ObjectFile& bundle) {
    std::map<std::uint32_t, Bind> binds;
    Program program("lazy bind information", bundle.linkInfo.lazyBind);
    RunBinds(bundle, program, /*isLazy=*/true, [&](std::uint32_t begin, const Bind& bind) {
        if (!binds.emplace(begin, bind).second) program.Refuse("it binds two places for one stub");
    });
    return binds;
}

// A node is the size of its own data (0 unless a name ends here), that data (flags, address), the number of its
// children, and for each the continuation of the name and the position of its node.
std::map<std::string, std::uint32_t> DecodeExports(const ObjectFile& bundle) {
    std::map<std::string, std::uint32_t> exports;
    Program program("exports", bundle.linkInfo.exports);
    if (program.AtEnd()) return exports;
    std::set<std::uint32_t> visited;
    std::vector<std::pair<std::uint32_t, std::string>> nodes = {{0, ""}};
    while (!nodes.empty()) {
        const auto [position, name] = std::move(nodes.back());
        nodes.pop_back();
        program.MoveTo(position);
        if (!visited.insert(position).second) program.Refuse("two names lead to one node");
        if (name.size() > kLongestName) program.Refuse("a name is too long");
        if (const std::uint32_t size = program.Number(); size != 0) {
            const std::uint32_t children = program.Position() + size;
            if (program.Number() != 0) program.Refuse("\"" + name + "\" is not a plain symbol");
            const std::uint32_t address = program.Number();
            if (address >= bundle.size) {
                program.Refuse("the address of \"" + name + "\", " + std::to_string(address) +
                               ", lies outside the bundle");
            }
            exports[name] = address;
            program.MoveTo(children);
        }
        for (unsigned count = program.Byte(); count > 0; --count) {
            std::string child = name + std::string(program.Name());
            nodes.emplace_back(program.Number(), std::move(child));
        }
    }
    return exports;
}

}  // namespace host::macho
