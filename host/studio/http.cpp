// http.cpp - answers in the terms of the web server's library.

#include "host/studio/http.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

namespace studio {
namespace {

namespace fs = std::filesystem;

// Text for a header: quotes and what is not printable ASCII become underscores.
std::string HeaderText(std::string text) {
    for (char& character : text) {
        if (character < ' ' || character > '~' || character == '"' || character == '\\') character = '_';
    }
    return text;
}

// Ends a connection on which more may come than anybody wants to read. The web server would read it all before it
// closes, and tells no one the socket; so the socket is found by its other end.
void HangUp(const mg_connection* connection) {
    const int port = mg_get_request_info(connection)->remote_port;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd", error)) {
        sockaddr_storage peer = {};
        socklen_t size = sizeof peer;
        const int socket = std::atoi(entry.path().filename().c_str());
        if (getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size) != 0) continue;
        // The port stands at the same place in the addresses of both versions.
        const bool isInternet = peer.ss_family == AF_INET || peer.ss_family == AF_INET6;
        if (isInternet && ntohs(reinterpret_cast<const sockaddr_in*>(&peer)->sin_port) == port) {
            // The web server goes on with a socket from which nothing comes.
            const int nobody = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
            dup3(nobody, socket, O_CLOEXEC);
            close(nobody);
        }
    }
}

}  // namespace

std::string TextOf(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

int Reply(mg_connection* connection, int status, const char* type, std::string_view body, const std::string& headers) {
    mg_printf(connection, "HTTP/1.1 %d %s\r\nContent-Type: %s\r\nContent-Length: %llu\r\n%s%s\r\n", status,
              mg_get_response_code_text(connection, status), type, static_cast<unsigned long long>(body.size()),
              kHeaders, headers.c_str());
    const bool hasBody = std::strcmp(mg_get_request_info(connection)->request_method, "HEAD") != 0;
    if (hasBody && !body.empty()) mg_write(connection, body.data(), body.size());
    return status;
}

int Answer(mg_connection* connection, const Json& json) {
    return Reply(connection, 200, "application/json", TextOf(json));
}

int Refuse(mg_connection* connection, int status, const char* reason) {
    Reply(connection, status, "text/plain; charset=utf-8", std::string(reason) + "\n", "Connection: close\r\n");
    const bool hasBody = mg_get_header(connection, "Content-Length") != nullptr ||
                         mg_get_header(connection, "Transfer-Encoding") != nullptr;
    if (hasBody) HangUp(connection);
    return status;
}

int SendFile(mg_connection* connection, const std::string& path, const std::string& name) {
    std::ifstream file(path, std::ios::binary);
    std::error_code error;
    const auto size = fs::file_size(path, error);
    mg_printf(connection,
              "HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\nContent-Length: %llu\r\n"
              "Content-Disposition: attachment; filename=\"%s\"\r\n%s\r\n",
              static_cast<unsigned long long>(size), HeaderText(name).c_str(), kHeaders);
    std::vector<char> buffer(kTransferBytes);
    while (file.read(buffer.data(), kTransferBytes) || file.gcount() > 0) {
        if (mg_write(connection, buffer.data(), static_cast<std::size_t>(file.gcount())) <= 0) break;
    }
    return 200;
}

std::string Query(const mg_connection* connection, const char* name) {
    const char* query = mg_get_request_info(connection)->query_string;
    char value[1024];
    if (query == nullptr) return "";
    const int length = mg_get_var(query, std::strlen(query), name, value, sizeof value);
    return length > 0 ? std::string(value, static_cast<std::size_t>(length)) : "";
}

}  // namespace studio
