// filter_name.cpp - converts between the spellings.

#include "host/description/filter_name.h"

namespace {

constexpr std::string_view kClassPrefix = "CIFilter";
constexpr std::string_view kClassSuffix = "QOR";
constexpr std::string_view kFilterPrefix = "CI";

}  // namespace

std::string FilterClassName(std::string_view name) {
    if (!FilterShortName(name).empty()) return std::string(name);
    if (name.starts_with(kFilterPrefix)) name.remove_prefix(kFilterPrefix.size());
    return std::string(kClassPrefix) + std::string(name) + std::string(kClassSuffix);
}

std::string FilterShortName(std::string_view className) {
    if (!className.starts_with(kClassPrefix) || !className.ends_with(kClassSuffix)) return {};
    if (className.size() <= kClassPrefix.size() + kClassSuffix.size()) return {};
    className.remove_prefix(kClassPrefix.size());
    className.remove_suffix(kClassSuffix.size());
    return std::string(className);
}
