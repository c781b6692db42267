// declared_keys.cpp - reads attributes.json once.

#include "support/declared_keys.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

#include "engine/filter_table.h"

using namespace core_image;

namespace {

std::map<std::string, std::vector<DeclaredKey>> ReadKeys() {
    std::map<std::string, std::vector<DeclaredKey>> all;
    std::ifstream file(ZEVA_ATTRIBUTES);
    const nlohmann::json attributes = nlohmann::json::parse(file);
    for (const auto& [filter, entry] : attributes.items()) {
        for (const auto& [key, described] : entry.at("keys").items()) {
            all[filter].push_back({key, described.at("CIAttributeClass")});
        }
    }
    return all;
}

}  // namespace

const std::vector<DeclaredKey>& DeclaredKeysOf(const std::string& filter) {
    static const std::map<std::string, std::vector<DeclaredKey>> kAll = ReadKeys();
    return kAll.at(filter);
}

ImageRef CallFilter(const std::string& filter, std::vector<InputValue> values) {
    const std::vector<DeclaredKey>& keys = DeclaredKeysOf(filter);
    std::erase_if(values, [&](const InputValue& value) {
        return std::none_of(keys.begin(), keys.end(), [&](const DeclaredKey& key) { return key.name == value.key; });
    });
    // Values come first: of two values for one key the first is read.
    for (const DeclaredKey& key : keys) values.emplace_back().key = key.name.c_str();
    return FindFilter(filter)(Inputs(values.data(), values.size()));
}
