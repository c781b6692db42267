// value_json.h - values of the host as JSON.

#pragma once

#include <nlohmann/json.hpp>

#include "host/runtime/host.h"

// Entries stay in the order in which they were made.
using Json = nlohmann::ordered_json;

// A value: numbers, texts and truth as themselves, vectors, colors and transforms as lists of numbers, bytes as
// {"bytes": count}, any other object as its class name.
Json ValueJson(host::Host& session, const host::Value& value);
