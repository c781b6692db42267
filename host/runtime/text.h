// text.h - bytes as text for people: the names of files, which need not be text, and messages.
//
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace host {

// Returns the number of bytes of the UTF-8 character at the beginning of a text; 0 when the first byte begins none.
[[nodiscard]] std::size_t CharacterLength(std::string_view text);

// Returns whether the bytes are valid UTF-8.
[[nodiscard]] bool IsText(std::string_view bytes);

// Returns a text that can be printed on one line of a terminal: control characters and bytes that are not UTF-8 become
// escapes, such as \n and \xe9. Everything else, a backslash too, stays.
[[nodiscard]] std::string PrintableText(std::string_view bytes);

// Returns the beginning of a text, at most so many bytes, cut between characters.
[[nodiscard]] std::string_view Beginning(std::string_view text, std::size_t most);

// Returns the bytes in the base64 encoding of RFC 4648, with padding.
[[nodiscard]] std::string Base64(std::string_view bytes);

// Returns the bytes of such an encoding, up to the first character that does not belong to it.
[[nodiscard]] std::string BytesOfBase64(std::string_view text);

// Returns the system's text for an error number, in lower case: "no such file or directory".
[[nodiscard]] std::string SystemReason(int errorNumber);

}  // namespace host
