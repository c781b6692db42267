// http.h - how the studio's server answers requests, and what it reads of them.
//
// Threads: any; a connection belongs to the thread that serves it.

#pragma once

#include <civetweb.h>

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace studio {

using Json = nlohmann::ordered_json;

// Every answer has these headers. The page loads nothing from elsewhere, runs no script of a text, and stays out of
// frames.
inline constexpr const char* kHeaders =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; "
    "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "Cross-Origin-Opener-Policy: same-origin\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "Cache-Control: no-store\r\n";

// JSON as text. Bytes that are not UTF-8, such as in file names, are replaced.
[[nodiscard]] std::string TextOf(const Json& json);

// Send an answer and return its status. `headers` are more lines.
int Reply(mg_connection* connection, int status, const char* type, std::string_view body,
          const std::string& headers = {});
int Answer(mg_connection* connection, const Json& json);

// Refuses a request and reads nothing more of it.
int Refuse(mg_connection* connection, int status, const char* reason);

// How many bytes of a file are read at a time. They belong on the heap: the web server's threads have stacks of 100 KB.
inline constexpr std::size_t kTransferBytes = 1 << 16;

// Sends a file as a download with a name.
int SendFile(mg_connection* connection, const std::string& path, const std::string& name);

// Returns the value of a name in the query; empty when it is missing.
[[nodiscard]] std::string Query(const mg_connection* connection, const char* name);

}  // namespace studio
