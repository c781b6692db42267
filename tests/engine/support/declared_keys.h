// declared_keys.h - calls filters with the keys that attributes.json declares for them, as the platform's filter class
// does.
//
// Tests give only the values that matter to them. The other declared keys are present without a value. A filter
// function that reads any other key throws UndeclaredKey.

#pragma once

#include <string>
#include <vector>

#include "core/inputs.h"

// A key and the name of its class, such as "NSNumber".
struct DeclaredKey {
    std::string name;
    std::string className;
};

// The keys of a filter. Throws for a filter that attributes.json does not have.
const std::vector<DeclaredKey>& DeclaredKeysOf(const std::string& filter);

// The image that a filter, found by its name, makes of some values. Values whose keys the filter does not declare are
// left out, so that one set of values can serve several filters.
core_image::ImageRef CallFilter(const std::string& filter, std::vector<core_image::InputValue> values);
