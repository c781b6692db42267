// declaration.h - the declaration of a member, parsed from the text in its class record.
//
//   inputRadius as double                            a property
//   Constructor    Constructor(path as string)       a constructor
//   Save(path as string)                             a method without a result
//   Crop(rectangle as CIVectorQOR) as CIImageQOR     a method with a result
//
// Type words are double, integer, boolean, string, memoryblock, or the name of a class. Case matters; the number of
// spaces between words does not.
// Adding a type word: a line in kTypeWords (declaration.cpp), and how it is passed in call.cpp and argument.cpp.

#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// The kind of value that a type word denotes.
enum class TypeKind { kNone, kDouble, kInteger, kBoolean, kString, kObject };

// A type: its kind, its word, and for objects the class of which they must be instances.
struct Type {
    TypeKind kind = TypeKind::kNone;
    std::string word;
    std::string className;
};

// One parameter of a method or constructor.
struct Parameter {
    std::string name;
    Type type;
};

// The kind of member that is declared.
enum class MemberKind { kProperty, kMethod, kConstructor };

// A declared member. The result of a property is its type; a constructor has no result.
struct Declaration {
    MemberKind kind = MemberKind::kMethod;
    std::string name;
    std::vector<Parameter> parameters;
    Type result;
};

// The largest number of parameters of a member; calls pass them in an array of this size.
inline constexpr std::size_t kMaximumParameters = 15;

// A syntax error: what was expected and what was found instead.
class DeclarationError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Parses a declaration; throws DeclarationError.
Declaration ParseDeclaration(std::string_view text);

// The parameters as text: "(x as double, y as double)".
[[nodiscard]] std::string ParameterText(const Declaration& declaration);

}  // namespace host
