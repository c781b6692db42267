// declaration.h - what a class says of a member, read from the line of text in its record.
//
//   inputRadius as double                            a property
//   Constructor    Constructor(path as string)       a constructor
//   Save(path as string)                             a method without result
//   Crop(rectangle as CIVectorQOR) as CIImageQOR     a method with one
//
// Type words are double, integer, boolean, string, memoryblock, or the name of a class. Case matters; spaces between
// words do not.
// Adding a type word: a line in kTypeWords (declaration.cpp) and its passing in call.cpp.

#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// What kind of value a type word stands for.
enum class TypeKind { kNone, kDouble, kInteger, kBoolean, kString, kObject };

// A type: its kind, its word, and for an object the class that the object must have or descend from.
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

// What kind of member a declaration declares.
enum class MemberKind { kProperty, kMethod, kConstructor };

// A member as declared. A property has its type as result; a constructor has none.
struct Declaration {
    MemberKind kind = MemberKind::kMethod;
    std::string name;
    std::vector<Parameter> parameters;
    Type result;
};

// How many parameters a member can have; a call passes them in a block of this size.
inline constexpr std::size_t kMaximumParameters = 15;

// What a text has that no declaration has, and where.
class DeclarationError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Reads a declaration; throws DeclarationError.
Declaration ParseDeclaration(std::string_view text);

// The parameters in words, "(x as double, y as double)".
std::string ParameterText(const Declaration& declaration);

}  // namespace host
