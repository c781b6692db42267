// described_value.h - values of the host in a form that can be shown: as text on a page or in a terminal, and as JSON.

#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "host/runtime/host.h"
#include "host/runtime/json.h"

// The size of a memory block. Its bytes are not shown.
struct ByteCount {
    std::int32_t bytes;
};

// nil, a number, a truth value, a text, the components of a vector, color or transform, or a memory block. Any other
// object is shown as the name of its class.
using DescribedValue =
    std::variant<std::monostate, double, std::int32_t, bool, std::string, std::vector<double>, ByteCount>;

// Reads what is shown of a value.
[[nodiscard]] DescribedValue DescribeValue(host::Host& host, const host::Value& value);

// Returns the value as JSON; a memory block as {"bytes": count}.
[[nodiscard]] host::Json ToJson(const DescribedValue& value);

// Returns the value as people write it on the command line: "0,0,300,300". Numbers have at most six digits, which is
// what the 32-bit width can hold.
[[nodiscard]] std::string ShortText(const DescribedValue& value);
