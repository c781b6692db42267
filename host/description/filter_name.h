// filter_name.h - the names under which people know a filter.

#pragma once

#include <string>
#include <string_view>

// The class behind a filter's name: "CIFilterGaussianBlurQOR", "CIGaussianBlur" and "GaussianBlur" are the same filter.
std::string FilterClassName(std::string_view name);

// The shortest name of a filter class, "GaussianBlur"; empty for a class that is no filter's.
std::string FilterShortName(std::string_view className);
