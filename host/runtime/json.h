// json.h - values to write as JSON: for the trace, for reports, for "--json".
//
//   Json event = {{"name", name}, {"time", 0.5}};
//   event["arguments"] = Json::MakeArray({1, "two", nullptr});
//   std::string line = event.Dump();
//
// Objects keep the order in which their members were added. Text that is read by this program goes through a JSON
// library; writing does without one because its header would be compiled again in every file of the runtime.
//
// Lifetime: a value owns everything below it.
// Threads:  a value like any other; no shared state.

#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace host {

class Json {
  public:
    Json(std::nullptr_t = nullptr) {}
    Json(bool truth) : value_(truth) {}
    Json(double number) : value_(number) {}
    template <std::integral Integer>
    Json(Integer number) : value_(static_cast<std::int64_t>(number)) {}
    Json(std::string text) : value_(std::move(text)) {}
    Json(std::string_view text) : value_(std::string(text)) {}
    Json(const char* text) : value_(std::string(text)) {}

    // An object when every element is a list of a text and a value, as in {{"a", 1}, {"b", 2}}; otherwise an array.
    Json(std::initializer_list<Json> elements);

    // Why these two: a list of pairs would become an object, and an empty list is null.
    static Json MakeArray(std::initializer_list<Json> elements = {});
    static Json MakeObject();

    // Whether this is null, or an array or object without elements.
    [[nodiscard]] bool empty() const;

    // Appends to an array; null becomes an array first.
    void push_back(Json element);

    // The member of an object, added as null when it is missing; null becomes an object first.
    Json& operator[](std::string_view name);

    // Sets a member of an object to a name that need not be text, such as that of a file. When it is not, a second
    // member holds its bytes: "module" is readable, and "moduleBase64" is exact.
    void SetName(std::string_view member, std::string_view bytes);

    // Adds the members of another object; members of the same name are replaced where they are.
    void Merge(const Json& members);

    // The text on one line, or with each element on a line of its own, indented by so many spaces per level.
    //
    // Doubles are the shortest decimal that reads back equal; NaN and infinity become null. Bytes that are not UTF-8
    // become U+FFFD.
    [[nodiscard]] std::string Dump(int indent = -1) const;

  private:
    using Array = std::vector<Json>;

    // The members in order: names[i] belongs to values[i].
    struct Object {
        std::vector<std::string> names;
        std::vector<Json> values;
    };

    void Write(std::string& text, int indent, int depth) const;

    std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, Array, Object> value_;
};

}  // namespace host
