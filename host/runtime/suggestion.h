// suggestion.h - suggests a known name for a misspelled one.

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

// Returns ", did you mean X" with the known name nearest to the given one, ignoring case; empty if none is near enough.
[[nodiscard]] std::string Suggestion(std::string_view name, const std::vector<std::string>& known);

}  // namespace host
