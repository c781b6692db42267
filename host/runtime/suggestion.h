// suggestion.h - compares names as people write them, and suggests a known name for a misspelled one.

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

// Returns the known names that the given one may mean, ignoring case: the nearest one, or else up to three that contain
// it. Empty if none is near enough.
[[nodiscard]] std::vector<std::string> Nearest(std::string_view name, const std::vector<std::string>& known);

// Returns ", did you mean X, Y or Z"; empty for no names.
[[nodiscard]] std::string SuggestionText(const std::vector<std::string>& names);

// Returns the text of the nearest names.
[[nodiscard]] std::string Suggestion(std::string_view name, const std::vector<std::string>& known);

// Whether two names are equal apart from the case of the letters A to Z.
[[nodiscard]] bool EqualIgnoringCase(std::string_view first, std::string_view second);

}  // namespace host
