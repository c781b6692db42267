// declaration.cpp - the parser of declarations: one function for each rule of the grammar.
//
//   declaration = name [ "(" [ parameter { "," parameter } ] ")" ] [ "as" type ]
//   parameter   = name "as" type

#include "host/runtime/declaration.h"

#include <iterator>

namespace host {

namespace {

// The built-in type words; any other word is the name of a class.
struct TypeWord {
    std::string_view word;
    TypeKind kind;
    const char* className;
};
constexpr TypeWord kTypeWords[] = {
    // word         kind                class of its objects
    {"double", TypeKind::kDouble, ""},
    {"integer", TypeKind::kInteger, ""},
    {"boolean", TypeKind::kBoolean, ""},
    {"string", TypeKind::kString, ""},
    {"memoryblock", TypeKind::kObject, "MemoryBlock"},
};

// The characters of names. The locale has no influence.
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

class Reader {
  public:
    explicit Reader(std::string_view text) : text_(text) {}

    Declaration Read() {
        Declaration declaration;
        declaration.name = Word("a name");
        const bool hasParentheses = Take('(');
        if (hasParentheses) declaration.parameters = Parameters();
        if (!AtEnd()) {
            Expect("as");
            declaration.result = TypeFor(Word("a type"));
        }
        if (!AtEnd()) Fail("nothing more");
        const bool hasResult = declaration.result.kind != TypeKind::kNone;
        if (declaration.name == "Constructor") {
            if (hasResult) throw DeclarationError("a constructor has no result");
            declaration.kind = MemberKind::kConstructor;
        } else if (!hasParentheses && hasResult) {
            declaration.kind = MemberKind::kProperty;
        }
        return declaration;
    }

  private:
    std::vector<Parameter> Parameters() {
        std::vector<Parameter> parameters;
        if (Take(')')) return parameters;
        do {
            if (parameters.size() == kMaximumParameters) {
                throw DeclarationError("more than " + std::to_string(kMaximumParameters) + " parameters");
            }
            std::string name = Word("a parameter");
            Expect("as");
            parameters.push_back({std::move(name), TypeFor(Word("a type"))});
        } while (Take(','));
        if (!Take(')')) Fail("',' or ')'");
        return parameters;
    }

    static Type TypeFor(const std::string& word) {
        for (const TypeWord& known : kTypeWords) {
            if (known.word == word) return {known.kind, word, known.className};
        }
        return {TypeKind::kObject, word, word};
    }

    std::string Word(const char* what) {
        SkipSpaces();
        std::size_t end = position_;
        while (end < text_.size() && (IsLetter(text_[end]) || (end > position_ && IsDigit(text_[end])))) ++end;
        if (end == position_) Fail(what);
        std::string word(text_.substr(position_, end - position_));
        position_ = end;
        return word;
    }

    void Expect(std::string_view word) {
        const std::size_t before = position_;
        SkipSpaces();
        if (AtEnd() || !IsLetter(text_[position_]) || Word("") != word) {
            position_ = before;
            Fail("'" + std::string(word) + "'");
        }
    }

    bool Take(char c) {
        SkipSpaces();
        if (position_ == text_.size() || text_[position_] != c) return false;
        ++position_;
        return true;
    }

    bool AtEnd() {
        SkipSpaces();
        return position_ == text_.size();
    }

    void SkipSpaces() {
        while (position_ < text_.size() && text_[position_] == ' ') ++position_;
    }

    [[noreturn]] void Fail(const std::string& expected) {
        SkipSpaces();
        const std::string found = AtEnd() ? "the end" : "'" + std::string(text_.substr(position_)) + "'";
        throw DeclarationError("expected " + expected + ", found " + found);
    }

    std::string_view text_;
    std::size_t position_ = 0;
};

}  // namespace

Declaration ParseDeclaration(std::string_view text) { return Reader(text).Read(); }

std::string ParameterText(const Declaration& declaration) {
    std::string text = "(";
    for (const Parameter& parameter : declaration.parameters) {
        if (text.size() > 1) text += ", ";
        text += parameter.name + " as " + parameter.type.word;
    }
    return text + ")";
}

}  // namespace host
