// filter_name.h - the three spellings of a filter's name.

#pragma once

#include <string>
#include <string_view>

// Returns the class of a filter. "CIFilterGaussianBlurQOR", "CIGaussianBlur" and "GaussianBlur" name the same filter.
[[nodiscard]] std::string FilterClassName(std::string_view name);

// Returns the short name of a filter class, "GaussianBlur"; empty for any other class.
[[nodiscard]] std::string FilterShortName(std::string_view className);
