// suggestion.h - a name that somebody may have meant.

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

// ", did you mean X" for the known name nearest to the given one, case ignored; empty when none is near.
std::string Suggestion(std::string_view name, const std::vector<std::string>& known);

}  // namespace host
