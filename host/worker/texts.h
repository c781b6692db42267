// texts.h - a list of texts as one message. Each text is written as its length, a colon and its bytes.
//
// Threads: any; nothing is shared.

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace worker {

[[nodiscard]] std::string Pack(const std::vector<std::string>& texts);

// Returns nothing for what is not such a message: a module in a worker could write to any descriptor.
[[nodiscard]] std::optional<std::vector<std::string>> Unpack(std::string_view message);

}  // namespace worker
