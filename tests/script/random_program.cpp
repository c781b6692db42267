// random_program.cpp - chooses members and values. It tracks from the declarations what each variable holds, so that
// most calls reach the module.

#include "tests/script/random_program.h"

#include <array>
#include <cstddef>
#include <iterator>
#include <random>

namespace {

using host::Class;
using host::Member;
using host::MemberKind;
using host::Type;
using host::TypeKind;

// clang-format off
constexpr const char* kDoubles[] = {"0", "1", "-1", "0.5", "2", "7.25", "-30", "1e9", "1e300", "-1/0", "0/0"};
constexpr const char* kIntegers[] = {"0", "1", "-1", "3", "2147483647", "-2147483648"};
constexpr const char* kBooleans[] = {"true", "false"};
constexpr const char* kStrings[] = {
    "''", "'#ff8000'", "'sRGB'", "'Default'", "'0 1 2 3'", "'/nowhere/a.png'", "('x'):rep(5000)",
    "'\\0\\255'"};
constexpr const char* kOthers[] = {"nil", "{}", "print", "CIImageQOR", "'text'", "5", "true", "o"};
// clang-format on

class Writer {
  public:
    Writer(const std::vector<const Class*>& classes, std::uint32_t seed) : classes_(classes), random_(seed) {}

    // One line of a program.
    std::string Line() {
        switch (Below(10)) {
            case 0:
                return Assignment("nil", "");
            case 1:
                return Below(8) == 0 ? "collectgarbage()" : "collectgarbage('step')";
            case 2:
            case 3:
                return Construction();
            default:
                return Below(3) == 0 ? SharedCall() : Use();
        }
    }

  private:
    static constexpr std::size_t kVariables = 12;

    std::size_t Below(std::size_t count) { return random_() % count; }

    template <typename List>
    auto& OneOf(const List& list) {
        return list[Below(std::size(list))];
    }

    static std::string Variable(std::size_t i) { return "o[" + std::to_string(i + 1) + "]"; }

    std::string Assignment(const std::string& value, const std::string& className) {
        const std::size_t i = Below(kVariables);
        held_[i] = className;
        return Variable(i) + " = " + value;
    }

    // A variable that should hold an object of the class, or of any class if the name is empty; "nil" if there is none.
    std::string ObjectOf(const std::string& className) {
        const std::size_t first = Below(kVariables);
        for (std::size_t i = 0; i < kVariables; ++i) {
            const std::size_t each = (first + i) % kVariables;
            if (!held_[each].empty() && (className.empty() || held_[each] == className)) return Variable(each);
        }
        return "nil";
    }

    std::string ValueFor(const Type& type) {
        if (Below(12) == 0) return OneOf(kOthers);
        switch (type.kind) {
            case TypeKind::kDouble:
                return OneOf(kDoubles);
            case TypeKind::kInteger:
                return OneOf(kIntegers);
            case TypeKind::kBoolean:
                return OneOf(kBooleans);
            case TypeKind::kString:
                return OneOf(kStrings);
            default:
                return ObjectOf(Below(12) == 0 ? "" : type.className);
        }
    }

    std::string ArgumentsFor(const Member& member) {
        if (Below(30) == 0) return "(1, 1, 1)";
        std::string text;
        for (const host::Parameter& parameter : member.declaration.parameters) {
            text += (text.empty() ? "" : ", ") + ValueFor(parameter.type);
        }
        return "(" + text + ")";
    }

    // A line that calls or reads a member, and stores the result in a variable if it is an object.
    std::string Kept(const std::string& expression, const Member& member) {
        const Type& result = member.declaration.result;
        if (result.kind == TypeKind::kObject) return Assignment(expression, result.className);
        return "local value = " + expression;
    }

    std::string Construction() {
        const Class& isa = *OneOf(classes_);
        for (const Member& member : isa.Members()) {
            if (member.declaration.kind == MemberKind::kConstructor) {
                return Assignment(isa.Name() + ArgumentsFor(member), isa.Name());
            }
        }
        return Assignment(isa.Name() + "()", isa.Name());
    }

    std::string SharedCall() {
        const Class* isa = OneOf(classes_);
        while (isa->SharedMembers().empty()) isa = OneOf(classes_);
        const Member& member = OneOf(isa->SharedMembers());
        return Kept(isa->Name() + "." + member.declaration.name + ArgumentsFor(member), member);
    }

    // A line that reads or writes a property of a variable, or calls a method.
    std::string Use() {
        const std::size_t i = Below(kVariables);
        const Class* isa = nullptr;
        for (const Class* each : classes_) {
            if (each->Name() == held_[i]) isa = each;
        }
        if (isa == nullptr || isa->Members().empty()) return SharedCall();
        const Member& member = OneOf(isa->Members());
        const std::string name =
            Variable(i) + (member.declaration.kind == MemberKind::kProperty ? "." : ":") + member.declaration.name;
        if (member.declaration.kind == MemberKind::kConstructor) return Construction();
        if (member.declaration.kind == MemberKind::kMethod) return Kept(name + ArgumentsFor(member), member);
        const bool isWritten = member.setter != nullptr && Below(3) != 0;
        return isWritten ? name + " = " + ValueFor(member.declaration.result) : Kept(name, member);
    }

    const std::vector<const Class*>& classes_;
    std::mt19937 random_;
    std::array<std::string, kVariables> held_;  // the class of the object that each variable should hold; empty for nil
};

}  // namespace

std::string RandomProgram(const std::vector<const Class*>& classes, std::uint32_t seed, int lines) {
    Writer writer(classes, seed);
    std::string program =
        "local o, done = {}, {}\nlocal function try(line) done[#done + 1] = pcall(line) and '+' or '-' end\n";
    for (int i = 0; i < lines; ++i) program += "try(function() " + writer.Line() + " end)\n";
    return program + "error(table.concat(done), 0)\n";
}
